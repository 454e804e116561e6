// Virtual time for the board's devices: CPU clock cycles since reset and the clock rate.
// The processor loop advances `cycles`; devices read it and never look at a real clock,
// so a test of a half-second erase runs in microseconds.
#pragma once

#include <cstdint>

namespace velmora {

struct VirtualClock {
  uint64_t cycles = 0;
  uint32_t cpuHz = 20'000'000;

  uint64_t CyclesFromMicros(uint64_t micros) const { return micros * cpuHz / 1'000'000; }
};

}  // namespace velmora
