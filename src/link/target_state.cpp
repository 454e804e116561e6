#include "link/target_state.h"

#include <array>

namespace velmora {

std::optional<std::string_view> TargetStateText(int16_t state) {
  static constexpr std::array<std::string_view, 8> kTexts = {
      "NOT CONNECTED", "CONNECTED AND READY", "USER PROGRAM RUNNING", "DEBUGGING ",
      "STEP MODE",     "DEBUGGING ",          "STEP MODE ",           "DRIVER RUNNING"};
  if (state < 0 || state >= static_cast<int16_t>(kTexts.size())) return std::nullopt;
  return kTexts[static_cast<size_t>(state)];
}

}  // namespace velmora
