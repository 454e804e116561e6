// velmora-cli run as a child process on a copy of the program folder: the example scripts
// on the virtual board and through velmora-board on a pseudo-terminal, the exit statuses,
// and standard output holding exactly the message lines.
#include <gtest/gtest.h>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>
#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "link/transport.h"
#include "program_folder.h"
#include "recording_frontend.h"
#include "session/session.h"
#include "session/startup.h"
#include "sim/board_process.h"
#include "temp_folder.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using Args = std::vector<std::string>;

constexpr const char* kSucceeded = "*Script successfully executed";

struct CliResult {
  int exitCode = -1;  // -1 also when it did not end in time
  Lines out;          // standard output, line by line
  std::string err;
};

// Runs velmora-cli in workDir with the given standard input.
CliResult RunCli(const Args& arguments, const fs::path& workDir, const std::string& input = {}) {
  QStringList list;
  for (const auto& argument : arguments) list << QString::fromStdString(argument);
  QProcess process;
  process.setWorkingDirectory(QString::fromStdString(workDir.string()));
  process.start(VELMORA_CLI_PROGRAM, list);
  CliResult result;
  if (!process.waitForStarted(5000)) return result;
  process.write(input.data(), static_cast<qint64>(input.size()));
  process.closeWriteChannel();
  if (!process.waitForFinished(60000)) {
    process.kill();
    process.waitForFinished(2000);
    return result;
  }
  if (process.exitStatus() == QProcess::NormalExit) result.exitCode = process.exitCode();
  const std::string out = process.readAllStandardOutput().toStdString();
  for (size_t at = 0, end; (end = out.find('\n', at)) != std::string::npos; at = end + 1) {
    result.out.push_back(out.substr(at, end - at));
  }
  result.err = process.readAllStandardError().toStdString();
  return result;
}

Args operator+(Args first, const Args& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

class CliRun : public ::testing::Test {
 protected:
  void TearDown() override { board.Stop(); }

  // The options every run gets: the program folder copy, and never writing its default.ini.
  Args Base(const std::string& port = "virtual") const {
    return {"--home", home.path().string(), "--port", port, "--no-save"};
  }
  // A velmora-board fresh from reset; the arguments to reach it.
  Args OnBoard() {
    board.Stop();
    std::string error;
    EXPECT_TRUE(board.Start(VELMORA_BOARD_PROGRAM, {"--home", home.path().string()},
                            std::chrono::milliseconds(5000), error))
        << error;
    return Base(board.DevicePath()) + Args{"--baud", "115200"};
  }

  test::ProgramFolderCopy home;
  test::TempFolder workDir;  // the current directory of the runs
  BoardProcess board;
};

TEST_F(CliRun, EveryExampleScriptSucceedsOnTheVirtualBoardAndThroughVelmoraBoard) {
  std::vector<fs::path> examples;
  for (const auto& entry : fs::directory_iterator(test::ShippedDataFolder() / "SCRIPTS")) {
    if (entry.path().extension() == ".scm") examples.push_back(entry.path().filename());
  }
  ASSERT_GE(examples.size(), 4U);
  for (const auto& example : examples) {
    SCOPED_TRACE(example);
    // Programming and verifying expects a connected target.
    const Args items = example == "program_verify.scm"
                           ? Args{"-c", "_connect", "SCRIPTS/" + example.string()}
                           : Args{"SCRIPTS/" + example.string()};
    const CliResult onVirtual = RunCli(Base() + items, workDir.path());
    EXPECT_EQ(onVirtual.exitCode, 0) << onVirtual.err;
    EXPECT_EQ(onVirtual.out.empty() ? "" : onVirtual.out.back(), kSucceeded);
    EXPECT_EQ(std::count_if(onVirtual.out.begin(), onVirtual.out.end(),
                            [](const std::string& line) { return line.rfind("*ERROR", 0) == 0; }),
              0)
        << ::testing::PrintToString(onVirtual.out);
    const CliResult onBoard = RunCli(OnBoard() + items, workDir.path());
    EXPECT_EQ(onBoard.exitCode, 0) << onBoard.err;
    EXPECT_EQ(onBoard.out, onVirtual.out);
  }
}

TEST_F(CliRun, StandardOutputHoldsExactlyTheMessageLinesOfTheDemo) {
  // The same script in a session of this process, on its own copy of the folder.
  test::ProgramFolderCopy otherHome;
  test::RecordingFrontend frontend;
  Session session(frontend, otherHome.path());
  Lines expected;
  session.log.SetLineObserver([&](const std::string& line) { expected.push_back(line); });
  ASSERT_TRUE(Startup(session, {}));
  ASSERT_EQ(session.interpreter().ExecuteScript("SCRIPTS/demo.scm"), ScriptOutcome::Succeeded);

  const CliResult run = RunCli(Base() + Args{"SCRIPTS/demo.scm"}, workDir.path());
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, expected);
  EXPECT_NE(
      std::find(run.out.begin(), run.out.end(), "*Comparison:  0 of  1024 bytes not corresponding"),
      run.out.end());
}

