#include "disasm/disassembly_listing.h"

#include <algorithm>

#include "core/hex_text.h"

namespace velmora {
namespace {

bool isIllegal(const std::string& text) {
  return text.starts_with("Illegal");
}

ListingRow instructionRow(MemoryImage& image, InstructionDecoder& decoder, int32_t address) {
  ListingRow row;
  row.kind = ListingRowKind::Instruction;
  row.address = address;
  row.text = decoder.Disassemble(image, address);
  const int length =
      std::clamp(decoder.InstructionLength(image, address), 1, static_cast<int>(row.bytes.size()));
  // The last instruction below the top of the address space keeps only what exists.
  row.length = static_cast<uint8_t>(std::min(length, kHighestAddress - address + 1));
  image.ReadBytes(address, std::span<uint8_t>(row.bytes.data(), row.length));
  return row;
}

// Lists one selection; ends early at the first illegal instruction or operand.
void listSelection(const Selection& selection, MemoryImage& image, InstructionDecoder& decoder,
                   std::vector<ListingRow>& rows) {
  const int32_t end = std::min(selection.end, kHighestAddress);
  int32_t address = std::max(selection.start, 0) & ~1;  // instructions start on words
  while (address <= end) {
    if (!image.IsAllocated(MemoryImage::SegmentOf(address))) {
      // Nothing was ever stored there: no byte of the segment is defined.
      address = (MemoryImage::SegmentOf(address) + 1) * MemoryImage::kSegmentSize;
      continue;
    }
    if (!image.IsDefined(address)) {
      ++address;
      continue;
    }
    rows.push_back(instructionRow(image, decoder, address));
    if (isIllegal(rows.back().text)) return;
    address += decoder.InstructionLength(image, address);
  }
}

}  // namespace

void FillDisassembly(const SelectionList& selections, MemoryImage& image,
                     InstructionDecoder& decoder, DisassemblyListing& listing,
                     int32_t& currentPosition) {
  listing.rows.clear();
  listing.selectedRow = -1;
  decoder.RegistersChanged();
  decoder.ResetCounters();

  for (int i = 0; i < selections.Count(); ++i) {
    listSelection(selections.At(i), image, decoder, listing.rows);
    listing.rows.emplace_back();  // the separator
  }

  if (listing.rows.empty() || !listing.rows.front().IsInstruction()) return;
  currentPosition = listing.rows.front().address;
  listing.selectedRow = 0;
}

std::string ListingLine(const ListingRow& row) {
  if (!row.IsInstruction()) return std::string(kListingSeparator);
  return HexN(row.address, 6) + ": " + row.text;
}

std::vector<std::string> ListingLines(const DisassemblyListing& listing) {
  std::vector<std::string> lines;
  lines.reserve(listing.rows.size());
  for (const ListingRow& row : listing.rows) lines.push_back(ListingLine(row));
  return lines;
}

int FindListingRow(const DisassemblyListing& listing, int32_t address) {
  const auto found = std::find_if(
      listing.rows.begin(), listing.rows.end(),
      [address](const auto& row) { return row.IsInstruction() && row.address == address; });
  return found == listing.rows.end() ? -1 : static_cast<int>(found - listing.rows.begin());
}

}  // namespace velmora
