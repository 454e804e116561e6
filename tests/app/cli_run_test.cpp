// velmora-cli run as a child process on a copy of the program folder: the example
// scripts on the virtual board and through velmora-board on a pseudo-terminal, the exit
// statuses, the order of the runs, and standard output holding exactly the message lines.
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

constexpr const char* kSucceeded = "*Script successfully executed";

struct CliResult {
  bool finished = false;
  int exitCode = -1;
  Lines out;  // standard output, line by line
  std::string err;
};

Lines SplitLines(const std::string& text) {
  Lines lines;
  size_t at = 0;
  for (size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    lines.push_back(text.substr(at, end - at));
  }
  if (at < text.size()) lines.push_back(text.substr(at));
  return lines;
}

// Runs velmora-cli in workDir with its standard input at end of file.
CliResult RunCli(const std::vector<std::string>& arguments, const fs::path& workDir) {
  QStringList list;
  for (const auto& argument : arguments) list << QString::fromStdString(argument);
  QProcess process;
  process.setProgram(VELMORA_CLI_PROGRAM);
  process.setArguments(list);
  process.setWorkingDirectory(QString::fromStdString(workDir.string()));
  process.setStandardInputFile(QProcess::nullDevice());
  process.start();
  CliResult result;
  if (!process.waitForStarted(5000)) return result;
  result.finished = process.waitForFinished(60000);
  if (!result.finished) {
    process.kill();
    process.waitForFinished(2000);
  }
  result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
  result.out = SplitLines(process.readAllStandardOutput().toStdString());
  result.err = process.readAllStandardError().toStdString();
  return result;
}

bool Has(const Lines& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

long ErrorLines(const Lines& lines) {
  return std::count_if(lines.begin(), lines.end(),
                       [](const std::string& line) { return line.rfind("*ERROR", 0) == 0; });
}

// The example scripts that ship, and what each needs before it.
struct Example {
  std::string name;
  std::vector<std::string> before;
};

std::vector<Example> ShippedExamples() {
  std::vector<Example> examples;
  for (const auto& entry : fs::directory_iterator(test::ShippedDataFolder() / "SCRIPTS")) {
    if (entry.path().extension() != ".scm") continue;
    Example example{"SCRIPTS/" + entry.path().filename().string(), {}};
    // Programming and verifying expects a connected target.
    if (entry.path().filename() == "program_verify.scm") example.before = {"-c", "_connect"};
    examples.push_back(example);
  }
  std::sort(examples.begin(), examples.end(),
            [](const Example& a, const Example& b) { return a.name < b.name; });
  return examples;
}

class CliRun : public ::testing::Test {
 protected:
  // The options every run gets: the program folder copy, and never writing its default.ini.
  std::vector<std::string> Base(const std::string& port = "virtual") const {
    return {"--home", home.path().string(), "--port", port, "--no-save"};
  }
  static std::vector<std::string> Join(std::vector<std::string> first,
                                       const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  }

  test::ProgramFolderCopy home;
  test::TempFolder workDir;  // the current directory of the runs, empty unless a test fills it
};

TEST_F(CliRun, EveryExampleScriptRunsOnTheVirtualBoard) {
  const auto examples = ShippedExamples();
  ASSERT_GE(examples.size(), 4U);
  for (const auto& example : examples) {
    SCOPED_TRACE(example.name);
    const CliResult run =
        RunCli(Join(Join(Base(), example.before), {example.name}), workDir.path());
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ASSERT_FALSE(run.out.empty());
    EXPECT_EQ(run.out.back(), kSucceeded);
    EXPECT_EQ(ErrorLines(run.out), 0) << ::testing::PrintToString(run.out);
  }
}

TEST_F(CliRun, StandardOutputHoldsExactlyTheMessageLines) {
  // The same script in a session of this process, on its own copy of the folder.
  test::ProgramFolderCopy otherHome;
  test::RecordingFrontend frontend;
  Session session(frontend, otherHome.path());
  Lines expected;
  session.log.SetLineObserver([&](const std::string& line) { expected.push_back(line); });
  ASSERT_TRUE(Startup(session, {}));
  ASSERT_EQ(session.interpreter().ExecuteScript("SCRIPTS/demo.scm"), ScriptOutcome::Succeeded);

  const CliResult run = RunCli(Join(Base(), {"SCRIPTS/demo.scm"}), workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, expected);
  EXPECT_TRUE(Has(run.out, "*Comparison:  0 of  1024 bytes not corresponding"));
  EXPECT_TRUE(Has(run.out, "*VelmoraKorda successfully launched"));
}

TEST_F(CliRun, FailingLineExitsWithOneAndPrintsTheFailure) {
  CliResult run = RunCli(Join(Base(), {"-c", "_foo"}), workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, (Lines{">_foo", "*ERROR: Illegal command"}));

  workDir.Write("fails.scm", "_assign %1=1\r\n_load\r\n_assign %1=2\r\n");
  run = RunCli(Join(Base(), {"fails.scm"}), workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, (Lines{">_assign %1=1", ">_load", "*ERROR: Illegal number of parameters",
                            "*ERROR: Script aborted"}));
}

TEST_F(CliRun, BadUsageExitsWithTwo) {
  const std::vector<std::vector<std::string>> cases = {
      {"--bogus"}, {"-c"}, {"--home"}, {"--port"}, {"--baud", "fast"}, {"-x", "demo.scm"},
  };
  for (const auto& arguments : cases) {
    SCOPED_TRACE(::testing::PrintToString(arguments));
    const CliResult run = RunCli(arguments, workDir.path());
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.out.empty()) << ::testing::PrintToString(run.out);
    EXPECT_NE(run.err.find("usage: velmora-cli"), std::string::npos) << run.err;
  }
}

