// Bytes that arrive between commands: terminal output of the target program, the return
// of a started program, and the monitor regaining control at a break.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "core/frontend.h"
#include "link/unsolicited_bytes.h"
#include "link_fixture.h"

namespace velmora {
namespace {

using test::LinkFixture;
using Bytes = std::vector<uint8_t>;
using TextLines = std::vector<std::string>;

constexpr int32_t kSpRegister = 0x00FE12;
constexpr uint16_t kResetSp = 0xFBFE;

class Unsolicited : public LinkFixture {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Connect());
    port->SetReceivedHandler([this] { HandleUnsolicitedBytes(*link); });
    linesAtConnect = Lines().size();
    frontend.refreshes.clear();
  }
  TextLines NewLines() const {
    const auto all = Lines();
    return TextLines(all.begin() + static_cast<long>(linesAtConnect), all.end());
  }
  const std::string& OpenLine() const { return log.List().OpenLine(); }
  bool Refreshed(RefreshTarget target) const {
    return std::find(frontend.refreshes.begin(), frontend.refreshes.end(), target) !=
           frontend.refreshes.end();
  }

  size_t linesAtConnect = 0;
};

// ---------------------------------------------------------------------------------------
// Terminal output

struct TerminalRow {
  const char* name;
  int32_t terminalMode;
  TargetState state;
  Bytes bytes;
  std::string shown;
};
void PrintTo(const TerminalRow& row, std::ostream* out) {
  *out << row.name;
}

const TerminalRow kTerminalRows[] = {
    {"LetterA", 0, TargetState::Ready, {0x41}, "A"},
    {"LetterAInHex", 1, TargetState::Ready, {0x41}, " 41"},
    {"OtherModeValuesMeanCharacters", 2, TargetState::Ready, {0x41}, "A"},
    {"Ack2WhileReady", 0, TargetState::Ready, {0xEA}, "\xEA"},
    {"Ack2WhileReadyInHex", 1, TargetState::Ready, {0xEA}, " EA"},
    {"StartAckWhileReady", 1, TargetState::Ready, {0x03}, " 03"},
    {"StartAckWhileAProgramRuns", 1, TargetState::UserProgramRunning, {0x03}, " 03"},
    {"TextWhileAProgramRuns", 0, TargetState::UserProgramRunning, {0x48, 0x69}, "Hi"},
    {"SeveralBytesAtOnce", 0, TargetState::Ready, {'H', 'e', 'l', 'l', 'o'}, "Hello"},
    {"SeveralBytesAtOnceInHex",
     1,
     TargetState::Ready,
     {'H', 'e', 'l', 'l', 'o'},
     " 48 65 6C 6C 6F"},
    {"Ack2FollowingText", 1, TargetState::UserProgramRunning, {0x41, 0xEA}, " 41 EA"},
};

class Terminal : public Unsolicited, public ::testing::WithParamInterface<TerminalRow> {};

TEST_P(Terminal, ShowsWhatArrivedInOneGo) {
  const TerminalRow& row = GetParam();
  settings.communication.terminalMode = row.terminalMode;
  link->SetState(row.state);
  board->EmitFromProgram(row.bytes);
  port->Poll();
  EXPECT_EQ(OpenLine(), row.shown);
  // No line break is added, nothing waits any more, nothing goes to the target.
  EXPECT_TRUE(NewLines().empty());
  EXPECT_EQ(port->BytesAvailable(), 0U);
  EXPECT_TRUE(TakeSent().empty());
  EXPECT_EQ(link->state(), row.state);
}

INSTANTIATE_TEST_SUITE_P(Received, Terminal, ::testing::ValuesIn(kTerminalRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Unsolicited, TerminalOutputContinuesTheOpenLine) {
  board->EmitFromProgram(Bytes{'a', 'b'});
  port->Poll();
  board->EmitFromProgram(Bytes{'c', '\r', '\n', 'd'});
  port->Poll();
  EXPECT_EQ(NewLines(), TextLines{"abc"});
  EXPECT_EQ(OpenLine(), "d");
}

TEST_F(Unsolicited, NothingIsHandledWhileNoByteWaits) {
  port->Poll();
  HandleUnsolicitedBytes(*link);
  EXPECT_EQ(OpenLine(), "");
  EXPECT_EQ(link->state(), TargetState::Ready);
}

// ---------------------------------------------------------------------------------------
// Return of a started program

TEST_F(Unsolicited, Ack2WhileAProgramRunsIsItsReturnToTheMonitor) {
  ASSERT_EQ(link->monitor().Cmd_Jmp(0x001000), 0);
  link->SetState(TargetState::UserProgramRunning);
  board->EmitFromProgram(Bytes{'H', 'i'});
  port->Poll();
  frontend.refreshes.clear();
  board->ReturnToMonitor();
  board->EmitFromProgram(Bytes{'z', 'z'});  // discarded with the return
  port->Poll();
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(NewLines(), (TextLines{"Hi", "*Call: Successful returned to monitor"}));
  EXPECT_EQ(OpenLine(), "");
  EXPECT_EQ(port->BytesAvailable(), 0U);
  EXPECT_TRUE(Refreshed(RefreshTarget::StatusText));
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0);
}

