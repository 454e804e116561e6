// Reaching a running monitor another way: the switch to the second serial channel, the
// reconnect, and moving the monitor to another RAM address.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/channel_switch.h"
#include "link_fixture.h"

namespace velmora {
namespace {

using test::LinkFixture;
using Bytes = std::vector<uint8_t>;
using TextLines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPeriod{40};
constexpr milliseconds kSlack{250};
constexpr int32_t kMonitorLength = 0x2C4;

// The message lines written since the connection.
class Connected : public LinkFixture {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Connect());
    linesAtConnect = Lines().size();
    boxesAtConnect = frontend.boxes.size();
    frontend.refreshes.clear();
  }
  TextLines NewLines() const {
    const auto all = Lines();
    return TextLines(all.begin() + static_cast<long>(linesAtConnect), all.end());
  }
  std::vector<test::RecordedBox> NewBoxes() const {
    return {frontend.boxes.begin() + static_cast<long>(boxesAtConnect), frontend.boxes.end()};
  }
  bool Refreshed(RefreshTarget target) const {
    return std::find(frontend.refreshes.begin(), frontend.refreshes.end(), target) !=
           frontend.refreshes.end();
  }
  void LoadDrivers() {
    settings.target.units.resize(2);
    for (auto& unit : settings.target.units) unit.driverLoaded = true;
  }
  bool AnyDriverLoaded() const {
    for (const auto& unit : settings.target.units) {
      if (unit.driverLoaded) return true;
    }
    return false;
  }

  size_t linesAtConnect = 0;
  size_t boxesAtConnect = 0;
};

// ---------------------------------------------------------------------------------------
// Channel switch

struct SwitchRow {
  const char* name;
  std::vector<BoxAnswer> answers;
  std::function<void(BoardFaults&)> arm;
  int16_t status;
  TextLines lines;
  Bytes wire;
  size_t boxes;
};
void PrintTo(const SwitchRow& row, std::ostream* out) {
  *out << row.name;
}

// Board answers: CC gives ACK1 (0) and ACK2 (1); the zero byte on ASC1 gives 55 (2), D5 (3).
const SwitchRow kSwitchRows[] = {
    {"Switched",
     {},
     [](BoardFaults&) {},
     0,
     {"*ASC1 initialisation OK ", "*ASC1 Ack: 55", "*ASC1 Communication Flag OK ",
      "*VelmoraKorda communicated with ASC1 "},
     {0xCC, 0x00},
     2},
    {"CancelledAtTheQuestion",
     {BoxAnswer::Cancel},
     [](BoardFaults&) {},
     -1,
     {"*VelmoraKorda communicated with ASC1 failed"},
     {},
     1},
    {"CableChangeNotConfirmed",
     {BoxAnswer::Ok, BoxAnswer::Cancel},
     [](BoardFaults&) {},
     -1,
     {"*ASC1 initialisation OK ", "*VelmoraKorda communicated with ASC1 failed"},
     {0xCC},
     2},
    {"NoCommunicationFlag",
     {},
     [](BoardFaults& f) { f.ReplaceOutput(3, 0x00); },
     -3,
     {"*ASC1 initialisation OK ", "*ASC1 Ack: 55", "*ERROR: NO ASC1 Communication Flag ",
      "*VelmoraKorda communicated with ASC1 failed"},
     {0xCC, 0x00},
     2},
    {"FlagMissing",
     {},
     [](BoardFaults& f) { f.DropOutput(3); },
     -3,
     {"*ASC1 initialisation OK ", "*ASC1 Ack: 55", "*ERROR: NO ASC1 Communication Flag ",
      "*VelmoraKorda communicated with ASC1 failed"},
     {0xCC, 0x00},
     2},
    {"OtherAcknowledgeOnAsc1",
     {},
     [](BoardFaults& f) { f.ReplaceOutput(2, 0x0F); },
     0,
     {"*ASC1 initialisation OK ", "*ASC1 Ack: 0F", "*ASC1 Communication Flag OK ",
      "*VelmoraKorda communicated with ASC1 "},
     {0xCC, 0x00},
     2},
    {"NoAnswerOnAsc1",
     {},
     [](BoardFaults& f) {
       f.DropOutput(2);
       f.DropOutput(3);
     },
     -2,
     {"*ASC1 initialisation OK ", "*ERROR: not ACK with ASC1_TBUF received",
      "*VelmoraKorda communicated with ASC1 failed"},
     {0xCC, 0x00},
     2},
    {"NoAnswerToTheInitialisation",
     {},
     [](BoardFaults& f) { f.SetSilent(true); },
     -2,
     {"*ERROR: ASC1 can not be initialized", "*VelmoraKorda communicated with ASC1 failed"},
     {0xCC},
     1},
    // Only the second answer byte counts.
    {"OneAnswerToTheInitialisation",
     {},
     [](BoardFaults& f) { f.DropOutput(1); },
     -2,
     {"*ERROR: ASC1 can not be initialized", "*VelmoraKorda communicated with ASC1 failed"},
     {0xCC},
     1},
};

