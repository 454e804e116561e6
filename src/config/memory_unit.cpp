#include "config/memory_unit.h"

#include <algorithm>

#include "core/hex_text.h"

namespace velmora {

bool MemoryUnit::HasMapping() const {
  return std::any_of(sections.begin(), sections.end(), [](const MemorySection& s) {
    return std::any_of(s.regions.begin(), s.regions.end(),
                       [](const MemoryRegion& r) { return r.hasMapping; });
  });
}

bool MemoryUnit::HasFeature(std::string_view feature) const {
  return std::any_of(features.begin(), features.end(),
                     [feature](const std::string& f) { return EqualsNoCase(f, feature); });
}

bool MemoryUnit::AddFeature(const std::string& feature) {
  if (HasFeature(feature) || static_cast<int>(features.size()) >= kMaxFeatures) return false;
  features.push_back(feature);
  return true;
}

MemoryLocation FindMemoryRegion(const std::vector<MemoryUnit>& units, int32_t address) {
  MemoryLocation found;
  for (size_t u = 0; u < units.size(); ++u) {
    if (!units[u].Usable()) continue;
    const auto& sections = units[u].sections;
    for (size_t s = 0; s < sections.size(); ++s) {
      const auto& regions = sections[s].regions;
      for (size_t r = 0; r < regions.size(); ++r) {
        const int64_t base = regions[r].Base();
        if (base <= address && address < base + regions[r].length) {
          found = {static_cast<int>(u), static_cast<int>(s), static_cast<int>(r)};
        }
      }
    }
  }
  return found;
}

bool ToggleActivation(MemoryUnit& unit) {
  if (unit.activate.empty()) return false;
  unit.activated = !unit.activated;
  return true;
}

bool ToggleMapping(MemoryUnit& unit) {
  bool toggled = false;
  for (auto& section : unit.sections) {
    for (auto& region : section.regions) {
      if (!region.hasMapping) continue;
      region.mapped = !region.mapped;
      toggled = true;
    }
  }
  return toggled;
}

}  // namespace velmora
