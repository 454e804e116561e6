#include "core/paths.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "core/hex_text.h"

namespace velmora {

std::filesystem::path ResolveStoredPath(const std::filesystem::path& programFolder,
                                        std::string_view stored) {
  std::string name(stored);
  std::replace(name.begin(), name.end(), '\\', '/');
  std::filesystem::path resolved;
  if (const auto colon = name.find(':'); colon != std::string::npos) {
    std::string rest = name.substr(colon + 1);
    if (rest.empty() || rest.front() != '/') rest.insert(rest.begin(), '/');
    resolved = rest;
  } else if (!name.empty() && name.front() == '/') {
    resolved = name;
  } else {
    resolved = programFolder / name;
  }
  return MatchCaseInsensitive(resolved.lexically_normal());
}

std::vector<std::filesystem::path> CandidatePaths(const std::filesystem::path& programFolder,
                                                  std::string_view name, RelativeNames rule) {
  std::vector<std::filesystem::path> paths;
  const bool relative = !name.empty() && name.front() != '/' && name.front() != '\\' &&
                        name.find(':') == std::string_view::npos;
  if (relative && rule == RelativeNames::CurrentDirectoryFirst) {
    std::string local(name);
    std::replace(local.begin(), local.end(), '\\', '/');
    std::error_code error;
    paths.push_back((std::filesystem::current_path(error) / local).lexically_normal());
  }
  paths.push_back(ResolveStoredPath(programFolder, name));
  return paths;
}

std::filesystem::path MatchCaseInsensitive(const std::filesystem::path& path) {
  std::error_code error;
  if (std::filesystem::exists(path, error)) return path;
  std::filesystem::path matched;
  for (const auto& component : path) {
    const auto candidate = matched / component;
    if (matched.empty() || std::filesystem::exists(candidate, error)) {
      matched = candidate;
      continue;
    }
    std::filesystem::path found;
    for (const auto& entry : std::filesystem::directory_iterator(matched, error)) {
      if (EqualsNoCase(entry.path().filename().string(), component.string())) {
        found = entry.path();
        break;
      }
    }
    matched = found.empty() ? candidate : found;
  }
  return matched;
}

}  // namespace velmora
