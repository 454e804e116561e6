// Breakpoints and stepping against the virtual board, which runs the code it is started on
// until it reaches a planted far call.
#include "disasm/debugger.h"

#include <gtest/gtest.h>

#include "commands/transfers.h"
#include "link/unsolicited_bytes.h"
#include "link_fixture.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;

// A routine in data RAM: plain instructions, an EXTR covering two, an absolute jump.
constexpr int32_t kStart = 0x00C000;
const Bytes kRoutine = {
    0xE0, 0x12,              // C000 MOV  R2,#1h
    0x00, 0x12,              // C002 ADD  R1,R2
    0xD1, 0x90,              // C004 EXTR #2
    0x00, 0x12,              // C006 ADD  R1,R2
    0x00, 0x12,              // C008 ADD  R1,R2
    0xEA, 0x00, 0x20, 0xC0,  // C00A JMPA cc_UC,C020h
};

class Debugging : public test::LinkFixture {
 protected:
  void SetUp() override {
    LoadOpcodeTable((home.path() / "CMDDEF" / "command.cmd").string(), opcodes, log);
    decoder.RegistersChanged();
    port->SetReceivedHandler([this] { HandleUnsolicitedBytes(*link); });
    link->onBreak = [this](int32_t stop) { return debugger.OnBreak(stop); };
    Connect();
    load(kStart, kRoutine);
    load(0x00C020, {0x00, 0x12, 0x00, 0x12});
    debugger.currentPosition = kStart;
  }

  void load(int32_t at, const Bytes& bytes) {
    image.StoreLoaded(at, bytes);
    selections.ClearSelections();
    ASSERT_TRUE(selections.AddSelection(at, at + static_cast<int32_t>(bytes.size()) - 1));
    ASSERT_EQ(DownloadSelections(*link), 0);
  }

  // Lets the monitor's report of a stop arrive, as the event loop would.
  void waitForStop() {
    for (int i = 0; i < 50 && link->state() != TargetState::Ready; ++i) port->Poll();
  }

  Bytes onBoard(int32_t at, size_t count) {
    Bytes bytes(count);
    board->memory().ReadBytes(at, bytes);
    return bytes;
  }
  Bytes inImage(int32_t at, size_t count) {
    Bytes bytes(count);
    image.ReadBytes(at, bytes);
    return bytes;
  }

  OpcodeTable opcodes;
  InstructionDecoder decoder{opcodes, registers};
  Debugger debugger{*link, decoder};
};

TEST_F(Debugging, APlantedBreakpointIsAFarCallToTheMonitorAndRemovingItRestoresTheCode) {
  ASSERT_TRUE(debugger.Add(0x00C002));
  const Bytes call = {0xDA, 0xE0, 0x24, 0x00};  // CALLS E0h,0024h: the monitor's break entry
  EXPECT_EQ(inImage(0x00C002, 4), call);
  EXPECT_EQ(onBoard(0x00C002, 4), call);
  ASSERT_TRUE(debugger.Remove(0x00C002));
  EXPECT_EQ(inImage(0x00C002, 4), Bytes(kRoutine.begin() + 2, kRoutine.begin() + 6));
  EXPECT_EQ(onBoard(0x00C002, 4), Bytes(kRoutine.begin() + 2, kRoutine.begin() + 6));
}

TEST_F(Debugging, RemovingTheFirstOfThreeLeavesTwoPlanted) {
  for (int32_t at : {0x00C000, 0x00C006, 0x00C020}) ASSERT_TRUE(debugger.Add(at));
  ASSERT_TRUE(debugger.Remove(0x00C000));
  ASSERT_EQ(debugger.Breakpoints().size(), 2U);
  EXPECT_EQ(onBoard(0x00C000, 2), Bytes(kRoutine.begin(), kRoutine.begin() + 2));
  EXPECT_EQ(onBoard(0x00C006, 1), Bytes{0xDA});
  EXPECT_EQ(onBoard(0x00C020, 1), Bytes{0xDA});
  // Removing the rest brings every byte back.
  debugger.RemoveAll();
  EXPECT_EQ(onBoard(kStart, kRoutine.size()), kRoutine);
}

