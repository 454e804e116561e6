// The preferences file: sections of KEY=value lines holding every setting.
//
// Reading starts from the defaults, removes every space from a line, matches section
// headers and keys without regard to case, honours a key only in its own section (the
// script keys in [Files] and [Frontend]) and lets the last occurrence win, except for
// NAME= and DISPLAY=, which add entries. Writing emits the complete set in a fixed order
// and replaces the file atomically.
#pragma once

#include <filesystem>
#include <string>

#include "config/settings.h"
#include "core/message_log.h"
#include "formats/line_issue.h"

namespace velmora {

struct PreferencesReadResult {
  bool found = false;
  bool namesControllerType = false;  // the file has an MCTYPE= line
  LineIssues issues;
};

// Resets settings to the defaults, then reads the file. A missing file leaves the
// defaults and writes "*ERROR: File <path> not found".
PreferencesReadResult ReadPreferences(const std::string& path, Settings& settings,
                                      const std::filesystem::path& homeFolder, MessageLog& log);

// The complete file text, CR LF line ends.
std::string PreferencesText(const Settings& settings);

// Writes the file atomically; false (with an error line) when it cannot be written.
bool SavePreferences(const std::string& path, const Settings& settings, MessageLog& log);

}  // namespace velmora
