// velmora-cli's jobs run as child processes: on velmora-board (whose flash outlives a
// run, so that a job can check what the one before it did) and on the built-in virtual
// board; every exit class that can be provoked honestly; the JSON report; finding ports.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "app/cli_exit_class.h"
#include "app/cli_ports.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/hex_reader.h"
#include "program_folder.h"
#include "sim/board_process.h"
#include "temp_folder.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;

struct CliResult {
  int exitCode = -1;  // -1 also when it did not end in time
  std::string out;
  std::string err;
  QJsonObject Json() const {
    return QJsonDocument::fromJson(QByteArray::fromStdString(out)).object();
  }
  std::string Where() const { return "stdout:\n" + out + "\nstderr:\n" + err; }
};

CliResult RunCli(const Args& arguments, const fs::path& workDir) {
  QStringList list;
  for (const auto& argument : arguments) list << QString::fromStdString(argument);
  QProcess process;
  process.setWorkingDirectory(QString::fromStdString(workDir.string()));
  process.start(VELMORA_CLI_PROGRAM, list);
  CliResult result;
  if (!process.waitForStarted(5000)) return result;
  process.closeWriteChannel();
  if (!process.waitForFinished(60000)) {
    process.kill();
    process.waitForFinished(2000);
    return result;
  }
  if (process.exitStatus() == QProcess::NormalExit) result.exitCode = process.exitCode();
  result.out = process.readAllStandardOutput().toStdString();
  result.err = process.readAllStandardError().toStdString();
  return result;
}

Args operator+(Args first, const Args& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// An Intel HEX file of one block, with its extended linear address record.
std::string HexText(int32_t address, const std::vector<uint8_t>& bytes) {
  const auto record = [](int32_t offset, int type, const std::vector<uint8_t>& data) {
    unsigned sum = static_cast<unsigned>(data.size() + (offset >> 8) + (offset & 0xFF) + type);
    std::string line(":");
    char pair[3];
    const auto put = [&](unsigned value) {
      std::snprintf(pair, sizeof pair, "%02X", value & 0xFF);
      line += pair;
    };
    put(static_cast<unsigned>(data.size()));
    put(static_cast<unsigned>(offset >> 8));
    put(static_cast<unsigned>(offset));
    put(static_cast<unsigned>(type));
    for (uint8_t byte : data) {
      put(byte);
      sum += byte;
    }
    put(0x100 - (sum & 0xFF));
    return line + "\r\n";
  };
  std::string text =
      record(0, 4, {static_cast<uint8_t>(address >> 24), static_cast<uint8_t>(address >> 16)});
  for (size_t at = 0; at < bytes.size(); at += 16) {
    const size_t end = std::min(bytes.size(), at + 16);
    text += record(static_cast<int32_t>((address + static_cast<int32_t>(at)) & 0xFFFF), 0,
                   {bytes.begin() + static_cast<long>(at), bytes.begin() + static_cast<long>(end)});
  }
  return text + ":00000001FF\r\n";
}

// Every byte a HEX file holds, by address.
struct HexContent {
  MemoryImage image;
  SelectionList ranges;
  bool read = false;
  explicit HexContent(const std::string& path) {
    MessageLog log;
    read = HexRead(path, image, ranges, log).status == HexReadStatus::Ok;
  }
  bool Holds(int32_t address) const { return ranges.InSelection(address); }
};

int32_t CountDifferences(const HexContent& expected, const HexContent& target, int32_t from,
                         int32_t to) {
  int32_t differences = 0;
  for (int32_t a = from; a <= to; ++a) {
    if (expected.Holds(a) && expected.image.GetByte(a) != target.image.GetByte(a)) ++differences;
  }
  return differences;
}

std::vector<std::string> StepNames(const QJsonObject& report) {
  std::vector<std::string> names;
  for (const auto& step : report["steps"].toArray()) {
    names.push_back(step.toObject()["name"].toString().toStdString());
  }
  return names;
}

class CliJob : public ::testing::Test {
 protected:
  void SetUp() override {
    demo = (home.path() / "SCRIPTS" / "demo_flash.hex").string();
    // 48 bytes across the first two sectors, none of them what the demo holds there.
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 48; ++i) bytes.push_back(static_cast<uint8_t>(0xA0 ^ (i * 7)));
    other = workDir.Write("other.hex", HexText(0xC01FE8, bytes));
  }
  void TearDown() override { board.Stop(); }

  Args Base(const std::string& port = "virtual") const {
    return {"--home", home.path().string(), "--port", port, "--no-save"};
  }
  // A velmora-board fresh from reset, with the faults given; the arguments to reach it.
  Args OnBoard(const Args& faults = {}) {
    board.Stop();
    std::string error;
    EXPECT_TRUE(board.Start(VELMORA_BOARD_PROGRAM, Args{"--home", home.path().string()} + faults,
                            std::chrono::milliseconds(5000), error))
        << error;
    return Base(board.DevicePath()) + Args{"--baud", "115200"};
  }
  CliResult Run(const Args& arguments) { return RunCli(arguments, workDir.path()); }
  // Replaces the first occurrence of a line of the copy's default.ini.
  void EditPreferences(const std::string& from, const std::string& to) {
    std::string ini = test::ReadFile((home.path() / "default.ini").string());
    const auto at = ini.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    home.folder().Write("default.ini", ini.replace(at, from.size(), to));
  }

  test::ProgramFolderCopy home;
  test::TempFolder workDir;
  BoardProcess board;
  std::string demo;
  std::string other;
};

