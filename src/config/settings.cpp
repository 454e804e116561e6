#include "config/settings.h"

#include <algorithm>
#include <cstdlib>

namespace velmora {

void SetDefaultPreferences(Settings& settings, const std::filesystem::path& homeFolder) {
  // Values of the initial registers are kept: only their enabled flags start cleared.
  auto keptValues = settings.target.values;
  settings = Settings{};
  settings.target.values = keptValues;
  settings.files.saveAs.file = (homeFolder / "test.hex").string();
}

void SetLastScriptFile(FileStates& files, const std::string& name) {
  auto& last = files.lastScripts;
  auto found = std::find(last.begin(), last.end(), name);
  if (found == last.end()) found = last.end() - 1;
  std::move_backward(last.begin(), found, found + 1);
  last.front() = name;
}

std::filesystem::path UserHomeFolder() {
  const char* home = std::getenv("HOME");
  return home && *home ? std::filesystem::path(home) : std::filesystem::path("/");
}

}  // namespace velmora
