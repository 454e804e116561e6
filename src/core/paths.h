// How stored file names become paths of this system.
//
// A stored name is absolute when it starts with "/" or holds a drive ("C:\dir\x.hex"
// becomes "/dir/x.hex"); otherwise it is relative to the program folder. "\" separates
// components. When the resolved path does not exist, each component is looked up
// without regard to case, because definition files name files in any case.
#pragma once

#include <filesystem>
#include <string_view>

namespace velmora {

std::filesystem::path ResolveStoredPath(const std::filesystem::path& programFolder,
                                        std::string_view stored);

// The path with each missing component replaced by an existing entry of the same name
// in another case; unchanged when there is none.
std::filesystem::path MatchCaseInsensitive(const std::filesystem::path& path);

}  // namespace velmora
