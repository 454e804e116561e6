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
std::string beyond20Bit() { return "*ERROR: Addresses above FFFFF need the 32-bit format"; }

}  // namespace

HexWriteStatus HexWrite(const std::string& path, int32_t start, int32_t end, int recordSize,
                        int format, MemoryImage& image, MessageLog& log) {
  if (auto status = checkParameters(recordSize, format, log); status != HexWriteStatus::Ok) {
    return status;
  }
  if (!MemoryImage::InRange(start) || !MemoryImage::InRange(end)) {
    return fail(log, HexWriteStatus::BadRange, "*ERROR: Address range outside 000000 to FFFFFF");
  }
  if (format == 2 && end > kHighest20BitAddress && start <= end) {
    return fail(log, HexWriteStatus::BadRange, beyond20Bit());
  }
  HexFileSink sink(path);
  if (!sink.IsOpen()) return fail(log, HexWriteStatus::CannotWrite, cannotWrite(path));
  sink.SetFormat(format);

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
  sink.SetFormat(format);
  const bool fits = ForEachDefinedRun(
      image, selections, recordSize,
      [&sink](int32_t address, std::span<const uint8_t> bytes) { return sink.Data(address, bytes); });
  // Without a commit the temporary file goes and an existing file stays as it was.
  if (!fits) return fail(log, HexWriteStatus::BadRange, beyond20Bit());
  if (!sink.Finish()) return fail(log, HexWriteStatus::CannotWrite, cannotWrite(path));
  return HexWriteStatus::Ok;
}

}  // namespace velmora
