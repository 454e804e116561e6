// The user script buttons and the last script files: which slot an assignment takes,
// how the remove question's answer is read, and running a stored script file (on the
// worker, inside an operation).
#pragma once

#include <QString>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {
class Session;
}

namespace velmora::ui {

inline constexpr std::string_view kScriptNotFoundLine = "*ERROR: Script File not found";
inline constexpr std::string_view kRemoveUserScriptQuestion =
    "Which user script assignment would you like to remove (1-4) ?";

// The first user script button without a script, or -1 when all four have one.
int FreeUserScriptSlot(const std::array<std::string, 4>& userScripts);

// The answer to kRemoveUserScriptQuestion: 0 (remove nothing; also for an empty answer or
// Cancel) to 4, or nullopt when the question must be asked again.
std::optional<int> RemoveAnswer(const std::optional<QString>& answer);

// Runs the stored script file when it can be read, else writes kScriptNotFoundLine. The
// recent-script list changes either way: the window is told.
void RunStoredScript(Session& session, const std::string& storedName);

}  // namespace velmora::ui
