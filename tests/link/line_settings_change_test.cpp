#include "link/line_settings_change.h"

#include <gtest/gtest.h>

#include "link_fixture.h"

namespace velmora {
namespace {

TEST(BaudRateReload, FollowsTheGeneratorFormulaWithHalvesToEven) {
  EXPECT_EQ(BaudRateReload(40000000, 19200, 0), 64);
  EXPECT_EQ(BaudRateReload(40000000, 19200, 1), 42);
  EXPECT_EQ(BaudRateReload(40000000, 9600, 0), 129);
  // 20 MHz / (2 x 16 x 62500) - 1 = 9 exactly; 18.5 would round to 18.
  EXPECT_EQ(BaudRateReload(20000000, 62500, 0), 9);
  EXPECT_EQ(BaudRateReload(19.5 * 32 * 1000, 1000, 0), 18);
  EXPECT_EQ(BaudRateReload(20.5 * 32 * 1000, 1000, 0), 20);
}

class LineSettingsChange : public test::LinkFixture {};

TEST_F(LineSettingsChange, AConnectedTargetGetsTheNewReloadAtTheOldRate) {
  Connect();
  const int s0bg = registers.At(registers.FindRegister("S0BG")).address;
  const int s0con = registers.At(registers.FindRegister("S0CON")).address;
  board->WriteWord(s0con, 0x8011);  // S0BRS clear
  settings.communication.baudRate = 19200;
  ASSERT_TRUE(ApplyCommunicationSettings(*link));
  EXPECT_EQ(board->ReadWord(s0bg), 64);
  EXPECT_EQ(port->settings().baudRate, 19200);

  board->WriteWord(s0con, 0xA011);  // S0BRS set
  ASSERT_TRUE(ApplyCommunicationSettings(*link));
  EXPECT_EQ(board->ReadWord(s0bg), 42);
}

TEST_F(LineSettingsChange, WithoutAConnectionOnlyThePortChanges) {
  settings.communication.baudRate = 57600;
  ASSERT_TRUE(ApplyCommunicationSettings(*link));
  EXPECT_TRUE(board->received().empty());
  EXPECT_EQ(port->settings().baudRate, 57600);
}

TEST_F(LineSettingsChange, APortThatWillNotOpenKeepsTheDialogOpen) {
  port->SetUnavailable(true);
  EXPECT_FALSE(ApplyCommunicationSettings(*link));
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, "Communication Port not available ! Please select a different port !");
}

}  // namespace
}  // namespace velmora
