// The lines of a printout of the selected memory, in one of three styles. A pure function:
// the window runs it on the worker (where the image and the decoder live) and renders the
// lines it gets back on its own thread.
#pragma once

#include <string>
#include <vector>

#include "core/memory_image.h"
#include "core/selection_list.h"
#include "disasm/instruction_decoder.h"

namespace velmora {

enum class PrintStyle { Text, Assembler, Hexadecimal };

// Bytes per line of the text and hexadecimal styles.
inline constexpr int kPrintBytesPerLine = 16;
// Written after every selection, between two empty lines.
inline constexpr int kPrintSeparatorWidth = 67;

// For each selection in list order: its lines in the given style, then an empty line, a
// line of stars and an empty line. Bytes without a value print as the image holds them (0).
std::vector<std::string> PrintLines(const SelectionList& selections, const MemoryImage& image,
                                    InstructionDecoder& decoder, PrintStyle style);

}  // namespace velmora
