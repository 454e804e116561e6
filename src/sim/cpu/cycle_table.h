// CPU clock cycles per instruction, close to the instruction set's timing. The board
// advances its peripherals by these figures, so they matter for timer and baud-rate
// behaviour, not for results.
#pragma once

#include "sim/cpu/operation.h"

namespace velmora {

// What an instruction costs when it does not branch.
int BaseCycles(Operation operation, int length);

// Added when a jump or call is taken: the fetch queue starts again at the target.
inline constexpr int kTakenBranchCycles = 2;
// Entry of an interrupt or trap: three pushes and a fetch from the vector.
inline constexpr int kEntryCycles = 8;
// How long one Step waits while the processor idles: a group of cycles rather than one,
// so an idling board does not step cycle by cycle.
inline constexpr int kIdleCycles = 16;

}  // namespace velmora
