// Two clearly different versions of a preferences file and of a HEX file of a few hundred
// KB, saved through the program's own writers: what the interrupted-save test kills a
// writer in the middle of.
#pragma once

#include <string>

namespace velmora::test {

enum class SavedVersion { Old, New };

inline constexpr const char* kPreferencesName = "prefs.ini";
inline constexpr const char* kHexName = "image.hex";

// Saves both files of the version into folder; false when a writer failed.
bool SaveVersion(const std::string& folder, SavedVersion version);

}  // namespace velmora::test
