#include "app/cli_job_memory_map.h"

#include <algorithm>

#include "core/hex_text.h"

namespace velmora {
namespace {

const MemoryRegion& regionAt(const std::vector<MemoryUnit>& units, const MemoryLocation& at) {
  return units[static_cast<size_t>(at.unit)]
      .sections[static_cast<size_t>(at.section)]
      .regions[static_cast<size_t>(at.region)];
}

// Calls visit(address, location) once per stretch of the ranges that one region holds,
// and for the first address no region holds (then stops). False when it stopped early.
template <typename Visit>
bool walkRegions(const std::vector<MemoryUnit>& units, const SelectionList& ranges, Visit visit) {
  for (int i = 0; i < ranges.Count(); ++i) {
    const Selection range = ranges.At(i);
    int64_t address = range.start;
    while (address <= range.end) {
      const MemoryLocation at = FindMemoryRegion(units, static_cast<int32_t>(address));
      if (!visit(static_cast<int32_t>(address), at) || !at.Found()) return false;
      const MemoryRegion& region = regionAt(units, at);
      address = int64_t{region.Base()} + region.length;
    }
  }
  return true;
}

}  // namespace

std::optional<MemoryGap> FirstGap(const std::vector<MemoryUnit>& units, const SelectionList& ranges,
                                  bool needDriver) {
  std::optional<MemoryGap> gap;
  walkRegions(units, ranges, [&](int32_t address, const MemoryLocation& at) {
    if (!at.Found()) {
      gap = MemoryGap{address, "no memory unit holds " + HexN(address, 6)};
      return false;
    }
    const MemoryUnit& unit = units[static_cast<size_t>(at.unit)];
    if (needDriver && unit.driverPath.empty()) {
      gap = MemoryGap{
          address, HexN(address, 6) + " lies in " + unit.name + ", a unit without a flash driver"};
      return false;
    }
    return true;
  });
  return gap;
}

std::vector<int> UnitsTouched(const std::vector<MemoryUnit>& units, const SelectionList& ranges) {
  std::vector<int> touched;
  walkRegions(units, ranges, [&](int32_t, const MemoryLocation& at) {
    if (at.Found() && std::find(touched.begin(), touched.end(), at.unit) == touched.end()) {
      touched.push_back(at.unit);
    }
    return at.Found();
  });
  std::sort(touched.begin(), touched.end());
  return touched;
}

}  // namespace velmora
