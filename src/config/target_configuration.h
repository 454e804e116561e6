// Which controller is on the board, its clock, the registers written right after the
// monitor starts, and the board's memory units.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "config/memory_unit.h"

namespace velmora {

// The registers written at initialisation, in the order of their enabled flags.
enum class InitRegister {
  FOCON,
  FCONCS0,
  TCONCS0,
  EBCMOD0,
  EBCMOD1,
  SYSCON0,
  SYSCON1,
  SYSCON3,
  RSTCON,
  Generic1,
  Generic2,
  DPP0,
  DPP1,
  DPP2,
  DPP3,
};
inline constexpr int kInitRegisterCount = 15;

// The register values, in the order of the value fields (a generic register has a data
// and an address field).
enum class InitValue {
  FOCON,
  FCONCS0,
  TCONCS0,
  EBCMOD0,
  EBCMOD1,
  SYSCON0,
  SYSCON1,
  SYSCON3,
  RSTCON,
  Generic1Data,
  Generic1Address,
  Generic2Data,
  Generic2Address,
  DPP0,
  DPP1,
  DPP2,
  DPP3,
};
inline constexpr int kInitValueCount = 17;

// The register name of a named initial register ("FOCON" .. "DPP3"); empty for the two
// generic ones.
std::string_view InitRegisterName(InitRegister reg);

struct TargetConfiguration {
  std::string mcType = "Tolvane";
  int32_t clockRate = 40000000;
  int32_t einitEnabled = 0;
  std::array<int32_t, kInitRegisterCount> enabled{};
  std::array<int32_t, kInitValueCount> values{};
  std::vector<MemoryUnit> units;  // at most kMaxMemoryUnits

  bool IsEnabled(InitRegister reg) const { return enabled[static_cast<size_t>(reg)] == 1; }
  void SetEnabled(InitRegister reg, bool on) { enabled[static_cast<size_t>(reg)] = on ? 1 : 0; }
  int32_t Value(InitValue field) const { return values[static_cast<size_t>(field)]; }
  void SetValue(InitValue field, int32_t value) { values[static_cast<size_t>(field)] = value; }

  // Add in the configuration dialog: a new unit with the defaults; false when all 33
  // entries are in use.
  bool AddMemoryUnit();
  // Removes a unit; later units move down.
  bool RemoveMemoryUnit(int index);
};

}  // namespace velmora
