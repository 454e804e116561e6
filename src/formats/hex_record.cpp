#include "formats/hex_record.h"

namespace velmora {
namespace {

constexpr uint8_t kBad = 0xFF;

constexpr std::array<uint8_t, 256> makeNibbleTable() {
  std::array<uint8_t, 256> table{};
  for (auto& entry : table) entry = kBad;
  for (int i = 0; i < 10; ++i) table['0' + i] = static_cast<uint8_t>(i);
  for (int i = 0; i < 6; ++i) {
    table['A' + i] = static_cast<uint8_t>(10 + i);
    table['a' + i] = static_cast<uint8_t>(10 + i);
  }
  return table;
}

constexpr std::array<uint8_t, 256> kNibble = makeNibbleTable();
constexpr char kDigits[] = "0123456789ABCDEF";

// Two digits at text into value; false when either is not hexadecimal.
inline bool decodeByte(const char* text, uint8_t& value) {
  const uint8_t high = kNibble[static_cast<uint8_t>(text[0])];
  const uint8_t low = kNibble[static_cast<uint8_t>(text[1])];
  value = static_cast<uint8_t>((high << 4) | low);
  return high != kBad && low != kBad;
}

}  // namespace

RecordError DecodeRecord(std::string_view line, HexRecord& record) {
  if (line.empty() || line[0] != ':') return RecordError::NoStartMark;
  if (line.size() < 9) return RecordError::ShortRecord;
  const char* text = line.data();
  uint8_t offsetHigh = 0;
  uint8_t offsetLow = 0;
  if (!decodeByte(text + 1, record.count) || !decodeByte(text + 3, offsetHigh) ||
      !decodeByte(text + 5, offsetLow) || !decodeByte(text + 7, record.type)) {
    return RecordError::BadDigit;
  }
  record.offset = static_cast<uint16_t>((offsetHigh << 8) | offsetLow);

  size_t wanted = 0;
  if (record.type == kDataRecord) {
    wanted = record.count;
  } else if (record.type == kExtendedSegmentRecord || record.type == kExtendedLinearRecord) {
    wanted = 2;
  }
  if (line.size() < 9 + 2 * wanted) return RecordError::ShortRecord;
  bool good = true;
  const char* data = text + 9;
  for (size_t j = 0; j < wanted; ++j) good &= decodeByte(data + 2 * j, record.data[j]);
  return good ? RecordError::None : RecordError::BadDigit;
}

void HexRecordEncoder::Data(uint16_t offset, std::span<const uint8_t> bytes) {
  record(kDataRecord, offset, bytes);
}

void HexRecordEncoder::Extended(HexRecordType type, uint16_t upper) {
  const uint8_t bytes[2] = {static_cast<uint8_t>(upper >> 8), static_cast<uint8_t>(upper)};
  record(type, 0, bytes);
}

void HexRecordEncoder::EndOfFile() { record(kEndOfFileRecord, 0, {}); }

void HexRecordEncoder::record(uint8_t type, uint16_t offset, std::span<const uint8_t> bytes) {
  const size_t start = out_.size();
  out_.resize(start + 11 + 2 * bytes.size() + 2);
  char* p = out_.data() + start;
  unsigned sum = 0;
  const auto put = [&p, &sum](uint8_t value) {
    *p++ = kDigits[value >> 4];
    *p++ = kDigits[value & 0xF];
    sum += value;
  };
  *p++ = ':';
  put(static_cast<uint8_t>(bytes.size()));
  put(static_cast<uint8_t>(offset >> 8));
  put(static_cast<uint8_t>(offset));
  put(type);
  for (uint8_t value : bytes) put(value);
  const auto checksum = static_cast<uint8_t>(0x100 - (sum & 0xFF));
  *p++ = kDigits[checksum >> 4];
  *p++ = kDigits[checksum & 0xF];
  *p++ = '\r';
  *p++ = '\n';
}

}  // namespace velmora
