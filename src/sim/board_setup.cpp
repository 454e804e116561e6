#include "sim/board_setup.h"

#include "core/memory_image.h"
#include "core/paths.h"
#include "core/selection_list.h"
#include "formats/controller_types.h"
#include "formats/hex_reader.h"
#include "formats/memory_file.h"
#include "formats/register_file.h"

namespace velmora {
namespace {

// The extent of an image as the host streams it: start of its first block, total length.
std::optional<std::pair<int32_t, size_t>> imageExtent(const std::filesystem::path& path,
                                                      MessageLog& log) {
  MemoryImage scratch;
  SelectionList blocks;
  if (HexRead(path.string(), scratch, blocks, log).status != HexReadStatus::Ok) return std::nullopt;
  if (blocks.Count() == 0) return std::nullopt;
  return std::pair{blocks.LowestSelectionStart(), static_cast<size_t>(blocks.ByteCount())};
}

// The first block of a driver file: where the driver is entered and what must be there.
bool loadDriver(const std::filesystem::path& path, FlashUnitModel& unit, MessageLog& log) {
  MemoryImage scratch;
  SelectionList blocks;
  if (HexRead(path.string(), scratch, blocks, log).status != HexReadStatus::Ok || blocks.Count() == 0) {
    return false;
  }
  const Selection first = blocks.At(0);
  unit.driverEntry = first.start;
  unit.driverImage.resize(static_cast<size_t>(first.end - first.start + 1));
  scratch.ReadBytes(first.start, unit.driverImage);
  return true;
}

std::vector<FlashUnitModel> flashUnits(const std::filesystem::path& programFolder,
                                       const std::vector<MemoryUnit>& units, MessageLog& log) {
  std::vector<FlashUnitModel> flash;
  for (const auto& unit : units) {
    if (unit.driverPath.empty() || !(unit.HasFeature("PROGRAM") || unit.HasFeature("ERASE"))) continue;
    FlashUnitModel model;
    model.name = unit.name;
    model.blank = static_cast<uint8_t>(unit.blank);
    for (const auto& section : unit.sections) {
      std::vector<FlashRegion> regions;
      for (const auto& region : section.regions) regions.push_back({region.startAddress, region.length});
      model.sectors.push_back(std::move(regions));
    }
    if (loadDriver(ResolveStoredPath(programFolder, unit.driverPath), model, log)) {
      flash.push_back(std::move(model));
    }
  }
  return flash;
}

}  // namespace

std::optional<BoardConfig> LoadBoardConfig(const std::filesystem::path& programFolder,
                                           std::string_view typeName, const BoardImages& images,
                                           MessageLog& log) {
  ControllerTypeTable types;
  LoadControllerTypes((programFolder / "mctypes.dat").string(), programFolder, types, log);
  const int index = types.FindControllerType(typeName);
  if (index < 0) {
    log.WriteLine("*ERROR: Controller type " + std::string(typeName) + " not found");
    return std::nullopt;
  }
  auto registers = std::make_shared<RegisterTable>();
  if (!LoadRegisterFile(types.At(index).registerFile, *registers, log).found) return std::nullopt;
  BoardConfig config = BoardConfigFor(*registers, types.At(index).ids);
  config.registers = std::move(registers);
  LoadMemoryFile(types.At(index).memoryFile, config.units, log);
  config.ids = types.At(index).ids;
  config.flashUnits = flashUnits(programFolder, config.units, log);
  auto opcodes = std::make_shared<OpcodeTable>();
  if (LoadOpcodeTable((programFolder / "CMDDEF" / "command.cmd").string(), *opcodes, log).found) {
    config.opcodes = std::move(opcodes);
  }

  const auto loader = imageExtent(ResolveStoredPath(programFolder, images.loader), log);
  const auto monitor = imageExtent(ResolveStoredPath(programFolder, images.monitor), log);
  if (!loader || !monitor) return std::nullopt;
  config.loaderAddress = loader->first;
  config.loaderLength = loader->second;
  config.monitorAddress = monitor->first;
  config.monitorLength = monitor->second;
  return config;
}

}  // namespace velmora
