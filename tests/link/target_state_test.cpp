// The status bar texts of the connection states.
#include <gtest/gtest.h>

#include <optional>
#include <string_view>

#include "link/target_state.h"

namespace velmora {
namespace {

struct StateText {
  int16_t state;
  std::optional<std::string_view> text;
};

// The blanks after "DEBUGGING" and the second "STEP MODE" belong to the texts.
const StateText kStateTexts[] = {
    {0, "NOT CONNECTED"}, {1, "CONNECTED AND READY"}, {2, "USER PROGRAM RUNNING"},
    {3, "DEBUGGING "},    {4, "STEP MODE"},           {5, "DEBUGGING "},
    {6, "STEP MODE "},    {7, "DRIVER RUNNING"},      {8, std::nullopt},
    {-1, std::nullopt},   {100, std::nullopt},
};

TEST(TargetStateText, EveryStateHasItsTextAndOtherValuesNone) {
  for (const auto& row : kStateTexts) {
    SCOPED_TRACE(row.state);
    EXPECT_EQ(TargetStateText(row.state), row.text);
  }
}

TEST(TargetStateText, TheEnumeratorsNameTheSameStates) {
  EXPECT_EQ(TargetStateText(TargetState::NotConnected), "NOT CONNECTED");
  EXPECT_EQ(TargetStateText(TargetState::Ready), "CONNECTED AND READY");
  EXPECT_EQ(TargetStateText(TargetState::UserProgramRunning), "USER PROGRAM RUNNING");
  EXPECT_EQ(TargetStateText(TargetState::Debugging), "DEBUGGING ");
  EXPECT_EQ(TargetStateText(TargetState::StepMode), "STEP MODE");
  EXPECT_EQ(TargetStateText(TargetState::DebuggingFromBreakpoint), "DEBUGGING ");
  EXPECT_EQ(TargetStateText(TargetState::StepModeFromBreakpoint), "STEP MODE ");
  EXPECT_EQ(TargetStateText(TargetState::DriverRunning), "DRIVER RUNNING");
}

}  // namespace
}  // namespace velmora
