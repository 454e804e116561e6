// velmora-cli: the headless runner. It starts like the desktop application, runs the
// command lines and scripts it is given in order, prints every message line, and quits
// (writing the default preferences unless told not to).
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

constexpr const char* kUsage =
    "usage: velmora-cli [--home DIR] [--port NAME] [--baud N] [--no-save] [--no-questions]\n"
    "                   [-i] [--disassemble] [-c LINE]... [--] [SCRIPT]...\n"
    "\n"
    "Starts like the desktop program (controller database, default.ini, serial port), then\n"
    "runs each -c line and each script in the order given (all of them, even after one fails).\n"
    "A line starting with \"_\" is a command (_help lists them); \":\" followed by hex pairs,\n"
    "or any other text, is sent raw to the target. Every message line is printed as soon as\n"
    "it is complete; message boxes go to standard error and are answered OK / Yes.\n"
    "_quit ends the run at once: no later line, script or -c item runs.\n"
    "\n"
    "File names in commands and scripts (and script names here) are looked up in the\n"
    "current directory first, then in the program folder; a parameter in double quotes may\n"
    "hold blanks and commas (_save \"my file.hex\").\n"
    "\n"
    "  --home DIR       program folder (default: $VELMORA_HOME, else the program's folder)\n"
    "  --port NAME      COM1..COM4, a device such as /dev/ttyUSB0 or /dev/pts/3, or virtual\n"
    "                   (the built-in virtual board); for this run only\n"
    "  --baud N         baud rate, for this run only\n"
    "  --no-save        do not write default.ini when the run ends\n"
    "  --no-questions   a question or input box fails the run instead of being answered\n"
    "  -i               read command lines from standard input; target output is shown as\n"
    "                   it arrives; end with end-of-file or _quit\n"
    "  -c LINE          run one command line\n"
    "  --disassemble    at the end, print the disassembly listing of the selections\n"
    "  --version        print the version and end\n"
    "  -h, --help       print this text and end\n"
    "  --               ends the options: every later argument is a script name\n"
    "\n"
    "Exit status: 0 all succeeded, 1 a command failed or an *ERROR line was written,\n"
    "2 bad usage.\n";

struct Item {
  bool isLine;
  std::string text;
};

struct Options {
  std::string home;
  std::string port;
  int baud = 0;
  bool noSave = false;
  bool noQuestions = false;
  bool interactive = false;
  bool disassemble = false;
  std::vector<Item> items;
};

// A word the runner does not understand; main prints it before the usage.
struct UsageError {
  std::string what;
};

std::optional<UsageError> parse(int argc, char** argv, Options& options) {
  bool optionsEnded = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    std::string text;
    const auto value = [&](std::string& out) {
      if (i + 1 >= argc) return false;
      out = argv[++i];
      return true;
    };
    const auto missing = [&] { return UsageError{arg + " needs a value"}; };
    if (optionsEnded || arg.empty() || arg[0] != '-' || arg == "-") {
      options.items.push_back({false, arg});
    } else if (arg == "--") {
      optionsEnded = true;
    } else if (arg == "--home") {
      if (!value(options.home)) return missing();
    } else if (arg == "--port") {
      if (!value(options.port)) return missing();
    } else if (arg == "--baud") {
      if (!value(text)) return missing();
      options.baud = std::atoi(text.c_str());
      if (options.baud <= 0) return UsageError{"--baud needs a baud rate above 0, not " + text};
    } else if (arg == "--no-save") {
      options.noSave = true;
    } else if (arg == "--no-questions") {
      options.noQuestions = true;
    } else if (arg == "--disassemble") {
      options.disassemble = true;
    } else if (arg == "-i") {
      options.interactive = true;
    } else if (arg == "-c") {
      if (!value(text)) return missing();
      options.items.push_back({true, text});
    } else if (arg == "--help" || arg == "-h") {
      std::fputs(kUsage, stdout);
      std::exit(0);
    } else if (arg == "--version") {
      std::printf("velmora-cli %s\n", VELMORA_VERSION);
      std::exit(0);
    } else {
      return UsageError{"unknown option " + arg};
    }
  }
  return std::nullopt;
}

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

bool runItem(const Item& item, Session& session) {
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

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (const auto error = parse(argc, argv, options)) {
    std::fprintf(stderr, "velmora-cli: %s\n", error->what.c_str());
    std::fputs(kUsage, stderr);
    return 2;
  }
  QCoreApplication application(argc, argv);
  velmora::UseFineTimerSlack();
  velmora::ConsoleFrontend::InstallInterruptHandler();
  velmora::ConsoleFrontend frontend({options.noQuestions, false});

  const auto folder = velmora::ProgramFolder(options.home, argv[0]);
  LinePrinter printer(options.interactive);
  // The session lives on the runner's worker thread, as in the desktop program.
  velmora::Runner runner([&] {
    auto session = std::make_unique<Session>(
        frontend, folder, [](const std::string&) -> std::unique_ptr<velmora::SerialPort> {
          return std::make_unique<velmora::QtSerialPort>();
        });
    session->log.SetLineObserver([&printer](const std::string& line) { printer.Closed(line); });
    session->log.SetOpenLineObserver([&printer](const std::string& line) { printer.Open(line); });
    // A terminal user names files as a shell does: here first, quoted when they hold blanks.
    session->interpreter().SetConventions({velmora::RelativeNames::CurrentDirectoryFirst, true});
    return session;
  });
  InterruptWatch interruptWatch(runner);

  velmora::StartupOptions startup;
  startup.extractor = std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) / "velmora-extract";
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
  for (const Item& item : options.items) {
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
      velmora::FillDisassembly(session.selections, session.image, session.decoder, listing, position);
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
