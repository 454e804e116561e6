// The parts of velmora-cli's jobs that decide without a board: the exit class of each
// kind of result, the command line, the choice of --port auto, the progress line and
// the check of addresses against the memory units.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "app/cli_exit_class.h"
#include "app/cli_job_memory_map.h"
#include "app/cli_job_output.h"
#include "app/cli_options.h"
#include "app/cli_ports.h"

namespace velmora {
namespace {

using Args = std::vector<std::string>;

TEST(CliExitClass, StatusesAreTheTableOrderAndNamesAreDistinct) {
  const auto classes = ExitClasses();
  ASSERT_EQ(classes.size(), 9U);
  std::set<std::string_view> names;
  for (size_t i = 0; i < classes.size(); ++i) {
    EXPECT_EQ(ExitStatus(classes[i].exitClass), static_cast<int>(i));
    EXPECT_EQ(ExitClassName(classes[i].exitClass), classes[i].name);
    EXPECT_FALSE(classes[i].meaning.empty());
    names.insert(classes[i].name);
  }
  EXPECT_EQ(names.size(), classes.size());
}

struct StatusCase {
  const char* what;
  ExitClass (*classify)(int32_t, bool);
  int32_t status;
  bool portFailed;
  ExitClass expected;
};

TEST(CliExitClass, OperationResultsGiveTheirClassAndAFailedPortOutranksThem) {
  const StatusCase cases[] = {
      {"transfer ok", ClassOfTransfer, 0, false, ExitClass::Success},
      {"block not confirmed", ClassOfTransfer, -1, false, ExitClass::Protocol},
      {"transfer on a lost port", ClassOfTransfer, -1, true, ExitClass::Port},
      {"driver ok", ClassOfDriverCall, 0, false, ExitClass::Success},
      {"driver reported failure", ClassOfDriverCall, -1, false, ExitClass::Driver},
      {"driver not loaded", ClassOfDriverCall, -2, false, ExitClass::Driver},
      {"driver call on a lost port", ClassOfDriverCall, -1, true, ExitClass::Port},
      {"no difference", ClassOfComparison, 0, false, ExitClass::Success},
      {"one difference", ClassOfComparison, 1, false, ExitClass::Mismatch},
      {"comparison not read", ClassOfComparison, -1, false, ExitClass::Protocol},
      {"differences on a lost port", ClassOfComparison, 12, true, ExitClass::Port},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.classify(c.status, c.portFailed), c.expected) << c.what;
  }
  EXPECT_EQ(ClassOfFileRead(HexReadStatus::Ok), ExitClass::Success);
  for (HexReadStatus bad :
       {HexReadStatus::CannotOpen, HexReadStatus::NoStartMark, HexReadStatus::BadDigit,
        HexReadStatus::ShortRecord, HexReadStatus::BeyondAddressSpace}) {
    EXPECT_EQ(ClassOfFileRead(bad), ExitClass::File);
  }
}

TEST(CliExitClass, BootstrapAnswersTellSilenceFromAWrongAnswer) {
  const ExpectedAcks acks{0x01, 0x03};
  struct Case {
    BootstrapAnswers answers;
    bool portFailed;
    ExitClass expected;
  };
  const Case cases[] = {
      {{0xD5, 0x01, 0x03}, false, ExitClass::Success},
      {{-1, -1, -1}, false, ExitClass::NoAnswer},
      {{0x00, -1, -1}, false, ExitClass::NoAnswer},  // the line's echo of the zero byte
      {{0xD5, -1, -1}, false, ExitClass::Protocol},
      {{0xD5, 0x02, 0x03}, false, ExitClass::Protocol},
      {{0xD5, 0x01, 0xAB}, false, ExitClass::Protocol},
      {{0xD5, 0x01, 0x03}, true, ExitClass::Port},
      {{-1, -1, -1}, true, ExitClass::Port},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ClassOfBootstrap(c.answers, acks, c.portFailed), c.expected)
        << c.answers.idByte << " " << c.answers.loaderAck << " " << c.answers.monitorAck;
  }
}

struct ParseCase {
  Args arguments;
  std::string error;  // text the usage error holds; empty when the line is good
  JobKind kind = JobKind::None;
  size_t items = 0;  // -c lines and scripts
};

