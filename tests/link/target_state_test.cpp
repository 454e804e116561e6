// The status bar texts of the connection states.
#include <gtest/gtest.h>

#include <optional>
#include <string_view>

#include "link/target_state.h"

namespace velmora {
namespace {

TEST(TargetStateText, EveryStateHasItsTextAndOtherValuesNone) {
  // The blanks after "DEBUGGING" and the second "STEP MODE" belong to the texts.
  const std::pair<int16_t, std::optional<std::string_view>> rows[] = {
      {0, "NOT CONNECTED"}, {1, "CONNECTED AND READY"}, {2, "USER PROGRAM RUNNING"},
      {3, "DEBUGGING "},    {4, "STEP MODE"},           {5, "DEBUGGING "},
      {6, "STEP MODE "},    {7, "DRIVER RUNNING"},      {8, std::nullopt},
      {-1, std::nullopt},
  };
  for (const auto& [state, text] : rows) EXPECT_EQ(TargetStateText(state), text) << state;
  EXPECT_EQ(TargetStateText(TargetState::DriverRunning), "DRIVER RUNNING");
}

}  // namespace
}  // namespace velmora