class ChannelSwitch : public Connected, public ::testing::WithParamInterface<SwitchRow> {};

TEST_P(ChannelSwitch, LinesStatusAndWire) {
  const SwitchRow& row = GetParam();
  for (BoxAnswer answer : row.answers) frontend.QueueAnswer(answer);
  row.arm(board->faults());
  LoadDrivers();
  ASSERT_TRUE(selections.AddSelection(0x1000, 0x10FF));

  const auto start = Clock::now();
  EXPECT_EQ(SwitchToAsc1(*link), row.status);
  EXPECT_LT(Clock::now() - start, 3 * kPeriod + kSlack);
  EXPECT_EQ(NewLines(), row.lines);
  EXPECT_EQ(TakeSent(), row.wire);

  const auto boxes = NewBoxes();
  ASSERT_EQ(boxes.size(), row.boxes);
  EXPECT_EQ(boxes[0].text, "Communication from ASC0 to ASC1 !");
  EXPECT_EQ(boxes[0].buttons, BoxButtons::OkCancel);
  if (boxes.size() > 1) {
    EXPECT_EQ(boxes[1].text, "Please change RS232 from ASC0 to ASC1 NOW!");
    EXPECT_EQ(boxes[1].buttons, BoxButtons::Ok);
    EXPECT_EQ(boxes[1].icon, BoxIcon::Exclamation);
  }
  // The state stays; drivers and selections are gone in every case.
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_FALSE(AnyDriverLoaded());
  EXPECT_EQ(selections.Count(), 0);
  EXPECT_EQ(Refreshed(RefreshTarget::MemoryView), row.status == 0);
  EXPECT_EQ(Refreshed(RefreshTarget::RegisterList), row.status == 0);
  EXPECT_EQ(frontend.busyChanges.back(), false);
}

INSTANTIATE_TEST_SUITE_P(Switch, ChannelSwitch, ::testing::ValuesIn(kSwitchRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Connected, MonitorAnswersOnTheNewChannelAfterTheSwitch) {
  ASSERT_EQ(SwitchToAsc1(*link), 0);
  EXPECT_EQ(board->mode(), Board::Mode::Monitor);
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0);
}

// ---------------------------------------------------------------------------------------
// Reconnect

class NotConnected : public LinkFixture {};

TEST_F(NotConnected, ReconnectWithoutAMonitorGivesUpAfterTwoPeriods) {
  // The host believes in a monitor that the board, waiting in bootstrap mode, is not.
  link->SetState(TargetState::Ready);
  int hookRuns = 0;
  link->afterConnection = [&] { ++hookRuns; };
  const auto start = Clock::now();
  EXPECT_NE(ReconnectTarget(*link), 0);
  const auto elapsed = Clock::now() - start;
  EXPECT_GE(elapsed, 2 * kPeriod);
  EXPECT_LT(elapsed, 2 * kPeriod + kSlack);
  EXPECT_EQ(link->state(), TargetState::NotConnected);
  EXPECT_EQ(Lines(), TextLines{"*ERROR: Monitor not ready"});
  EXPECT_EQ(TakeSent(), Bytes{0x93});
  EXPECT_EQ(hookRuns, 0);
  EXPECT_EQ(frontend.refreshes.back(), RefreshTarget::StatusText);
}

