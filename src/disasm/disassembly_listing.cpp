#include "disasm/disassembly_listing.h"

#include <algorithm>

#include "core/hex_text.h"

namespace velmora {
namespace {

constexpr std::string_view kNoBreakpoint = " ";

bool isIllegal(const std::string& text) {
  return text.rfind("Illegal", 0) == 0;
}

// Lists one selection; ends early at the first illegal instruction or operand.
void listSelection(const Selection& selection, MemoryImage& image, InstructionDecoder& decoder,
                   DisassemblyListing& listing) {
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
    std::string text = decoder.Disassemble(image, address);
    const bool stop = isIllegal(text);
    listing.instructions.push_back(HexN(address, 6) + ": " + text);
    listing.breakpoints.emplace_back(kNoBreakpoint);
    if (stop) return;
    address += decoder.InstructionLength(image, address);
  }
}

}  // namespace

void FillDisassembly(const SelectionList& selections, MemoryImage& image,
                     InstructionDecoder& decoder, DisassemblyListing& listing,
                     int32_t& currentPosition) {
  listing.instructions.clear();
  listing.breakpoints.clear();
  listing.selectedLine = -1;
  decoder.RegistersChanged();
  decoder.ResetCounters();

  for (int i = 0; i < selections.Count(); ++i) {
    listSelection(selections.At(i), image, decoder, listing);
    listing.instructions.emplace_back(kListingSeparator);
    listing.breakpoints.emplace_back(kNoBreakpoint);
  }

  if (listing.instructions.empty()) return;
  const std::string& first = listing.instructions.front();
  const auto colon = first.find(':');
  if (colon == std::string::npos) return;
  currentPosition = HexVal(std::string_view(first).substr(0, colon));
  listing.selectedLine = 0;
}

}  // namespace velmora
