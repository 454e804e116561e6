#include "session/session.h"

#include <cstdlib>
#include <system_error>

#include "core/paths.h"

namespace velmora {

Session::Session(Frontend& frontend, std::filesystem::path programFolder)
    : log((programFolder / "LOG.TXT").string()),
      frontend_(frontend),
      programFolder_(std::move(programFolder)) {
  image.InitImage();
  SetDefaultPreferences(settings, UserHomeFolder());
}

std::filesystem::path Session::Resolve(std::string_view storedName) const {
  return ResolveStoredPath(programFolder_, storedName);
}

std::filesystem::path ProgramFolder(const std::string& homeOption, const char* argv0) {
  if (!homeOption.empty()) return std::filesystem::absolute(homeOption);
  if (const char* home = std::getenv("VELMORA_HOME"); home && *home) {
    return std::filesystem::absolute(home);
  }
  std::error_code error;
  auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error && argv0) self = std::filesystem::absolute(argv0);
  return self.parent_path();
}

}  // namespace velmora
