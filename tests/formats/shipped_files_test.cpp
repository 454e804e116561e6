// The definition and preference files the program ships must load as written: not one
// ignored line, and every register the program looks up by name where the chip has it.
#include <gtest/gtest.h>

#include <map>
#include <set>

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
  for (const auto& issue : issues) text += "line " + std::to_string(issue.line) + ": " + issue.reason + "\n";
  return text;
}

class ShippedFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto issues = LoadControllerTypes((ShippedDataFolder() / "mctypes.dat").string(),
                                            ShippedDataFolder(), types, log);
    ASSERT_TRUE(issues.empty()) << describe(issues);
  }
  ControllerTypeTable types;
  MessageLog log;
};

TEST_F(ShippedFiles, DatabaseHoldsTheDefaultTypesAndAtLeastFour) {
  EXPECT_GE(types.Count(), 4);
  EXPECT_GE(types.FindControllerType("TOLVANE"), 0);
  EXPECT_GE(types.FindControllerType("BRASK"), 0);
  for (int i = 0; i < types.Count(); ++i) {
    EXPECT_TRUE(std::filesystem::exists(types.At(i).registerFile)) << types.At(i).name;
    EXPECT_TRUE(std::filesystem::exists(types.At(i).memoryFile)) << types.At(i).name;
    ASSERT_FALSE(types.At(i).ids.empty()) << types.At(i).name;
    EXPECT_GT(types.At(i).ids[0], 0) << types.At(i).name;
  }
}

TEST_F(ShippedFiles, EveryRegisterFileLoadsWithoutAnIgnoredLine) {
  // Looked up by name by the link and the initialisation on every type...
  const std::vector<std::string> always = {"CP", "SP", "PSW", "S0CON", "S0BG",
                                           "DPP0", "DPP1", "DPP2", "DPP3"};
  // ...and on the later generation with reset configuration and identification.
  const std::vector<std::string> laterGeneration = {
      "RSTCFG", "SYSSTAT", "FCONCS0", "TCONCS0", "TSTMOD",  "RSTCON", "RSTCON2",
      "EBCMOD0", "EBCMOD1", "SYSCON0", "SYSCON1", "SYSCON3", "FOCON",  "IDMANUF",
      "IDCHIP", "IDMEM",   "IDPROG",  "IDMEM2"};
  for (int i = 0; i < types.Count(); ++i) {
    const ControllerType& type = types.At(i);
    RegisterTable registers;
    const auto result = LoadRegisterFile(type.registerFile, registers, log);
    ASSERT_TRUE(result.found) << type.name;
    EXPECT_TRUE(result.issues.empty()) << type.name << "\n" << describe(result.issues);
    EXPECT_GT(registers.Count(), 100) << type.name;

    for (const auto& name : always) EXPECT_GE(registers.FindRegister(name), 0) << type.name << " " << name;
    if (type.name == "TOLVANE" || type.name == "BRASK") {
      for (const auto& name : laterGeneration) {
        EXPECT_GE(registers.FindRegister(name), 0) << type.name << " " << name;
      }
      EXPECT_EQ(registers.At(registers.FindRegister("IDMANUF")).address, 0xF07E) << type.name;
      EXPECT_EQ(registers.At(registers.FindRegister("IDMEM2")).address, 0xF076) << type.name;
    }
    // Registers the core of the family has at the same place on every member.
    EXPECT_EQ(registers.At(registers.FindRegister("CP")).address, 0xFE10) << type.name;
    EXPECT_EQ(registers.At(registers.FindRegister("SP")).address, 0xFE12) << type.name;
    EXPECT_EQ(registers.At(registers.FindRegister("PSW")).address, 0xFF10) << type.name;
    EXPECT_EQ(registers.At(registers.FindRegister("DPP0")).address, 0xFE00) << type.name;
    EXPECT_EQ(registers.At(registers.FindRegister("DPP3")).address, 0xFE06) << type.name;
    EXPECT_EQ(registers.At(registers.FindRegister("ZEROS")).address, 0xFF1C) << type.name;
    EXPECT_EQ(registers.At(registers.FindRegister("ONES")).address, 0xFF1E) << type.name;

    std::map<int32_t, std::string> byAddress;
    std::set<std::string> names;
    for (int r = 0; r < registers.Count(); ++r) {
      const auto& reg = registers.At(r);
      EXPECT_TRUE(names.insert(reg.name).second) << type.name << ": " << reg.name << " twice";
      const auto [at, fresh] = byAddress.emplace(reg.address, reg.name);
      EXPECT_TRUE(fresh) << type.name << ": " << reg.name << " and " << at->second << " share "
                         << std::hex << reg.address;
      // A named field never reaches past bit 0.
      for (int bit = 0; bit < 16; ++bit) {
        EXPECT_LE(reg.fieldWidths[static_cast<size_t>(bit)], bit + 1) << type.name << " " << reg.name;
      }
    }
  }
}

TEST_F(ShippedFiles, EveryMemoryFileLoadsWithoutAnIgnoredLine) {
  for (int i = 0; i < types.Count(); ++i) {
    std::vector<MemoryUnit> units;
    const auto result = LoadMemoryFile(types.At(i).memoryFile, units, log);
    ASSERT_TRUE(result.found) << types.At(i).name;
    EXPECT_TRUE(result.issues.empty()) << types.At(i).name << "\n" << describe(result.issues);
    EXPECT_FALSE(units.empty()) << types.At(i).name;
    bool programmable = false;
    for (const auto& unit : units) {
      for (const auto& section : unit.sections) {
        for (const auto& region : section.regions) {
          EXPECT_GT(region.length, 0) << unit.name;
          EXPECT_LE(region.startAddress + region.length - 1, 0xFFFFFF) << unit.name;
        }
      }
      if (unit.HasFeature("PROGRAM")) {
        programmable = true;
        EXPECT_FALSE(unit.driverPath.empty()) << unit.name;
        EXPECT_TRUE(unit.HasFeature("ERASE")) << unit.name;
      }
    }
    EXPECT_TRUE(programmable) << types.At(i).name << " has no programmable memory";
  }
}

TEST_F(ShippedFiles, ShippedPreferencesReadWithoutAnIgnoredLine) {
  for (const auto& name : {"default.ini", "PREFS/BRASK_EVAL.ini"}) {
    Settings settings;
    const auto result = ReadPreferences((ShippedDataFolder() / name).string(), settings, "/home/user", log);
    ASSERT_TRUE(result.found) << name;
    EXPECT_TRUE(result.issues.empty()) << name << "\n" << describe(result.issues);
    EXPECT_GE(types.FindControllerType(settings.target.mcType), 0) << name;
    EXPECT_FALSE(settings.target.units.empty()) << name;
    // The save-as file is left to the user's home folder.
    EXPECT_EQ(settings.files.saveAs.file, "/home/user/test.hex") << name;
  }
  Settings defaults;
  ReadPreferences((ShippedDataFolder() / "default.ini").string(), defaults, "/home/user", log);
  EXPECT_EQ(defaults.communication.PortText(), "virtual");
  EXPECT_TRUE(EqualsNoCase(defaults.target.mcType, "TOLVANE"));
}

}  // namespace
}  // namespace velmora
