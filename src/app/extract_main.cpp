// velmora-extract: fills a program folder with the shipped definition files, default
// preferences, scripts and target images. Start-up runs it when the folder lacks them.
//
//   velmora-extract -y DIR    write every file, replacing what is there
//   velmora-extract DIR       write only the files that are missing
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/embedded_files.h"

int main(int argc, char** argv) {
  bool replace = false;
  std::filesystem::path target;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "-y") == 0) {
      replace = true;
    } else if (target.empty()) {
      target = argv[i];
    } else {
      std::fprintf(stderr, "usage: velmora-extract [-y] DIR\n");
      return 2;
    }
  }
  if (target.empty()) {
    std::fprintf(stderr, "usage: velmora-extract [-y] DIR\n");
    return 2;
  }
  int written = 0;
  for (const auto& file : velmora::EmbeddedFiles()) {
    const auto path = target / file.name;
    std::error_code error;
    if (!replace && std::filesystem::exists(path, error)) continue;
    std::filesystem::create_directories(path.parent_path(), error);
    // Written under a temporary name and renamed, so that a waiting program never sees
    // half a file.
    auto temporary = path;
    temporary += ".part";
    {
      std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
      out.write(reinterpret_cast<const char*>(file.data), static_cast<std::streamsize>(file.size));
      if (!out) {
        std::fprintf(stderr, "velmora-extract: cannot write %s\n", path.c_str());
        return 1;
      }
    }
    std::filesystem::rename(temporary, path, error);
    if (error) {
      std::fprintf(stderr, "velmora-extract: cannot write %s\n", path.c_str());
      return 1;
    }
    ++written;
  }
  std::printf("velmora-extract: %d files written to %s\n", written, target.c_str());
  return 0;
}
