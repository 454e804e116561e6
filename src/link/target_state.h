// The one state of the connection to the target, and its status texts.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace velmora {

enum class TargetState : int16_t {
  NotConnected = 0,
  Ready = 1,
  UserProgramRunning = 2,
  Debugging = 3,
  StepMode = 4,
  DebuggingFromBreakpoint = 5,
  StepModeFromBreakpoint = 6,
  DriverRunning = 7,
};

// What an operation that needs the monitor returns when the target is not connected.
inline constexpr int16_t kNotConnectedStatus = -100;

// The status bar text of a state; nullopt for a value without one (the bar keeps its text).
std::optional<std::string_view> TargetStateText(int16_t state);
inline std::optional<std::string_view> TargetStateText(TargetState state) {
  return TargetStateText(static_cast<int16_t>(state));
}

}  // namespace velmora
