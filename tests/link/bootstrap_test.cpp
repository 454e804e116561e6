// The connection through the bootstrap loader: what each answer of the board makes of
// the evaluation lines and the status, which files are streamed, and what the monitor
// area and the image look like afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "formats/hex_reader.h"
#include "link/bootstrap.h"
#include "link_fixture.h"
#include "temp_folder.h"

namespace velmora {
namespace {

using test::LinkFixture;
using Bytes = std::vector<uint8_t>;
using TextLines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPeriod{40};
constexpr milliseconds kSlack{250};

const std::string kPrepared[] = {"*Loader file Prepare", "*VelmoraKorda file Prepare",
                                 "*send 0 Byte + Loader + VelmoraCore"};

// One Intel HEX record with its checksum.
std::string Record(uint16_t address, uint8_t type, const Bytes& data) {
  unsigned sum = static_cast<unsigned>(data.size()) + (address >> 8) + (address & 0xFF) + type;
  std::string text =
      ":" + HexN(static_cast<int32_t>(data.size()), 2) + HexN(address, 4) + HexN(type, 2);
  for (uint8_t byte : data) {
    text += HexN(byte, 2);
    sum += byte;
  }
  return text + HexN(static_cast<int32_t>((0x100 - (sum & 0xFF)) & 0xFF), 2) + "\r\n";
}

Bytes Pattern(size_t count, uint8_t first) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(first + 3 * i);
  return bytes;
}

// A loader file: 32 bytes at 00FA40.
std::string LoaderFile(const Bytes& bytes) {
  return Record(0, 4, {0x00, 0x00}) + Record(0xFA40, 0, bytes) + Record(0, 1, {});
}

// The bytes a HEX file streams: its runs in order, without the gaps.
Bytes StreamOf(const std::filesystem::path& file) {
  MemoryImage scratch;
  SelectionList runs;
  MessageLog scratchLog;
  HexRead(file.string(), scratch, runs, scratchLog);
  Bytes bytes;
  for (int i = 0; i < runs.Count(); ++i) {
    for (int32_t a = runs.At(i).start; a <= runs.At(i).end; ++a)
      bytes.push_back(scratch.GetByte(a));
  }
  return bytes;
}

class Bootstrap : public LinkFixture {
 protected:
  // A board built from another configuration, with the link on its port.
  void UseBoard(const BoardConfig& config) {
    link.reset();
    port.reset();
    board = std::make_unique<Board>(config);
    port = std::make_unique<VirtualPort>(*board);
    link = std::make_unique<Link>(*port, LinkContext{settings, image, selections, log, frontend,
                                                     registers, monitorArea, home.path()});
  }
  const Bytes& Wire() { return board->received(); }
};

// ---------------------------------------------------------------------------------------
// The evaluation of the three answers

struct AnswerRow {
  const char* name;
  std::function<void(BoardFaults&)> arm;
  TextLines evaluation;  // the three report lines
  int16_t status;
};
void PrintTo(const AnswerRow& row, std::ostream* out) {
  *out << row.name;
}

const AnswerRow kAnswerRows[] = {
    {"AllAnswersRight",
     [](BoardFaults&) {},
     {"*RECEIVE - MC-Identifier: D5", "*RECEIVE - LoaderACK 01 received",
      "*RECEIVE - VelmoraKorda ACK 03 received"},
     0},
    {"NoIdByte",
     [](BoardFaults& f) { f.DropOutput(0); },
     {"*ERROR: No ID Byte received", "*RECEIVE - LoaderACK 01 received",
      "*RECEIVE - VelmoraKorda ACK 03 received"},
     0},
    {"IdByte00",
     [](BoardFaults& f) { f.ReplaceOutput(0, 0x00); },
     {"*ERROR: No ID Byte received", "*RECEIVE - LoaderACK 01 received",
      "*RECEIVE - VelmoraKorda ACK 03 received"},
     0},
    {"OtherIdByte",
     [](BoardFaults& f) { f.ReplaceOutput(0, 0x0A); },
     {"*RECEIVE - MC-Identifier: 0A", "*RECEIVE - LoaderACK 01 received",
      "*RECEIVE - VelmoraKorda ACK 03 received"},
     0},
    {"LoaderAck02",
     [](BoardFaults& f) { f.ReplaceOutput(1, 0x02); },
     {"*RECEIVE - MC-Identifier: D5", "*RECEIVE - LoaderACK ERROR: Incorrect LoaderAck received 02",
      "*RECEIVE - VelmoraKorda ACK 03 received"},
     0},
    {"NoLoaderAck",
     [](BoardFaults& f) { f.DropOutput(1); },
     {"*RECEIVE - MC-Identifier: D5",
      "*ERROR: No Loader_ACK Byte received (VelmoraKordaCore not loaded)",
      "*RECEIVE - VelmoraKorda ACK 03 received"},
     0},
    {"LoaderAck00",
     [](BoardFaults& f) { f.ReplaceOutput(1, 0x00); },
     {"*RECEIVE - MC-Identifier: D5",
      "*ERROR: No Loader_ACK Byte received (VelmoraKordaCore not loaded)",
      "*RECEIVE - VelmoraKorda ACK 03 received"},
     0},
    {"NoMonitorAck",
     [](BoardFaults& f) { f.DropOutput(2); },
     {"*RECEIVE - MC-Identifier: D5", "*RECEIVE - LoaderACK 01 received",
      "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)"},
     -2},
    {"MonitorAck00",
     [](BoardFaults& f) { f.ReplaceOutput(2, 0x00); },
     {"*RECEIVE - MC-Identifier: D5", "*RECEIVE - LoaderACK 01 received",
      "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)"},
     -2},
    {"WrongMonitorAck",
     [](BoardFaults& f) { f.ReplaceOutput(2, 0x05); },
     {"*RECEIVE - MC-Identifier: D5", "*RECEIVE - LoaderACK 01 received",
      "*RECEIVE - VelmoraKorda ERROR: Incorrect VelmoraKorda ACK received 05"},
     -1},
    {"SilentBoard",
     [](BoardFaults& f) { f.SetSilent(true); },
     {"*ERROR: No ID Byte received",
      "*ERROR: No Loader_ACK Byte received (VelmoraKordaCore not loaded)",
      "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)"},
     -2},
};

class BootstrapAnswers : public Bootstrap, public ::testing::WithParamInterface<AnswerRow> {};

TEST_P(BootstrapAnswers, ReportEachAnswerAndDecideByTheMonitorAcknowledge) {
  const AnswerRow& row = GetParam();
  int hookRuns = 0;
  link->afterConnection = [&] { ++hookRuns; };
  // The host's idea of the state before; only a connection that succeeds changes it.
  link->SetState(TargetState::UserProgramRunning);
  row.arm(board->faults());

  const auto start = Clock::now();
  EXPECT_EQ(ConnectTarget(*link), row.status);
  EXPECT_LT(Clock::now() - start, 3 * kPeriod + kSlack);

  TextLines expected(std::begin(kPrepared), std::end(kPrepared));
  expected.insert(expected.end(), row.evaluation.begin(), row.evaluation.end());
  if (row.status == 0) expected.push_back("*VelmoraKorda successfully launched");
  EXPECT_EQ(this->Lines(), expected);

  EXPECT_EQ(link->state(), row.status == 0 ? TargetState::Ready : TargetState::UserProgramRunning);
  EXPECT_EQ(hookRuns, row.status == 0 ? 1 : 0);
  // Whatever the answers, the zero byte, the loader and the monitor core go out.
  EXPECT_EQ(Wire().size(), 1U + 32U + 0x2C4U);
  EXPECT_EQ(selections.Count(), 0);
  EXPECT_EQ(frontend.busyChanges, (std::vector<bool>{true, false}));
}

INSTANTIATE_TEST_SUITE_P(Answers, BootstrapAnswers, ::testing::ValuesIn(kAnswerRows),
                         [](const auto& row) { return std::string(row.param.name); });

// ---------------------------------------------------------------------------------------
// The streams and the monitor area

TEST_F(Bootstrap, ImageKeepsLoaderAndMonitorAsTheTargetsAndProtectsTheMonitor) {
  ASSERT_NO_FATAL_FAILURE(Connect());
  for (int32_t a = 0x00FA40; a <= 0x00FA5F; ++a) {
    EXPECT_EQ(image.Flags(a), kDefined | kValid) << std::hex << a;
  }
  for (int32_t a = 0xE00024; a <= 0xE002E7; ++a) {
    EXPECT_EQ(image.Flags(a), kDefined | kValid | kProtected) << std::hex << a;
  }
  EXPECT_EQ(image.Flags(0xE00023), 0);
  EXPECT_EQ(image.Flags(0xE002E8), 0);
  EXPECT_EQ(link->breakEntry, 0xE00024);
}

TEST_F(Bootstrap, MonitorFileWithTwoRunsStreamsThemWithoutTheGap) {
  const Bytes first = Pattern(32, 0x10);
  const Bytes second = Pattern(64, 0x80);
  home.folder().Write("MCProg/TWORUNS.HEX",
                      Record(0, 4, {0x00, 0xE0}) + Record(0x0100, 0, first) +
                          Record(0x0200, 0, Bytes(second.begin(), second.begin() + 32)) +
                          Record(0x0220, 0, Bytes(second.begin() + 32, second.end())) +
                          Record(0, 1, {}));
  settings.images.monitor = "MCProg\\TWORUNS.HEX";
  BoardConfig config = board->config();
  config.monitorLength = 96;
  config.monitorAddress = 0xE00100;
  UseBoard(config);

  ASSERT_EQ(ConnectTarget(*link), 0);
  Bytes stream = first;
  stream.insert(stream.end(), second.begin(), second.end());
  ASSERT_EQ(Wire().size(), 1U + 32U + 96U);
  EXPECT_EQ(Bytes(Wire().begin() + 33, Wire().end()), stream);
  EXPECT_EQ(board->monitorBytes(), stream);
  EXPECT_EQ(monitorArea, (MonitorArea{0xE00100, 0xE0023F}));
  EXPECT_EQ(link->breakEntry, 0xE00100);
  EXPECT_EQ(image.Flags(0xE0011F), kDefined | kValid | kProtected);
  EXPECT_EQ(image.Flags(0xE00200), kDefined | kValid | kProtected);
  EXPECT_EQ(image.Flags(0xE00120) & kDefined, 0);
  // The configured area is not changed by a download.
  EXPECT_EQ(settings.images.monitorStart, 0xE00024);
  EXPECT_EQ(settings.images.monitorEnd, 0xE002E7);
}

TEST_F(Bootstrap, MissingMonitorFileStreamsNothingAndLeavesNoMonitorArea) {
  settings.images.monitor = "MCProg\\NOSUCH.HEX";
  EXPECT_EQ(ConnectTarget(*link), -2);
  const auto lines = this->Lines();
  ASSERT_GE(lines.size(), 3U);
  EXPECT_EQ(lines[0], "*Loader file Prepare");
  // The reader's error line (long paths wrap onto a second line) comes before the step's.
  EXPECT_EQ(lines[1].rfind("*ERROR: ", 0), 0U) << lines[1];
  EXPECT_NE(std::find(lines.begin() + 2, lines.end(), "*VelmoraKorda file Prepare"), lines.end());
  EXPECT_EQ(lines.back(), "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)");
  EXPECT_EQ(Wire().size(), 1U + 32U);
  EXPECT_EQ(monitorArea, (MonitorArea{-1, -1}));
  EXPECT_EQ(link->state(), TargetState::NotConnected);
}

TEST_F(Bootstrap, DriveLetterNameIsUsedAsItStands) {
  test::TempFolder elsewhere;
  const Bytes loader = Pattern(32, 0x41);
  std::string path = elsewhere.Write("ALT.HEX", LoaderFile(loader));
  std::replace(path.begin(), path.end(), '/', '\\');
  settings.images.loader = "C:" + path;
  ASSERT_NO_FATAL_FAILURE(Connect());
  EXPECT_EQ(board->loaderBytes(), loader);
}

TEST_F(Bootstrap, BareNameIsTakenFromTheProgramFolder) {
  const Bytes loader = Pattern(32, 0x07);
  home.folder().Write("MYLOAD.HEX", LoaderFile(loader));
  settings.images.loader = "MYLOAD.HEX";
  ASSERT_NO_FATAL_FAILURE(Connect());
  EXPECT_EQ(board->loaderBytes(), loader);
  EXPECT_EQ(Bytes(Wire().begin() + 1, Wire().begin() + 33), loader);
}

TEST_F(Bootstrap, EveryDriverCountsAsGoneAfterConnecting) {
  settings.target.units.resize(3);
  for (auto& unit : settings.target.units) unit.driverLoaded = true;
  ASSERT_NO_FATAL_FAILURE(Connect());
  for (const auto& unit : settings.target.units) EXPECT_FALSE(unit.driverLoaded);
}

TEST_F(Bootstrap, CancelAtTheResetPromptSendsNothingAndWritesNoEvaluation) {
  int hookRuns = 0;
  link->afterConnection = [&] { ++hookRuns; };
  frontend.QueueAnswer(BoxAnswer::Cancel);
  EXPECT_EQ(ConnectTarget(*link), -1);
  EXPECT_TRUE(Wire().empty());
  EXPECT_EQ(this->Lines(), (TextLines{"*Loader file Prepare", "*VelmoraKorda file Prepare"}));
  EXPECT_EQ(hookRuns, 0);
  EXPECT_EQ(selections.Count(), 0);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, kResetQuestion);
  EXPECT_EQ(frontend.boxes[0].buttons, BoxButtons::OkCancel);
}

