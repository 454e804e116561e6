// Getting to the monitor: the bootstrap connection with its evaluation lines, the streams
// and the monitor area; the switch to the second serial channel; the reconnect; and
// moving the monitor to another RAM address.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/bootstrap.h"
#include "link/channel_switch.h"
#include "observing_port.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;
using TextLines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPeriod{40};
constexpr milliseconds kSlack{250};
constexpr int32_t kMonitorLength = 0x2C4;
constexpr MonitorArea kLoadedArea{0xE00024, 0xE002E7};

// Answer bytes of the board, counted from the start of the procedure: lost or replaced.
constexpr int kLost = -1;
using AnswerFaults = std::vector<std::pair<size_t, int>>;
void Arm(BoardFaults& faults, const AnswerFaults& list) {
  for (const auto& [n, value] : list) {
    if (value == kLost) faults.DropOutput(n);
    if (value != kLost) faults.ReplaceOutput(n, static_cast<uint8_t>(value));
  }
}

TextLines operator+(TextLines first, const TextLines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

class Connection : public test::ObservedLinkFixture {
 protected:
  // The message lines since the last call.
  TextLines NewLines() {
    const auto all = Lines();
    TextLines lines(all.begin() + static_cast<long>(linesSeen), all.end());
    linesSeen = all.size();
    return lines;
  }
  bool Refreshed(RefreshTarget target) const { return frontend.Refreshed(target); }
  std::vector<Change> MemoryChanges() const {
    return frontend.ChangesOf(RefreshTarget::MemoryView);
  }
  void LoadDrivers() {
    settings.target.units.resize(2);
    for (auto& unit : settings.target.units) unit.driverLoaded = true;
  }
  bool AnyDriverLoaded() const {
    return std::any_of(settings.target.units.begin(), settings.target.units.end(),
                       [](const auto& unit) { return unit.driverLoaded; });
  }
  size_t linesSeen = 0;
};

// ---------------------------------------------------------------------------------------
// Bootstrap: the identification byte (answer 0), the loader's (1) and the monitor's (2)

const TextLines kPrepared = {"*Loader file Prepare", "*VelmoraKorda file Prepare",
                             "*send 0 Byte + Loader + VelmoraCore"};
const std::string kIdOk = "*RECEIVE - MC-Identifier: D5";
const std::string kNoId = "*ERROR: No ID Byte received";
const std::string kLoaderOk = "*RECEIVE - LoaderACK 01 received";
const std::string kNoLoader = "*ERROR: No Loader_ACK Byte received (VelmoraKordaCore not loaded)";
const std::string kMonitorOk = "*RECEIVE - VelmoraKorda ACK 03 received";
const std::string kNoMonitor =
    "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)";
const std::string kLaunched = "*VelmoraKorda successfully launched";

struct AnswerRow {
  const char* name;
  AnswerFaults faults;
  TextLines evaluation;
  int16_t status;
};

// clang-format off
const AnswerRow kAnswerRows[] = {
    {"AllAnswersRight", {}, {kIdOk, kLoaderOk, kMonitorOk}, 0},
    {"OtherIdAndWrongLoaderAck", {{0, 0x0A}, {1, 0x02}},
     {"*RECEIVE - MC-Identifier: 0A", "*RECEIVE - LoaderACK ERROR: Incorrect LoaderAck received 02", kMonitorOk}, 0},
    {"IdAndLoaderAckLost", {{0, kLost}, {1, kLost}}, {kNoId, kNoLoader, kMonitorOk}, 0},
    {"AnswersOf00CountAsNone", {{0, 0}, {1, 0}, {2, 0}}, {kNoId, kNoLoader, kNoMonitor}, -2},
    {"WrongMonitorAck", {{2, 0x05}},
     {kIdOk, kLoaderOk, "*RECEIVE - VelmoraKorda ERROR: Incorrect VelmoraKorda ACK received 05"}, -1},
    {"NoAnswerAtAll", {{0, kLost}, {1, kLost}, {2, kLost}}, {kNoId, kNoLoader, kNoMonitor}, -2},
};
// clang-format on

class BootstrapAnswers : public Connection, public ::testing::WithParamInterface<AnswerRow> {};

TEST_P(BootstrapAnswers, AreReportedAndTheMonitorAcknowledgeDecides) {
  const AnswerRow& row = GetParam();
  int hookRuns = 0;
  link->afterConnection = [&] { ++hookRuns; };
  link->SetState(TargetState::UserProgramRunning);  // only a connection changes it
  Arm(board->faults(), row.faults);

  const auto start = Clock::now();
  EXPECT_EQ(ConnectTarget(*link), row.status);
  EXPECT_LT(Clock::now() - start, 3 * kPeriod + kSlack);
  const bool ok = row.status == 0;
  EXPECT_EQ(Lines(), kPrepared + row.evaluation + (ok ? TextLines{kLaunched} : TextLines{}));
  EXPECT_EQ(link->state(), ok ? TargetState::Ready : TargetState::UserProgramRunning);
  EXPECT_EQ(hookRuns, ok ? 1 : 0);
  // Whatever the answers, the zero byte, the loader and the monitor core go out.
  EXPECT_EQ(board->received().size(), 1U + 32U + kMonitorLength);
  EXPECT_EQ(selections.Count(), 0);
  EXPECT_EQ(frontend.busyChanges, (std::vector<bool>{true, false}));
}

INSTANTIATE_TEST_SUITE_P(Answers, BootstrapAnswers, ::testing::ValuesIn(kAnswerRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Connection, StreamsLoaderAndMonitorAndProtectsTheMonitorArea) {
  LoadDrivers();
  ASSERT_EQ(ConnectTarget(*link), 0);
  const Bytes& wire = board->received();
  EXPECT_EQ(wire[0], 0x00);
  EXPECT_EQ(Bytes(wire.begin() + 1, wire.begin() + 33), board->loaderBytes());
  EXPECT_EQ(Bytes(wire.begin() + 33, wire.end()), board->monitorBytes());
  EXPECT_EQ(board->mode(), Board::Mode::Monitor);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, kResetQuestion);
  EXPECT_FALSE(AnyDriverLoaded());

  EXPECT_EQ(image.Flags(0x00FA5F), kDefined | kValid);
  EXPECT_EQ(monitorArea, kLoadedArea);
  for (int32_t a : {kLoadedArea.start, kLoadedArea.end}) {
    EXPECT_EQ(image.Flags(a), kDefined | kValid | kProtected);
    EXPECT_EQ(image.Flags(a + (a == kLoadedArea.start ? -1 : 1)), 0);
  }
  EXPECT_EQ(link->breakEntry, kLoadedArea.start);
}

TEST_F(Connection, MissingMonitorFileStreamsNothingAndLeavesNoMonitorArea) {
  settings.images.monitor = "MCProg\\NOSUCH.HEX";
  EXPECT_EQ(ConnectTarget(*link), -2);
  EXPECT_EQ(Lines().back(), kNoMonitor);
  EXPECT_EQ(board->received().size(), 1U + 32U);
  EXPECT_EQ(monitorArea, (MonitorArea{-1, -1}));
}

TEST_F(Connection, CancelAtTheResetPromptSendsNothingAndWritesNoEvaluation) {
  frontend.QueueAnswer(BoxAnswer::Cancel);
  EXPECT_EQ(ConnectTarget(*link), -1);
  EXPECT_TRUE(board->received().empty());
  EXPECT_EQ(Lines(), (TextLines{"*Loader file Prepare", "*VelmoraKorda file Prepare"}));
  EXPECT_EQ(frontend.boxes.at(0).buttons, BoxButtons::OkCancel);
}

// Every port problem shows the same box; the line after it says what the system found.
TEST_F(Connection, PortThatCannotBeOpenedShowsTheBoxAndTheCauseAndSendsNothing) {
  const std::pair<PortFault, TextLines> kCauses[] = {
      {{PortProblem::NoSuchDevice, {}}, {"*ERROR: Port virtual: no such device"}},
      {{PortProblem::PermissionDenied, "dialout"},
       {"*ERROR: Port virtual: permission denied",
        "*Join the group dialout that owns the device, then log in again"}},
      {{PortProblem::PermissionDenied, {}}, {"*ERROR: Port virtual: permission denied"}},
      {{PortProblem::NotSerialDevice, {}}, {"*ERROR: Port virtual: not a serial device"}},
      {{PortProblem::InUse, {}}, {"*ERROR: Port virtual: in use, locked by another process"}},
      {{PortProblem::Other, "Input/output error"}, {"*ERROR: Port virtual: Input/output error"}},
  };
  for (const auto& [fault, cause] : kCauses) {
    SCOPED_TRACE(cause.front());
    port->SetUnavailable(fault);
    frontend.boxes.clear();
    EXPECT_NE(ConnectTarget(*link), 0);
    EXPECT_NE(ReconnectTarget(*link), 0);
    EXPECT_NE(SwitchToAsc1(*link), 0);
    ASSERT_EQ(frontend.boxes.size(), 3U);
    for (const auto& box : frontend.boxes) EXPECT_EQ(box.text, kPortInUseMessage);
    EXPECT_EQ(NewLines(), cause + cause + cause);
  }
  EXPECT_TRUE(board->received().empty());
}

TEST_F(Connection, AfterConnectionRunsOnceForEverySuccessfulConnectionWithTheMonitorReady) {
  int hookRuns = 0;
  link->afterConnection = [&] {
    ++hookRuns;
    EXPECT_EQ(link->state(), TargetState::Ready);
    EXPECT_EQ(Lines().back(), kLaunched);
    EXPECT_EQ(link->monitor().Cmd_Einit(), 0);  // the initialisation talks to the monitor
    link->SetState(TargetState::DriverRunning);
  };
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(board->received().back(), 0x31);
  board->ResetToBootstrap();
  board->faults().ReplaceOutput(2, 0x05);
  EXPECT_EQ(ConnectTarget(*link), -1);
  board->ResetToBootstrap();
  EXPECT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(hookRuns, 2);
}

// A board on a production line serves one connection after another all day: what it keeps
// must not grow with them. This board is built as the programs build theirs.
TEST_F(Connection, RepeatedConnectionsLeaveTheBoardAsLargeAsAfterTheFirst) {
  Board served(board->config());
  VirtualPort servedPort(served);
  Link servedLink(servedPort, link->context());
  servedLink.onResetConfirmed = [&] { served.ResetToBootstrap(); };
  const auto session = [&] {
    ASSERT_EQ(ConnectTarget(servedLink), 0);
    ASSERT_EQ(servedLink.monitor().Cmd_Read(0x00F600, 256), 0);
  };
  ASSERT_NO_FATAL_FAILURE(session());
  const Board::Footprint first = served.footprint();
  for (int i = 0; i < 20; ++i) ASSERT_NO_FATAL_FAILURE(session());
  const Board::Footprint after = served.footprint();
  EXPECT_EQ(after.wireRecord, first.wireRecord);
  EXPECT_TRUE(after == first);
}

class KLine : public test::ObservedLinkFixture {
 protected:
  KLine() : ObservedLinkFixture(true) {}
};

TEST_F(KLine, ConnectionAndCommandsTakeTheEchoOfEveryByte) {
  // The files of the plain line do not exist: a connection that took them would fail.
  settings.images.loader = settings.images.monitor = "MCProg\\NOSUCH.HEX";
  const auto start = Clock::now();
  ASSERT_NO_FATAL_FAILURE(Connect());
  EXPECT_EQ(Lines(), (kPrepared + TextLines{kIdOk, kLoaderOk, kMonitorOk, kLaunched}));
  board->memory().StoreLoaded(0x00F600, Bytes{0xAA, 0xEA, 0x03, 0x33});
  board->memory().StoreLoaded(0x00C000, Bytes{0xDB, 0x00});  // RETS in RAM: the routine called below
  image.StoreLoaded(0x00F700, Bytes{0x12, 0x34, 0x56});
  CallRegisters r = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(link->monitor().Cmd_Read(0x00F600, 4), 0);
  EXPECT_EQ(link->monitor().Cmd_Write(0x00F700, 3), 0);
  EXPECT_EQ(link->monitor().Cmd_Call(0x00C000, r), 0);
  EXPECT_LT(Clock::now() - start, kPeriod);  // no wait ran into its time-out
  EXPECT_EQ(image.GetByte(0x00F601), 0xEA);
  EXPECT_EQ(image.Flags(0x00F603), kDefined | kValid);
  EXPECT_EQ(port->BytesAvailable(), 0U);
}

// ---------------------------------------------------------------------------------------
// Channel switch: CC gives ACK1 (0) and ACK2 (1); the zero byte on ASC1 gives 55 (2) and
// the flag D5 (3).

class Connected : public Connection {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Connect());
    NewLines();
    frontend.boxes.clear();
    frontend.changes.clear();
    LoadDrivers();
  }
};

