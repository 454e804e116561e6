// The routines of target/routines assembled by velmora-asm, brought into the virtual
// board's RAM and called with _call by velmora-cli: the processor runs them and the
// results come back in R8..R15. The same through velmora-board, which writes a trace.
#include <gtest/gtest.h>

#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "program_folder.h"
#include "sim/board_process.h"
#include "temp_folder.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;

struct ProgramRun {
  int exitCode = -1;
  std::string out;
};

ProgramRun RunProgram(const char* program, const Args& arguments, const fs::path& workDir) {
  QStringList list;
  for (const auto& argument : arguments) list << QString::fromStdString(argument);
  QProcess process;
  process.setWorkingDirectory(QString::fromStdString(workDir.string()));
  process.start(program, list);
  ProgramRun run;
  if (!process.waitForStarted(5000) || !process.waitForFinished(60000)) {
    process.kill();
    process.waitForFinished(2000);
    return run;
  }
  process.closeWriteChannel();
  if (process.exitStatus() == QProcess::NormalExit) run.exitCode = process.exitCode();
  run.out = process.readAllStandardOutput().toStdString() +
            process.readAllStandardError().toStdString();
  return run;
}

// The lines after the last "*Return Parameters:".
std::vector<std::string> LastReturn(const std::string& out) {
  std::vector<std::string> lines;
  std::istringstream in(out);
  for (std::string line; std::getline(in, line);) {
    if (line == "*Return Parameters:") lines.clear();
    else if (line.rfind("  R", 0) == 0) lines.push_back(line);
  }
  return lines;
}

class TargetRoutinesCli : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ofstream(workDir.path() / "check.asm") << " ORG 0C000h\n DB \"123456789\"\n";
    for (const std::string& source :
         {std::string(VELMORA_TARGET_DIR) + "/routines/crc16.asm",
          std::string(VELMORA_TARGET_DIR) + "/routines/divide32.asm", std::string("check.asm")}) {
      const std::string out = fs::path(source).stem().string() + ".hex";
      const ProgramRun assembled = RunProgram(VELMORA_ASM_PROGRAM, {source, "-o", out}, workDir.path());
      ASSERT_EQ(assembled.exitCode, 0) << assembled.out;
    }
  }
  Args Lines(const std::string& port) const {
    return {"--home", home.path().string(), "--port", port, "--no-save",
            "-c",     "_connect",
            "-c",     "_load crc16.hex",
            "-c",     "_download",
            "-c",     "_load divide32.hex",
            "-c",     "_download",
            "-c",     "_load check.hex",
            "-c",     "_download",
            "-c",     "_call E00400,C000,0,9",
            "-c",     "_call E00500,0,FFFF,7,0"};  // FFFF0000h / 7
  }
  void ExpectResults(const ProgramRun& run) {
    ASSERT_EQ(run.exitCode, 0) << run.out;
    EXPECT_NE(run.out.find("  R8=29B1"), std::string::npos) << run.out;
    // FFFF0000h / 7 = 24922492h remainder 2; R12 and R13 held the remainder while it grew.
    EXPECT_EQ(LastReturn(run.out), (std::vector<std::string>{"  R8=2492", "  R9=2492",
                                                             "  R10=0002", "  R11=0000",
                                                             "  R12=0002", "  R13=0000",
                                                             "  R14=0000", "  R15=0000"}));
  }

  test::ProgramFolderCopy home;
  test::TempFolder workDir;
};

TEST_F(TargetRoutinesCli, CalledOnTheBuiltInBoard) {
  ExpectResults(RunProgram(VELMORA_CLI_PROGRAM, Lines("virtual"), workDir.path()));
}

TEST_F(TargetRoutinesCli, CalledThroughVelmoraBoardWithATrace) {
  BoardProcess board;
  std::string error;
  const fs::path trace = workDir.path() / "trace.txt";
  ASSERT_TRUE(board.Start(VELMORA_BOARD_PROGRAM,
                          {"--home", home.path().string(), "--trace", trace.string()},
                          std::chrono::milliseconds(5000), error))
      << error;
  Args lines = Lines(board.DevicePath());
  lines.insert(lines.begin(), {"--baud", "115200"});
  ExpectResults(RunProgram(VELMORA_CLI_PROGRAM, lines, workDir.path()));
  board.Stop();
  std::ifstream in(trace);
  std::vector<std::string> traced;
  for (std::string line; std::getline(in, line);) traced.push_back(line);
  ASSERT_FALSE(traced.empty());
  // The first instruction of the CRC routine, with the stack it changed.
  EXPECT_EQ(traced.front().substr(0, 36), "E00400  EC F1        PUSH    R1     ");
  EXPECT_NE(traced.front().find("SP="), std::string::npos) << traced.front();
  EXPECT_TRUE(std::any_of(traced.begin(), traced.end(), [](const std::string& line) {
    return line.rfind("E00430  DB 00        RETS", 0) == 0;
  }));
}

}  // namespace
}  // namespace velmora