TEST_F(Bootstrap, PortThatCannotBeOpenedEndsTheConnectionWithTheBox) {
  port->SetUnavailable(true);
  EXPECT_NE(ConnectTarget(*link), 0);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, kPortInUseMessage);
  EXPECT_TRUE(Wire().empty());
  EXPECT_TRUE(this->Lines().empty());
  EXPECT_EQ(link->state(), TargetState::NotConnected);
}

// ---------------------------------------------------------------------------------------
// The hook after a connection

TEST_F(Bootstrap, AfterConnectionRunsOnceWithTheMonitorReady) {
  int hookRuns = 0;
  int16_t einit = -99;
  std::string lastLine;
  link->afterConnection = [&] {
    ++hookRuns;
    EXPECT_EQ(link->state(), TargetState::Ready);
    lastLine = this->Lines().back();
    // The initialisation that hangs here talks to the monitor within the connection.
    einit = link->monitor().Cmd_Einit();
    link->SetState(TargetState::DriverRunning);
  };
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(hookRuns, 1);
  EXPECT_EQ(lastLine, "*VelmoraKorda successfully launched");
  EXPECT_EQ(einit, 0);
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(Wire().back(), 0x31);
}

TEST_F(Bootstrap, AfterConnectionRunsAgainOnlyForTheNextSuccessfulConnection) {
  int hookRuns = 0;
  link->afterConnection = [&] { ++hookRuns; };
  ASSERT_EQ(ConnectTarget(*link), 0);
  board->ResetToBootstrap();
  board->faults().ReplaceOutput(2, 0x05);
  EXPECT_EQ(ConnectTarget(*link), -1);
  EXPECT_EQ(hookRuns, 1);
  board->ResetToBootstrap();
  EXPECT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(hookRuns, 2);
}

