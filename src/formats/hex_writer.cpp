#include "formats/hex_writer.h"

#include <algorithm>
#include <vector>

#include "core/atomic_file.h"
#include "core/hex_text.h"
#include "formats/defined_runs.h"
#include "formats/hex_record.h"

namespace velmora {
namespace {

constexpr int32_t kHighest20BitAddress = 0xFFFFF;
constexpr size_t kFlushSize = 1 << 20;

// Collects records and hands them to the temporary file in large pieces.
class HexFileSink {
 public:
  explicit HexFileSink(const std::string& path) : file_(path), encoder_(text_) {
    text_.reserve(kFlushSize + 1024);
  }
  bool IsOpen() const { return file_.IsOpen(); }

  // Emits an extended address record whenever the upper value changes; false when the
  // format cannot express the address.
  bool Data(int32_t address, std::span<const uint8_t> bytes) {
    const int32_t upper = format_ == kExtendedSegmentRecord ? (address >> 16) * 4096 : address >> 16;
    if (upper > 0xFFFF) return false;
    if (upper != lastUpper_) {
      encoder_.Extended(format_, static_cast<uint16_t>(upper));
      lastUpper_ = upper;
    }
    encoder_.Data(static_cast<uint16_t>(address & 0xFFFF), bytes);
    if (text_.size() >= kFlushSize) flush();
    return true;
  }

  bool Finish() {
    encoder_.EndOfFile();
    flush();
    return file_.Commit();
  }

  void SetFormat(int format) {
    format_ = format == 2 ? kExtendedSegmentRecord : kExtendedLinearRecord;
  }

 private:
  void flush() {
    file_.Write(text_);
    text_.clear();
  }

  AtomicFile file_;
  std::string text_;
  HexRecordEncoder encoder_;
  HexRecordType format_ = kExtendedLinearRecord;
  int32_t lastUpper_ = -1;
};

HexWriteStatus fail(MessageLog& log, HexWriteStatus status, const std::string& line) {
  log.WriteLine(line);
  return status;
}

HexWriteStatus checkParameters(int recordSize, int format, MessageLog& log) {
  if (recordSize < 1 || recordSize > 255) {
    return fail(log, HexWriteStatus::BadRecordSize,
                "*ERROR: Record size " + std::to_string(recordSize) + " is not within 1 to 255");
  }
  if (format != 2 && format != 4) {
    return fail(log, HexWriteStatus::BadFormat,
                "*ERROR: Address format " + std::to_string(format) + " is neither 2 nor 4");
  }
  return HexWriteStatus::Ok;
}

std::string cannotWrite(const std::string& path) { return "*ERROR: Cannot write file " + path; }

// Segment records reach FFFFF only. Rather than lose what lies above, the whole file goes
// out with linear records, and the user is told why it differs from the setting.
int formatFor(int format, bool dataAbove1Mb, MessageLog& log) {
  if (format != 2 || !dataAbove1Mb) return format;
  log.WriteLine("*SaveAs: addresses above FFFFF, written with 32-bit address records");
  return 4;
}

bool definedAbove20Bit(MemoryImage& image, const SelectionList& selections) {
  if (selections.Count() == 0 || selections.At(selections.Count() - 1).end <= kHighest20BitAddress) {
    return false;
  }
  // Pieces never cross a 64 KB boundary, so the first one above FFFFF starts there.
  return !ForEachDefinedRun(image, selections, 255, [](int32_t address, std::span<const uint8_t>) {
    return address <= kHighest20BitAddress;
  });
}

}  // namespace

HexWriteStatus HexWrite(const std::string& path, int32_t start, int32_t end, int recordSize,
                        int format, MemoryImage& image, MessageLog& log) {
  if (auto status = checkParameters(recordSize, format, log); status != HexWriteStatus::Ok) {
    return status;
  }
  if (!MemoryImage::InRange(start) || !MemoryImage::InRange(end)) {
    return fail(log, HexWriteStatus::BadRange, "*ERROR: Address range outside 000000 to FFFFFF");
  }
  HexFileSink sink(path);
  if (!sink.IsOpen()) return fail(log, HexWriteStatus::CannotWrite, cannotWrite(path));
  sink.SetFormat(formatFor(format, start <= end && end > kHighest20BitAddress, log));

  // Read the image in pieces of whole records.
  const auto size = static_cast<size_t>(recordSize);
  const size_t piece = size * std::max<size_t>(1, 65536 / size);
  std::vector<uint8_t> bytes(piece);
  for (int64_t chunk = start; chunk <= end; chunk += static_cast<int64_t>(piece)) {
    const auto length = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(piece), end - chunk + 1));
    image.ReadBytes(static_cast<int32_t>(chunk), std::span(bytes.data(), length));
    for (size_t at = 0; at < length; at += size) {
      const size_t n = std::min(size, length - at);
      sink.Data(static_cast<int32_t>(chunk + static_cast<int64_t>(at)), std::span(bytes.data() + at, n));
    }
  }
  if (!sink.Finish()) return fail(log, HexWriteStatus::CannotWrite, cannotWrite(path));
  return HexWriteStatus::Ok;
}

HexWriteStatus HexWriteSelections(const std::string& path, int recordSize, int format,
                                  MemoryImage& image, SelectionList& selections,
                                  MessageLog& log) {
  if (auto status = checkParameters(recordSize, format, log); status != HexWriteStatus::Ok) {
    return status;
  }
  selections.NormalizeSelections();
  HexFileSink sink(path);
  if (!sink.IsOpen()) return fail(log, HexWriteStatus::CannotWrite, cannotWrite(path));
  sink.SetFormat(formatFor(format, definedAbove20Bit(image, selections), log));
  ForEachDefinedRun(image, selections, recordSize, [&sink](int32_t address, std::span<const uint8_t> bytes) {
    sink.Data(address, bytes);
    return true;
  });
  // Without a commit the temporary file goes and an existing file stays as it was.
  if (!sink.Finish()) return fail(log, HexWriteStatus::CannotWrite, cannotWrite(path));
  return HexWriteStatus::Ok;
}

}  // namespace velmora
