// Running target code on the virtual board, far enough to debug against it: straight-line
// code is stepped by instruction length, unconditional jumps and calls whose target is in
// the instruction are followed (as the decoder's flow information gives them), and a far
// call into the monitor's break entry (a planted breakpoint) stops the run. The board does
// not execute anything: returns, traps and jumps through registers or on conditions are
// stepped over as straight-line code, which is as far as it can follow without a processor.
//
// An instruction that a planted far call covers in part is not the program's any more: a
// controller would run the call's address bytes as code. The board counts that as a
// program gone astray, which never comes back to the monitor.
#pragma once

#include <cstdint>
#include <optional>

#include "core/memory_image.h"
#include "disasm/opcode_table.h"

namespace velmora {

// The longest run the board follows before it counts the program as running on its own.
inline constexpr int kMaxInstructionsPerRun = 1 << 20;

// The address of the breakpoint the code starting at `start` runs into, or nullopt.
std::optional<int32_t> RunUntilBreak(MemoryImage& memory, const OpcodeTable& opcodes, int32_t start,
                                     int32_t breakEntry);

}  // namespace velmora
