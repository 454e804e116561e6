#include "formats/clipboard_transfer.h"

#include <algorithm>
#include <vector>

#include "core/hex_text.h"
#include "core/image_ops.h"
#include "formats/defined_runs.h"
#include "formats/hex_record.h"

namespace velmora {
namespace {

constexpr int kClipboardRecordSize = 32;

struct PastedPiece {
  int64_t offset;
  std::vector<uint8_t> bytes;
};

}  // namespace

std::string CopySelections(MemoryImage& image, const SelectionList& selections) {
  std::string text;
  HexRecordEncoder encoder(text);
  const int32_t origin = selections.LowestSelectionStart();
  int32_t lastUpper = -1;
  // Offsets run up to FFFFFF, so a record may cross a 64 KB boundary of the offsets even
  // though it never crosses one of the addresses: split it there.
  ForEachDefinedRun(image, selections, kClipboardRecordSize,
                    [&](int32_t address, std::span<const uint8_t> bytes) {
                      int32_t offset = address - origin;
                      while (!bytes.empty()) {
                        const size_t room = static_cast<size_t>(0x10000 - (offset & 0xFFFF));
                        const size_t n = std::min(room, bytes.size());
                        if ((offset >> 16) != lastUpper) {
                          lastUpper = offset >> 16;
                          encoder.Extended(kExtendedLinearRecord, static_cast<uint16_t>(lastUpper));
                        }
                        encoder.Data(static_cast<uint16_t>(offset & 0xFFFF), bytes.first(n));
                        bytes = bytes.subspan(n);
                        offset += static_cast<int32_t>(n);
                      }
                      return true;
                    });
  encoder.EndOfFile();
  return text;
}

std::string CutSelections(MemoryImage& image, const SelectionList& selections) {
  std::string text = CopySelections(image, selections);
  UnreadSelections(image, selections);
  return text;
}

PasteResult PasteClipboard(std::string_view clipboard, int32_t start, MemoryImage& image,
                           MessageLog& log) {
  PasteResult result;
  std::vector<PastedPiece> pieces;
  int64_t base = 0;
  int64_t highest = -1;
  HexRecord record;
  bool anyRecord = false;
  size_t at = 0;
  while (at < clipboard.size()) {
    size_t lineEnd = clipboard.find_first_of("\r\n", at);
    if (lineEnd == std::string_view::npos) lineEnd = clipboard.size();
    const std::string_view line = clipboard.substr(at, lineEnd - at);
    at = clipboard.find_first_not_of("\r\n", lineEnd);
    if (at == std::string_view::npos) at = clipboard.size();
    if (line.find_first_not_of(" \t") == std::string_view::npos) continue;
    anyRecord = true;
    if (DecodeRecord(line, record) != RecordError::None) {
      result.status = PasteStatus::NotHexText;
      log.WriteLine("*ERROR: The clipboard holds no memory data");
      return result;
    }
    if (record.type == kDataRecord && record.count > 0) {
      const int64_t offset = base + record.offset;
      pieces.push_back({offset, {record.data.begin(), record.data.begin() + record.count}});
      highest = std::max(highest, offset + record.count - 1);
    } else if (record.type == kExtendedLinearRecord) {
      base = int64_t{record.Upper()} << 16;
    } else if (record.type == kExtendedSegmentRecord) {
      base = int64_t{record.Upper()} << 4;
    }
  }
  if (!anyRecord) {
    result.status = PasteStatus::NotHexText;
    log.WriteLine("*ERROR: The clipboard holds no memory data");
    return result;
  }
  if (highest >= 0 && (start < 0 || start + highest > kHighestAddress)) {
    result.status = PasteStatus::BeyondAddressSpace;
    log.WriteLine("*ERROR: Paste at " + HexN(start, 6) + " would end above FFFFFF");
    return result;
  }
  for (const auto& piece : pieces) {
    image.StoreLoaded(static_cast<int32_t>(start + piece.offset), piece.bytes);
    result.bytesPasted += static_cast<int64_t>(piece.bytes.size());
  }
  return result;
}

}  // namespace velmora
