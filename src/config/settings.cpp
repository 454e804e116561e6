#include "config/settings.h"

#include <cstdlib>

namespace velmora {

void SetDefaultPreferences(Settings& settings, const std::filesystem::path& homeFolder) {
  // Values of the initial registers are kept: only their enabled flags start cleared.
  auto keptValues = settings.target.values;
  settings = Settings{};
  settings.target.values = keptValues;
  settings.files.saveAs.file = (homeFolder / "test.hex").string();
}

std::filesystem::path UserHomeFolder() {
  const char* home = std::getenv("HOME");
  return home && *home ? std::filesystem::path(home) : std::filesystem::path("/");
}

}  // namespace velmora
