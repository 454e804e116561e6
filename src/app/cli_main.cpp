// velmora-cli: the headless runner. It starts like the desktop application, runs the
// command lines and scripts it is given in order (or one job), prints every message line,
// and quits (writing the default preferences unless told not to).
#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include "app/cli_exit_class.h"
#include "app/cli_job_frontend.h"
#include "app/cli_job_output.h"
#include "app/cli_jobs.h"
#include "app/cli_options.h"
#include "app/cli_ports.h"
#include "app/console_frontend.h"
#include "app/qt_serial_port.h"
#include "disasm/disassembly_listing.h"
#include "link/wait_precision.h"
#include "session/command_input.h"
#include "session/runner.h"
#include "session/session.h"
#include "session/startup.h"

namespace {

using velmora::Session;

// Prints closed lines at once and, in interactive use, the open line as it grows.
class LinePrinter {
 public:
  explicit LinePrinter(bool showOpenLine) : showOpenLine_(showOpenLine) {}
  void Closed(const std::string& line) {
    std::fputs(line.c_str() + std::min(printed_, line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
    printed_ = 0;
  }
  void Open(const std::string& line) {
    if (!showOpenLine_ || line.size() <= printed_) return;
    std::fputs(line.c_str() + printed_, stdout);
    std::fflush(stdout);
    printed_ = line.size();
  }

 private:
  bool showOpenLine_;
  size_t printed_ = 0;
};

bool runItem(const velmora::CliItem& item, Session& session) {
  if (item.isLine) return velmora::EnterCommandLine(session, item.text) == 0;
  // A script named here: the current directory first, then the program folder; the
  // lookup names the paths it tried when there is none.
  const auto path = session.interpreter().LookUpFile(item.text);
  if (!path) {
    session.frontend().MessageBox("Illegal startup parameters", velmora::BoxButtons::Ok,
                                  velmora::BoxIcon::Critical, {});
    return false;
  }
  const auto outcome =
      session.interpreter().ExecuteScript(std::filesystem::absolute(*path).string());
  return outcome == velmora::ScriptOutcome::Succeeded || outcome == velmora::ScriptOutcome::Quit;
}

// Reads command lines from standard input on this thread; each runs on the worker, which
// serves the line between them (target output shows as it arrives).
bool interactive(velmora::Runner& runner) {
  bool ok = true;
  bool quit = false;
  std::string pending;
  while (!quit) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (::poll(&input, 1, 20) <= 0) continue;
    char buffer[512];
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got <= 0) break;
    pending.append(buffer, static_cast<size_t>(got));
    for (size_t end; !quit && (end = pending.find('\n')) != std::string::npos;) {
      std::string line = pending.substr(0, end);
      pending.erase(0, end + 1);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      runner.Run([&](Session& session) {
        ok = velmora::EnterCommandLine(session, line) == 0 && ok;
        quit = session.QuitRequested();
      });
    }
  }
  return ok;
}

// Ctrl-C while the run goes on: the first asks the running script to stop between two of
// its lines, the second ends the program at once.
class InterruptWatch {
 public:
  explicit InterruptWatch(velmora::Runner& runner)
      : thread_([&runner](std::stop_token stop) {
          int seen = 0;
          while (!stop.stop_requested()) {
            const int interrupts = velmora::ConsoleFrontend::Interrupts();
            if (interrupts >= 2) {
              std::fprintf(stderr, "Interrupted.\n");
              std::fflush(stdout);
              std::_Exit(1);
            }
            if (interrupts > seen) {
              seen = interrupts;
              runner.RequestAbort();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
          }
        }) {}

 private:
  std::jthread thread_;
};

std::filesystem::path extractorPath() {
  return std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) /
         "velmora-extract";
}

// The session lives on the runner's worker thread, as in the desktop program.
velmora::Runner::SessionMaker sessionMaker(velmora::Frontend& frontend,
                                           const std::filesystem::path& folder,
                                           std::function<void(const std::string&)> closedLine,
                                           std::function<void(const std::string&)> openLine) {
  return [&frontend, folder, closedLine, openLine] {
    auto session = std::make_unique<Session>(
        frontend, folder, [](const std::string&) -> std::unique_ptr<velmora::SerialPort> {
          return std::make_unique<velmora::QtSerialPort>();
        });
    session->log.SetLineObserver(closedLine);
    if (openLine) session->log.SetOpenLineObserver(openLine);
    // A terminal user names files as a shell does: here first, quoted when they hold blanks.
    session->interpreter().SetConventions({velmora::RelativeNames::CurrentDirectoryFirst, true});
    return session;
  };
}

// Command lines and scripts, as the desktop program runs its start-up scripts.
int runCommandLines(const velmora::CliOptions& options, const char* argv0) {
  velmora::ConsoleFrontend frontend({options.noQuestions, false});
  LinePrinter printer(options.interactive);
  velmora::Runner runner(sessionMaker(
      frontend, velmora::ProgramFolder(options.home, argv0),
      [&printer](const std::string& line) { printer.Closed(line); },
      [&printer](const std::string& line) { printer.Open(line); }));
  InterruptWatch interruptWatch(runner);

  velmora::StartupOptions startup;
  startup.extractor = extractorPath();
  startup.port = options.port;
  startup.baud = options.baud;
  bool ok = true;
  runner.Run([&](Session& session) {
    ok = velmora::Startup(session, startup);
    // Only a person at a real board can be asked to press its reset button.
    frontend.SetWaitForUser(::isatty(STDIN_FILENO) && !options.interactive &&
                            session.settings.communication.PortText() != "virtual");
  });

  // Like the scripts named when the desktop program starts: each one runs, whatever became
  // of the one before; any failure makes the exit status 1.
  bool quit = false;
  for (const velmora::CliItem& item : options.items) {
    if (quit) break;
    // Ctrl-C stops the run's list as it stops a script: nothing after it starts.
    if (velmora::ConsoleFrontend::Interrupts() > 0) {
      std::fputs("Interrupted: the remaining items are not run.\n", stderr);
      ok = false;
      break;
    }
    runner.Run([&](Session& session) {
      ok = runItem(item, session) && ok;
      quit = session.QuitRequested();
    });
  }
  if (ok && !quit && options.interactive) ok = interactive(runner);

  runner.Run([&](Session& session) {
    if (options.disassemble) {
      velmora::DisassemblyListing listing;
      int32_t position = session.link().currentAddress;
      velmora::FillDisassembly(session.selections, session.image, session.decoder, listing,
                               position);
      for (const auto& line : velmora::ListingLines(listing)) std::printf("%s\n", line.c_str());
      std::fflush(stdout);
    }
    velmora::Quit(session, !options.noSave);
    // Whatever wrote it, an error line means the run did not go as it should.
    if (session.log.ErrorLineCount() > 0 || session.log.List().OpenLine().starts_with("*ERROR"))
      ok = false;
  });
  if (frontend.QuestionRefused()) ok = false;
  return ok ? 0 : 1;
}

// One job: its steps, its output and its exit class.
int runJob(const velmora::CliOptions& options, const char* argv0) {
  using velmora::ExitClass;
  velmora::JobOutput output({::isatty(STDERR_FILENO) == 1, options.quiet, options.json},
                            velmora::JobClock::now);
  velmora::JobFrontend frontend({options.noQuestions, false}, output);
  velmora::Runner runner(
      sessionMaker(frontend, velmora::ProgramFolder(options.home, argv0),
                   [&output](const std::string& line) { output.MessageLine(line); }, {}));
  InterruptWatch interruptWatch(runner);

  velmora::StartupOptions startup;
  startup.extractor = extractorPath();
  startup.port = options.port;
  startup.baud = options.baud;
  velmora::JobReport report;
  report.arguments = options.job.arguments;
  runner.Run([&](Session& session) {
    const bool started = velmora::Startup(session, startup);
    frontend.SetWaitForUser(::isatty(STDIN_FILENO) &&
                            session.settings.communication.PortText() != "virtual");
    velmora::JobContext job{session, options, output, report, velmora::JobClock::now, [] {
                              return velmora::ConsoleFrontend::Interrupts() > 0;
                            }};
    if (!started) {
      report.job = std::string(velmora::JobName(options.job.kind));
      report.Fail(ExitClass::Other, "the program folder is not complete");
    } else {
      velmora::RunJob(job);
    }
    velmora::Quit(session, !options.noSave);
  });
  if (frontend.QuestionRefused()) report.Fail(ExitClass::Other, "a question was refused");
  if (report.result != ExitClass::Success) output.Error(report.result, report.job, report.error);
  if (options.json) output.Report(velmora::JobReportJson(report));
  return velmora::ExitStatus(report.result);
}

// A refusal before anything has started: the usage text, or the job's report.
int refuse(const velmora::CliOptions& options, velmora::ExitClass exitClass,
           const std::string& text) {
  std::fprintf(stderr, "velmora-cli: %s\n", text.c_str());
  if (exitClass == velmora::ExitClass::Usage) std::fputs(velmora::CliUsage().c_str(), stderr);
  if (options.json && options.job.kind != velmora::JobKind::None) {
    velmora::JobReport report;
    report.job = std::string(velmora::JobName(options.job.kind));
    report.arguments = options.job.arguments;
    report.port = options.port;
    report.Fail(exitClass, text);
    std::fputs(velmora::JobReportJson(report).c_str(), stdout);
  }
  return velmora::ExitStatus(exitClass);
}

}  // namespace

