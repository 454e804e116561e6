// Bytes that arrive between commands: terminal output of the target program, the return
// of a started program, and the monitor regaining control at a break.
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "asm/assembler.h"
#include "core/frontend.h"
#include "link/unsolicited_bytes.h"
#include "observing_port.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;
using TextLines = std::vector<std::string>;

constexpr int32_t kSpRegister = 0x00FE12;
constexpr uint16_t kResetSp = 0xFBFE;

class Unsolicited : public test::ObservedLinkFixture {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Connect());
    log.List() = MessageList();
  }
  const std::string& OpenLine() const { return log.List().OpenLine(); }
};

TEST_F(Unsolicited, TerminalOutputIsShownAsCharactersOrInHex) {
  struct Row {
    int32_t terminalMode;
    TargetState state;
    Bytes bytes;
    std::string shown;
  };
  const Row rows[] = {
      {0, TargetState::Ready, {'H', 'i'}, "Hi"},
      {1, TargetState::Ready, {'H', 'i'}, " 48 69"},
      {1, TargetState::Ready, {0x0D}, " 0D"},  // a carriage return, not a line break
      {1, TargetState::Ready, {0x0D, 0x0A}, " 0D 0A"},
      {2, TargetState::Ready, {0x41}, "A"},     // any other mode means characters
      {0, TargetState::Ready, {0xEA}, "\xEA"},  // ACK2 is a program's return only while one runs
      {1, TargetState::UserProgramRunning, {0x41, 0xEA}, " 41 EA"},
      {1, TargetState::UserProgramRunning, {0x03}, " 03"},  // no break below the debug states
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.shown);
    log.List() = MessageList();
    settings.communication.terminalMode = row.terminalMode;
    link->SetState(row.state);
    board->EmitFromProgram(row.bytes);
    port->Poll();
    EXPECT_EQ(OpenLine(), row.shown);
    EXPECT_EQ(log.List().Count(), 1);  // no line break is added
    EXPECT_EQ(port->BytesAvailable(), 0U);
    EXPECT_TRUE(TakeSent().empty());
    EXPECT_EQ(link->state(), row.state);
  }
}

// The line is served between exchanges only: bytes that arrive while one is open are
// the exchange's, and a closed port is left alone.
TEST_F(Unsolicited, ServingTheLineHandsOverOnlyWhatArrivesOutsideAnExchange) {
  board->EmitFromProgram(Bytes{'H', 'i'});
  {
    Exchange exchange(link->transport());
    link->ServeUnsolicited(std::chrono::milliseconds(0));
    EXPECT_EQ(OpenLine(), "");
    EXPECT_EQ(port->BytesAvailable(), 2U);
  }
  link->ServeUnsolicited(std::chrono::milliseconds(0));
  EXPECT_EQ(OpenLine(), "Hi");
  EXPECT_EQ(port->BytesAvailable(), 0U);
  // A byte on its way ends the wait: it is handed over, the rest of the time is not waited.
  board->EmitFromProgram(Bytes{'!'});
  const auto start = std::chrono::steady_clock::now();
  link->ServeUnsolicited(std::chrono::seconds(20));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(OpenLine(), "Hi!");
  link->ClosePort();
  board->EmitFromProgram(Bytes{'?'});
  link->ServeUnsolicited(std::chrono::milliseconds(0));
  EXPECT_EQ(OpenLine(), "Hi!");
}

TEST_F(Unsolicited, Ack2WhileAProgramRunsIsItsReturnToTheMonitor) {
  ASSERT_EQ(link->monitor().Cmd_Jmp(0x001000), 0);
  link->SetState(TargetState::UserProgramRunning);
  board->EmitFromProgram(Bytes{'H', 'i'});
  port->Poll();
  frontend.changes.clear();
  board->ReturnToMonitor();
  board->EmitFromProgram(Bytes{'z', 'z'});  // discarded with the return
  port->Poll();
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(Lines(), (TextLines{"Hi", "*Call: Successful returned to monitor"}));
  EXPECT_EQ(OpenLine(), "");
  EXPECT_EQ(port->BytesAvailable(), 0U);
  EXPECT_EQ(frontend.changes, std::vector<Change>{Change::State(1)});
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0);
}

// A program on the board's processor that waits for a byte from the host, says "Hi" through
// its serial channel and jumps to the monitor's return entry.
constexpr const char* kGreeter = R"(
        ORG   0E00400h
heard:  JNB   S0RIR,heard
        BCLR  S0RIR
        MOV   R4,S0RBUF
        BCLR  S0TIR
        MOV   S0TBUF,#'H'
