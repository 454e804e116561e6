// Whether a file may be read, and whether the user lets the program overwrite it.
#pragma once

#include <string>

namespace velmora {

class Frontend;

inline constexpr std::string_view kOverwriteQuestion = "File allready exists ! Overwrite ?";

// True when the file can be opened for reading. With askOverwrite set and the file
// present, the user is asked whether to overwrite it; Yes turns the result into false,
// so that the caller goes on and writes the file.
bool FileExists(const std::string& path, bool askOverwrite, Frontend& frontend);

}  // namespace velmora
