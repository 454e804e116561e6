// The scripts named on the desktop program's command line, run once the main window is
// up: in order, each to its end, whatever became of the one before.
#pragma once

#include <string>
#include <vector>

namespace velmora::ui {

class SessionClient;

inline constexpr const char* kIllegalStartupParameters = "Illegal startup parameters";

// A name is looked up in the current directory first, then in the program folder; a name
// that is no file is said in a box and the next one still runs. A _quit ends the list.
void RunStartupScripts(SessionClient& client, const std::vector<std::string>& names);

}  // namespace velmora::ui
