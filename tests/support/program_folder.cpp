#include "program_folder.h"

namespace velmora::test {

std::filesystem::path ShippedDataFolder() { return VELMORA_SOURCE_DATA_DIR; }

ProgramFolderCopy::ProgramFolderCopy() {
  std::filesystem::copy(ShippedDataFolder(), folder_.path(),
                        std::filesystem::copy_options::recursive);
}

}  // namespace velmora::test
