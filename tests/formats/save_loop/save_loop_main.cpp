// Saves the preferences and the HEX file over and over until it is killed:
//   save_loop FOLDER          the old version when the files are not there yet, "ready"
//                             on standard output, then the new and the old version in
//                             turn, for ever
//   save_loop --once old|new FOLDER   one version, then exit
#include <cstdio>
#include <filesystem>
#include <string>

#include "saved_versions.h"

using velmora::test::SavedVersion;
using velmora::test::SaveVersion;

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "--once") {
    const SavedVersion version = std::string(argv[2]) == "new" ? SavedVersion::New : SavedVersion::Old;
    return SaveVersion(argv[3], version) ? 0 : 1;
  }
  if (argc != 2) {
    std::fprintf(stderr, "usage: save_loop FOLDER | save_loop --once old|new FOLDER\n");
    return 2;
  }
  const std::filesystem::path folder(argv[1]);
  const bool saved = std::filesystem::exists(folder / velmora::test::kPreferencesName) &&
                     std::filesystem::exists(folder / velmora::test::kHexName);
  if (!saved && !SaveVersion(argv[1], SavedVersion::Old)) return 1;
  std::printf("ready\n");
  std::fflush(stdout);
  for (;;) {
    if (!SaveVersion(argv[1], SavedVersion::New) || !SaveVersion(argv[1], SavedVersion::Old)) return 1;
  }
}
