// The line settings: the text the port is opened with, the baud rate generator reload,
// and a change of settings while connected.
#include <gtest/gtest.h>

#include <string>

#include "config/communication_settings.h"
#include "link/line_settings_change.h"
#include "observing_port.h"

namespace velmora {
namespace {

TEST(CSettings, BaudParityLetterDataAndStopBits) {
  struct Row {
    int32_t baudRate, parity, dataBits, stopBits;
    std::string text;
  };
  const Row rows[] = {
      {115200, 2, 7, 2, "115200,e,7,2"}, {300, 1, 8, 1, "300,o,8,1"},
      {14400, 0, 8, 1, "14400,n,8,1"},  // a rate outside the list is used all the same
      {9600, 3, 8, 1, "9600,,8,1"},     // no letter for an unknown parity
      {9600, -1, 8, 1, "9600,,8,1"},
  };
  for (const Row& row : rows) {
    CommunicationSettings settings;
    settings.baudRate = row.baudRate;
    settings.parity = row.parity;
    settings.dataBits = row.dataBits;
    settings.stopBits = row.stopBits;
    EXPECT_EQ(CSettings(settings), row.text);
  }
  EXPECT_EQ(CSettings(CommunicationSettings{}), "9600,n,8,1");
}

TEST(BaudRateReload, FollowsTheGeneratorFormulaWithHalvesToEven) {
  EXPECT_EQ(BaudRateReload(40000000, 19200, 0), 64);
  EXPECT_EQ(BaudRateReload(40000000, 19200, 1), 42);
  EXPECT_EQ(BaudRateReload(20000000, 62500, 0), 9);  // exactly 9
  EXPECT_EQ(BaudRateReload(19.5 * 32 * 1000, 1000, 0), 18);
  EXPECT_EQ(BaudRateReload(20.5 * 32 * 1000, 1000, 0), 20);
}

class LineSettingsChange : public test::ObservedLinkFixture {};

TEST_F(LineSettingsChange, AConnectedTargetGetsTheNewReloadAtTheOldRate) {
  settings.communication.baudRate = 57600;
  ASSERT_TRUE(ApplyCommunicationSettings(*link));  // not connected: only the port changes
  EXPECT_TRUE(board->received().empty());
  EXPECT_EQ(port->settings().baudRate, 57600);

  ASSERT_NO_FATAL_FAILURE(Connect());
  const int s0bg = registers.At(registers.FindRegister("S0BG")).address;
  const int s0con = registers.At(registers.FindRegister("S0CON")).address;
  settings.communication.baudRate = 19200;
  for (const auto& [s0conValue, reload] : {std::pair{0x8011, 64}, std::pair{0xA011, 42}}) {
    board->WriteWord(s0con, static_cast<uint16_t>(s0conValue));  // S0BRS is bit 13
    ASSERT_TRUE(ApplyCommunicationSettings(*link));
    EXPECT_EQ(board->ReadWord(s0bg), reload);
    EXPECT_EQ(port->settings().baudRate, 19200);
  }
}

TEST_F(LineSettingsChange, APortThatWillNotOpenKeepsTheDialogOpen) {
  port->SetUnavailable(true);
  EXPECT_FALSE(ApplyCommunicationSettings(*link));
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text,
            "Communication Port not available ! Please select a different port !");
}

}  // namespace
}  // namespace velmora
