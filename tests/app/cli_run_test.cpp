// velmora-cli run as a child process on a copy of the program folder: the example scripts
// on the virtual board and through velmora-board on a pseudo-terminal, the exit statuses,
// and standard output holding exactly the message lines.
#include <gtest/gtest.h>

#include <QProcess>
#include <QStringList>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

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
  // clang-format off
  const RunRow rows[] = {
      {{"-c", "_foo"}, 1, {">_foo", "*ERROR: Illegal command"}},
      {{"fails.scm"}, 1, {">_assign %1=1", ">_load", "*ERROR: Illegal number of parameters", "*ERROR: Script aborted"}},
      {{"-c", "_assign %1=0", "first.scm", "-c", "_cond %1=1", "second.scm"}, 0,
       {">_assign %1=0", ">_assign %1=1", kSucceeded, ">_cond %1=1", ">_assign %2=2", kSucceeded}},
      {{"which.scm", "only_home.scm"}, 0, {">_assign %3=C", kSucceeded, ">_assign %4=F", kSucceeded}},
      {{"seocnd.scm", "first.scm"}, 1, {">_assign %1=1", kSucceeded}, "Illegal startup parameters"},
      {{"-c", ":414243", "-c", "Hello"}, 0, {"-> SENDING: 41", "-> SENDING: 42", "-> SENDING: 43", "-> SENDING: Hello"}},
      {{"-c", "_quit", "-c", "_foo"}, 0, {">_quit"}},
      {{"-i"}, 1, {">_assign %1=5", ">_cond %1=5", "-> SENDING: 41", ">_foo", "*ERROR: Illegal command"}, "",
       "_assign %1=5\n_cond %1=5\r\n:41\n_foo\n"},
      // Bad usage: nothing runs.
      {{"--bogus"}, 2, {}, "usage: velmora-cli"},
      {{"-c"}, 2, {}, "usage: velmora-cli"},
      {{"--baud", "fast"}, 2, {}, "usage: velmora-cli"},
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
}

TEST_F(CliRun, EndingTheRunWritesTheDefaultPreferencesUnlessToldNotTo) {
  const std::string ini = (home.path() / "default.ini").string();
  const std::string shipped = test::ReadFile(ini);
  const Args baud = {"--home", home.path().string(), "--port", "virtual", "--baud", "19200"};
  EXPECT_EQ(RunCli(baud + Args{"--no-save", "-c", "_clearselections"}, workDir.path()).exitCode, 0);
  EXPECT_EQ(test::ReadFile(ini), shipped);
  EXPECT_EQ(RunCli(baud + Args{"-c", "_quit"}, workDir.path()).exitCode, 0);
  EXPECT_NE(test::ReadFile(ini).find("BAUDRATE=19200"), std::string::npos);
  EXPECT_EQ(shipped.find("BAUDRATE=19200"), std::string::npos);
}

}  // namespace
}  // namespace velmora