int main(int argc, char** argv) {
  velmora::CliOptions options;
  if (const auto error = velmora::ParseCliOptions({argv + 1, argv + argc}, options)) {
    return refuse(options, velmora::ExitClass::Usage, error->what);
  }
  if (options.help) {
    std::fputs(velmora::CliUsage().c_str(), stdout);
    return 0;
  }
  if (options.version) {
    std::printf("velmora-cli %s\n", VELMORA_VERSION);
    return 0;
  }
  QCoreApplication application(argc, argv);
  if (options.listPorts) {
    const auto ports = velmora::ListSerialPorts();
    for (const auto& line : velmora::PortListLines(ports)) std::printf("%s\n", line.c_str());
    if (ports.empty()) std::fputs("velmora-cli: the system lists no serial ports\n", stderr);
    return 0;
  }
  if (options.port == "auto") {
    const auto choice = velmora::ChooseAutoPort(velmora::ListSerialPorts());
    if (!choice.device) return refuse(options, velmora::ExitClass::Port, choice.error);
    options.port = *choice.device;
  }
  velmora::UseFineTimerSlack();
  velmora::ConsoleFrontend::InstallInterruptHandler();
  return options.job.kind == velmora::JobKind::None ? runCommandLines(options, argv[0])
                                                    : runJob(options, argv[0]);
}