TEST_F(NotConnected, PortThatCannotBeOpenedShowsTheBoxAndSendsNothing) {
  port->SetUnavailable(true);
  EXPECT_NE(ReconnectTarget(*link), 0);
  EXPECT_NE(SwitchToAsc1(*link), 0);
  ASSERT_EQ(frontend.boxes.size(), 2U);
  EXPECT_EQ(frontend.boxes[0].text, kPortInUseMessage);
  EXPECT_EQ(frontend.boxes[1].text, kPortInUseMessage);
  EXPECT_TRUE(TakeSent().empty());
}

TEST_F(Connected, ReconnectFindsTheMonitorAndForgetsTheDrivers) {
  link->SetState(TargetState::NotConnected);
  LoadDrivers();
  EXPECT_EQ(ReconnectTarget(*link), 0);
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(NewLines(), TextLines{"*Monitor ready"});
  EXPECT_EQ(TakeSent(), Bytes{0x93});
  EXPECT_FALSE(AnyDriverLoaded());
  EXPECT_TRUE(Refreshed(RefreshTarget::StatusText));
}

TEST_F(Connected, ReconnectOpensAClosedPort) {
  link->ClosePort();
  EXPECT_EQ(ReconnectTarget(*link), 0);
  EXPECT_TRUE(port->IsOpen());
  EXPECT_EQ(NewLines(), TextLines{"*Monitor ready"});
}

TEST_F(Connected, ReconnectWithAWrongAcknowledgeIsNotReady) {
  board->faults().ReplaceOutput(1, 0x55);
  EXPECT_EQ(ReconnectTarget(*link), -2);
  EXPECT_EQ(link->state(), TargetState::NotConnected);
  EXPECT_EQ(NewLines(), TextLines{"*ERROR: Monitor not ready"});
}

// ---------------------------------------------------------------------------------------
// Relocation

TEST_F(NotConnected, RelocationIsRefusedWithoutTouchingTheImage) {
  ASSERT_TRUE(selections.AddSelection(0x2000, 0x20FF));
  image.StoreLoaded(0x008000, Bytes{0x12, 0x34});
  const int segments = image.AllocatedSegmentCount();
  EXPECT_EQ(MoveMonitor(*link, 0x008000), -100);
  EXPECT_EQ(Lines(), TextLines{"*ERROR: Not Connected to Target"});
  EXPECT_EQ(image.AllocatedSegmentCount(), segments);
  EXPECT_EQ(image.Flags(0x008000), kDefined);
  EXPECT_EQ(image.GetByte(0x008001), 0x34);
  EXPECT_EQ(image.Flags(0xE00024), 0);
  EXPECT_EQ(monitorArea, kDefaultMonitorArea);
  EXPECT_EQ(selections.Count(), 1);
  EXPECT_TRUE(TakeSent().empty());
}

TEST_F(Connected, RelocationIsRefusedWhileAProgramRuns) {
  link->SetState(TargetState::UserProgramRunning);
  EXPECT_EQ(MoveMonitor(*link, 0x008000), -100);
  EXPECT_EQ(NewLines(), TextLines{"*ERROR: Not Connected to Target"});
  EXPECT_EQ(monitorArea, kDefaultMonitorArea);
  EXPECT_TRUE(TakeSent().empty());
}

class Relocation : public Connected {
 protected:
  const Bytes& Monitor() const { return board->monitorBytes(); }

  void ExpectMovedTo(int32_t start, int32_t from) {
    EXPECT_EQ(monitorArea, (MonitorArea{start, start + kMonitorLength - 1}));
    EXPECT_EQ(link->breakEntry, start);
    EXPECT_EQ(board->monitorAddress(), start);
    Bytes copy(kMonitorLength);
    board->memory().ReadBytes(start, copy);
    EXPECT_EQ(copy, Monitor());
    for (int32_t i = 0; i < kMonitorLength; ++i) {
      ASSERT_EQ(image.Flags(start + i), kDefined | kValid | kProtected) << std::hex << start + i;
      ASSERT_EQ(image.GetByte(start + i), Monitor()[static_cast<size_t>(i)]);
      ASSERT_EQ(image.Flags(from + i), 0) << std::hex << from + i;
    }
    EXPECT_EQ(selections.Count(), 0);
  }
};

