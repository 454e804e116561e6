#include "ui/user_scripts.h"

#include "core/file_exists.h"
#include "core/frontend.h"
#include "session/session.h"

namespace velmora::ui {

int FreeUserScriptSlot(const std::array<std::string, 4>& userScripts) {
  for (size_t i = 0; i < userScripts.size(); ++i) {
    if (userScripts[i].empty()) return static_cast<int>(i);
  }
  return -1;
}

std::optional<int> RemoveAnswer(const std::optional<QString>& answer) {
  if (!answer) return 0;
  const QString text = answer->trimmed();
  if (text.isEmpty()) return 0;
  bool ok = false;
  const int value = text.toInt(&ok);
  if (!ok || value < 0 || value > 4) return std::nullopt;
  return value;
}

void RunStoredScript(Session& session, const std::string& storedName) {
  if (storedName.empty() || ReadProblem(session.Resolve(storedName)) != FileProblem::None) {
    session.log.WriteLine(std::string(kScriptNotFoundLine));
    return;
  }
  session.interpreter().ExecuteScript(storedName);
  session.frontend().RequestRefresh(Change::All(RefreshTarget::RecentScripts));
}

}  // namespace velmora::ui