TEST_F(CliRun, LinesAndScriptsRunInTheOrderGiven) {
  workDir.Write("first.scm", "_assign %1=1\r\n");
  workDir.Write("second.scm", "IF %1=1\r\n_assign %2=2\r\nELSE\r\n_foo\r\nENDIF\r\n");
  const CliResult run =
      RunCli(Join(Base(), {"-c", "_assign %1=0", "first.scm", "-c", "_cond %1=1", "second.scm"}),
             workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, (Lines{">_assign %1=0", ">_assign %1=1", kSucceeded, ">_cond %1=1",
                            ">_assign %2=2", kSucceeded}));
}

TEST_F(CliRun, ScriptNamesAreLookedUpInTheCurrentFolderFirst) {
  workDir.Write("which.scm", "_assign %3=C\r\n");
  home.folder().Write("which.scm", "_assign %3=F\r\n");
  home.folder().Write("only_home.scm", "_assign %4=F\r\n");
  const CliResult run = RunCli(Join(Base(), {"which.scm", "only_home.scm"}), workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, (Lines{">_assign %3=C", kSucceeded, ">_assign %4=F", kSucceeded}));
}

TEST_F(CliRun, MisspelledScriptIsAnIllegalStartupParameter) {
  workDir.Write("second.scm", "_assign %1=1\r\n");
  const CliResult run = RunCli(Join(Base(), {"seocnd.scm", "second.scm"}), workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.err.find("Illegal startup parameters"), std::string::npos) << run.err;
  EXPECT_FALSE(Has(run.out, "*ERROR: Illegal command"));
}

