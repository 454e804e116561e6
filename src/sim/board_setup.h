// A virtual board as the files of a program folder describe it: the controller type's
// registers and identification from the definitions, and the loader and monitor core
// lengths and addresses from the images the host will stream.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "core/message_log.h"
#include "sim/board_config.h"

namespace velmora {

struct BoardImages {
  std::string loader = "MCProg\\LOAD.HEX";
  std::string monitor = "MCProg\\VELMORA.HEX";
};

// nullopt (with the readers' error lines in log) when the type or a file is missing.
std::optional<BoardConfig> LoadBoardConfig(const std::filesystem::path& programFolder,
                                           std::string_view typeName, const BoardImages& images,
                                           MessageLog& log);

}  // namespace velmora