TEST_F(CliJob, JobsOnABoardLeaveItsFlashAsTheFilesSay) {
  const Args onBoard = OnBoard();
  const HexContent wanted(demo);
  ASSERT_TRUE(wanted.read);

  const CliResult flash = Run(onBoard + Args{"--json", "flash", demo});
  ASSERT_EQ(flash.exitCode, 0) << flash.Where();
  const QJsonObject flashed = flash.Json();
  EXPECT_EQ(StepNames(flashed),
            (std::vector<std::string>{"files", "connect", "program", "verify"}));
  EXPECT_EQ(flashed["result"].toString(), "success");
  EXPECT_EQ(flashed["board"].toObject()["idByte"].toString(), "D5");
  EXPECT_FALSE(flashed["board"].toObject()["monitorWasRunning"].toBool());

  // What the board holds now, read back by the next run through the monitor left running.
  const CliResult read = Run(onBoard + Args{"--json", "read", "C01000", "C027FF", "back.hex"});
  ASSERT_EQ(read.exitCode, 0) << read.Where();
  EXPECT_TRUE(read.Json()["board"].toObject()["monitorWasRunning"].toBool());
  const HexContent back(workDir.File("back.hex"));
  ASSERT_TRUE(back.read);
  EXPECT_EQ(back.ranges.ByteCount(), 0x1800);
  EXPECT_EQ(CountDifferences(wanted, back, 0xC01000, 0xC027FF), 0);

  // Another file over the same flash: every byte it holds differently is counted.
  const HexContent otherContent(other);
  const CliResult mismatch = Run(onBoard + Args{"--json", "verify", other});
  EXPECT_EQ(mismatch.exitCode, 7) << mismatch.Where();
  const QJsonObject mismatched = mismatch.Json();
  EXPECT_EQ(mismatched["result"].toString(), "mismatch");
  EXPECT_EQ(mismatched["mismatches"].toInt(),
            CountDifferences(otherContent, back, 0xC01FE8, 0xC02017));
  EXPECT_GT(mismatched["mismatches"].toInt(), 10);
  EXPECT_EQ(mismatched["firstMismatches"].toArray().size(), 10);  // the rest only counted

  // Sector 0 (C00000..C01FFF) back to blank: the demo's bytes there are gone, its others not.
  ASSERT_EQ(Run(onBoard + Args{"erase", "IFLASH:0"}).exitCode, 0);
  const CliResult afterErase = Run(onBoard + Args{"read", "C01000", "C027FF", "erased.hex"});
  ASSERT_EQ(afterErase.exitCode, 0) << afterErase.Where();
  const HexContent erased(workDir.File("erased.hex"));
  for (int32_t a = 0xC01000; a <= 0xC01FFF; a += 0x111)
    EXPECT_EQ(erased.image.GetByte(a), 0xFF) << a;
  EXPECT_EQ(CountDifferences(wanted, erased, 0xC02000, 0xC027FF), 0);
  const CliResult demoAgain = Run(onBoard + Args{"--json", "verify", demo});
  EXPECT_EQ(demoAgain.exitCode, 7);
  EXPECT_EQ(demoAgain.Json()["mismatches"].toInt(),
            CountDifferences(wanted, erased, 0xC01000, 0xC027FF));

  // --erase-all clears the whole unit first: the demo's second sector goes too.
  const CliResult eraseAll = Run(onBoard + Args{"--json", "flash", "--erase-all", other});
  ASSERT_EQ(eraseAll.exitCode, 0) << eraseAll.Where();
  EXPECT_EQ(StepNames(eraseAll.Json()),
            (std::vector<std::string>{"files", "connect", "erase", "program", "verify"}));
  ASSERT_EQ(Run(onBoard + Args{"read", "C01000", "C027FF", "last.hex"}).exitCode, 0);
  const HexContent last(workDir.File("last.hex"));
  EXPECT_EQ(CountDifferences(otherContent, last, 0xC01000, 0xC027FF), 0);
  for (int32_t a = 0xC02100; a <= 0xC027FF; a += 0x101) EXPECT_EQ(last.image.GetByte(a), 0xFF) << a;

  const CliResult info = Run(onBoard + Args{"--json", "info"});
  ASSERT_EQ(info.exitCode, 0) << info.Where();
  const QJsonObject identity = info.Json()["board"].toObject();
  EXPECT_TRUE(identity["idByte"].isNull());  // the monitor was running: no bootstrap
  for (const char* name : {"IDMANUF", "IDCHIP", "IDPROG", "IDMEM", "IDMEM2", "RSTCFG", "FCONCS0",
                           "TSTMOD", "RSTCON2", "SYSSTAT"}) {
    EXPECT_TRUE(identity["registers"].toObject().contains(name)) << name;
  }
}

