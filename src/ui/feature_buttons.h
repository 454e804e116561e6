// The flash buttons, each standing for a feature name a memory unit's driver may offer,
// and which of them (and of the user script buttons) the window shows.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "config/memory_unit.h"

namespace velmora::ui {

struct FeatureButton {
  std::string_view name;     // the button's objectName
  std::string_view feature;  // the memory unit feature it stands for
  std::string_view caption;
};

inline constexpr std::array<FeatureButton, 7> kFeatureButtons = {{
    {"BProgram", "PROGRAM", "Intelligent Program of Selection into Flash / Otp"},
    {"BErase", "ERASE", "Erase Section"},
    {"BProtect", "PROTECT", "Protect Flash"},
    {"BUnprotect", "UNPROTECT", "Unprotect Flash"},
    {"BLock", "LOCK", "Lock Flash"},
    {"BUnlock", "UNLOCK", "Unlock Flash"},
    {"BStatus", "STATUS", "Get Flash Status"},
}};

inline constexpr int kUserScriptButtons = 4;

// Which of kFeatureButtons to show: those whose feature some unit (of the first
// kMaxMemoryUnits, their first kMaxFeatures features) offers, by exact name.
std::array<bool, kFeatureButtons.size()> VisibleFeatureButtons(
    const std::vector<MemoryUnit>& units);

// Which user script buttons to show: those with a script assigned.
std::array<bool, kUserScriptButtons> VisibleUserScriptButtons(
    const std::array<std::string, kUserScriptButtons>& userScripts);

}  // namespace velmora::ui