TEST_F(Relocation, MovesTheMonitorTo8000) {
  frontend.clipboard = "the user's own text";
  ASSERT_TRUE(selections.AddSelection(0x2000, 0x20FF));
  EXPECT_EQ(MoveMonitor(*link, 0x008000), 0);
  EXPECT_EQ(NewLines(), TextLines{"*Velmora successfully moved to 008000"});

  Bytes wire = {0x84, 0x00, 0x80, 0x00, 0xC4, 0x02};
  wire.insert(wire.end(), Monitor().begin(), Monitor().end());
  wire.insert(wire.end(), {0x33, 0x41, 0x00, 0x80, 0x00});
  EXPECT_EQ(TakeSent(), wire);
  ExpectMovedTo(0x008000, 0xE00024);
  EXPECT_EQ(frontend.clipboard, "the user's own text");
  EXPECT_TRUE(Refreshed(RefreshTarget::MemoryView));
  EXPECT_TRUE(Refreshed(RefreshTarget::RegisterList));
  EXPECT_EQ(link->state(), TargetState::Ready);
  // The monitor answers from its new place.
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0);
}

TEST_F(Relocation, MovesAgainFromWhereItIsNow) {
  ASSERT_EQ(MoveMonitor(*link, 0x008000), 0);
  TakeSent();
  EXPECT_EQ(MoveMonitor(*link, 0x00A000), 0);
  EXPECT_EQ(NewLines(), (TextLines{"*Velmora successfully moved to 008000",
                                   "*Velmora successfully moved to 00A000"}));
  ExpectMovedTo(0x00A000, 0x008000);
  EXPECT_EQ(image.Flags(0xE00024), 0);
}

TEST_F(Relocation, MissingStartAcknowledgeStillMovesTheArea) {
  // Block write: 5 answer bytes; go: 2; then the copy's start acknowledge.
  board->faults().DropOutput(7);
  const auto start = Clock::now();
  EXPECT_EQ(MoveMonitor(*link, 0x008000), 0);
  EXPECT_LT(Clock::now() - start, kPeriod + kSlack);
  EXPECT_EQ(NewLines(), TextLines{"*ERROR: Velmora Acknowledge not Received"});
  ExpectMovedTo(0x008000, 0xE00024);
  EXPECT_FALSE(Refreshed(RefreshTarget::MemoryView));
}

struct PlaceRow {
  const char* name;
  int32_t start;
  bool allowed;
};
void PrintTo(const PlaceRow& row, std::ostream* out) {
  *out << row.name;
}

// The monitor occupies E00024 to E002E7.
const PlaceRow kPlaceRows[] = {
    {"SamePlace", 0xE00024, false},
    {"InsideTheArea", 0xE00100, false},
    {"StartsAtTheLastByte", 0xE002E7, false},
    {"EndsAtTheFirstByte", 0xE00024 - kMonitorLength + 1, false},
    {"EndsJustBelow", 0xE00024 - kMonitorLength, true},
    {"StartsJustAbove", 0xE002E8, true},
    {"LeavesTheAddressSpace", 0xFFFF00, false},
};

class RelocationPlace : public Relocation, public ::testing::WithParamInterface<PlaceRow> {};

TEST_P(RelocationPlace, OverlapIsRefusedWithAnErrorLine) {
  const PlaceRow& row = GetParam();
  const int16_t result = MoveMonitor(*link, row.start);
  const auto lines = NewLines();
  ASSERT_EQ(lines.size(), 1U);
  if (row.allowed) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(lines[0], "*Velmora successfully moved to " + HexN(row.start, 6));
    ExpectMovedTo(row.start, 0xE00024);
    return;
  }
  EXPECT_NE(result, 0);
  EXPECT_NE(result, -100);
  EXPECT_EQ(lines[0].rfind("*ERROR: ", 0), 0U) << lines[0];
  EXPECT_TRUE(TakeSent().empty());
  EXPECT_EQ(monitorArea, kDefaultMonitorArea);
  EXPECT_EQ(link->breakEntry, 0xE00024);
  EXPECT_EQ(image.Flags(0xE00024), kDefined | kValid | kProtected);
  EXPECT_EQ(image.Flags(0xE002E7), kDefined | kValid | kProtected);
  EXPECT_EQ(board->monitorAddress(), 0xE00024);
}

INSTANTIATE_TEST_SUITE_P(Places, RelocationPlace, ::testing::ValuesIn(kPlaceRows),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace velmora