TEST_F(CliJob, OutputFollowsQuietJsonAndPlainModes) {
  const CliResult plain = Run(Base() + Args{"info"});
  ASSERT_EQ(plain.exitCode, 0) << plain.Where();
  EXPECT_NE(plain.out.find("*VelmoraKorda successfully launched\n"), std::string::npos);
  EXPECT_NE(plain.out.find("[step] connect"), std::string::npos);
  EXPECT_NE(plain.out.find("identification byte: D5\n"), std::string::npos);
  EXPECT_NE(plain.out.find("*idreg: CHIPID=0C\n"), std::string::npos);

  const CliResult quiet = Run(Base() + Args{"-q", "flash", demo});
  EXPECT_EQ(quiet.exitCode, 0) << quiet.Where();
  EXPECT_EQ(quiet.out, "");

  const CliResult quietFailure = Run(Base() + Args{"-q", "verify", demo});  // the flash is blank
  EXPECT_EQ(quietFailure.exitCode, 7);
  EXPECT_EQ(quietFailure.out, "");
  EXPECT_NE(quietFailure.err.find("velmora-cli: verify failed (mismatch): "), std::string::npos)
      << quietFailure.err;
  EXPECT_NE(quietFailure.err.find(" of 6144 bytes differ\n"), std::string::npos)
      << quietFailure.err;

  // The report owns standard output; the message lines go to standard error.
  const CliResult json = Run(Base() + Args{"--json", "info"});
  ASSERT_EQ(json.exitCode, 0);
  QJsonParseError error{};
  const QJsonDocument document =
      QJsonDocument::fromJson(QByteArray::fromStdString(json.out), &error);
  ASSERT_EQ(error.error, QJsonParseError::NoError) << json.out;
  const QJsonObject report = document.object();
  for (const char* key :
       {"job", "result", "exitStatus", "error", "steps", "bytes", "durationMs", "board"}) {
    EXPECT_TRUE(report.contains(key)) << key;
  }
  EXPECT_EQ(report["job"].toString(), "info");
  EXPECT_EQ(report["exitStatus"].toInt(), 0);
  EXPECT_EQ(report["bytes"].toInt(), 20);
  EXPECT_NE(json.err.find("*VelmoraKorda successfully launched"), std::string::npos);
}

struct ClassRow {
  Args arguments;  // after the base options
  int exitCode;
  std::string err;  // text standard error holds
};

TEST_F(CliJob, EachFailureEndsWithItsClass) {
  workDir.Write("empty.hex", ":00000001FF\r\n");
  workDir.Write("bad.hex", ":0400000001020304F2\r\nnot a record\r\n");
  workDir.Write("nowhere.hex", HexText(0x000100, {1, 2, 3, 4}));
  workDir.Write("ram.hex", HexText(0x00F600, {1, 2, 3, 4}));
  workDir.Write("twice.hex", HexText(0xC01000, {9, 9}));
  fs::create_directory(workDir.path() / "dir.hex");
  // clang-format off
  const ClassRow rows[] = {
      {{"flash"}, 2, "flash needs at least one HEX file"},
      {{"read", "C00000", "out.hex"}, 2, "usage: velmora-cli"},
      {{"read", "000000", "0000FF", "out.hex"}, 2, "no memory unit holds 000000"},
      {{"erase", "NOUNIT"}, 2, "no memory unit NOUNIT (the units: DPRAM, DSRAM, PSRAM, IFLASH"},
      {{"erase", "IFLASH:6"}, 2, "IFLASH has sectors 0 to 5, not 6"},
      {{"flash", demo, "--run", "000010"}, 2, "--run 000010: no memory unit holds that address"},
      {{"flash", "missing.hex"}, 8, "flash failed (file): missing.hex cannot be read"},
      {{"flash", "empty.hex"}, 8, "empty.hex holds no data"},
      {{"verify", "bad.hex"}, 8, "bad.hex is not a good Intel HEX file (line 2)"},
      {{"verify", "nowhere.hex"}, 8, "no memory: no memory unit holds 000100"},
      {{"flash", "ram.hex"}, 8, "00F600 lies in DPRAM, a unit without a flash driver"},
      {{"flash", demo, "twice.hex"}, 8, "twice.hex overlaps an earlier file at C01000"},
      {{"read", "C00000", "C0000F", "dir.hex"}, 8, "dir.hex cannot be written"},
      {{"verify", demo}, 7, "verify failed (mismatch)"},
      {{"--port", "/dev/velmora-none", "info"}, 3, "info failed (port): *ERROR: Port /dev/velmora-none"},
      {{"--no-questions", "info"}, 1, "info failed (other): the reset of the board was not confirmed"},
  };
  // clang-format on
  for (const ClassRow& row : rows) {
    SCOPED_TRACE(::testing::PrintToString(row.arguments));
    const CliResult run = Run(Base() + row.arguments);
    EXPECT_EQ(run.exitCode, row.exitCode) << run.Where();
    EXPECT_NE(run.err.find(row.err), std::string::npos) << run.err;
  }
  // Nothing is written for a job that failed before the board was reached.
  EXPECT_FALSE(fs::exists(workDir.path() / "out.hex"));
}

