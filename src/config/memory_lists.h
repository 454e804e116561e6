// The lines the configuration dialog and the memory unit editor show for the memory
// units, built here so that a dialog only displays them and a test can read them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/memory_unit.h"

namespace velmora {

// The three columns of the configuration dialog's memory table, one line per region of
// every unit: name and range with a hidden "@unit@section@region" key; the unit's
// activation mark on its first line; the region's mapping mark.
struct MemoryListLines {
  std::vector<std::string> units;
  std::vector<std::string> activated;
  std::vector<std::string> mapped;
};

MemoryListLines RefreshMemoryList(const std::vector<MemoryUnit>& units);

// The (unit, section, region) of a line of the units column, from its last three "@".
std::optional<MemoryLocation> MemoryLineKey(std::string_view line);

// The editor's lists: activation registers ("REG=0xMASK") and regions ("Section s:" on the
// first region of a section, 13 blanks on the others, then "start - end").
std::vector<std::string> ActivateListLines(const MemoryUnit& unit);
std::vector<std::string> SectionListLines(const MemoryUnit& unit);
// The section a line of SectionListLines belongs to, or -1.
int SectionOfListLine(const MemoryUnit& unit, int line);

// Editor operations on a working copy. Each returns false, changing nothing, when the
// list it adds to is full (the limits of the unit) or the index names nothing.
bool AddRegion(MemoryUnit& unit, int32_t start, int32_t length, bool hasMapping,
               int32_t mapAddress, const std::string& mapRegister, int32_t mapMask);
bool AddActivate(MemoryUnit& unit, const std::string& reg, int32_t mask);
bool RemoveActivate(MemoryUnit& unit, int index);
bool RemoveFeature(MemoryUnit& unit, int index);
bool RemoveSection(MemoryUnit& unit, int section);

}  // namespace velmora