const std::string kInitOk = "*ASC1 initialisation OK ";
const std::string kFailed = "*VelmoraKorda communicated with ASC1 failed";

struct SwitchRow {
  const char* name;
  std::vector<BoxAnswer> answers;
  AnswerFaults faults;
  int16_t status;
  TextLines lines;
  Bytes wire;
};

// clang-format off
const SwitchRow kSwitchRows[] = {
    {"Switched", {}, {}, 0,
     {kInitOk, "*ASC1 Ack: 55", "*ASC1 Communication Flag OK ", "*VelmoraKorda communicated with ASC1 "}, {0xCC, 0x00}},
    {"CancelledAtTheQuestion", {BoxAnswer::Cancel}, {}, -1, {kFailed}, {}},
    {"CableChangeNotConfirmed", {BoxAnswer::Ok, BoxAnswer::Cancel}, {}, -1, {kInitOk, kFailed}, {0xCC}},
    {"NoCommunicationFlag", {}, {{3, 0x00}}, -3,
     {kInitOk, "*ASC1 Ack: 55", "*ERROR: NO ASC1 Communication Flag ", kFailed}, {0xCC, 0x00}},
    {"NoAnswerOnAsc1", {}, {{2, kLost}, {3, kLost}}, -2,
     {kInitOk, "*ERROR: not ACK with ASC1_TBUF received", kFailed}, {0xCC, 0x00}},
    // Only the second answer byte counts.
    {"NoSecondAnswerToTheInitialisation", {}, {{1, kLost}}, -2,
     {"*ERROR: ASC1 can not be initialized", kFailed}, {0xCC}},
};
// clang-format on