TEST_F(Unsolicited, ReturnLineIsPrecededByALineBreak) {
  link->SetState(TargetState::UserProgramRunning);
  board->ReturnToMonitor();
  port->Poll();
  EXPECT_EQ(NewLines(), (TextLines{"", "*Call: Successful returned to monitor"}));
}

// ---------------------------------------------------------------------------------------
// Break

// The break exchange on the wire: two pops, each reading SP, the word at SP and writing
// SP + 2 back.
Bytes PopWire(uint16_t sp) {
  const auto lo = [](int v) { return static_cast<uint8_t>(v); };
  const auto hi = [](int v) { return static_cast<uint8_t>(v >> 8); };
  return {0x85, 0x12, 0xFE, 0x00, 0x02, 0x00, 0x33, 0x85, lo(sp),     hi(sp),
          0x00, 0x02, 0x00, 0x33, 0x82, 0x12, 0xFE, 0x00, lo(sp + 2), hi(sp + 2)};
}

struct BreakRow {
  const char* name;
  TargetState state;
};
void PrintTo(const BreakRow& row, std::ostream* out) {
  *out << row.name;
}

const BreakRow kBreakRows[] = {
    {"Debugging", TargetState::Debugging},
    {"StepMode", TargetState::StepMode},
    {"StepModeFromBreakpoint", TargetState::StepModeFromBreakpoint},
    {"DriverRunning", TargetState::DriverRunning},
};

class Break : public Unsolicited, public ::testing::WithParamInterface<BreakRow> {};

TEST_P(Break, PopsIpAndCspAndStopsAtTheBreakAddress) {
  link->SetState(GetParam().state);
  frontend.refreshes.clear();
  board->HitBreak(0x012344);
  ASSERT_EQ(board->ReadWord(kSpRegister), kResetSp - 4);
  port->Poll();

  Bytes wire = PopWire(kResetSp - 4);
  const Bytes second = PopWire(kResetSp - 2);
  wire.insert(wire.end(), second.begin(), second.end());
  EXPECT_EQ(TakeSent(), wire);
  EXPECT_EQ(board->ReadWord(kSpRegister), kResetSp);
  EXPECT_EQ(link->currentAddress, 0x012344);
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_TRUE(Refreshed(RefreshTarget::Disassembly));
  EXPECT_TRUE(Refreshed(RefreshTarget::RegisterList));
  EXPECT_TRUE(Refreshed(RefreshTarget::StatusText));
  EXPECT_TRUE(NewLines().empty());
  EXPECT_EQ(OpenLine(), "");
  EXPECT_EQ(port->BytesAvailable(), 0U);
}

INSTANTIATE_TEST_SUITE_P(States, Break, ::testing::ValuesIn(kBreakRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Unsolicited, BreakHookGetsTheAddressAndCanTakeOver) {
  std::vector<int32_t> seen;
  int16_t resumed = -99;
  link->onBreak = [&](int32_t address) {
    seen.push_back(address);
    // A run started on a breakpoint goes on from the break address.
    resumed = link->monitor().Cmd_Jmp(address);
    link->SetState(TargetState::Debugging);
    return true;
  };
  link->SetState(TargetState::DebuggingFromBreakpoint);
  board->HitBreak(0x0A1230);
  port->Poll();
  EXPECT_EQ(seen, std::vector<int32_t>{0x0A1230});
  EXPECT_EQ(resumed, 0);
  EXPECT_EQ(board->ReadWord(kSpRegister), kResetSp);
  EXPECT_EQ(link->state(), TargetState::Debugging);
  EXPECT_EQ(link->currentAddress, -1);
  const Bytes sent = TakeSent();
  ASSERT_GE(sent.size(), 4U);
  EXPECT_EQ(Bytes(sent.end() - 4, sent.end()), (Bytes{0x41, 0x30, 0x12, 0x0A}));
  EXPECT_EQ(board->mode(), Board::Mode::Running);
}

TEST_F(Unsolicited, BreakHookThatDeclinesLeavesTheBreakToTheLink) {
  int calls = 0;
  link->onBreak = [&](int32_t) {
    ++calls;
    return false;
  };
  link->SetState(TargetState::Debugging);
  board->HitBreak(0x004000);
  port->Poll();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(link->currentAddress, 0x004000);
  EXPECT_EQ(link->state(), TargetState::Ready);
}

TEST_F(Unsolicited, StartAcknowledgeBelowTheDebugStatesIsNoBreak) {
  int calls = 0;
  link->onBreak = [&](int32_t) {
    ++calls;
    return true;
  };
  settings.communication.terminalMode = 1;
  link->SetState(TargetState::UserProgramRunning);
  board->HitBreak(0x004000);
  port->Poll();
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(OpenLine(), " 03");
  EXPECT_TRUE(TakeSent().empty());
  EXPECT_EQ(link->state(), TargetState::UserProgramRunning);
}

}  // namespace
}  // namespace velmora
