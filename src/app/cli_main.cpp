// velmora-cli: the headless runner. The command language and scripts are not here yet;
// this build reports what the program can do so far.
#include <cstdio>
#include <cstring>
#include <string>

#include "session/session.h"

namespace {

constexpr const char* kVersion = "0.1.0";

void printAbout(const std::filesystem::path& folder) {
  std::printf("velmora-cli %s: host tools for Korda 16-bit controller boards\n", kVersion);
  std::printf("Program folder: %s\n\n", folder.c_str());
  std::puts("This build holds the core of the program:");
  std::puts("  - the 16 MB memory image with defined/protected/valid flags per byte");
  std::puts("  - the selection list (sorted, merged, at most 1001 ranges)");
  std::puts("  - the Intel HEX reader and writer (20- and 32-bit address records)");
  std::puts("  - the message log and the log file");
  std::puts("");
  std::puts("Not yet here: the target link, the virtual board, the command language and");
  std::puts("scripts. Until they land this program only prints this text.");
}

}  // namespace

int main(int argc, char** argv) {
  std::string home;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--version") == 0) {
      std::printf("velmora-cli %s\n", kVersion);
      return 0;
    }
    if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) home = argv[++i];
  }
  printAbout(velmora::ProgramFolder(home, argv[0]));
  return 0;
}
