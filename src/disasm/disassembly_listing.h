// The disassembly of the selected code, as the disassembly window shows it: one line per
// decoded instruction of each selection ("AAAAAA: text"), a line of stars after each
// selection, a parallel list of breakpoint marks (" " for every line when it is filled)
// and the line of the debugger's current position.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/memory_image.h"
#include "core/selection_list.h"
#include "disasm/instruction_decoder.h"

namespace velmora {

inline constexpr std::string_view kListingSeparator = "*****************************";

struct DisassemblyListing {
  std::vector<std::string> instructions;  // IDisassemble
  std::vector<std::string> breakpoints;   // IBreakpoints, one mark per instruction line
  int selectedLine = -1;                  // the line shown as the current position, or -1
};

// Fills the listing from the selections and the defined bytes of the image. The decoder's
// prefix counters start from 0. When the first line holds an instruction, its address
// becomes currentPosition and that line is selected; otherwise currentPosition stays.
void FillDisassembly(const SelectionList& selections, MemoryImage& image,
                     InstructionDecoder& decoder, DisassemblyListing& listing,
                     int32_t& currentPosition);

}  // namespace velmora
