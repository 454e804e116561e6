#include "sim/devices/flash_devices.h"

#include <algorithm>

#include "sim/devices/flash_sectors.h"
#include "sim/devices/jedec_flash16.h"
#include "sim/devices/on_chip_flash.h"

namespace velmora {

std::unique_ptr<BusDevice> MakeFlashDevice(const MemoryUnit& unit, MemoryImage& cells,
                                           const VirtualClock& clock) {
  std::vector<FlashSector> sectors = SectorsOf(unit);
  if (sectors.empty()) return nullptr;
  if (unit.type == "IFLASH") {
    return std::make_unique<OnChipFlash>(
        cells, clock, std::move(sectors), OnChipFlashVariantFor(unit),
        std::vector<uint16_t>(onchip::kDefaultPassword.begin(), onchip::kDefaultPassword.end()),
        static_cast<uint8_t>(unit.blank));
  }
  if (unit.type == "FLASH") {
    const auto lowest = std::min_element(
        sectors.begin(), sectors.end(),
        [](const FlashSector& a, const FlashSector& b) { return a.start < b.start; });
    const int32_t base = lowest->start;
    return std::make_unique<JedecFlash16>(cells, clock, base, std::move(sectors));
  }
  return nullptr;
}

void BlankFlashUnit(const MemoryUnit& unit, MemoryImage& cells) {
  for (const auto& sector : SectorsOf(unit)) {
    for (int32_t at = sector.start; at < sector.start + sector.length; ++at) {
      cells.SetByte(at, static_cast<uint8_t>(unit.blank));
    }
  }
}

}  // namespace velmora