struct RunRow {
  Args arguments;  // after the base options, unless the row is about bad usage
  int exitCode;
  Lines out;
  std::string err = {};  // a part of standard error
  std::string input = {};
};

TEST_F(CliRun, ExitStatusAndOutputOfTheRuns) {
  workDir.Write("fails.scm", "_assign %1=1\r\n_load\r\n_assign %1=2\r\n");
  workDir.Write("first.scm", "_assign %1=1\r\n");
  workDir.Write("second.scm", "IF %1=1\r\n_assign %2=2\r\nELSE\r\n_foo\r\nENDIF\r\n");
  // A script name is looked up in the current folder first, then in the program folder.
  workDir.Write("which.scm", "_assign %3=C\r\n");
  home.folder().Write("which.scm", "_assign %3=F\r\n");
  home.folder().Write("only_home.scm", "_assign %4=F\r\n");
  workDir.Write("quits.scm", "_assign %1=1\r\n_quit\r\n_foo\r\n");
  workDir.Write("my data, v2.hex", ":0400000001020304F2\r\n:00000001FF\r\n");
  fs::create_directory(workDir.path() / "d.hex");  // a short name: long lines wrap
  // Each path a missing name was looked for in, with the cause.
  const auto notFound = [&](const std::string& name) {
    return Lines{"*ERROR: file " + (workDir.path() / name).string() + " not found !",
                 "*ERROR: file " + (home.path() / name).string() + " not found !"};
  };
  const auto with = [](Lines head, const Lines& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
  };
  // clang-format off
  const RunRow rows[] = {
      {{"-c", "_foo"}, 1, {">_foo", "*ERROR: Illegal command"}},
      {{"fails.scm"}, 1, {">_assign %1=1", ">_load", "*ERROR: Illegal number of parameters", "*ERROR: Script aborted"}},
      {{"-c", "_assign %1=0", "first.scm", "-c", "_cond %1=1", "second.scm"}, 0,
       {">_assign %1=0", ">_assign %1=1", kSucceeded, ">_cond %1=1", ">_assign %2=2", kSucceeded}},
      {{"which.scm", "only_home.scm"}, 0, {">_assign %3=C", kSucceeded, ">_assign %4=F", kSucceeded}},
      {{"seocnd.scm", "first.scm"}, 1, with(notFound("seocnd.scm"), {">_assign %1=1", kSucceeded}),
       "Illegal startup parameters"},
      {{"--", "-c"}, 1, notFound("-c"), "Illegal startup parameters"},
      // A sub-script's failure leaves the caller's status 0; its error lines fail the run.
      {{"-c", "_executescript fails.scm"}, 1,
       {">_executescript fails.scm", ">_assign %1=1", ">_load", "*ERROR: Illegal number of parameters", "*ERROR: Script aborted"}},
      // File names: the current directory first, in quotes with blanks and commas.
      {{"-c", "_load \"my data, v2.hex\"", "-c", "_save \"copy, 2.hex\""}, 0,
       {">_load \"my data, v2.hex\"", "*Load: 4 bytes loaded", ">_save \"copy, 2.hex\"", "*SaveAs: selection written to file"}},
      {{"-c", "_load nothere.hex"}, 1, with({">_load nothere.hex"}, with(notFound("nothere.hex"), {"*ERROR: Illegal parameters"}))},
      {{"-c", "_load d.hex"}, 1,
       {">_load d.hex", "*ERROR: file " + workDir.File("d.hex") + " is a directory !", "*ERROR: Illegal parameters"}},
      {{"-c", "_addselection 0,3", "-c", "_save d.hex"}, 1,
       {">_addselection 0,3", ">_save d.hex", "*ERROR: file " + workDir.File("d.hex") + " is a directory !"}},
      {{"-c", ":414243", "-c", "Hello"}, 0, {"-> SENDING: 41", "-> SENDING: 42", "-> SENDING: 43", "-> SENDING: Hello"}},
      // _quit ends the run there: in a -c line, a script, a sub-script and piped input.
      {{"-c", "_quit", "-c", "_foo"}, 0, {">_quit"}},
      {{"quits.scm", "-c", "_foo"}, 0, {">_assign %1=1", ">_quit"}},
      {{"-c", "_executescript quits.scm", "-c", "_foo"}, 0, {">_executescript quits.scm", ">_assign %1=1", ">_quit"}},
      {{"-i"}, 0, {">_quit"}, "", "_quit\n_foo\n"},
      {{"-i"}, 1, {">_assign %1=5", ">_cond %1=5", "-> SENDING: 41", ">_foo", "*ERROR: Illegal command"}, "",
       "_assign %1=5\n_cond %1=5\r\n:41\n_foo\n"},
      // Bad usage: nothing runs.
      {{"--bogus"}, 2, {}, "velmora-cli: unknown option --bogus\nusage: velmora-cli"},
      {{"-c"}, 2, {}, "velmora-cli: -c needs a value\nusage: velmora-cli"},
      {{"--baud", "fast"}, 2, {}, "usage: velmora-cli"},
      {{"--version"}, 0, {"velmora-cli 0.1.0"}},
  };
  // clang-format on
  for (const RunRow& row : rows) {
    SCOPED_TRACE(::testing::PrintToString(row.arguments));
    const CliResult run =
        RunCli((row.exitCode == 2 ? Args{} : Base()) + row.arguments, workDir.path(), row.input);
    EXPECT_EQ(run.exitCode, row.exitCode) << run.err;
    EXPECT_EQ(run.out, row.out);
    EXPECT_NE(run.err.find(row.err), std::string::npos) << run.err;
  }
  EXPECT_NE(test::ReadFile(workDir.File("copy, 2.hex")).find(":0400000001020304F2\r\n"),
            std::string::npos);
}

