#include "session/startup.h"

#include <spawn.h>
#include <sys/wait.h>

#include <thread>
#include <vector>

#include "core/frontend.h"
#include "formats/controller_types.h"
#include "session/preferences.h"
#include "session/session.h"

extern char** environ;

namespace velmora {
namespace {

using Clock = std::chrono::steady_clock;

bool readable(const std::filesystem::path& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

// Starts the extraction program without waiting for it; false when it cannot be started.
bool startExtractor(const std::filesystem::path& extractor, const std::filesystem::path& folder) {
  std::string program = extractor.string();
  std::string flag = "-y";
  std::string target = folder.string();
  std::vector<char*> argv = {program.data(), flag.data(), target.data(), nullptr};
  pid_t child = 0;
  return posix_spawn(&child, program.c_str(), nullptr, nullptr, argv.data(), environ) == 0;
}

// The extraction's two files, waited for with a time limit so that a failed extraction
// cannot hang the start.
bool waitForDefaults(Session& session, std::chrono::milliseconds limit) {
  const auto registerFile = session.programFolder() / "SFRDEF" / "BRASK.SFR";
  const auto memoryFile = session.programFolder() / "MEMDEF" / "BRASK.MEM";
  const auto until = Clock::now() + limit;
  while (Clock::now() < until) {
    if (readable(registerFile) && readable(memoryFile)) return true;
    session.frontend().ProcessEvents(std::chrono::milliseconds(50));
    // Reap the extractor once it is done, so it does not linger as a zombie.
    int status = 0;
    waitpid(-1, &status, WNOHANG);
  }
  return readable(registerFile) && readable(memoryFile);
}

}  // namespace

bool Startup(Session& session, const StartupOptions& options) {
  bool complete = true;
  const auto database = session.programFolder() / "mctypes.dat";
  if (!readable(database)) {
    const bool started = startExtractor(options.extractor, session.programFolder());
    session.frontend().MessageBox(kExtractingMessage, BoxButtons::Ok, BoxIcon::Information, {});
    if (!started || !waitForDefaults(session, options.extractionWait)) {
      session.log.WriteLine("*ERROR: The program files could not be unpacked into " +
                            session.programFolder().string());
      complete = false;
    }
  }
  session.link().SetState(TargetState::NotConnected);
  LoadControllerTypes(database.string(), session.programFolder(), session.controllerTypes, session.log);
  LoadPreferences(session, (session.programFolder() / "default.ini").string());
  session.image.InitImage();
  session.link().EnsurePortOpen();
  session.selections.ClearSelections();
  if (session.log.LoggingOn()) session.log.StartLogFile();
  return complete;
}

void Quit(Session& session, bool savePreferences) {
  session.link().ClosePort();
  if (savePreferences) SavePreferences(session, (session.programFolder() / "default.ini").string());
}

}  // namespace velmora