// ---------------------------------------------------------------------------------------
// K-line

class KLineBootstrap : public LinkFixture {
 protected:
  KLineBootstrap() : LinkFixture("TOLVANE", true) {}
};

TEST_F(KLineBootstrap, StreamsTheKLineFilesAndTakesEveryEcho) {
  const auto start = Clock::now();
  ASSERT_NO_FATAL_FAILURE(Connect());
  // Echoes are taken as they come; no wait runs into its time-out.
  EXPECT_LT(Clock::now() - start, kPeriod);
  EXPECT_EQ(
      this->Lines(),
      (TextLines{"*Loader file Prepare", "*VelmoraKorda file Prepare",
                 "*send 0 Byte + Loader + VelmoraCore", "*RECEIVE - MC-Identifier: D5",
                 "*RECEIVE - LoaderACK 01 received", "*RECEIVE - VelmoraKorda ACK 03 received",
                 "*VelmoraKorda successfully launched"}));
  const Bytes loaderK = StreamOf(home.path() / "MCProg" / "LOADK.HEX");
  const Bytes monitorK = StreamOf(home.path() / "MCProg" / "VELMORAK.HEX");
  EXPECT_EQ(board->loaderBytes(), loaderK);
  EXPECT_EQ(board->monitorBytes(), monitorK);
  EXPECT_NE(loaderK, StreamOf(home.path() / "MCProg" / "LOAD.HEX"));
  EXPECT_NE(monitorK, StreamOf(home.path() / "MCProg" / "VELMORA.HEX"));
  EXPECT_EQ(port->BytesAvailable(), 0U);
}

TEST_F(KLineBootstrap, MonitorCommandsAfterwardsTakeTheirEchoes) {
  ASSERT_NO_FATAL_FAILURE(Connect());
  board->memory().StoreLoaded(0x00F600, Bytes{0xAA, 0xEA, 0x03, 0x33});
  image.StoreLoaded(0x00F700, Bytes{0x12, 0x34, 0x56});
  CallRegisters r = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  const auto start = Clock::now();
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0);
  EXPECT_EQ(link->monitor().Cmd_Read(0x00F600, 4), 0);
  EXPECT_EQ(link->monitor().Cmd_Write(0x00F700, 3), 0);
  EXPECT_EQ(link->monitor().Cmd_Call(0x00A000, r), 0);
  EXPECT_LT(Clock::now() - start, kPeriod);
  EXPECT_EQ(image.GetByte(0x00F601), 0xEA);
  EXPECT_EQ(image.Flags(0x00F603), kDefined | kValid);
  EXPECT_EQ(r[0], 0x1234);
  EXPECT_EQ(port->BytesAvailable(), 0U);
}

}  // namespace
}  // namespace velmora