// --port and --baud hold for one run: the port of default.ini is never opened, and neither
// value reaches default.ini; what else changed (the recent scripts) is saved.
TEST_F(CliRun, PortAndBaudOptionsHoldForOneRunOnly) {
  const std::string ini = (home.path() / "default.ini").string();
  std::string shipped = test::ReadFile(ini);
  const auto portName = shipped.find("PORTNAME=virtual");
  ASSERT_NE(portName, std::string::npos);
  home.folder().Write("default.ini", shipped.replace(portName, 16, "PORTNAME=/dev/velmora-none"));
  const std::string before = test::ReadFile(ini);
  workDir.Write("first.scm", "_assign %1=1\r\n");
  const Args once = {"--home", home.path().string(), "--port", "virtual", "--baud", "19200"};

  const CliResult kept = RunCli(once + Args{"--no-save", "-c", "_clearselections"}, workDir.path());
  EXPECT_EQ(kept.exitCode, 0) << kept.err;
  EXPECT_EQ(kept.err.find(kPortInUseMessage), std::string::npos) << kept.err;
  EXPECT_EQ(test::ReadFile(ini), before);

  const CliResult saved = RunCli(once + Args{"first.scm", "-c", "_quit"}, workDir.path());
  EXPECT_EQ(saved.exitCode, 0) << saved.err;
  EXPECT_EQ(saved.err.find(kPortInUseMessage), std::string::npos) << saved.err;
  const std::string after = test::ReadFile(ini);
  EXPECT_NE(after.find("PORTNAME=/dev/velmora-none"), std::string::npos) << after;
  EXPECT_EQ(after.find("BAUDRATE=19200"), std::string::npos) << after;
  EXPECT_NE(after.find("LASTSCRIPTFILE0=" + workDir.File("first.scm")), std::string::npos) << after;
}

