// Target code run on the board's processor until it comes back to the monitor.
//
// The board's monitor (still C++ on this side of the line) calls a routine with a far call:
// it pushes a return address inside its own area, so that the routine's RETS comes back
// there. A started program is jumped to and comes back only through a planted breakpoint,
// a far call to the monitor's break entry. Reaching either address ends the run; the
// processor's state stays as the code left it (at a break, the call has pushed CSP and the
// IP after the breakpoint, which the debugger pops).
#pragma once

#include <cstdint>
#include <functional>

#include "core/memory_image.h"
#include "sim/cpu/cpu.h"

namespace velmora {

class InstructionTrace;

struct MonitorExits {
  int32_t returnAddress;  // where a routine's RETS lands
  int32_t breakEntry;     // where a planted breakpoint's far call lands
};

enum class RunEnd {
  kReturned,  // the code returned to the monitor
  kBreak,     // the code ran into a planted breakpoint
  kGone,      // still running when the limit was reached, or reset itself: it is the
              // program's now and never comes back to the monitor on its own
};

struct RunOutcome {
  RunEnd end = RunEnd::kGone;
  uint64_t cycles = 0;        // processor clock cycles the run took
  uint64_t instructions = 0;  // steps taken, interrupt entries included
};

// How many steps the board runs before it gives the code up as running on its own: more
// than a minute of a flash driver's polling at the board's clock would be far more, but
// the board runs the code while the host waits for the answer.
inline constexpr uint64_t kRunStepLimit = uint64_t{1} << 27;

// Where a trace goes; the memory is what the processor's bus reads. A board whose devices
// must keep up with the processor steps it itself, tracing included.
struct RunTrace {
  InstructionTrace* trace = nullptr;
  MemoryImage* memory = nullptr;
  std::function<StepResult()> step;
};

// Runs from the processor's CSP:IP.
RunOutcome RunOnProcessor(Cpu& cpu, const MonitorExits& exits, uint64_t stepLimit = kRunStepLimit,
                          RunTrace trace = {});
// Pushes the return address as a far call does (CSP, then IP), jumps to start and runs.
RunOutcome CallOnProcessor(Cpu& cpu, int32_t start, const MonitorExits& exits,
                           uint64_t stepLimit = kRunStepLimit, RunTrace trace = {});

}  // namespace velmora