sent1:  JNB   S0TIR,sent1
        BCLR  S0TIR
        MOV   S0TBUF,#'i'
sent2:  JNB   S0TIR,sent2
        JMPS  0E0h,0028h          ; the monitor's return entry
)";

// Off for now: under heavy load (eight runs on two cores) about one run in eight loses the
// program's bytes after its return; the cause is not found yet.
TEST_F(Unsolicited, DISABLED_AProgramOnTheProcessorRunsAlongsideTheLineAndReturns) {
  const auto reader = [](const std::string&) -> std::optional<std::string> { return kGreeter; };
  const auto assembly = assembler::Assemble("greeter.asm", *board->config().opcodes,
                                            *board->config().registers, reader);
  ASSERT_TRUE(assembly.Ok()) << assembly.errors.front().Format();
  for (const auto& chunk : assembly.chunks) board->memory().StoreLoaded(chunk.address, chunk.bytes);

  ASSERT_EQ(link->monitor().Cmd_Jmp(0xE00400), 0);
  link->SetState(TargetState::UserProgramRunning);
  EXPECT_TRUE(board->programRunning()) << "it waits for the host";
  const uint8_t go = 'g';
  ASSERT_TRUE(port->Write({&go, 1}));
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (link->state() != TargetState::Ready && std::chrono::steady_clock::now() < deadline) {
    port->WaitForInput(std::chrono::milliseconds(20));
    port->Poll();
  }
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(Lines(), (TextLines{"Hi", "*Call: Successful returned to monitor"}));
  EXPECT_FALSE(board->programRunning());
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0) << "the monitor serves again";
}

// The break exchange: two pops, each reading SP and the word at SP and writing SP + 2 back.
Bytes PopWire(uint16_t sp) {
  const auto lo = [](int v) { return static_cast<uint8_t>(v); };
  const auto hi = [](int v) { return static_cast<uint8_t>(v >> 8); };
  return {0x85, 0x12, 0xFE, 0x00, 0x02, 0x00, 0x33, 0x85, lo(sp),     hi(sp),
          0x00, 0x02, 0x00, 0x33, 0x82, 0x12, 0xFE, 0x00, lo(sp + 2), hi(sp + 2)};
}

TEST_F(Unsolicited, BreakPopsIpAndCspAndLeavesItToAHookThatDeclines) {
  int hookCalls = 0;
  link->onBreak = [&](int32_t) {
    ++hookCalls;
    return false;
  };
  for (TargetState state : {TargetState::Debugging, TargetState::DriverRunning}) {
    SCOPED_TRACE(static_cast<int>(state));
    link->SetState(state);
    frontend.changes.clear();
    board->HitBreak(0x012344);
    port->Poll();
    Bytes wire = PopWire(kResetSp - 4);
    const Bytes second = PopWire(kResetSp - 2);
    wire.insert(wire.end(), second.begin(), second.end());
    EXPECT_EQ(TakeSent(), wire);
    EXPECT_EQ(board->ReadWord(kSpRegister), kResetSp);
    EXPECT_EQ(link->currentAddress, 0x012344);
    EXPECT_EQ(link->state(), TargetState::Ready);
    EXPECT_EQ(frontend.changes,
              (std::vector<Change>{Change::All(RefreshTarget::Disassembly),
                                   Change::All(RefreshTarget::RegisterList), Change::State(1)}));
    EXPECT_EQ(OpenLine(), "");
    EXPECT_EQ(port->BytesAvailable(), 0U);
  }
  EXPECT_EQ(hookCalls, 2);
}

TEST_F(Unsolicited, BreakHookGetsTheAddressAndCanTakeOver) {
  std::vector<int32_t> seen;
  link->onBreak = [&](int32_t address) {
    seen.push_back(address);
    EXPECT_EQ(link->monitor().Cmd_Jmp(address), 0);  // a run goes on from the break address
    link->SetState(TargetState::Debugging);
    return true;
  };
  link->SetState(TargetState::DebuggingFromBreakpoint);
  board->HitBreak(0x0A1230);
  port->Poll();
  EXPECT_EQ(seen, std::vector<int32_t>{0x0A1230});
  EXPECT_EQ(link->state(), TargetState::Debugging);
  EXPECT_EQ(link->currentAddress, -1);
  const Bytes sent = TakeSent();
  ASSERT_GE(sent.size(), 4U);
  EXPECT_EQ(Bytes(sent.end() - 4, sent.end()), (Bytes{0x41, 0x30, 0x12, 0x0A}));
  EXPECT_EQ(board->mode(), Board::Mode::Running);
}

}  // namespace
}  // namespace velmora
