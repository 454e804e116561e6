// The key lines of one memory unit, shared by the preferences file and the memory
// definition files: TYPE=, BLANK=0x, BURSTSIZE=0x, ACTIVATED, ACTIVATEREGISTER(i)=,
// ACTIVATEMASK(i)=0x, SECTION(s).STARTADDRESS(r)=0x and the other region keys,
// DRIVER.PATH=, DRIVER.BUFFERADDRESS=, DRIVER.FEATURES= and STATUS(w).BIT(b)=.
#pragma once

#include <string>
#include <string_view>

#include "config/memory_unit.h"

namespace velmora {

struct UnitKeyResult {
  bool recognized = false;  // the line is one of the unit keys
  std::string problem;      // set when a recognised line could not be taken whole
};

// Applies one key line (keys matched without regard to case) to the unit. Indexes beyond
// the unit's limits are refused with a problem and change nothing.
UnitKeyResult ApplyMemoryUnitKey(std::string_view line, MemoryUnit& unit);

// The key lines of a unit in the order the preferences writer emits them, each ended
// by CR LF (without the NAME= line and the empty line after the unit).
std::string MemoryUnitKeyLines(const MemoryUnit& unit);

}  // namespace velmora
