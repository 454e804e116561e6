// Loading and saving the preferences of a session, with what follows from them: the
// monitor area, the log switch and the register definitions of the controller type.
#pragma once

#include <string>

namespace velmora {

class Session;

inline constexpr std::string_view kUnsupportedTypeMessage =
    "The Controller Type in the preference file is not (no longer) supported. Please select a "
    "different one in the target-configuration dialog ";

// Resets the settings to the defaults and reads the file. Afterwards the register file of
// the current controller type is read (the default type's when the file names none); a
// type the database does not know is said in a message box and leaves the register table
// as it was. False when the file does not exist.
bool LoadPreferences(Session& session, const std::string& path);

// Reads the register definitions of the current controller type; false when the type is
// unknown or its file is missing.
bool LoadCurrentRegisterFile(Session& session);

bool SavePreferences(Session& session, const std::string& path);

}  // namespace velmora
