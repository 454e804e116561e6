#include "ui/feature_buttons.h"

#include <algorithm>

namespace velmora::ui {

std::array<bool, kFeatureButtons.size()> VisibleFeatureButtons(
    const std::vector<MemoryUnit>& units) {
  std::array<bool, kFeatureButtons.size()> visible{};
  const size_t unitCount = std::min(units.size(), static_cast<size_t>(kMaxMemoryUnits));
  for (size_t u = 0; u < unitCount; ++u) {
    const auto& features = units[u].features;
    const size_t featureCount = std::min(features.size(), static_cast<size_t>(kMaxFeatures));
    for (size_t f = 0; f < featureCount; ++f) {
      for (size_t b = 0; b < kFeatureButtons.size(); ++b) {
        if (features[f] == kFeatureButtons[b].feature) visible[b] = true;
      }
    }
  }
  return visible;
}

std::array<bool, kUserScriptButtons> VisibleUserScriptButtons(
    const std::array<std::string, kUserScriptButtons>& userScripts) {
  std::array<bool, kUserScriptButtons> visible{};
  for (size_t i = 0; i < visible.size(); ++i) visible[i] = !userScripts[i].empty();
  return visible;
}

}  // namespace velmora::ui
