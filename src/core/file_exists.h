// Whether a file may be read, why not, and whether the user lets the program overwrite it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velmora {

class Frontend;

inline constexpr std::string_view kOverwriteQuestion = "File allready exists ! Overwrite ?";

// True when the file can be opened for reading. With askOverwrite set and the file
// present, the user is asked whether to overwrite it; Yes turns the result into false,
// so that the caller goes on and writes the file.
bool FileExists(const std::string& path, bool askOverwrite, Frontend& frontend);

// Why a path cannot be read as a file; None when it can.
enum class FileProblem { None, NotFound, PermissionDenied, IsADirectory };

FileProblem ReadProblem(const std::filesystem::path& path);
// Why a file cannot be written at the path (its folder missing or closed, a directory
// in its place); None when nothing stands in the way that can be seen beforehand.
FileProblem WriteProblem(const std::filesystem::path& path);

// "not found", "permission denied", "is a directory".
std::string_view FileProblemText(FileProblem problem);
// The error line naming the full path and the cause: "*ERROR: file PATH not found !".
std::string FileProblemLine(const std::filesystem::path& path, FileProblem problem);

}  // namespace velmora
