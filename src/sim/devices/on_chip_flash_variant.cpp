#include "sim/devices/on_chip_flash_variant.h"

namespace velmora {

OnChipFlashVariant OnChipFlashVariantFor(const MemoryUnit& unit) {
  const bool later = unit.HasFeature("LOCK") || unit.HasFeature("PROTECT");
  OnChipFlashVariant variant = later ? kPageFlashVariant : kWordFlashVariant;
  if (later && unit.burstSize > 2 && unit.burstSize % 2 == 0) variant.pageBytes = unit.burstSize;
  return variant;
}

}  // namespace velmora
