// A temporary copy of the shipped program folder, so that no test touches the real one.
#pragma once

#include <filesystem>

#include "temp_folder.h"

namespace velmora::test {

class ProgramFolderCopy {
 public:
  ProgramFolderCopy();
  const std::filesystem::path& path() const { return folder_.path(); }
  const TempFolder& folder() const { return folder_; }

 private:
  TempFolder folder_;
};

// The data folder of the source tree.
std::filesystem::path ShippedDataFolder();

}  // namespace velmora::test