// An *ERROR line fails the run even when every command returned 0.
TEST_F(CliRun, AnyErrorLineMakesTheExitStatusOne) {
  // The board swallows its identification byte: the connection still comes up.
  board.Stop();
  std::string error;
  ASSERT_TRUE(board.Start(VELMORA_BOARD_PROGRAM,
                          {"--home", home.path().string(), "--drop-output", "0"},
                          std::chrono::milliseconds(5000), error))
      << error;
  const CliResult noId =
      RunCli(Base(board.DevicePath()) + Args{"--baud", "115200", "-c", "_connect"}, workDir.path());
  EXPECT_NE(std::find(noId.out.begin(), noId.out.end(), "*ERROR: No ID Byte received"),
            noId.out.end())
      << ::testing::PrintToString(noId.out);
  EXPECT_NE(std::find(noId.out.begin(), noId.out.end(), "*VelmoraKorda successfully launched"),
            noId.out.end());
  EXPECT_EQ(noId.exitCode, 1);

  // Start-up without the opcode table says so and goes on.
  fs::remove(home.path() / "CMDDEF" / "command.cmd");
  const CliResult noOpcodes = RunCli(Base() + Args{"-c", "_clearselections"}, workDir.path());
  EXPECT_EQ(noOpcodes.out.empty() ? "" : noOpcodes.out.front().substr(0, 12), "*ERROR: File");
  EXPECT_EQ(noOpcodes.exitCode, 1);
}

// At a terminal the runner waits for Enter before the reset; Ctrl-C there cancels the box,
// so nothing is sent to the board and nothing after it runs.
TEST_F(CliRun, CtrlCAtTheResetPromptNeverConnects) {
  const Args arguments =
      Args{VELMORA_CLI_PROGRAM} + OnBoard() + Args{"-c", "_connect", "-c", "_program"};
  std::vector<char*> argv;
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const std::string folder = workDir.path().string();
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (::chdir(folder.c_str()) == 0) ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  // Everything the runner writes to its terminal, until it ends or the deadline passes.
  std::string seen;
  bool interrupted = false;
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (std::chrono::steady_clock::now() < until) {
    pollfd output{terminal, POLLIN, 0};
    if (::poll(&output, 1, 100) <= 0) continue;
    char buffer[512];
    const ssize_t got = ::read(terminal, buffer, sizeof buffer);
    if (got <= 0) break;  // the runner ended: its side of the terminal is closed
    seen.append(buffer, static_cast<size_t>(got));
    if (!interrupted && seen.find("[press Enter to go on]") != std::string::npos) {
      ASSERT_EQ(::write(terminal, "\x03", 1), 1);
      interrupted = true;
    }
  }
  int status = 0;
  if (::waitpid(child, &status, WNOHANG) == 0) {
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
  }
  ::close(terminal);
  EXPECT_TRUE(interrupted) << seen;
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << seen;
  EXPECT_EQ(seen.find("*send 0 Byte"), std::string::npos) << seen;
  EXPECT_EQ(seen.find(">_program"), std::string::npos) << seen;
}

}  // namespace
}  // namespace velmora
