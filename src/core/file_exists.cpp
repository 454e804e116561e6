#include "core/file_exists.h"

#include <filesystem>
#include <fstream>

#include "core/frontend.h"

namespace velmora {

bool FileExists(const std::string& path, bool askOverwrite, Frontend& frontend) {
  std::error_code error;
  const bool readable = std::filesystem::is_regular_file(path, error) &&
                        std::ifstream(path, std::ios::binary).is_open();
  if (!readable || !askOverwrite) return readable;
  return frontend.MessageBox(kOverwriteQuestion, BoxButtons::YesNo, BoxIcon::Question, {}) !=
         BoxAnswer::Yes;
}

}  // namespace velmora
