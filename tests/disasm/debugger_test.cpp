// Breakpoints and stepping against the virtual board, which runs the code it is started on
// until it reaches a planted far call.
#include "disasm/debugger.h"

#include <gtest/gtest.h>

#include <map>

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
    for (size_t i = 0; i < bytes.size(); ++i) program_[at + static_cast<int32_t>(i)] = bytes[i];
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

  // Every byte loaded so far, in the image and on the board, is the program's own again.
  void expectProgramRestored() {
    for (const auto& [at, code] : program_) {
      ASSERT_EQ(inImage(at, 1)[0], code) << "image at " << std::hex << at;
      ASSERT_EQ(onBoard(at, 1)[0], code) << "board at " << std::hex << at;
    }
  }
  // What a breakpoint keeps as the code it replaced is the program's code, never the bytes
  // of another breakpoint's call.
  void expectSavedBytesAreProgramCode() {
    for (const Breakpoint& breakpoint : debugger.Breakpoints()) {
      for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(breakpoint.saved[static_cast<size_t>(k)], program_[breakpoint.address + k])
            << "breakpoint at " << std::hex << breakpoint.address << " byte " << k;
      }
    }
  }
  void expectPlantedCalls(const std::vector<int32_t>& addresses) {
    for (int32_t at : addresses) EXPECT_EQ(onBoard(at, 4), kBreakCall) << std::hex << at;
  }

  const Bytes kBreakCall = {0xDA, 0xE0, 0x24, 0x00};  // CALLS E0h,0024h: the break entry
  OpcodeTable opcodes;
  InstructionDecoder decoder{opcodes, registers};
  Debugger debugger{*link, decoder};

 private:
  std::map<int32_t, uint8_t> program_;
};

TEST_F(Debugging, APlantedBreakpointIsAFarCallToTheMonitorAndRemovingItRestoresTheCode) {
  ASSERT_TRUE(debugger.Add(0x00C002));
  EXPECT_EQ(inImage(0x00C002, 4), kBreakCall);
  EXPECT_EQ(onBoard(0x00C002, 4), kBreakCall);
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
  for (const Case c :
       {Case{0x00C000, 0x00C002}, Case{0x00C004, 0x00C00A}, Case{0x00C00A, 0x00C020}}) {
    debugger.currentPosition = c.from;
    ASSERT_EQ(debugger.Step(), 0);
    waitForStop();
    EXPECT_EQ(link->state(), TargetState::Ready) << std::hex << c.from;
    EXPECT_EQ(debugger.currentPosition, c.to) << std::hex << c.from;
    EXPECT_TRUE(debugger.Breakpoints().empty());
    EXPECT_EQ(onBoard(kStart, kRoutine.size()), kRoutine);
  }
}

TEST_F(Debugging, AddingWithinThreeBytesOfAPlantedBreakpointIsRefused) {
  ASSERT_TRUE(debugger.Add(0x00C00A));
  struct Case {
    int32_t at;
    bool accepted;
  };
  for (const Case c :
       {Case{0x00C00A, false}, Case{0x00C008, false}, Case{0x00C00C, false}, Case{0x00C007, false},
        Case{0x00C00D, false}, Case{0x00C006, true}, Case{0x00C00E, true}}) {
    EXPECT_EQ(debugger.Add(c.at), c.accepted) << std::hex << c.at;
    if (c.accepted) {
      ASSERT_TRUE(debugger.Remove(c.at));
    } else {
      EXPECT_EQ(Lines().back(), "*ERROR: Breakpoint overlaps the breakpoint at 00C00A");
    }
  }
  EXPECT_EQ(debugger.Breakpoints().size(), 1U);
  debugger.RemoveAll();
  expectProgramRestored();
}

