#include "sim/board_setup.h"

#include "core/memory_image.h"
#include "core/paths.h"
#include "core/selection_list.h"
#include "formats/controller_types.h"
#include "formats/hex_reader.h"
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
  RegisterTable registers;
  if (!LoadRegisterFile(types.At(index).registerFile, registers, log).found) return std::nullopt;
  BoardConfig config = BoardConfigFor(registers, types.At(index).ids);

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
