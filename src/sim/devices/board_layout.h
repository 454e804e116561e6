// Lays a controller type's memories and register areas onto the memory map: the units of
// its memory definition file at their addresses, then the SFR area and, where the type
// has extended registers, the ESFR area over them.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "config/memory_unit.h"
#include "core/message_log.h"
#include "formats/register_table.h"
#include "sim/devices/memory_map.h"

namespace velmora {

// What the board needs to know of its controller type, read from the program folder.
struct TypeDefinitions {
  std::vector<MemoryUnit> units;
  RegisterTable registers;
  std::vector<int32_t> ids;  // the ID= values of the type database
};

// nullopt (with the readers' error lines in log) when the type or one of its files is
// missing.
std::optional<TypeDefinitions> LoadTypeDefinitions(const std::filesystem::path& programFolder,
                                                   std::string_view typeName, MessageLog& log);

// The device that answers for a flash unit, or nullptr to serve the unit as read-only memory.
using FlashDeviceFor = std::function<BusDevice*(const MemoryUnit&)>;

inline constexpr int32_t kSfrStart = 0xFE00;
inline constexpr int32_t kSfrLength = 0x200;
inline constexpr int32_t kEsfrStart = 0xF000;
inline constexpr int32_t kEsfrLength = 0x200;

// Maps every unit, active or not (the board does not model chip selects or enable bits:
// what a program enables is already there). RAM-like units are RAM, peripherals with a
// memory window (XPER) are plain RAM as well, ROM and EEPROM units are read-only, flash
// units are their device. Returns the number of regions that could not be mapped because
// they do not start and end on a 256-byte boundary.
int MapMemoryUnits(const std::vector<MemoryUnit>& units, MemoryMap& map,
                   const FlashDeviceFor& flashFor);
// The SFR area, the ESFR area where the type has registers there, and the pages of any
// other register of the definitions (held as plain cells).
void MapRegisterAreas(const RegisterTable& registers, MemoryMap& map);

}  // namespace velmora
