#include "session/preferences.h"

#include <gtest/gtest.h>

#include <string>

#include "formats/controller_types.h"
#include "formats/register_file.h"
#include "recording_frontend.h"
#include "session/session.h"
#include "temp_folder.h"

namespace velmora {
namespace {

// A program folder with two controller types, each with its own register file.
class PreferencesSession : public ::testing::Test {
 protected:
  void SetUp() override {
    home.Write("mctypes.dat",
               "[TOLVANE]\r\n"
               "REGDEF=SFRDEF\\TOLVANE.SFR\r\n"
               "MEMDEF=MEMDEF\\TOLVANE.MEM\r\n"
               "ID=0xD5\r\n"
               "[BRASK]\r\n"
               "REGDEF=SFRDEF\\BRASK.SFR\r\n"
               "MEMDEF=MEMDEF\\BRASK.MEM\r\n"
               "ID=0xD5\r\n");
    home.Write("SFRDEF/TOLVANE.SFR", "SFR 0xFF10 PSW\r\nSFR 0xFF12 TOLCON\r\n");
    home.Write("SFRDEF/BRASK.SFR",
               "SFR 0xFF10 PSW\r\nSFR 0xFF14 BRASKCON\r\nSFR 0xFF16 BRASK2\r\n");
    LoadControllerTypes(home.File("mctypes.dat"), home.path(), session.controllerTypes,
                        session.log);
    ASSERT_EQ(session.controllerTypes.Count(), 2);
  }

  bool load(const std::string& text) {
    return LoadPreferences(session, home.Write("prefs.ini", text));
  }

  test::TempFolder home;
  test::RecordingFrontend frontend;
  Session session{frontend, home.path()};
};

TEST_F(PreferencesSession, AKnownTypeBringsItsRegisterFile) {
  ASSERT_TRUE(load("[Controller]\r\nMCTYPE=Brask\r\n"));
  EXPECT_TRUE(frontend.boxes.empty());
  ASSERT_EQ(session.registers.Count(), 5);  // three of the file, ZEROS and ONES
  EXPECT_GE(session.registers.FindRegister("BRASKCON"), 0);
  EXPECT_EQ(session.registers.FindRegister("TOLCON"), -1);
}

TEST_F(PreferencesSession, AnUnknownTypeIsSaidAndLeavesTheRegisters) {
  ASSERT_TRUE(
      LoadRegisterFile(home.File("SFRDEF/BRASK.SFR"), session.registers, session.log).found);
  ASSERT_TRUE(load("[Controller]\r\nMCTYPE=NONESUCH\r\n[Communication]\r\nBAUDRATE=19200\r\n"));
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text,
            "The Controller Type in the preference file is not (no longer) supported. Please "
            "select a different one in the target-configuration dialog ");
  EXPECT_EQ(frontend.boxes[0].buttons, BoxButtons::Ok);
  EXPECT_EQ(session.registers.Count(), 5);
  EXPECT_GE(session.registers.FindRegister("BRASKCON"), 0);
  // The rest of the file is read.
  EXPECT_EQ(session.settings.communication.baudRate, 19200);
}

TEST_F(PreferencesSession, WithoutAControllerTypeTheDefaultTypesRegistersAreRead) {
  ASSERT_TRUE(
      LoadRegisterFile(home.File("SFRDEF/BRASK.SFR"), session.registers, session.log).found);
  ASSERT_TRUE(load("[Communication]\r\nBAUDRATE=19200\r\n"));
  EXPECT_TRUE(frontend.boxes.empty());
  EXPECT_EQ(session.settings.target.mcType, "Tolvane");
  EXPECT_EQ(session.registers.Count(), 4);
  EXPECT_GE(session.registers.FindRegister("TOLCON"), 0);
  EXPECT_EQ(session.registers.FindRegister("BRASKCON"), -1);
}

TEST_F(PreferencesSession, TheMonitorAreaFollowsThePreferences) {
  ASSERT_TRUE(load("[Velmora]\r\nVELMORASTARTADDRESS=E10000\r\nVELMORAENDADDRESS=0xE102C3\r\n"));
  EXPECT_EQ(session.monitorArea, (MonitorArea{0xE10000, 0xE102C3}));
  ASSERT_TRUE(load(""));
  EXPECT_EQ(session.monitorArea, kDefaultMonitorArea);
}

TEST_F(PreferencesSession, TheLogSwitch) {
  ASSERT_FALSE(session.log.LoggingOn());
  ASSERT_TRUE(load("[Frontend]\r\nLOGFILE=1\r\n"));
  EXPECT_TRUE(session.log.LoggingOn());
  ASSERT_TRUE(load("[Frontend]\r\nLOGFILE=2\r\n"));
  EXPECT_FALSE(session.log.LoggingOn());
  ASSERT_TRUE(load("[Frontend]\r\nLOGFILE=1\r\n"));
  ASSERT_TRUE(load("[Frontend]\r\n"));
  EXPECT_FALSE(session.log.LoggingOn());
}

TEST_F(PreferencesSession, AMissingFileKeepsTheDefaultsAndReadsTheDefaultTypesRegisters) {
  const std::string path = home.File("PREFS/none.ini");
  EXPECT_FALSE(LoadPreferences(session, path));
  EXPECT_TRUE(frontend.boxes.empty());
  EXPECT_EQ(session.settings.target.mcType, "Tolvane");
  EXPECT_GE(session.registers.FindRegister("TOLCON"), 0);
}

}  // namespace
}  // namespace velmora