TEST(CliOptionsParse, JobsAreRecognisedAndTheOldFormsStayAsTheyWere) {
  const ParseCase cases[] = {
      {{"flash", "a.hex", "b.hex"}, "", JobKind::Flash},
      {{"--port", "virtual", "verify", "a.hex"}, "", JobKind::Verify},
      {{"read", "C00000", "0xC0FFFF", "out.hex"}, "", JobKind::Read},
      {{"erase", "IFLASH:0,2", "XFLASH"}, "", JobKind::Erase},
      {{"info", "--json", "-q", "--wait", "5"}, "", JobKind::Info},
      {{"flash", "--", "-odd.hex"}, "", JobKind::Flash},
      // A job's name that is not the first word, or comes after --, is a script.
      {{"-c", "_connect", "flash"}, "", JobKind::None, 2},
      {{"--", "flash"}, "", JobKind::None, 1},
      {{"./flash", "info.scm"}, "", JobKind::None, 2},
      {{"-c", "_foo", "-i"}, "", JobKind::None, 1},
      {{"flash"}, "flash needs at least one HEX file"},
      {{"verify"}, "verify needs at least one HEX file"},
      {{"read", "C00000", "out.hex"}, "read needs START END OUT.hex"},
      {{"read", "C00000", "XYZ", "out.hex"}, "hexadecimal addresses"},
      {{"read", "1000000", "1000001", "out.hex"}, "hexadecimal addresses"},
      {{"read", "C00010", "C00000", "out.hex"}, "START lies above END"},
      {{"erase"}, "erase needs UNIT"},
      {{"erase", "IFLASH:"}, "IFLASH: is not UNIT"},
      {{"erase", "IFLASH:1,x"}, "IFLASH:1,x is not UNIT"},
      {{"erase", ":1"}, ":1 is not UNIT"},
      {{"info", "extra"}, "info takes no arguments"},
      {{"info", "--run", "C00000"}, "--run and --erase-all belong to flash"},
      {{"flash", "a.hex", "--run", "G"}, "--run needs a hexadecimal address"},
      {{"flash", "a.hex", "--wait", "0"}, "--wait needs whole seconds"},
      {{"flash", "a.hex", "-c", "_connect"}, "no -c lines or scripts"},
      {{"info", "-i"}, "no -i or --disassemble"},
      {{"-c", "_connect", "--json"}, "--json, --quiet and --wait belong to a job"},
      {{"--erase-all"}, "--run and --erase-all belong to flash"},
      {{"--baud", "96OO"}, "--baud needs a baud rate above 0"},
      {{"--port"}, "--port needs a value"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.arguments));
    CliOptions options;
    const auto error = ParseCliOptions(c.arguments, options);
    if (!c.error.empty()) {
      ASSERT_TRUE(error.has_value());
      EXPECT_NE(error->what.find(c.error), std::string::npos) << error->what;
      continue;
    }
    ASSERT_FALSE(error.has_value()) << error->what;
    EXPECT_EQ(options.job.kind, c.kind);
    EXPECT_EQ(options.items.size(), c.items);
  }
}

TEST(CliOptionsParse, JobArgumentsArriveDecoded) {
  CliOptions read;
  ASSERT_FALSE(ParseCliOptions({"read", "0xc00000", "C0FFFF", "out.hex"}, read));
  EXPECT_EQ(read.job.start, 0xC00000);
  EXPECT_EQ(read.job.end, 0xC0FFFF);
  EXPECT_EQ(read.job.output, "out.hex");

  CliOptions erase;
  ASSERT_FALSE(ParseCliOptions({"erase", "IFLASH:0,2,5", "XFLASH"}, erase));
  const std::vector<EraseTarget> expected = {{"IFLASH", {0, 2, 5}}, {"XFLASH", {}}};
  EXPECT_EQ(erase.job.erase, expected);

  CliOptions flash;
  ASSERT_FALSE(ParseCliOptions(
      {"--erase-all", "flash", "a.hex", "--run", "C00100", "b.hex", "--wait", "30"}, flash));
  EXPECT_EQ(flash.job.files, (Args{"a.hex", "b.hex"}));
  EXPECT_EQ(flash.job.runAddress, 0xC00100);
  EXPECT_TRUE(flash.job.eraseAll);
  EXPECT_EQ(flash.waitSeconds, 30);

  // --help ends the reading: what follows it is not judged.
  CliOptions help;
  EXPECT_FALSE(ParseCliOptions({"--help", "--bogus"}, help));
  EXPECT_TRUE(help.help);
}

PortEntry usbPort(std::string device, uint16_t vendor, uint16_t product, std::string serial) {
  return {std::move(device), "USB serial", vendor, product, std::move(serial)};
}

TEST(CliAutoPort, TakesTheOnlyUsbAdapterAndRefusesToGuess) {
  const PortEntry onboard{"/dev/ttyS0", "built-in", std::nullopt, std::nullopt, ""};
  const PortEntry first = usbPort("/dev/ttyUSB0", 0x1234, 0x00AB, "A1");
  const PortEntry second = usbPort("/dev/ttyACM3", 0x0FED, 0x0001, "");

  EXPECT_EQ(ChooseAutoPort({onboard, first}).device, "/dev/ttyUSB0");

  for (const auto& none : {std::vector<PortEntry>{}, std::vector<PortEntry>{onboard}}) {
    const AutoPortChoice choice = ChooseAutoPort(none);
    EXPECT_FALSE(choice.device);
    EXPECT_NE(choice.error.find("no USB serial adapter"), std::string::npos) << choice.error;
  }

  const AutoPortChoice several = ChooseAutoPort({first, onboard, second});
  EXPECT_FALSE(several.device);
  EXPECT_NE(several.error.find("2 USB serial adapters"), std::string::npos) << several.error;
  EXPECT_NE(several.error.find("/dev/ttyUSB0  USB serial  USB 1234:00ab  serial A1"),
            std::string::npos)
      << several.error;
  EXPECT_NE(several.error.find("/dev/ttyACM3  USB serial  USB 0fed:0001"), std::string::npos);
  EXPECT_EQ(several.error.find("/dev/ttyS0"), std::string::npos) << several.error;
}

