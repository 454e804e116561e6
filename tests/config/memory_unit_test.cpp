#include "config/memory_unit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/memory_lists.h"
#include "config/target_configuration.h"

namespace velmora {
namespace {

MemoryRegion region(int32_t start, int32_t length) {
  MemoryRegion r;
  r.startAddress = start;
  r.length = length;
  return r;
}

MemoryRegion mappable(int32_t start, int32_t length, int32_t mapAddress, bool mapped) {
  MemoryRegion r = region(start, length);
  r.hasMapping = true;
  r.mapAddress = mapAddress;
  r.mapRegister = "SYSCON1";
  r.mapMask = 0x0010;
  r.mapped = mapped;
  return r;
}

MemoryUnit unit(std::string name, std::vector<MemorySection> sections) {
  MemoryUnit u;
  u.name = std::move(name);
  u.sections = std::move(sections);
  return u;
}

// A board of five units:
//   0 XRAM   000000-00FFFF, always usable
//   1 CAN    00EF00-00EFFF, switched by SYSCON0 but not switched on
//   2 OVER   008000-008FFF, overlaps XRAM, activated
//   3 FLASH  section 0: C00000-C01FFF mapped to 010000, C02000-C03FFF mappable but not mapped;
//            section 1: C10000-C1FFFF
//   4 LATE   00F000-00F0FF and, in a later section, 00F080-00F0FF
std::vector<MemoryUnit> board() {
  std::vector<MemoryUnit> units;
  units.push_back(unit("XRAM", {{{region(0x000000, 0x010000)}}}));
  units.push_back(unit("CAN", {{{region(0x00EF00, 0x000100)}}}));
  units.back().activate = {{"SYSCON0", 0x0004}};
  units.push_back(unit("OVER", {{{region(0x008000, 0x001000)}}}));
  units.back().activate = {{"XPERCON", 0x0001}};
  units.back().activated = true;
  units.push_back(unit("FLASH", {{{mappable(0xC00000, 0x2000, 0x010000, true),
                                   mappable(0xC02000, 0x2000, 0x012000, false)}},
                                 {{region(0xC10000, 0x10000)}}}));
  units.push_back(unit("LATE", {{{region(0x00F000, 0x0100)}}, {{region(0x00F080, 0x0080)}}}));
  return units;
}

struct FindCase {
  const char* what;
  int32_t address;
  MemoryLocation expected;
};

const FindCase kFindCases[] = {
    {"first byte of a region", 0x000000, {0, 0, 0}},
    {"below the overlap", 0x007FFF, {0, 0, 0}},
    {"overlap: the later unit wins", 0x008000, {2, 0, 0}},
    {"last byte of the overlap", 0x008FFF, {2, 0, 0}},
    {"past the overlap", 0x009000, {0, 0, 0}},
    {"unit not switched on is invisible", 0x00EF80, {0, 0, 0}},
    {"later section of the same unit wins", 0x00F080, {4, 1, 0}},
    {"earlier section where only it matches", 0x00F07F, {4, 0, 0}},
    {"last byte of a unit's range", 0x00FFFF, {0, 0, 0}},
    {"between two mapped ranges", 0x014000, {-1, -1, -1}},
    {"mapped region at its map address", 0x010000, {3, 0, 0}},
    {"mapped region, last byte at its map address", 0x011FFF, {3, 0, 0}},
    {"mapped region is not found at its start", 0xC00000, {-1, -1, -1}},
    {"unmapped mappable region at its start", 0xC02000, {3, 0, 1}},
    {"one past the mapped region, where an unmapped one would be", 0x012000, {-1, -1, -1}},
    {"second section", 0xC1FFFF, {3, 1, 0}},
    {"one past the second section", 0xC20000, {-1, -1, -1}},
    {"beyond every unit", 0xFFFFFF, {-1, -1, -1}},
};

TEST(FindMemoryRegion, AddressesOfABoard) {
  const auto units = board();
  for (const auto& c : kFindCases) {
    SCOPED_TRACE(c.what);
    const MemoryLocation found = FindMemoryRegion(units, c.address);
    EXPECT_EQ(found, c.expected) << "got " << found.unit << "," << found.section << ","
                                 << found.region;
    EXPECT_EQ(found.Found(), c.expected.unit >= 0);
  }
}

TEST(FindMemoryRegion, SwitchingAUnitOnMakesItVisible) {
  auto units = board();
  ASSERT_EQ(FindMemoryRegion(units, 0x00EF00), (MemoryLocation{0, 0, 0}));
  ASSERT_TRUE(ToggleActivation(units[1]));
  EXPECT_EQ(FindMemoryRegion(units, 0x00EF00), (MemoryLocation{1, 0, 0}));
  EXPECT_EQ(FindMemoryRegion(units, 0x00EFFF), (MemoryLocation{1, 0, 0}));
  EXPECT_EQ(FindMemoryRegion(units, 0x00F000), (MemoryLocation{4, 0, 0}));
}

TEST(FindMemoryRegion, NoUnitsFindsNothing) {
  EXPECT_EQ(FindMemoryRegion({}, 0x000000), (MemoryLocation{-1, -1, -1}));
}

TEST(MemoryUnitToggles, ActivationNeedsActivationRegisters) {
  auto units = board();
  EXPECT_TRUE(units[0].Usable());
  EXPECT_FALSE(ToggleActivation(units[0]));
  EXPECT_FALSE(units[0].activated);
  EXPECT_TRUE(units[0].Usable());

  EXPECT_FALSE(units[1].Usable());
  EXPECT_TRUE(ToggleActivation(units[1]));
  EXPECT_TRUE(units[1].activated);
  EXPECT_TRUE(units[1].Usable());
  EXPECT_TRUE(ToggleActivation(units[1]));
  EXPECT_FALSE(units[1].activated);
  EXPECT_FALSE(units[1].Usable());
}

TEST(MemoryUnitToggles, MappingTogglesEveryMappableRegionOfTheUnit) {
  auto units = board();
  MemoryUnit& flash = units[3];
  flash.sections[1].regions.push_back(mappable(0xC20000, 0x1000, 0x020000, false));
  ASSERT_TRUE(ToggleMapping(flash));
  EXPECT_FALSE(flash.sections[0].regions[0].mapped);
  EXPECT_TRUE(flash.sections[0].regions[1].mapped);
  EXPECT_FALSE(flash.sections[1].regions[0].mapped);  // no mapping: stays
  EXPECT_TRUE(flash.sections[1].regions[1].mapped);
  ASSERT_TRUE(ToggleMapping(flash));
  EXPECT_TRUE(flash.sections[0].regions[0].mapped);
  EXPECT_FALSE(flash.sections[0].regions[1].mapped);
  EXPECT_FALSE(flash.sections[1].regions[0].mapped);
  EXPECT_FALSE(flash.sections[1].regions[1].mapped);

  MemoryUnit& xram = units[0];
  const MemoryUnit before = xram;
  EXPECT_FALSE(ToggleMapping(xram));
  EXPECT_EQ(xram, before);
}

TEST(MemoryUnitToggles, HasMappingWhenAnyRegionHasOne) {
  const auto units = board();
  EXPECT_TRUE(units[3].HasMapping());
  EXPECT_FALSE(units[0].HasMapping());
  EXPECT_FALSE(MemoryUnit{}.HasMapping());
}

// The configuration dialog's table. The name column is 14 wide; a name containing "@"
// must not confuse the key, which is read from the last three "@".
TEST(RefreshMemoryList, LinesOfEveryRegionWithHiddenKeys) {
  std::vector<MemoryUnit> units;
  units.push_back(unit("INTERNAL_FLASH_AREA", {{{mappable(0xC00000, 0x2000, 0x010000, false),
                                                 mappable(0xC02000, 0x2000, 0x012000, true)}},
                                               {{region(0xC04000, 0x4000)}}}));
  units.push_back(unit("CAN", {{{region(0x00EF00, 0x0100)}}}));
  units.back().activate = {{"SYSCON0", 0x0004}};
  units.push_back(unit("EMPTY", {}));  // no regions: no lines, but it keeps its index
  units.push_back(unit("R@M", {{{region(0x000000, 0x010000)}}}));
  units.back().activate = {{"XPERCON", 0x0001}};
  units.back().activated = true;

  const std::string gap(13, ' ');
  const std::vector<std::string> expectedUnits = {
      "INTERNAL_FLASH:C00000-C01FFF" + gap + "@0@0@0",
      "              :012000-013FFF" + gap + "@0@0@1",
      "              :C04000-C07FFF" + gap + "@0@1@0",
      "CAN           :00EF00-00EFFF" + gap + "@1@0@0",
      "R@M           :000000-00FFFF" + gap + "@3@0@0",
  };
  const MemoryListLines lines = RefreshMemoryList(units);
  EXPECT_EQ(lines.units, expectedUnits);
  EXPECT_EQ(lines.activated, (std::vector<std::string>{"X", " ", " ", " ", "X"}));
  EXPECT_EQ(lines.mapped, (std::vector<std::string>{" ", "X", " ", " ", " "}));

  const MemoryLocation keys[] = {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}, {1, 0, 0}, {3, 0, 0}};
  ASSERT_EQ(lines.units.size(), std::size(keys));
  for (size_t i = 0; i < lines.units.size(); ++i) {
    SCOPED_TRACE(lines.units[i]);
    const auto key = MemoryLineKey(lines.units[i]);
    ASSERT_TRUE(key.has_value());
    EXPECT_EQ(*key, keys[i]);
  }
}

TEST(RefreshMemoryList, TogglesShowInTheColumns) {
  auto units = board();
  units.resize(2);  // XRAM, CAN
  EXPECT_EQ(RefreshMemoryList(units).activated, (std::vector<std::string>{"X", " "}));
  ToggleActivation(units[1]);
  EXPECT_EQ(RefreshMemoryList(units).activated, (std::vector<std::string>{"X", "X"}));
  EXPECT_TRUE(RefreshMemoryList({}).units.empty());
}

TEST(MemoryLineKey, RefusesLinesWithoutThreeNumericKeys) {
  const char* kBad[] = {"", "XRAM :000000-00FFFF", "@1@2", "x@1@2@", "x@1@a@3", "x@1@2@3 "};
  for (const char* line : kBad) {
    SCOPED_TRACE(line);
    EXPECT_FALSE(MemoryLineKey(line).has_value());
  }
  EXPECT_EQ(MemoryLineKey("@12@20@4"), (MemoryLocation{12, 20, 4}));
}

// The memory unit editor's lists.
TEST(EditorLists, OnlyTheFirstRegionOfASectionCarriesTheSectionPrefix) {
  MemoryUnit u = unit("IFLASH", {{{region(0xC00000, 0x2000), region(0xC02000, 0x2000),
                                   mappable(0xC04000, 0x2000, 0x004000, true)}},
                                 {{region(0xC10000, 0x10000)}}});
  const std::string pad(13, ' ');
  EXPECT_EQ(SectionListLines(u), (std::vector<std::string>{
                                     "Section 0:C00000 - C01FFF",
                                     pad + "C02000 - C03FFF",
                                     pad + "C04000 - C05FFF",  // the start, even when mapped
                                     "Section 1:C10000 - C1FFFF",
                                 }));
  const int sections[] = {0, 0, 0, 1, -1};
  for (int line = 0; line < 5; ++line) {
    EXPECT_EQ(SectionOfListLine(u, line), sections[line]) << "line " << line;
  }

  u.activate = {{"SYSCON0", 0x0004}, {"FF10", 0x8000}};
  EXPECT_EQ(ActivateListLines(u), (std::vector<std::string>{"SYSCON0=0x0004", "FF10=0x8000"}));
}

TEST(EditorOperations, AddRegionAppendsASectionOfOneRegion) {
  MemoryUnit u;
  ASSERT_TRUE(AddRegion(u, 0x010000, 0x8000, false, 0x123456, "SYSCON1", 0x0010));
  ASSERT_TRUE(AddRegion(u, 0xC00000, 0x2000, true, 0x004000, "SYSCON1", 0x0010));
  ASSERT_EQ(u.sections.size(), 2U);
  ASSERT_EQ(u.sections[0].regions.size(), 1U);
  ASSERT_EQ(u.sections[1].regions.size(), 1U);
  // Without a mapping the mapping fields are not taken.
  EXPECT_EQ(u.sections[0].regions[0], region(0x010000, 0x8000));
  EXPECT_EQ(u.sections[1].regions[0], mappable(0xC00000, 0x2000, 0x004000, false));
}

TEST(EditorOperations, AddingTheSameFeatureTwiceKeepsOne) {
  MemoryUnit u;
  EXPECT_TRUE(u.AddFeature("ERASE"));
  EXPECT_TRUE(u.AddFeature("PROGRAM"));
  EXPECT_FALSE(u.AddFeature("ERASE"));
  EXPECT_EQ(u.features, (std::vector<std::string>{"ERASE", "PROGRAM"}));
  EXPECT_TRUE(u.HasFeature("PROGRAM"));
  EXPECT_FALSE(u.HasFeature("LOCK"));
}

TEST(EditorOperations, ListsStopAtTheirLimits) {
  MemoryUnit u;
  for (int i = 0; i < kMaxSections; ++i) {
    ASSERT_TRUE(AddRegion(u, i * 0x100, 0x100, false, 0, "", 0)) << i;
  }
  EXPECT_FALSE(AddRegion(u, 0xFF0000, 0x100, false, 0, "", 0));
  EXPECT_EQ(u.sections.size(), static_cast<size_t>(kMaxSections));
  EXPECT_EQ(u.sections.back().regions[0].startAddress, (kMaxSections - 1) * 0x100);

  for (int i = 0; i < kMaxActivateRegisters; ++i) {
    ASSERT_TRUE(AddActivate(u, "R" + std::to_string(i), i)) << i;
  }
  EXPECT_FALSE(AddActivate(u, "EXTRA", 0xFFFF));
  EXPECT_EQ(u.activate.size(), static_cast<size_t>(kMaxActivateRegisters));
  EXPECT_EQ(u.activate.back().reg, "R5");

  for (int i = 0; i < kMaxFeatures; ++i) {
    ASSERT_TRUE(u.AddFeature("F" + std::to_string(i))) << i;
  }
  EXPECT_FALSE(u.AddFeature("F21"));
  EXPECT_EQ(u.features.size(), static_cast<size_t>(kMaxFeatures));
}

TEST(EditorOperations, RemoveMovesLaterEntriesDown) {
  MemoryUnit u =
      unit("U", {{{region(0x100, 0x10)}}, {{region(0x200, 0x10)}}, {{region(0x300, 0x10)}}});
  u.activate = {{"A", 1}, {"B", 2}, {"C", 3}};
  u.features = {"ERASE", "PROGRAM", "STATUS"};

  EXPECT_TRUE(RemoveActivate(u, 1));
  EXPECT_EQ(u.activate, (std::vector<ActivateEntry>{{"A", 1}, {"C", 3}}));
  EXPECT_TRUE(RemoveFeature(u, 0));
  EXPECT_EQ(u.features, (std::vector<std::string>{"PROGRAM", "STATUS"}));
  EXPECT_TRUE(RemoveSection(u, 0));
  ASSERT_EQ(u.sections.size(), 2U);
  EXPECT_EQ(u.sections[0].regions[0].startAddress, 0x200);
  EXPECT_EQ(u.sections[1].regions[0].startAddress, 0x300);

  // Nothing selected, or an index past the end: nothing happens.
  const MemoryUnit before = u;
  EXPECT_FALSE(RemoveActivate(u, -1));
  EXPECT_FALSE(RemoveActivate(u, 2));
  EXPECT_FALSE(RemoveFeature(u, 2));
  EXPECT_FALSE(RemoveSection(u, -1));
  EXPECT_FALSE(RemoveSection(u, 2));
  EXPECT_EQ(u, before);
}

TEST(TargetConfiguration, AddGivesNewUnitDefaultsAndStopsAtThirtyThree) {
  TargetConfiguration config;
  for (int i = 0; i < kMaxMemoryUnits; ++i) ASSERT_TRUE(config.AddMemoryUnit()) << i;
  EXPECT_FALSE(config.AddMemoryUnit());
  EXPECT_EQ(config.units.size(), static_cast<size_t>(kMaxMemoryUnits));

  const MemoryUnit& fresh = config.units.back();
  EXPECT_EQ(fresh.name, "");
  EXPECT_EQ(fresh.type, "RAM");
  EXPECT_EQ(fresh.blank, 0x00);
  EXPECT_EQ(fresh.burstSize, 1);
  EXPECT_TRUE(fresh.activate.empty());
  EXPECT_TRUE(fresh.sections.empty());
  EXPECT_EQ(fresh.driverPath, "");
  EXPECT_TRUE(fresh.features.empty());
  EXPECT_EQ(fresh.driverBufferAddress, 0xFC80);
  EXPECT_TRUE(fresh.statusWords.empty());
  EXPECT_FALSE(fresh.activated);
  EXPECT_FALSE(fresh.driverLoaded);
}

TEST(TargetConfiguration, RemoveMovesLaterUnitsDown) {
  TargetConfiguration config;
  config.units = board();
  EXPECT_TRUE(config.RemoveMemoryUnit(1));
  ASSERT_EQ(config.units.size(), 4U);
  EXPECT_EQ(config.units[1].name, "OVER");
  EXPECT_EQ(config.units[3].name, "LATE");
  EXPECT_FALSE(config.RemoveMemoryUnit(4));
  EXPECT_FALSE(config.RemoveMemoryUnit(-1));
  EXPECT_EQ(config.units.size(), 4U);
}

}  // namespace
}  // namespace velmora
