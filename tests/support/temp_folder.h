// A fresh folder under the system's temporary folder, removed with everything in it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velmora::test {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string File(std::string_view name) const { return (path_ / name).string(); }
  // Writes content as it stands (no line-end conversion) and returns the path.
  std::string Write(std::string_view name, std::string_view content) const;
  std::string Read(std::string_view name) const;

 private:
  std::filesystem::path path_;
};

std::string ReadFile(const std::string& path);

}  // namespace velmora::test