TEST_F(CliRun, EndingTheRunWritesTheDefaultPreferencesUnlessToldNotTo) {
  const fs::path ini = home.path() / "default.ini";
  const std::string shipped = test::ReadFile(ini.string());
  ASSERT_EQ(shipped.find("BAUDRATE=19200"), std::string::npos);

  CliResult run = RunCli({"--home", home.path().string(), "--port", "virtual", "--baud", "19200",
                          "--no-save", "-c", "_clearselections"},
                         workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(test::ReadFile(ini.string()), shipped);

  // _quit ends the run: the lines after it do not run, and quitting saves.
  run = RunCli({"--home", home.path().string(), "--port", "virtual", "--baud", "19200", "-c",
                "_quit", "-c", "_foo"},
               workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, Lines{">_quit"});
  const std::string saved = test::ReadFile(ini.string());
  EXPECT_NE(saved.find("BAUDRATE=19200"), std::string::npos);
  EXPECT_NE(saved.find("PORTNAME=virtual"), std::string::npos);
}

TEST_F(CliRun, OtherLinesAreSentRawToTheTarget) {
  const CliResult run = RunCli(Join(Base(), {"-c", ":414243", "-c", "Hello"}), workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out,
            (Lines{"-> SENDING: 41", "-> SENDING: 42", "-> SENDING: 43", "-> SENDING: Hello"}));
}

TEST_F(CliRun, InteractiveLinesComeFromStandardInput) {
  QStringList arguments;
  for (const auto& argument : Join(Base(), {"-i"})) arguments << QString::fromStdString(argument);
  QProcess process;
  process.setWorkingDirectory(QString::fromStdString(workDir.path().string()));
  process.start(VELMORA_CLI_PROGRAM, arguments);
  ASSERT_TRUE(process.waitForStarted(5000));
  process.write("_assign %1=5\n_cond %1=5\r\n:41\n_foo\n");
  process.closeWriteChannel();
  ASSERT_TRUE(process.waitForFinished(20000));
  EXPECT_EQ(process.exitCode(), 1);
  const Lines out = SplitLines(process.readAllStandardOutput().toStdString());
  EXPECT_EQ(out, (Lines{">_assign %1=5", ">_cond %1=5", "-> SENDING: 41", ">_foo",
                        "*ERROR: Illegal command"}));
  EXPECT_NE(process.readAllStandardError().toStdString().find("1"), std::string::npos);
}

TEST_F(CliRun, EmptyHomeIsFilledFirstAndStandardOutputStillHoldsOnlyMessageLines) {
  const CliResult installed = RunCli(Join(Base(), {"SCRIPTS/demo.scm"}), workDir.path());
  ASSERT_TRUE(installed.finished);
  ASSERT_EQ(installed.exitCode, 0) << installed.err;

  test::TempFolder empty;
  const CliResult run = RunCli(
      {"--home", empty.path().string(), "--port", "virtual", "--no-save", "SCRIPTS/demo.scm"},
      workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_NE(run.err.find("No extracting all additional Velmora Files...."), std::string::npos)
      << run.err;
  EXPECT_TRUE(fs::exists(empty.path() / "mctypes.dat"));
  EXPECT_EQ(run.out, installed.out);
}

// ---------------------------------------------------------------------------------------
// Through velmora-board on a pseudo-terminal

class CliOnBoard : public CliRun {
 protected:
  void TearDown() override { board.Stop(); }

  void StartBoard() {
    board.Stop();
    std::string error;
    ASSERT_TRUE(board.Start(VELMORA_BOARD_PROGRAM, {"--home", home.path().string()},
                            std::chrono::milliseconds(5000), error))
        << error;
    ASSERT_EQ(board.DevicePath().rfind("/dev/", 0), 0U) << board.DevicePath();
  }

  BoardProcess board;
};

TEST_F(CliOnBoard, DemoScriptSucceedsWithTheSameLinesAsOnTheVirtualBoard) {
  const CliResult onVirtual = RunCli(Join(Base(), {"SCRIPTS/demo.scm"}), workDir.path());
  ASSERT_TRUE(onVirtual.finished);
  ASSERT_EQ(onVirtual.exitCode, 0) << onVirtual.err;

  StartBoard();
  const CliResult run = RunCli(
      Join(Base(board.DevicePath()), {"--baud", "115200", "SCRIPTS/demo.scm"}), workDir.path());
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, onVirtual.out);
  EXPECT_TRUE(Has(run.out, "*Comparison:  0 of  1024 bytes not corresponding"));
}

TEST_F(CliOnBoard, EveryExampleScriptRunsThroughThePseudoTerminal) {
  for (const auto& example : ShippedExamples()) {
    SCOPED_TRACE(example.name);
    StartBoard();  // a board fresh from reset for each run
    const CliResult run = RunCli(
        Join(Join(Base(board.DevicePath()), example.before), {"--baud", "115200", example.name}),
        workDir.path());
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ASSERT_FALSE(run.out.empty());
    EXPECT_EQ(run.out.back(), kSucceeded);
    EXPECT_EQ(ErrorLines(run.out), 0) << ::testing::PrintToString(run.out);
  }
}

}  // namespace
}  // namespace velmora
