#include "core/file_exists.h"

#include <unistd.h>

#include <fstream>

#include "core/frontend.h"

namespace velmora {

bool FileExists(const std::string& path, bool askOverwrite, Frontend& frontend) {
  const bool readable = ReadProblem(path) == FileProblem::None;
  if (!readable || !askOverwrite) return readable;
  return frontend.MessageBox(kOverwriteQuestion, BoxButtons::YesNo, BoxIcon::Question, {}) !=
         BoxAnswer::Yes;
}

FileProblem ReadProblem(const std::filesystem::path& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    // A folder on the way that may not be searched hides the file.
    return error == std::errc::permission_denied ? FileProblem::PermissionDenied
                                                 : FileProblem::NotFound;
  }
  if (error) return FileProblem::PermissionDenied;
  if (std::filesystem::is_directory(status)) return FileProblem::IsADirectory;
  if (!std::ifstream(path, std::ios::binary).is_open()) return FileProblem::PermissionDenied;
  return FileProblem::None;
}

FileProblem WriteProblem(const std::filesystem::path& path) {
  std::error_code error;
  // A link is written through to its target, so the target's folder is the one that counts.
  const auto target =
      std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
  const auto status = std::filesystem::status(target, error);
  if (std::filesystem::is_directory(status)) return FileProblem::IsADirectory;
  const auto folder = target.parent_path();
  if (!std::filesystem::is_directory(folder, error)) {
    return error == std::errc::permission_denied ? FileProblem::PermissionDenied
                                                 : FileProblem::NotFound;
  }
  const bool exists = std::filesystem::exists(status);
  if (exists && ::access(target.c_str(), W_OK) != 0) return FileProblem::PermissionDenied;
  // A regular file is replaced by renaming a new one over it, in its folder.
  if ((!exists || std::filesystem::is_regular_file(status)) &&
      ::access(folder.c_str(), W_OK) != 0) {
    return FileProblem::PermissionDenied;
  }
  return FileProblem::None;
}

std::string_view FileProblemText(FileProblem problem) {
  switch (problem) {
    case FileProblem::NotFound:
      return "not found";
    case FileProblem::PermissionDenied:
      return "permission denied";
    case FileProblem::IsADirectory:
      return "is a directory";
    case FileProblem::None:
      break;
  }
  return "readable";
}

std::string FileProblemLine(const std::filesystem::path& path, FileProblem problem) {
  return "*ERROR: file " + path.string() + " " + std::string(FileProblemText(problem)) + " !";
}

}  // namespace velmora