class ChannelSwitch : public Connected, public ::testing::WithParamInterface<SwitchRow> {};

TEST_P(ChannelSwitch, LinesStatusAndWire) {
  const SwitchRow& row = GetParam();
  for (BoxAnswer answer : row.answers) frontend.QueueAnswer(answer);
  Arm(board->faults(), row.faults);
  ASSERT_TRUE(selections.AddSelection(0x1000, 0x10FF));

  const auto start = Clock::now();
  EXPECT_EQ(SwitchToAsc1(*link), row.status);
  EXPECT_LT(Clock::now() - start, 3 * kPeriod + kSlack);
  EXPECT_EQ(NewLines(), row.lines);
  EXPECT_EQ(TakeSent(), row.wire);
  // The question, then, once the channel is initialised, the request to move the cable.
  ASSERT_EQ(frontend.boxes.size(), row.lines.front() == kInitOk ? 2U : 1U);
  EXPECT_EQ(frontend.boxes[0].text, kAsc1Question);
  EXPECT_EQ(frontend.boxes.back().text,
            row.lines.front() == kInitOk ? kMoveCableMessage : kAsc1Question);
  // The state stays; drivers and selections are gone in every case.
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_FALSE(AnyDriverLoaded());
  EXPECT_EQ(selections.Count(), 0);
  // The cleared selection is redrawn whatever the outcome; the registers after a switch.
  EXPECT_EQ(MemoryChanges(), std::vector<Change>{Change::Memory(0x1000, 0x10FF)});
  EXPECT_EQ(Refreshed(RefreshTarget::RegisterList), row.status == 0);
  EXPECT_EQ(row.status == 0 ? link->monitor().Cmd_Einit() : 0, 0);  // answers on ASC1
}

