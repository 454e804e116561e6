#include "ui/startup_scripts.h"

#include <filesystem>

#include "session/session.h"
#include "ui/session_client.h"

namespace velmora::ui {

namespace fs = std::filesystem;

void RunStartupScripts(SessionClient& client, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    client.runAndWait([name](Session& session) {
      fs::path path = name;
      if (!fs::is_regular_file(path)) path = session.Resolve(name);
      if (!fs::is_regular_file(path)) {
        session.frontend().MessageBox(kIllegalStartupParameters, BoxButtons::Ok, BoxIcon::Critical, {});
        return;
      }
      session.interpreter().ExecuteScript(fs::absolute(path).string());
    });
    if (client.snapshot().quitRequested) break;
  }
}

}  // namespace velmora::ui
