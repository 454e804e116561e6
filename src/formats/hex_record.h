// One Intel HEX record: decoding a text line and encoding records into a text buffer.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace velmora {

enum HexRecordType : uint8_t {
  kDataRecord = 0,
  kEndOfFileRecord = 1,
  kExtendedSegmentRecord = 2,
  kStartSegmentRecord = 3,
  kExtendedLinearRecord = 4,
  kStartLinearRecord = 5,
};

struct HexRecord {
  uint8_t count = 0;
  uint16_t offset = 0;
  uint8_t type = 0;
  std::array<uint8_t, 256> data{};

  // The 16-bit value of an extended address record (its first two data bytes).
  uint32_t Upper() const { return (uint32_t{data[0]} << 8) | data[1]; }
};

enum class RecordError { None, NoStartMark, BadDigit, ShortRecord };

// Decodes a line without its line end. The checksum and anything after the data are not
// looked at. Data is decoded for data records and for the two extended address records
// (which need two bytes whatever their count says); other types only need their header.
RecordError DecodeRecord(std::string_view line, HexRecord& record);

// Appends CR LF terminated records with upper-case digits to a text.
class HexRecordEncoder {
 public:
  explicit HexRecordEncoder(std::string& out) : out_(out) {}
  void Data(uint16_t offset, std::span<const uint8_t> bytes);
  void Extended(HexRecordType type, uint16_t upper);
  void EndOfFile();

 private:
  void record(uint8_t type, uint16_t offset, std::span<const uint8_t> bytes);
  std::string& out_;
};

}  // namespace velmora