TEST(CliProgressLine, RateAndTimeLeftFollowTheBytesMoved) {
  using std::chrono::milliseconds;
  struct Case {
    int64_t done, total;
    milliseconds elapsed;
    std::string line;
  };
  const Case cases[] = {
      {0, 65536, milliseconds(0), "program   0 / 65536 bytes    0%"},
      {0, 65536, milliseconds(1500), "program   0 / 65536 bytes    0%"},
      {16384, 65536, milliseconds(1000),
       "program   16384 / 65536 bytes   25%  16.0 KB/s  0:03 left"},
      {1024, 131072, milliseconds(1000),
       "program   1024 / 131072 bytes    0%  1.0 KB/s  2:07 left"},
      {65536, 65536, milliseconds(4000),
       "program   65536 / 65536 bytes  100%  16.0 KB/s  0:00 left"},
      {0, 0, milliseconds(10), "program   0 / 0 bytes  100%"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ProgressLine("program", c.done, c.total, c.elapsed), c.line);
  }
  EXPECT_EQ(StepLine({"verify", 6144, milliseconds(1250), ExitClass::Mismatch}),
            "verify    6144 bytes  1.25 s  failed (mismatch)");
  EXPECT_EQ(StepLine({"connect", 0, milliseconds(600), ExitClass::Success}),
            "connect   0.60 s  ok");
}

// A flash unit of two sections (the second mapped elsewhere), a RAM unit without a
// driver, and a switched-off flash unit.
MemoryRegion region(int32_t start, int32_t length) {
  MemoryRegion r;
  r.startAddress = start;
  r.length = length;
  return r;
}

std::vector<MemoryUnit> boardUnits() {
  MemoryUnit flash;
  flash.name = "IFLASH";
  flash.driverPath = "DRIVER\\F.HEX";
  flash.sections = {{{region(0xC00000, 0x2000)}}, {{region(0xC02000, 0x2000)}}};
  // Seen at 010000 while mapped.
  flash.sections[1].regions[0].hasMapping = true;
  flash.sections[1].regions[0].mapAddress = 0x010000;
  flash.sections[1].regions[0].mapped = true;
  MemoryUnit ram;
  ram.name = "DPRAM";
  ram.sections = {{{region(0x00F600, 0x800)}}};
  MemoryUnit off;
  off.name = "XFLASH";
  off.driverPath = "DRIVER\\X.HEX";
  off.activate = {{"SYSCON", 1}};
  off.sections = {{{region(0x200000, 0x1000)}}};
  return {flash, ram, off};
}

SelectionList rangesOf(std::initializer_list<Selection> ranges) {
  SelectionList list;
  for (const auto& r : ranges) EXPECT_TRUE(list.AddSelection(r.start, r.end));
  return list;
}

TEST(CliMemoryMap, EveryAddressMustLieInAUsableUnit) {
  const auto units = boardUnits();
  struct Case {
    std::initializer_list<Selection> ranges;
    bool needDriver;
    std::optional<int32_t> gapAt;
    std::vector<int> touched;
  };
  const Case cases[] = {
      {{{0xC00000, 0xC01FFF}}, true, std::nullopt, {0}},
      // The mapped section is seen at its map address, not at its start.
      {{{0xC01F00, 0xC01FFF}, {0x010000, 0x0100FF}}, true, std::nullopt, {0}},
      {{{0xC01F00, 0xC020FF}}, true, 0xC02000, {0}},
      {{{0x00F600, 0x00F6FF}}, false, std::nullopt, {1}},
      {{{0x00F600, 0x00F6FF}}, true, 0x00F600, {1}},
      {{{0xC00000, 0xC0000F}, {0x00F700, 0x00FDFF}}, false, std::nullopt, {0, 1}},
      {{{0x00F700, 0x00FE0F}}, false, 0x00FE00, {1}},
      {{{0x200000, 0x2000FF}}, false, 0x200000, {}},
      {{{0x000000, 0x000000}}, false, 0x000000, {}},
  };
  for (const auto& c : cases) {
    const SelectionList ranges = rangesOf(c.ranges);
    const auto gap = FirstGap(units, ranges, c.needDriver);
    EXPECT_EQ(gap ? std::optional<int32_t>(gap->address) : std::nullopt, c.gapAt)
        << (gap ? gap->reason : "");
    EXPECT_EQ(UnitsTouched(units, ranges), c.touched);
  }
  const auto ramGap = FirstGap(units, rangesOf({{0x00F600, 0x00F600}}), true);
  ASSERT_TRUE(ramGap);
  EXPECT_EQ(ramGap->reason, "00F600 lies in DPRAM, a unit without a flash driver");
}

}  // namespace
}  // namespace velmora
