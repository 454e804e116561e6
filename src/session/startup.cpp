#include "session/startup.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "core/frontend.h"
#include "disasm/opcode_table.h"
#include "formats/controller_types.h"
#include "formats/preferences_file.h"
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

// Starts the extraction program without waiting for it (its report goes nowhere: the
// runner's standard output holds message lines only); 0 when it cannot be started.
pid_t startExtractor(const std::filesystem::path& extractor, const std::filesystem::path& folder) {
  std::string program = extractor.string();
  std::string flag = "-y";
  std::string endOfOptions = "--";
  std::string target = folder.string();
  std::vector<char*> argv = {program.data(), flag.data(), endOfOptions.data(), target.data(),
                             nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int failed = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return failed == 0 ? child : 0;
}

// The extraction's two files, waited for with a time limit so that a failed extraction
// cannot hang the start; and the extractor itself, which writes the rest of the folder.
bool waitForDefaults(Session& session, pid_t extractor, std::chrono::milliseconds limit) {
  const auto registerFile = session.programFolder() / "SFRDEF" / "BRASK.SFR";
  const auto memoryFile = session.programFolder() / "MEMDEF" / "BRASK.MEM";
  const auto until = Clock::now() + limit;
  bool running = true;
  while (Clock::now() < until) {
    int status = 0;
    if (running && waitpid(extractor, &status, WNOHANG) == extractor) running = false;
    if (!running && readable(registerFile) && readable(memoryFile)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return !running && readable(registerFile) && readable(memoryFile);
}

}  // namespace

bool Startup(Session& session, const StartupOptions& options) {
  const auto step = [&options](int value) {
    if (options.progress) options.progress(value);
  };
  bool complete = true;
  const auto database = session.programFolder() / "mctypes.dat";
  if (!readable(database)) {
    const pid_t extractor = startExtractor(options.extractor, session.programFolder());
    session.frontend().MessageBox(kExtractingMessage, BoxButtons::Ok, BoxIcon::Information, {});
    if (extractor == 0 || !waitForDefaults(session, extractor, options.extractionWait)) {
      session.log.WriteLine("*ERROR: The program files could not be unpacked into " +
                            session.programFolder().string());
      complete = false;
    }
  }
  step(1);
  session.link().SetState(TargetState::NotConnected);
  step(20);
  LoadControllerTypes(database.string(), session.programFolder(), session.controllerTypes, session.log);
  step(30);
  LoadPreferences(session, (session.programFolder() / "default.ini").string());
  step(50);
  session.oneRun.Apply(session.settings.communication, options.port, options.baud);
  session.image.InitImage();
  session.link().EnsurePortOpen();
  step(70);  // the dialogs that keep state are the window's own; nothing to read here
  step(80);
  LoadOpcodeTable((session.programFolder() / "CMDDEF" / "command.cmd").string(), session.opcodes, session.log);
  step(90);
  session.selections.ClearSelections();
  if (session.log.LoggingOn()) session.log.StartLogFile();
  return complete;
}

void Quit(Session& session, bool savePreferences) {
  session.link().ClosePort();
  if (!savePreferences) return;
  Settings saved = session.settings;
  saved.communication = session.oneRun.ToSave(session.settings.communication);
  SavePreferences((session.programFolder() / "default.ini").string(), saved, session.log);
}

}  // namespace velmora
