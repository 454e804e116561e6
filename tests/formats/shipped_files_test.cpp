// The definition and preference files the program ships must load as written: not one
// ignored line, and every register the program looks up by name where the chip has it.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "core/hex_text.h"
#include "formats/controller_types.h"
#include "formats/memory_file.h"
#include "formats/preferences_file.h"
#include "formats/register_file.h"
#include "program_folder.h"

namespace velmora {
namespace {

using test::ShippedDataFolder;

std::string describe(const LineIssues& issues) {
  std::string text;
  for (const auto& issue : issues)
    text += "line " + std::to_string(issue.line) + ": " + issue.reason + "\n";
  return text;
}

class ShippedFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto issues = LoadControllerTypes((ShippedDataFolder() / "mctypes.dat").string(),
                                            ShippedDataFolder(), types, log);
    ASSERT_TRUE(issues.empty()) << describe(issues);
    ASSERT_GE(types.Count(), 4);
    ASSERT_GE(types.FindControllerType("TOLVANE"), 0);
    ASSERT_GE(types.FindControllerType("BRASK"), 0);
  }
  ControllerTypeTable types;
  MessageLog log;
};

TEST_F(ShippedFiles, EveryRegisterFileLoadsWithoutAnIgnoredLine) {
  // Looked up by name on every type, and on the later generation with reset configuration
  // and identification.
  const std::string always = "CP SP PSW S0CON S0BG DPP0 DPP1 DPP2 DPP3";
  const std::string laterGeneration =
      "RSTCFG SYSSTAT FCONCS0 TCONCS0 TSTMOD RSTCON RSTCON2 EBCMOD0 EBCMOD1 SYSCON0 SYSCON1 "
      "SYSCON3 FOCON IDMANUF IDCHIP IDMEM IDPROG IDMEM2";
  // Registers the core of the family has at the same place on every member.
  const std::map<std::string, int32_t> fixed = {
      {"CP", 0xFE10},   {"SP", 0xFE12},    {"PSW", 0xFF10}, {"DPP0", 0xFE00},
      {"DPP3", 0xFE06}, {"ZEROS", 0xFF1C}, {"ONES", 0xFF1E}};
  for (int i = 0; i < types.Count(); ++i) {
    const ControllerType& type = types.At(i);
    SCOPED_TRACE(type.name);
    EXPECT_FALSE(type.ids.empty() || type.ids[0] <= 0);
    RegisterTable registers;
    const auto result = LoadRegisterFile(type.registerFile, registers, log);
    ASSERT_TRUE(result.found);
    EXPECT_TRUE(result.issues.empty()) << describe(result.issues);
    EXPECT_GT(registers.Count(), 100);
    const auto addressOf = [&registers](const std::string& name) {
      const int index = registers.FindRegister(name);
      return index < 0 ? -1 : registers.At(index).address;
    };
    const bool later = type.name == "TOLVANE" || type.name == "BRASK";
    std::istringstream lookedUp(always + (later ? " " + laterGeneration : ""));
    for (std::string name; lookedUp >> name;) EXPECT_GE(addressOf(name), 0) << name;
    for (const auto& [name, address] : fixed) EXPECT_EQ(addressOf(name), address) << name;
    EXPECT_TRUE(!later || (addressOf("IDMANUF") == 0xF07E && addressOf("IDMEM2") == 0xF076));

    // No name or address twice; a named field never reaches past bit 0.
    std::set<std::string> names;
    std::set<int32_t> addresses;
    for (int r = 0; r < registers.Count(); ++r) {
      const auto& reg = registers.At(r);
      EXPECT_TRUE(names.insert(reg.name).second && addresses.insert(reg.address).second)
          << reg.name;
      for (int bit = 0; bit < 16; ++bit) EXPECT_LE(reg.fieldWidths[bit], bit + 1) << reg.name;
    }
  }
}

TEST_F(ShippedFiles, EveryMemoryFileLoadsWithoutAnIgnoredLine) {
  for (int i = 0; i < types.Count(); ++i) {
    SCOPED_TRACE(types.At(i).name);
    std::vector<MemoryUnit> units;
    const auto result = LoadMemoryFile(types.At(i).memoryFile, units, log);
    ASSERT_TRUE(result.found);
    EXPECT_TRUE(result.issues.empty()) << describe(result.issues);
    bool programmable = false;
    for (const auto& unit : units) {
      for (const auto& section : unit.sections) {
        for (const auto& region : section.regions) {
          EXPECT_GT(region.length, 0) << unit.name;
          EXPECT_LE(region.startAddress + region.length - 1, 0xFFFFFF) << unit.name;
        }
      }
      if (!unit.HasFeature("PROGRAM")) continue;
      programmable = true;
      EXPECT_FALSE(unit.driverPath.empty()) << unit.name;
      EXPECT_TRUE(unit.HasFeature("ERASE")) << unit.name;
    }
    EXPECT_TRUE(programmable) << "no programmable memory";
  }
}

TEST_F(ShippedFiles, ShippedPreferencesReadWithoutAnIgnoredLine) {
  for (const auto& name : {"default.ini", "PREFS/BRASK_EVAL.ini"}) {
    SCOPED_TRACE(name);
    Settings settings;
    const auto result =
        ReadPreferences((ShippedDataFolder() / name).string(), settings, "/home/user", log);
    ASSERT_TRUE(result.found);
    EXPECT_TRUE(result.issues.empty()) << describe(result.issues);
    EXPECT_GE(types.FindControllerType(settings.target.mcType), 0);
    EXPECT_FALSE(settings.target.units.empty());
    EXPECT_EQ(settings.files.saveAs.file, "/home/user/test.hex");  // left to the user's home folder
    if (name[0] != 'd') continue;
    EXPECT_EQ(settings.communication.PortText(), "virtual");
    EXPECT_TRUE(EqualsNoCase(settings.target.mcType, "TOLVANE"));
  }
}

}  // namespace
}  // namespace velmora
