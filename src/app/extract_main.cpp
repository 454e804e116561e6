// velmora-extract: fills a program folder with the shipped definition files, default
// preferences, scripts and target images. Start-up runs it when the folder lacks them.
//
//   velmora-extract [-y] DIR
//
// Only missing files are written: a file that is there (a user's default.ini, an edited
// definition file) is never replaced. -y answers every question with yes; there are none
// left to ask, and start-up still passes it.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "app/embedded_files.h"

namespace {

constexpr const char* kUsage =
    "usage: velmora-extract [-y] [--] DIR\n"
    "\n"
    "Writes the shipped definition files, default preferences, scripts and target images\n"
    "into DIR. Files already in DIR are left as they are.\n"
    "\n"
    "  -y          answer questions with yes (there are none; kept for start-up)\n"
    "  -h, --help  show this text\n"
    "  --          ends the options (for a folder whose name begins with \"-\")\n";

int usageError(const std::string& what) {
  if (!what.empty()) std::fprintf(stderr, "velmora-extract: %s\n", what.c_str());
  std::fputs(kUsage, stderr);
  return 2;
}

// Writes one file under a temporary name and links it into place, so that a waiting
// program never sees half a file and a file that appeared meanwhile is not replaced.
bool writeMissing(const std::filesystem::path& path, const velmora::EmbeddedFile& file) {
  std::error_code error;
  std::filesystem::create_directories(path.parent_path(), error);
  auto temporary = path;
  temporary += ".part" + std::to_string(::getpid());
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(file.data), static_cast<std::streamsize>(file.size));
    if (!out) {
      std::filesystem::remove(temporary, error);
      return false;
    }
  }
  const bool linked = ::link(temporary.c_str(), path.c_str()) == 0 || errno == EEXIST;
  std::filesystem::remove(temporary, error);
  return linked;
}

}  // namespace

int main(int argc, char** argv) {
  std::filesystem::path target;
  bool optionsEnded = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (!optionsEnded && arg == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && (arg == "--help" || arg == "-h")) {
      std::fputs(kUsage, stdout);
      return 0;
    } else if (!optionsEnded && arg == "-y") {
      // Nothing is ever asked.
    } else if (!optionsEnded && arg.size() > 1 && arg[0] == '-') {
      return usageError("unknown option " + std::string(arg));
    } else if (target.empty()) {
      target = arg;
    } else {
      return usageError("more than one folder given");
    }
  }
  if (target.empty()) return usageError("");
  int written = 0;
  for (const auto& file : velmora::EmbeddedFiles()) {
    const auto path = target / file.name;
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::symlink_status(path, error))) continue;
    if (!writeMissing(path, file)) {
      std::fprintf(stderr, "velmora-extract: cannot write %s\n", path.c_str());
      return 1;
    }
    ++written;
  }
  std::printf("velmora-extract: %d files written to %s\n", written, target.c_str());
  return 0;
}
