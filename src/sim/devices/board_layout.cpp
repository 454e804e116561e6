#include "sim/devices/board_layout.h"

#include <string>

#include "formats/controller_types.h"
#include "formats/memory_file.h"
#include "formats/register_file.h"

namespace velmora {
namespace {

struct UnitKind {
  std::string_view type;
  PageKind kind;
  bool flash;
};

constexpr UnitKind kUnitKinds[] = {
    {"IRAM", PageKind::Ram, false},    {"XRAM", PageKind::Ram, false},
    {"RAM", PageKind::Ram, false},     {"DPRAM", PageKind::Ram, false},
    {"PSRAM", PageKind::Ram, false},   {"DSRAM", PageKind::Ram, false},
    {"XPER", PageKind::Ram, false},    {"IROM", PageKind::Rom, false},
    {"ROM", PageKind::Rom, false},     {"OTP", PageKind::Rom, false},
    {"IEEPROM", PageKind::Rom, false}, {"EEPROM", PageKind::Rom, false},
    {"IFLASH", PageKind::Rom, true},   {"FLASH", PageKind::Rom, true},
};

const UnitKind* kindOf(std::string_view type) {
  for (const auto& kind : kUnitKinds) {
    if (kind.type == type) return &kind;
  }
  return nullptr;
}

}  // namespace

std::optional<TypeDefinitions> LoadTypeDefinitions(const std::filesystem::path& programFolder,
                                                   std::string_view typeName, MessageLog& log) {
  ControllerTypeTable types;
  LoadControllerTypes((programFolder / "mctypes.dat").string(), programFolder, types, log);
  const int index = types.FindControllerType(typeName);
  if (index < 0) {
    log.WriteLine("*ERROR: Controller type " + std::string(typeName) + " not found");
    return std::nullopt;
  }
  TypeDefinitions definitions;
  definitions.ids = types.At(index).ids;
  if (!LoadRegisterFile(types.At(index).registerFile, definitions.registers, log).found) {
    return std::nullopt;
  }
  if (!LoadMemoryFile(types.At(index).memoryFile, definitions.units, log).found) {
    return std::nullopt;
  }
  return definitions;
}

int MapMemoryUnits(const std::vector<MemoryUnit>& units, MemoryMap& map,
                   const FlashDeviceFor& flashFor) {
  int refused = 0;
  for (const auto& unit : units) {
    const UnitKind* kind = kindOf(unit.type);
    if (kind == nullptr) continue;
    BusDevice* device = kind->flash && flashFor ? flashFor(unit) : nullptr;
    const PageKind pages = device != nullptr ? PageKind::Device : kind->kind;
    for (const auto& section : unit.sections) {
      for (const auto& region : section.regions) {
        if (!map.Map(region.Base(), region.length, pages, device)) ++refused;
      }
    }
  }
  return refused;
}

void MapRegisterAreas(const RegisterTable& registers, MemoryMap& map) {
  map.MapRegisters(kSfrStart, kSfrLength);
  for (int i = 0; i < registers.Count(); ++i) {
    const int32_t address = registers.At(i).address;
    if (address >= kEsfrStart && address < kEsfrStart + kEsfrLength) {
      map.MapRegisters(kEsfrStart, kEsfrLength);
    } else if (map.KindAt(address) == PageKind::Unmapped) {
      // A register of an on-chip bus peripheral (XSFR) that nothing models: its page holds
      // what is written, as the peripheral's registers would.
      const int32_t page = address & ~(MemoryMap::kPageSize - 1);
      map.Map(page, MemoryMap::kPageSize, PageKind::Ram);
    }
  }
}

}  // namespace velmora
