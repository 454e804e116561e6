// The device behind a flash unit of a memory definition file: the on-chip controller for
// IFLASH units, the external 16-bit chip for FLASH units. The board keeps the devices and
// hands their pointers to MapMemoryUnits.
#pragma once

#include <memory>

#include "config/memory_unit.h"
#include "core/memory_image.h"
#include "sim/devices/bus_device.h"
#include "sim/devices/virtual_clock.h"

namespace velmora {

// nullptr for a unit that is not flash or has no sections. The external chip's base is its
// lowest section start; the on-chip sectors are taken where they are seen now, so a board
// that maps a section elsewhere makes the device again.
std::unique_ptr<BusDevice> MakeFlashDevice(const MemoryUnit& unit, MemoryImage& cells,
                                           const VirtualClock& clock);

// Every cell of the unit's sections at its blank value: a board fresh from the factory.
void BlankFlashUnit(const MemoryUnit& unit, MemoryImage& cells);

}  // namespace velmora