INSTANTIATE_TEST_SUITE_P(Switch, ChannelSwitch, ::testing::ValuesIn(kSwitchRows),
                         [](const auto& row) { return std::string(row.param.name); });

// ---------------------------------------------------------------------------------------
// Reconnect

TEST_F(Connected, ReconnectFindsTheMonitorOnAClosedPortAndForgetsTheDrivers) {
  link->SetState(TargetState::NotConnected);
  link->ClosePort();
  EXPECT_EQ(ReconnectTarget(*link), 0);
  EXPECT_TRUE(port->IsOpen());
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(NewLines(), TextLines{"*Monitor ready"});
  EXPECT_EQ(TakeSent(), Bytes{0x93});
  EXPECT_FALSE(AnyDriverLoaded());
  EXPECT_EQ(frontend.ChangesOf(RefreshTarget::StatusText).back(),
            Change::State(static_cast<int32_t>(TargetState::Ready)));
}

TEST_F(Connected, ReconnectWithoutAnAnsweringMonitorGivesUpAfterTwoPeriods) {
  int hookRuns = 0;
  link->afterConnection = [&] { ++hookRuns; };
  board->ResetToBootstrap();  // the board waits for a zero byte, not for a command
  const auto start = Clock::now();
  EXPECT_EQ(ReconnectTarget(*link), -2);
  const auto elapsed = Clock::now() - start;
  EXPECT_GE(elapsed, 2 * kPeriod);
  EXPECT_LT(elapsed, 2 * kPeriod + kSlack);
  EXPECT_EQ(link->state(), TargetState::NotConnected);
  EXPECT_EQ(NewLines(), TextLines{"*ERROR: Monitor not ready"});
  EXPECT_EQ(TakeSent(), Bytes{0x93});
  EXPECT_EQ(hookRuns, 0);
}

