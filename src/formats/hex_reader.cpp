#include "formats/hex_reader.h"

#include <span>
#include <string_view>

#include "core/hex_text.h"
#include "formats/hex_record.h"
#include "formats/text_lines.h"

namespace velmora {
namespace {

std::string stopLine(HexReadStatus status, long lineNumber, const std::string& path) {
  const std::string number = std::to_string(lineNumber);
  switch (status) {
    case HexReadStatus::NoStartMark:
      return "*ERROR: No ':' at beginning of line ";
    case HexReadStatus::BadDigit:
      return "*ERROR: No hexadecimal number in line " + number;
    case HexReadStatus::ShortRecord:
      return "*ERROR: Record too short in line " + number;
    case HexReadStatus::BeyondAddressSpace:
      return "*ERROR: Address above FFFFFF in line " + number;
    case HexReadStatus::CannotOpen:
      return "*ERROR: Cannot open file " + path;
    case HexReadStatus::Ok:
      break;
  }
  return {};
}

HexReadStatus statusOf(RecordError error) {
  switch (error) {
    case RecordError::NoStartMark:
      return HexReadStatus::NoStartMark;
    case RecordError::BadDigit:
      return HexReadStatus::BadDigit;
    case RecordError::ShortRecord:
      return HexReadStatus::ShortRecord;
    case RecordError::None:
      break;
  }
  return HexReadStatus::Ok;
}

// Tracks the contiguous run of loaded addresses and hands each closed run to the list.
class RunTracker {
 public:
  RunTracker(SelectionList& selections, HexReadResult& result)
      : selections_(selections), result_(result) {}

  void Loaded(int64_t address, int64_t count) {
    if (runStart_ != -1 && address != runEnd_ + 1) {
      Close();
      runStart_ = address;
    } else if (runStart_ == -1) {
      runStart_ = address;
    }
    runEnd_ = address + count - 1;
  }

  void Close() {
    if (runStart_ == -1) return;
    if (!selections_.AddSelection(static_cast<int32_t>(runStart_), static_cast<int32_t>(runEnd_))) {
      result_.selectionsDropped = true;
    }
  }

 private:
  SelectionList& selections_;
  HexReadResult& result_;
  int64_t runStart_ = -1;
  int64_t runEnd_ = -2;
};

}  // namespace

HexReadResult HexRead(const std::string& path, MemoryImage& image, SelectionList& selections,
                      MessageLog& log) {
  HexReadResult result;
  selections.ClearSelections();
  TextLineReader reader(path);
  if (!reader.IsOpen()) {
    result.status = HexReadStatus::CannotOpen;
    log.WriteLine(stopLine(result.status, 0, path));
    return result;
  }

  RunTracker runs(selections, result);
  HexRecord record;
  int64_t base = 0;
  std::string_view line;
  while (reader.Next(line)) {
    if (reader.LineNumber() == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3);
    RecordError error = DecodeRecord(line, record);
    // Blank lines and end-of-file marks after the last record end the file; anywhere
    // else they stop the reading like any line without ":".
    if (error == RecordError::NoStartMark && line.find_first_not_of(" \t\x1A") == line.npos &&
        reader.OnlyBlanksLeft()) {
      break;
    }
    if (error == RecordError::None && record.type == kDataRecord &&
        base + record.offset + record.count - 1 > kHighestAddress) {
      result.status = HexReadStatus::BeyondAddressSpace;
    } else {
      result.status = statusOf(error);
    }
    if (result.status != HexReadStatus::Ok) {
      result.lineNumber = reader.LineNumber();
      break;
    }
    switch (record.type) {
      case kDataRecord: {
        if (record.count == 0) break;  // no data: no run starts or ends here
        const int64_t address = base + record.offset;
        runs.Loaded(address, record.count);
        image.StoreLoaded(static_cast<int32_t>(address),
                          std::span<const uint8_t>(record.data.data(), record.count));
        result.bytesStored += record.count;
        break;
      }
      case kExtendedSegmentRecord:
        base = int64_t{record.Upper()} * 16;
        break;
      case kExtendedLinearRecord:
        base = int64_t{record.Upper()} * 65536;
        break;
      default:
        ++result.recordsSkipped;
        break;
    }
  }

  if (result.status == HexReadStatus::Ok) {
    runs.Close();
  } else {
    log.WriteLine(stopLine(result.status, result.lineNumber, path));
  }
  selections.NormalizeSelections();
  if (result.selectionsDropped) log.WriteLine(kTooManySelectionsLine);
  return result;
}

}  // namespace velmora
