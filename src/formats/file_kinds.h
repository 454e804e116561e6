// The kinds of file the load and save dialogs serve: captions, file-type lists, patterns,
// the folder each opens in and the state they remember, free of any widget.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "config/settings.h"

namespace velmora {

enum class LoadKind { IntelHex = 0, Script = 2, Preferences = 3, Driver = 4, UserScript = 5 };

struct FileType {
  std::string_view text;
  std::string_view pattern;
};

struct LoadKindInfo {
  std::string_view caption;
  std::array<FileType, 2> fileTypes;
  std::string_view fixedFolder;  // a folder of the program folder, or empty: the kind's remembered folder
};

inline constexpr FileType kIntelHexFiles{"Intel hex files (*.hex;*.h86)", "*.hex;*.h86"};
inline constexpr FileType kScriptFiles{"Script files (*.scm)", "*.scm"};
inline constexpr FileType kPreferenceFiles{"Preference files (*.ini)", "*.ini"};
inline constexpr FileType kAllFiles{"All Files (*.*)", "*.*"};

const LoadKindInfo& LoadKindOf(LoadKind kind);

// The remembered path and file type of a kind, or nullptr for the kinds that remember
// nothing (drivers and user scripts). The save dialog remembers FileStates::configSave.
RememberedFile* RememberedFor(LoadKind kind, FileStates& files);

// A stored full path split at its last separator ("\" or "/") into folder and file name.
struct FolderAndName {
  std::string folder;
  std::string name;
};
FolderAndName SplitFolderAndName(std::string_view path);

// Whether a file name matches a pattern list such as "*.hex;*.h86" (without regard to
// case; "*.*" matches every name).
bool MatchesPattern(std::string_view fileName, std::string_view patterns);

// The name a save dialog writes: nullopt when it is empty (the dialog says
// kNoFileNameMessage); a name without "." gets the default suffix (".ini", ".hex").
inline constexpr std::string_view kNoFileNameMessage = "Please insert a filename !";
inline constexpr std::string_view kNoFileChosenMessage = "Please select a file !";
std::optional<std::string> SaveFileName(std::string_view typed, std::string_view defaultSuffix);

// The user script question and its answer: 1 to 4, or nullopt to ask again.
inline constexpr std::string_view kUserScriptQuestion =
    "Which User Script Button would you like to configure (1-4) ?";
std::optional<int> UserScriptButton(std::string_view answer);

}  // namespace velmora