// ---------------------------------------------------------------------------------------
// Relocation

class Relocation : public Connected {
 protected:
  void ExpectMovedTo(int32_t start, int32_t from) {
    EXPECT_EQ(monitorArea, (MonitorArea{start, start + kMonitorLength - 1}));
    EXPECT_EQ(link->breakEntry, start);
    EXPECT_EQ(board->monitorAddress(), start);
    const Bytes& monitor = board->monitorBytes();
    Bytes copy(kMonitorLength);
    board->memory().ReadBytes(start, copy);
    EXPECT_EQ(copy, monitor);
    for (int32_t i = 0; i < kMonitorLength; ++i) {
      ASSERT_EQ(image.Flags(start + i), kDefined | kValid | kProtected) << std::hex << start + i;
      ASSERT_EQ(image.GetByte(start + i), monitor[static_cast<size_t>(i)]);
      ASSERT_EQ(image.Flags(from + i), 0) << std::hex << from + i;
    }
    EXPECT_EQ(selections.Count(), 0);
  }
};

TEST_F(Relocation, IsRefusedUnlessConnectedAndReady) {
  ASSERT_TRUE(selections.AddSelection(0x2000, 0x20FF));
  for (TargetState state : {TargetState::NotConnected, TargetState::UserProgramRunning}) {
    link->SetState(state);
    EXPECT_EQ(MoveMonitor(*link, 0x008000), -100);
  }
  EXPECT_EQ(NewLines(), TextLines(2, "*ERROR: Not Connected to Target"));
  EXPECT_EQ(monitorArea, kLoadedArea);
  EXPECT_EQ(image.Flags(0x008000), 0);
  EXPECT_EQ(selections.Count(), 1);
  EXPECT_TRUE(TakeSent().empty());
}

TEST_F(Relocation, MovesTheMonitorTo8000) {
  frontend.clipboard = "the user's own text";
  EXPECT_EQ(MoveMonitor(*link, 0x008000), 0);
  EXPECT_EQ(NewLines(), TextLines{"*Velmora successfully moved to 008000"});
  Bytes wire = {0x84, 0x00, 0x80, 0x00, 0xC4, 0x02};
  wire.insert(wire.end(), board->monitorBytes().begin(), board->monitorBytes().end());
  wire.insert(wire.end(), {0x33, 0x41, 0x00, 0x80, 0x00});
  EXPECT_EQ(TakeSent(), wire);
  ExpectMovedTo(0x008000, kLoadedArea.start);
  EXPECT_EQ(frontend.clipboard, "the user's own text");
  // The old area and the new one, and nothing else.
  EXPECT_EQ(MemoryChanges(),
            (std::vector<Change>{Change::Memory(kLoadedArea.start, kLoadedArea.end),
                                 Change::Memory(0x008000, 0x008000 + kMonitorLength - 1)}));
  EXPECT_TRUE(Refreshed(RefreshTarget::RegisterList));
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0);
}

