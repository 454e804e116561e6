// How stored file names become paths of this system.
//
// A stored name is absolute when it starts with "/" or holds a drive ("C:\dir\x.hex"
// becomes "/dir/x.hex"); otherwise it is relative to the program folder. "\" separates
// components. When the resolved path does not exist, each component is looked up
// without regard to case, because definition files name files in any case.
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

namespace velmora {

std::filesystem::path ResolveStoredPath(const std::filesystem::path& programFolder,
                                        std::string_view stored);

// Where relative names given in commands and scripts are looked for. The desktop program
// takes them in the program folder (its file dialogs give absolute names anyway); the
// headless runner, used from a terminal, looks in the current directory first.
enum class RelativeNames { InProgramFolder, CurrentDirectoryFirst };

// The paths a name given in a command may mean, in the order they are tried: one for an
// absolute name or the program-folder rule, the current directory's and then the program
// folder's for a relative name under CurrentDirectoryFirst.
std::vector<std::filesystem::path> CandidatePaths(const std::filesystem::path& programFolder,
                                                  std::string_view name, RelativeNames rule);

// The path with each missing component replaced by an existing entry of the same name
// in another case; unchanged when there is none.
std::filesystem::path MatchCaseInsensitive(const std::filesystem::path& path);

}  // namespace velmora
