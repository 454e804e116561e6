#include "formats/file_kinds.h"

#include "core/hex_text.h"

namespace velmora {

const LoadKindInfo& LoadKindOf(LoadKind kind) {
  static const LoadKindInfo kHex{"Load File", {kIntelHexFiles, kAllFiles}, {}};
  static const LoadKindInfo kScript{"Load script", {kScriptFiles, kAllFiles}, {}};
  static const LoadKindInfo kPreferences{"Load preferences", {kPreferenceFiles, kAllFiles}, "PREFS"};
  static const LoadKindInfo kDriver{"Search Driver", {kIntelHexFiles, kAllFiles}, "DRIVER"};
  static const LoadKindInfo kUserScript{"Load script", {kScriptFiles, kAllFiles}, "SCRIPTS"};
  switch (kind) {
    case LoadKind::IntelHex:
      return kHex;
    case LoadKind::Script:
      return kScript;
    case LoadKind::Preferences:
      return kPreferences;
    case LoadKind::Driver:
      return kDriver;
    case LoadKind::UserScript:
      return kUserScript;
  }
  return kHex;
}

RememberedFile* RememberedFor(LoadKind kind, FileStates& files) {
  switch (kind) {
    case LoadKind::IntelHex:
      return &files.load;
    case LoadKind::Script:
      return &files.script;
    case LoadKind::Preferences:
      return &files.configLoad;
    default:
      return nullptr;
  }
}

FolderAndName SplitFolderAndName(std::string_view path) {
  const auto at = path.find_last_of("\\/");
  if (at == std::string_view::npos) return {{}, std::string(path)};
  return {std::string(path.substr(0, at)), std::string(path.substr(at + 1))};
}

namespace {

// "*" any run of characters, "?" one character; both texts compared without case.
bool wildcard(std::string_view name, std::string_view pattern) {
  if (pattern.empty()) return name.empty();
  if (pattern.front() == '*') {
    for (size_t skip = 0; skip <= name.size(); ++skip) {
      if (wildcard(name.substr(skip), pattern.substr(1))) return true;
    }
    return false;
  }
  if (name.empty()) return false;
  if (pattern.front() != '?' && !EqualsNoCase(name.substr(0, 1), pattern.substr(0, 1))) return false;
  return wildcard(name.substr(1), pattern.substr(1));
}

}  // namespace

bool MatchesPattern(std::string_view fileName, std::string_view patterns) {
  size_t at = 0;
  while (at <= patterns.size()) {
    size_t end = patterns.find(';', at);
    if (end == std::string_view::npos) end = patterns.size();
    const std::string_view pattern = patterns.substr(at, end - at);
    // "*.*" means every file, with or without a suffix.
    if (pattern == "*.*" || wildcard(fileName, pattern)) return true;
    at = end + 1;
  }
  return false;
}

std::optional<std::string> SaveFileName(std::string_view typed, std::string_view defaultSuffix) {
  if (typed.empty()) return std::nullopt;
  std::string name(typed);
  if (name.find('.') == std::string::npos) name += defaultSuffix;
  return name;
}

std::optional<int> UserScriptButton(std::string_view answer) {
  if (answer.size() != 1 || answer[0] < '1' || answer[0] > '4') return std::nullopt;
  return answer[0] - '0';
}

}  // namespace velmora
