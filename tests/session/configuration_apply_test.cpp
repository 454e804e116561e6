// Taking over an edited target configuration: a new controller type brings its register
// definitions and drops shown registers they lack, the views are told, and a unit keeps
// its resident driver only where the same driver stays in the same place.
#include "session/configuration_apply.h"

#include <gtest/gtest.h>

#include "program_folder.h"
#include "recording_frontend.h"
#include "session/session.h"
#include "session/startup.h"

namespace velmora {
namespace {

MemoryUnit unitWithDriver(const std::string& path, bool loaded, int32_t entry = 0xE00300) {
  MemoryUnit unit;
  unit.driverPath = path;
  unit.driverLoaded = loaded;
  unit.driverEntry = loaded ? entry : 0;
  return unit;
}

TEST(ConfigurationApply, TypeChangeIgnoresCase) {
  struct Case {
    const char* stored;
    const char* edited;
    bool changed;
  };
  const Case kCases[] = {{"Tolvane", "TOLVANE", false},
                         {"TOLVANE", "BRASK", true},
                         {"", "KESSEL", true},
                         {"BRASK", "brask", false}};
  for (const Case& c : kCases) {
    TargetConfiguration stored;
    TargetConfiguration edited;
    stored.mcType = c.stored;
    edited.mcType = c.edited;
    EXPECT_EQ(ControllerTypeChanged(stored, edited), c.changed) << c.stored << " " << c.edited;
  }
}

TEST(ConfigurationApply, ResidentDriverKeptOnlyWhereNothingMoved) {
  const std::vector<MemoryUnit> stored = {unitWithDriver("A.HEX", true),
                                          unitWithDriver("B.HEX", false),
                                          unitWithDriver("C.HEX", true, 0xE00400)};
  std::vector<MemoryUnit> edited = {unitWithDriver("A.HEX", false), unitWithDriver("B.HEX", false),
                                    unitWithDriver("OTHER.HEX", false),
                                    unitWithDriver("D.HEX", true)};
  edited[0].name = "renamed";  // a new name is no new driver
  CarryDriverState(stored, edited);
  EXPECT_TRUE(edited[0].driverLoaded);
  EXPECT_EQ(edited[0].driverEntry, 0xE00300);
  EXPECT_FALSE(edited[1].driverLoaded);
  EXPECT_FALSE(edited[2].driverLoaded);  // another driver at the resident one's place
  EXPECT_EQ(edited[2].driverEntry, 0);
  EXPECT_FALSE(edited[3].driverLoaded);  // a copy's flag is never trusted beyond the list

  std::vector<MemoryUnit> moved = {unitWithDriver("C.HEX", false)};
  moved[0].driverBufferAddress = 0xF000;
  std::vector<MemoryUnit> storedC = {stored[2]};
  CarryDriverState(storedC, moved);
  EXPECT_FALSE(moved[0].driverLoaded);  // its buffer moved: the resident copy is stale
}

class ConfigurationApplyOnSession : public ::testing::Test {
 protected:
  ConfigurationApplyOnSession() : session(frontend, home.path()) {}
  void SetUp() override {
    StartupOptions options;
    options.port = "virtual";
    ASSERT_TRUE(Startup(session, options));
    frontend.changes.clear();
  }
  test::ProgramFolderCopy home;
  test::RecordingFrontend frontend;
  Session session;
};

TEST_F(ConfigurationApplyOnSession, NewTypeReadsItsRegistersAndDropsUnknownShownOnes) {
  session.settings.frontend.display = {"PSW", "SYSCON3"};
  ASSERT_GE(session.registers.FindRegister("SYSCON3"), 0);
  TargetConfiguration edited = session.settings.target;
  edited.mcType = "KESSEL";
  edited.clockRate = 20000000;
  edited.units.clear();
  EXPECT_TRUE(ApplyTargetConfiguration(session, edited));
  EXPECT_EQ(session.settings.target.mcType, "KESSEL");
  EXPECT_EQ(session.settings.target.clockRate, 20000000);
  EXPECT_TRUE(session.settings.target.units.empty());
  EXPECT_EQ(session.registers.FindRegister("SYSCON3"), -1);
  EXPECT_EQ(session.settings.frontend.display, (std::vector<std::string>{"PSW"}));
  EXPECT_TRUE(frontend.Refreshed(RefreshTarget::FeatureButtons));
  EXPECT_TRUE(frontend.Refreshed(RefreshTarget::RegisterList));
}

TEST_F(ConfigurationApplyOnSession, SameTypeKeepsTheRegisterDefinitions) {
  // A register the file does not have: reading the file again would lose it.
  session.registers.Add(RegisterDefinition("MARKER", 0xFE02));
  TargetConfiguration edited = session.settings.target;
  edited.mcType = "tolvane";
  edited.einitEnabled = 1;
  EXPECT_FALSE(ApplyTargetConfiguration(session, edited));
  EXPECT_GE(session.registers.FindRegister("MARKER"), 0);
  EXPECT_EQ(session.settings.target.einitEnabled, 1);
  EXPECT_TRUE(frontend.Refreshed(RefreshTarget::FeatureButtons));
}

}  // namespace
}  // namespace velmora