TEST_F(CliJob, BoardFaultsEndWithTheirClass) {
  // One zero byte and its wait cost a fifth of a second here, not two.
  EditPreferences("TIMEOUT=2000", "TIMEOUT=200");
  const CliResult silent = Run(OnBoard({"--silent"}) + Args{"--json", "info"});
  EXPECT_EQ(silent.exitCode, 4) << silent.Where();
  EXPECT_EQ(silent.Json()["result"].toString(), "no-answer");
  EXPECT_NE(silent.err.find("no identification byte came back"), std::string::npos);

  const CliResult waited = Run(OnBoard({"--silent"}) + Args{"--wait", "1", "info"});
  EXPECT_EQ(waited.exitCode, 4) << waited.Where();
  EXPECT_NE(waited.out.find("[wait] waiting for the board: 1 s left"), std::string::npos)
      << waited.out;

  // The monitor's acknowledge comes back wrong: the board answered, but not as it should.
  const CliResult wrongAck = Run(OnBoard({"--replace-output", "2:AB"}) + Args{"--json", "info"});
  EXPECT_EQ(wrongAck.exitCode, 5) << wrongAck.Where();
  EXPECT_EQ(wrongAck.Json()["board"].toObject()["idByte"].toString(), "D5");

  // A driver that cannot be loaded.
  EditPreferences("DRIVER.PATH=DRIVER\\IFLASH_TOLVANE.HEX", "DRIVER.PATH=DRIVER\\NO_SUCH.HEX");
  const CliResult noDriver = Run(Base() + Args{"flash", demo});
  EXPECT_EQ(noDriver.exitCode, 6) << noDriver.Where();
  EXPECT_NE(noDriver.err.find("flash failed (driver): programming did not succeed"),
            std::string::npos);
}

TEST_F(CliJob, PortsAreListedAndAutoTakesOnlyASingleAdapter) {
  const auto ports = ListSerialPorts();
  const CliResult list = Run({"--list-ports"});
  EXPECT_EQ(list.exitCode, 0);
  std::string expected;
  for (const auto& line : PortListLines(ports)) expected += line + "\n";
  EXPECT_EQ(list.out, expected);

  const auto usb =
      std::count_if(ports.begin(), ports.end(), [](const auto& p) { return p.IsUsb(); });
  if (usb == 1) GTEST_SKIP() << "one USB serial adapter is connected: auto would use it";
  const CliResult automatic = Run(Base("auto") + Args{"--json", "info"});
  EXPECT_EQ(automatic.exitCode, 3) << automatic.Where();
  EXPECT_NE(automatic.err.find("--port auto: "), std::string::npos) << automatic.err;
  EXPECT_EQ(automatic.Json()["result"].toString(), "port");
}

// --help, the manual page and the README give every exit status its meaning.
TEST_F(CliJob, ExitStatusesAreDocumentedAlike) {
  const CliResult help = Run({"--help"});
  ASSERT_EQ(help.exitCode, 0);
  const fs::path source = test::ShippedDataFolder().parent_path();
  const std::string manual = test::ReadFile((source / "docs" / "velmora-cli.1").string());
  const std::string readme = test::ReadFile((source / "README.md").string());
  for (const auto& info : ExitClasses()) {
    const std::string status = std::to_string(ExitStatus(info.exitClass));
    const std::string meaning(info.meaning);
    EXPECT_NE(help.out.find("  " + status + "  " + meaning + "\n"), std::string::npos) << meaning;
    EXPECT_NE(manual.find(".B " + status + "\n" + meaning + "\n"), std::string::npos) << meaning;
    EXPECT_NE(readme.find("| " + status + " | " + meaning + " |"), std::string::npos) << meaning;
  }
}

}  // namespace
}  // namespace velmora