TEST_F(Relocation, MissingStartAcknowledgeStillMovesTheArea) {
  board->faults().DropOutput(7);  // block write: 5 answer bytes; go: 2; then the copy's start
  const auto start = Clock::now();
  EXPECT_EQ(MoveMonitor(*link, 0x008000), 0);
  EXPECT_LT(Clock::now() - start, kPeriod + kSlack);
  EXPECT_EQ(NewLines(), TextLines{"*ERROR: Velmora Acknowledge not Received"});
  ExpectMovedTo(0x008000, kLoadedArea.start);
  // The image moved all the same; the registers are not known to be the monitor's.
  EXPECT_EQ(MemoryChanges(),
            (std::vector<Change>{Change::Memory(kLoadedArea.start, kLoadedArea.end),
                                 Change::Memory(0x008000, 0x008000 + kMonitorLength - 1)}));
  EXPECT_FALSE(Refreshed(RefreshTarget::RegisterList));
}

// After a connection without a monitor file the host does not know where the monitor is
// nor what it holds: there is nothing it could move.
TEST_F(Relocation, UnknownMonitorAreaIsRefusedAndNothingIsSent) {
  for (const MonitorArea unknown : {MonitorArea{-1, -1}, MonitorArea{0x9000, 0x8FFF}}) {
    monitorArea = unknown;
    EXPECT_EQ(MoveMonitor(*link, 0x008000), kMoveRefused);
    EXPECT_EQ(NewLines(), TextLines{"*ERROR: Monitor area unknown, the monitor was not moved"});
    EXPECT_TRUE(TakeSent().empty());
    EXPECT_EQ(monitorArea, unknown);
    EXPECT_EQ(link->breakEntry, kLoadedArea.start);
    EXPECT_EQ(image.Flags(0x008000), 0);
    EXPECT_EQ(board->monitorAddress(), kLoadedArea.start);
  }
}

TEST_F(Relocation, OverlapWithTheCurrentAreaIsRefusedWithAnErrorLine) {
  // clang-format off
  const std::pair<int32_t, bool> places[] = {  // start, allowed
      {kLoadedArea.start, false}, {kLoadedArea.end, false}, {kLoadedArea.start - kMonitorLength + 1, false},
      {0xFFFF00, false},  // leaves the address space
      {kLoadedArea.start - kMonitorLength, true}, {kLoadedArea.end + 1, true}};
  // clang-format on
  for (const auto& [start, allowed] : places) {
    SCOPED_TRACE(HexN(start, 6));
    const int16_t result = MoveMonitor(*link, start);
    const auto lines = NewLines();
    ASSERT_EQ(lines.size(), 1U);
    if (allowed) {
      EXPECT_EQ(result, 0);
      EXPECT_EQ(lines[0], "*Velmora successfully moved to " + HexN(start, 6));
      ExpectMovedTo(start, kLoadedArea.start);
      ASSERT_EQ(MoveMonitor(*link, kLoadedArea.start), 0);  // and back from there
      ExpectMovedTo(kLoadedArea.start, start);
      NewLines();
      TakeSent();
      continue;
    }
    EXPECT_EQ(result, kMoveRefused);
    EXPECT_EQ(lines[0].rfind("*ERROR: ", 0), 0U) << lines[0];
    EXPECT_TRUE(TakeSent().empty());
    EXPECT_EQ(monitorArea, kLoadedArea);
    EXPECT_EQ(image.Flags(kLoadedArea.end), kDefined | kValid | kProtected);
    EXPECT_EQ(board->monitorAddress(), kLoadedArea.start);
  }
}

}  // namespace
}  // namespace velmora
