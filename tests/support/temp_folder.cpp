#include "temp_folder.h"

#include <fstream>
#include <random>
#include <sstream>

namespace velmora::test {

TempFolder::TempFolder() {
  std::random_device seed;
  path_ = std::filesystem::temp_directory_path() /
          ("velmora-test-" + std::to_string(seed()) + std::to_string(seed()));
  std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

std::string TempFolder::Write(std::string_view name, std::string_view content) const {
  const auto file = path_ / name;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
  return file.string();
}

std::string TempFolder::Read(std::string_view name) const { return ReadFile(File(name)); }

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace velmora::test
