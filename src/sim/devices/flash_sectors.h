// The erase sectors of a flash unit, taken from its sections at the addresses they are seen
// at now (a mapped region at its map address).
#pragma once

#include <cstdint>
#include <vector>

#include "config/memory_unit.h"

namespace velmora {

struct FlashSector {
  int32_t start;
  int32_t length;
};

// One sector per section; a section of several regions spans from its first region's base
// over the regions' total length, which is how the shipped files' sections are laid out.
std::vector<FlashSector> SectorsOf(const MemoryUnit& unit);

}  // namespace velmora