TEST_F(Debugging, StepStopsAtTheNextInstructionBehindAPrefixAndAtAJumpTarget) {
  struct Case {
    int32_t from;
    int32_t to;
  };
  for (const Case c : {Case{0x00C000, 0x00C002}, Case{0x00C004, 0x00C00A}, Case{0x00C00A, 0x00C020}}) {
    debugger.currentPosition = c.from;
    ASSERT_EQ(debugger.Step(), 0);
    waitForStop();
    EXPECT_EQ(link->state(), TargetState::Ready) << std::hex << c.from;
    EXPECT_EQ(debugger.currentPosition, c.to) << std::hex << c.from;
    EXPECT_TRUE(debugger.Breakpoints().empty());
    EXPECT_EQ(onBoard(kStart, kRoutine.size()), kRoutine);
  }
}

TEST_F(Debugging, GoFromABreakpointRunsPastItAndStopsAtTheNext) {
  ASSERT_TRUE(debugger.Add(0x00C000));
  ASSERT_TRUE(debugger.Add(0x00C008));
  ASSERT_EQ(debugger.Go(), 0);
  waitForStop();
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(debugger.currentPosition, 0x00C008);
  // The breakpoint the run started on is planted again; nothing temporary is left.
  ASSERT_EQ(debugger.Breakpoints().size(), 2U);
  EXPECT_EQ(onBoard(0x00C000, 1), Bytes{0xDA});
  EXPECT_EQ(onBoard(0x00C002, 2), Bytes(kRoutine.begin() + 2, kRoutine.begin() + 4));
}

TEST_F(Debugging, StepFromABreakpointPutsItBack) {
  ASSERT_TRUE(debugger.Add(0x00C000));
  ASSERT_EQ(debugger.Step(), 0);
  waitForStop();
  EXPECT_EQ(debugger.currentPosition, 0x00C002);
  ASSERT_EQ(debugger.Breakpoints().size(), 1U);
  EXPECT_EQ(onBoard(0x00C000, 1), Bytes{0xDA});
}

TEST_F(Debugging, AConditionalJumpGetsTwoTemporariesSoThatStepAlwaysStops) {
  load(0x00C030, {0x3D, 0x02, 0x00, 0x12, 0x00, 0x12, 0x00, 0x12});  // JMPR cc_NZ,C036h
  EXPECT_EQ(debugger.NextPositions(0x00C030), (std::vector<int32_t>{0x00C036, 0x00C032}));
  debugger.currentPosition = 0x00C030;
  ASSERT_EQ(debugger.Step(), 0);
  waitForStop();
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_TRUE(debugger.Breakpoints().empty());
}

TEST_F(Debugging, TheTableHoldsTwoHundredFiftySixAndClicksOnlyCountWhenIdle) {
  for (int i = 0; i < kMaxBreakpoints; ++i) ASSERT_TRUE(debugger.Add(0x00D000 + 4 * i));
  EXPECT_FALSE(debugger.Add(0x00E000));
  EXPECT_EQ(Lines().back(), "*ERROR: At most 256 breakpoints");
  link->SetState(TargetState::UserProgramRunning);
  EXPECT_FALSE(debugger.Toggle(0x00D000));
  EXPECT_EQ(debugger.Breakpoints().size(), 256U);
}


TEST_F(Debugging, NextPositionsOfTheFlowInstructions) {
  // The stack and R3 as the monitor would find them.
  board->WriteWord(0xFBFE, 0x1234);
  board->WriteWord(0xFC00 + 2 * 3, 0x2000);
  struct Case {
    Bytes code;
    std::vector<int32_t> next;
  };
  const Case cases[] = {
      {{0xFA, 0x05, 0x34, 0x12}, {0x051234}},            // JMPS 05h,1234h
      {{0xBB, 0x04}, {0x00C04A}},                        // CALLR: C040 + 2 + 2 x 4
      {{0x8A, 0x88, 0x02, 0x00}, {0x00C048, 0x00C044}},  // JB: behind the 4 bytes + 2 x 2, or on
      {{0xCB, 0x00}, {0x001234}},                        // RET: the word on the stack
      {{0x9C, 0x03}, {0x002000}},                        // JMPI cc_UC,[R3]
      {{0xD1, 0x00, 0x00, 0x12, 0x00, 0x12}, {0x00C044}},  // ATOMIC #1 covers one
  };
  for (const auto& c : cases) {
    load(0x00C040, c.code);
    EXPECT_EQ(debugger.NextPositions(0x00C040), c.next) << decoder.Disassemble(image, 0x00C040);
  }
}

}  // namespace
}  // namespace velmora