// Go from a breakpoint runs the instruction there from its own bytes, stops behind it,
// puts the breakpoint back and runs on to the next one; on a 2-byte instruction the call
// put back covers the next instruction too, so the run stops once more before going on.
TEST_F(Debugging, GoFromBreakpointsRunsOnAndLeavesTheCodeAsItWas) {
  load(0x00C020, {0x00, 0x12, 0x00, 0x12, 0x00, 0x12});
  struct Case {
    const char* name;
    std::vector<int32_t> breakpoints;
    std::vector<int32_t> stops;  // where each Go from the current position ends
  };
  const Case cases[] = {
      {"2-byte instructions", {0x00C000, 0x00C008, 0x00C022}, {0x00C008, 0x00C022}},
      {"4-byte jump", {0x00C00A, 0x00C022}, {0x00C022}},
      {"2-byte into a 4-byte jump", {0x00C008, 0x00C020}, {0x00C020}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (int32_t at : c.breakpoints) ASSERT_TRUE(debugger.Add(at));
    debugger.currentPosition = c.breakpoints.front();
    for (int32_t stop : c.stops) {
      ASSERT_EQ(debugger.Go(), 0);
      expectSavedBytesAreProgramCode();
      waitForStop();
      ASSERT_EQ(link->state(), TargetState::Ready) << std::hex << stop;
      EXPECT_EQ(debugger.currentPosition, stop);
      ASSERT_EQ(debugger.Breakpoints().size(), c.breakpoints.size());
      expectSavedBytesAreProgramCode();
      expectPlantedCalls(c.breakpoints);
    }
    debugger.RemoveAll();
    expectProgramRestored();
  }
}

// Stepping on from a breakpoint on a 2-byte instruction: the second step starts where the
// breakpoint's call covers the code, and must run that code from its own bytes.
TEST_F(Debugging, StepsFromABreakpointRunTheCodeItsCallCovers) {
  ASSERT_TRUE(debugger.Add(0x00C000));
  for (int32_t stop : {0x00C002, 0x00C004, 0x00C00A, 0x00C020}) {
    ASSERT_EQ(debugger.Step(), 0);
    expectSavedBytesAreProgramCode();
    waitForStop();
    ASSERT_EQ(link->state(), TargetState::Ready) << std::hex << stop;
    EXPECT_EQ(debugger.currentPosition, stop);
    ASSERT_EQ(debugger.Breakpoints().size(), 1U);
    expectPlantedCalls({0x00C000});
  }
  debugger.RemoveAll();
  expectProgramRestored();
}

// Temporaries of a step that lie within 3 bytes of each other or of a user breakpoint.
TEST_F(Debugging, StepTemporariesNeverSaveAnotherBreakpointsBytes) {
  load(0x00C030, {0x3D, 0x01,    // C030 JMPR cc_NZ,C034h: both ways 2 bytes apart
                  0x00, 0x12,    // C032 ADD  R1,R2
                  0x00, 0x12,    // C034 ADD  R1,R2
                  0x00, 0x12});  // C036 ADD  R1,R2
  load(0x00C040, {0x0D, 0x03,    // C040 JMPR cc_UC,C048h: just behind a breakpoint
                  0x00, 0x12, 0x00, 0x12, 0x00, 0x12,  // C046 ADD  R1,R2 (breakpoint)
                  0x00, 0x12,                          // C048 ADD  R1,R2
                  0x00, 0x12,                          // C04A ADD  R1,R2
                  0x00, 0x12});                        // C04C ADD  R1,R2 (breakpoint)
  debugger.currentPosition = 0x00C030;
  ASSERT_EQ(debugger.Step(), 0);
  expectSavedBytesAreProgramCode();
  waitForStop();
  EXPECT_EQ(debugger.currentPosition, 0x00C034);  // the fall-through runs on to the target
  expectProgramRestored();

  ASSERT_TRUE(debugger.Add(0x00C046));
  ASSERT_TRUE(debugger.Add(0x00C04C));
  debugger.currentPosition = 0x00C040;
  ASSERT_EQ(debugger.Step(), 0);
  expectSavedBytesAreProgramCode();
  waitForStop();
  ASSERT_EQ(debugger.currentPosition, 0x00C048);
  expectPlantedCalls({0x00C046, 0x00C04C});
  // The call at C046 covers the instruction the target goes on with.
  ASSERT_EQ(debugger.Go(), 0);
  expectSavedBytesAreProgramCode();
  waitForStop();
  ASSERT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(debugger.currentPosition, 0x00C04C);
  expectPlantedCalls({0x00C046, 0x00C04C});
  debugger.RemoveAll();
  expectProgramRestored();
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
      {{0xFA, 0x05, 0x34, 0x12}, {0x051234}},              // JMPS 05h,1234h
      {{0xBB, 0x04}, {0x00C04A}},                          // CALLR: C040 + 2 + 2 x 4
      {{0x8A, 0x88, 0x02, 0x00}, {0x00C048, 0x00C044}},    // JB: behind the 4 bytes + 2 x 2, or on
      {{0xCB, 0x00}, {0x001234}},                          // RET: the word on the stack
      {{0x9C, 0x03}, {0x002000}},                          // JMPI cc_UC,[R3]
      {{0xD1, 0x00, 0x00, 0x12, 0x00, 0x12}, {0x00C044}},  // ATOMIC #1 covers one
  };
  for (const auto& c : cases) {
    load(0x00C040, c.code);
    EXPECT_EQ(debugger.NextPositions(0x00C040), c.next) << decoder.Disassemble(image, 0x00C040);
  }
}

}  // namespace
}  // namespace velmora
