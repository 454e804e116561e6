#include "config/target_configuration.h"

namespace velmora {

std::string_view InitRegisterName(InitRegister reg) {
  static constexpr std::array<std::string_view, kInitRegisterCount> kNames = {
      "FOCON", "FCONCS0", "TCONCS0", "EBCMOD0", "EBCMOD1", "SYSCON0", "SYSCON1", "SYSCON3",
      "RSTCON", "",       "",        "DPP0",    "DPP1",    "DPP2",    "DPP3"};
  return kNames[static_cast<size_t>(reg)];
}

bool TargetConfiguration::AddMemoryUnit() {
  if (static_cast<int>(units.size()) >= kMaxMemoryUnits) return false;
  units.emplace_back();
  return true;
}

bool TargetConfiguration::RemoveMemoryUnit(int index) {
  if (index < 0 || index >= static_cast<int>(units.size())) return false;
  units.erase(units.begin() + index);
  return true;
}

}  // namespace velmora
