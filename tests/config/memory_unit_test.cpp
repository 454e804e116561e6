#include "config/memory_unit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/memory_lists.h"
#include "config/target_configuration.h"

namespace velmora {
namespace {

using Lines = std::vector<std::string>;

MemoryRegion region(int32_t start, int32_t length, int32_t mapAddress = -1, bool mapped = false) {
  MemoryRegion r;
  r.startAddress = start;
  r.length = length;
  if (mapAddress < 0) return r;
  r.hasMapping = true;
  r.mapAddress = mapAddress;
  r.mapRegister = "SYSCON1";
  r.mapMask = 0x0010;
  r.mapped = mapped;
  return r;
}

MemoryUnit unit(std::string name, std::vector<MemorySection> sections, std::string activate = "") {
  MemoryUnit u;
  u.name = std::move(name);
  u.sections = std::move(sections);
  if (!activate.empty()) u.activate = {{activate, 0x0004}};
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
  std::vector<MemoryUnit> units = {
      unit("XRAM", {{{region(0x000000, 0x010000)}}}),
      unit("CAN", {{{region(0x00EF00, 0x000100)}}}, "SYSCON0"),
      unit("OVER", {{{region(0x008000, 0x001000)}}}, "XPERCON"),
      unit("FLASH",
           {{{region(0xC00000, 0x2000, 0x010000, true), region(0xC02000, 0x2000, 0x012000)}},
            {{region(0xC10000, 0x10000)}}}),
      unit("LATE", {{{region(0x00F000, 0x0100)}}, {{region(0x00F080, 0x0080)}}}),
  };
  units[2].activated = true;
  return units;
}

TEST(FindMemoryRegion, TheLastMatchAmongUsableUnitsWins) {
  const std::tuple<const char*, int32_t, MemoryLocation> kCases[] = {
      {"first byte of a region", 0x000000, {0, 0, 0}},
      {"overlap: the later unit wins", 0x008000, {2, 0, 0}},
      {"last byte of the overlap", 0x008FFF, {2, 0, 0}},
      {"past the overlap", 0x009000, {0, 0, 0}},
      {"a unit not switched on is invisible", 0x00EF80, {0, 0, 0}},
      {"a later section of the same unit wins", 0x00F080, {4, 1, 0}},
      {"a mapped region at its map address", 0x011FFF, {3, 0, 0}},
      {"a mapped region is not found at its start", 0xC00000, {-1, -1, -1}},
      {"an unmapped mappable region at its start", 0xC02000, {3, 0, 1}},
      {"the last byte of a second section", 0xC1FFFF, {3, 1, 0}},
  };
  const auto units = board();
  for (const auto& [what, address, expected] : kCases) {
    const MemoryLocation found = FindMemoryRegion(units, address);
    EXPECT_EQ(found, expected) << what << ": " << found.unit << "," << found.section << ","
                               << found.region;
  }
}

TEST(FindMemoryRegion, TogglesChangeWhatIsFound) {
  auto units = board();
  EXPECT_FALSE(ToggleActivation(units[0]));  // no activation registers: always usable
  EXPECT_TRUE(units[0].Usable());
  EXPECT_TRUE(ToggleActivation(units[1]));
  EXPECT_EQ(FindMemoryRegion(units, 0x00EFFF), (MemoryLocation{1, 0, 0}));
  EXPECT_TRUE(ToggleActivation(units[1]));
  EXPECT_EQ(FindMemoryRegion(units, 0x00EFFF), (MemoryLocation{0, 0, 0}));
  // Mapping toggles every mappable region of the unit, in every section.
  units[3].sections[1].regions.push_back(region(0xC20000, 0x1000, 0x020000));
  ASSERT_TRUE(ToggleMapping(units[3]));
  for (const auto& [address, expected] : {std::pair{0xC00000, MemoryLocation{3, 0, 0}},
                                          {0x010000, MemoryLocation{}},
                                          {0x012000, MemoryLocation{3, 0, 1}},
                                          {0xC10000, MemoryLocation{3, 1, 0}},
                                          {0x020000, MemoryLocation{3, 1, 1}}}) {
    EXPECT_EQ(FindMemoryRegion(units, address), expected) << address;
  }
  const MemoryUnit before = units[0];
  EXPECT_FALSE(ToggleMapping(units[0]));
  EXPECT_EQ(units[0], before);
}

// The configuration dialog's table: names cut to 14 characters, a hidden key read from the
// last three "@", marks of usable units and of mapped regions.
TEST(MemoryLists, ConfigurationTable) {
  std::vector<MemoryUnit> units = {
      unit("INTERNAL_FLASH_AREA",
           {{{region(0xC00000, 0x2000, 0x010000), region(0xC02000, 0x2000, 0x012000, true)}},
            {{region(0xC04000, 0x4000)}}}),
      unit("CAN", {{{region(0x00EF00, 0x0100)}}}, "SYSCON0"),
      unit("EMPTY", {}),  // no lines, but it keeps its index
      unit("R@M", {{{region(0x000000, 0x010000)}}}, "XPERCON"),
  };
  units[3].activated = true;
  const std::string gap(13, ' ');
  const MemoryListLines lines = RefreshMemoryList(units);
  EXPECT_EQ(lines.units, (Lines{"INTERNAL_FLASH:C00000-C01FFF" + gap + "@0@0@0",
                                "              :012000-013FFF" + gap + "@0@0@1",
                                "              :C04000-C07FFF" + gap + "@0@1@0",
                                "CAN           :00EF00-00EFFF" + gap + "@1@0@0",
                                "R@M           :000000-00FFFF" + gap + "@3@0@0"}));
  EXPECT_EQ(lines.activated, (Lines{"X", " ", " ", " ", "X"}));
  EXPECT_EQ(lines.mapped, (Lines{" ", "X", " ", " ", " "}));
  EXPECT_EQ(MemoryLineKey(lines.units[2]), (MemoryLocation{0, 1, 0}));
  EXPECT_EQ(MemoryLineKey(lines.units[4]), (MemoryLocation{3, 0, 0}));
  EXPECT_EQ(MemoryLineKey("@12@20@4"), (MemoryLocation{12, 20, 4}));
  for (const char* bad : {"", "XRAM :000000-00FFFF", "@1@2", "x@1@2@", "x@1@a@3", "x@1@2@3 "}) {
    EXPECT_FALSE(MemoryLineKey(bad).has_value()) << bad;
  }
}

TEST(MemoryLists, EditorListsAndOperations) {
  MemoryUnit u = unit("IFLASH", {{{region(0xC00000, 0x2000), region(0xC02000, 0x2000),
                                   region(0xC04000, 0x2000, 0x4000, true)}},
                                 {{region(0xC10000, 0x10000)}}});
  u.activate = {{"SYSCON0", 0x0004}, {"FF10", 0x8000}};
  // Only the first region of a section carries its prefix; a mapped region shows its start.
  const std::string pad(13, ' ');
  EXPECT_EQ(SectionListLines(u), (Lines{"Section 0:C00000 - C01FFF", pad + "C02000 - C03FFF",
                                        pad + "C04000 - C05FFF", "Section 1:C10000 - C1FFFF"}));
  EXPECT_EQ(SectionOfListLine(u, 2), 0);
  EXPECT_EQ(SectionOfListLine(u, 3), 1);
  EXPECT_EQ(SectionOfListLine(u, 4), -1);
  EXPECT_EQ(ActivateListLines(u), (Lines{"SYSCON0=0x0004", "FF10=0x8000"}));
  // A new section of one region; without a mapping the mapping fields are not taken.
  ASSERT_TRUE(AddRegion(u, 0x010000, 0x8000, false, 0x123456, "SYSCON1", 0x0010));
  ASSERT_TRUE(AddRegion(u, 0xC00000, 0x2000, true, 0x004000, "SYSCON1", 0x0010));
  EXPECT_EQ(u.sections[2].regions, (std::vector<MemoryRegion>{region(0x010000, 0x8000)}));
  EXPECT_EQ(u.sections[3].regions, (std::vector<MemoryRegion>{region(0xC00000, 0x2000, 0x004000)}));
  EXPECT_TRUE(u.AddFeature("ERASE") && !u.AddFeature("ERASE") && u.AddFeature("PROGRAM"));
  EXPECT_TRUE(RemoveActivate(u, 0) && RemoveFeature(u, 0) && RemoveSection(u, 1));
  EXPECT_EQ(ActivateListLines(u), (Lines{"FF10=0x8000"}));
  EXPECT_EQ(u.features, (Lines{"PROGRAM"}));
  EXPECT_EQ(u.sections[1].regions[0].startAddress, 0x010000);
  const MemoryUnit before = u;  // nothing selected, or an index past the end
  EXPECT_FALSE(RemoveActivate(u, -1) || RemoveActivate(u, 1) || RemoveFeature(u, 1) ||
               RemoveSection(u, 3));
  EXPECT_EQ(u, before);
}

TEST(MemoryLists, ListsStopAtTheirLimits) {
  MemoryUnit u;
  for (int i = 0; i < 21; ++i) ASSERT_TRUE(AddRegion(u, i * 0x100, 0x100, false, 0, "", 0)) << i;
  for (int i = 0; i < 6; ++i) ASSERT_TRUE(AddActivate(u, "R" + std::to_string(i), i)) << i;
  for (int i = 0; i < 21; ++i) ASSERT_TRUE(u.AddFeature("F" + std::to_string(i))) << i;
  const MemoryUnit full = u;
  EXPECT_FALSE(AddRegion(u, 0xFF0000, 0x100, false, 0, "", 0) || AddActivate(u, "EXTRA", 0xFFFF) ||
               u.AddFeature("F21"));
  EXPECT_EQ(u, full);
}

TEST(TargetConfiguration, UnitsAreAddedWithTheDefaultsUpToThirtyThreeAndRemoved) {
  TargetConfiguration config;
  for (int i = 0; i < 33; ++i) ASSERT_TRUE(config.AddMemoryUnit()) << i;
  EXPECT_FALSE(config.AddMemoryUnit());
  ASSERT_EQ(config.units.size(), 33U);
  EXPECT_EQ(config.units.back(), MemoryUnit{});
  EXPECT_EQ(MemoryUnit{}.type, "RAM");
  EXPECT_EQ(MemoryUnit{}.driverBufferAddress, 0xFC80);
  config.units = board();
  EXPECT_TRUE(config.RemoveMemoryUnit(1));
  EXPECT_FALSE(config.RemoveMemoryUnit(4) || config.RemoveMemoryUnit(-1));
  ASSERT_EQ(config.units.size(), 4U);
  EXPECT_EQ(config.units[1].name, "OVER");
}

}  // namespace
}  // namespace velmora
