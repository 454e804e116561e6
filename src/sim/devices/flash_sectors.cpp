#include "sim/devices/flash_sectors.h"

namespace velmora {

std::vector<FlashSector> SectorsOf(const MemoryUnit& unit) {
  std::vector<FlashSector> sectors;
  for (const auto& section : unit.sections) {
    if (section.regions.empty()) continue;
    int32_t length = 0;
    for (const auto& region : section.regions) length += region.length;
    sectors.push_back({section.regions.front().Base(), length});
  }
  return sectors;
}

}  // namespace velmora
