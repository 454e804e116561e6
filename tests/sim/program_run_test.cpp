// Code the board runs for the monitor: a called routine comes back through its RETS, a
// started program through a planted breakpoint, and code that never comes back is given
// up at the step limit.
#include "sim/program_run.h"

#include <gtest/gtest.h>

#include <string>

#include "asm/assembler.h"
#include "decoder_fixture.h"
#include "sim/cpu/image_bus.h"

namespace velmora {
namespace {

constexpr MonitorExits kMonitor{0xE00028, 0xE00024};
constexpr int32_t kSp = 0xFE12;

class ProgramRun : public ::testing::Test {
 protected:
  void place(const std::string& source) {
    const auto assembly = assembler::Assemble(
        "main.asm", test::Shipped().opcodes, test::Shipped().registers,
        [&](const std::string&) -> std::optional<std::string> { return source; });
    ASSERT_TRUE(assembly.Ok()) << assembly.errors.front().Format();
    for (const auto& chunk : assembly.chunks) memory.StoreLoaded(chunk.address, chunk.bytes);
  }
  void SetUp() override { cpu.Reset(); }

  MemoryImage memory;
  ImageBus bus{memory};
  Cpu cpu{bus, test::Shipped().opcodes};
};

TEST_F(ProgramRun, ACalledRoutineReturnsThroughItsRets) {
  place(" ORG 12000h\n MOV R8,#1234h\n ADD R8,R9\n RETS\n");
  cpu.SetGpr(9, 0x0001);
  const uint16_t sp = cpu.PeekWord(kSp);
  const RunOutcome outcome = CallOnProcessor(cpu, 0x012000, kMonitor);
  EXPECT_EQ(outcome.end, RunEnd::kReturned);
  EXPECT_EQ(outcome.instructions, 3U);
  EXPECT_GT(outcome.cycles, 0U);
  EXPECT_EQ(cpu.Gpr(8), 0x1235);
  EXPECT_EQ(cpu.PeekWord(kSp), sp);
}

TEST_F(ProgramRun, AStartedProgramStopsAtThePlantedBreakpoint) {
  place(" ORG 12000h\n"
        " MOV R1,#3\n"
        "loop: SUB R1,#1\n"
        " JMPR cc_NZ,loop\n"
        "brk: CALLS 0E0h,0024h\n"  // what the debugger plants
        " NOP\n");
  const uint16_t sp = cpu.PeekWord(kSp);
  cpu.Jump(0x012000);
  const RunOutcome outcome = RunOnProcessor(cpu, kMonitor);
  EXPECT_EQ(outcome.end, RunEnd::kBreak);
  EXPECT_EQ(cpu.Gpr(1), 0);
  // The far call left CSP and the address behind it for the debugger to pop.
  EXPECT_EQ(cpu.PeekWord(kSp), sp - 4);
  EXPECT_EQ(cpu.PeekWord(sp - 4), 0x2000 + 2 + 2 + 2 + 4);  // MOV, SUB, JMPR, CALLS
  EXPECT_EQ(cpu.PeekWord(sp - 2), 0x0001);
}

TEST_F(ProgramRun, CodeThatNeverComesBackIsGivenUp) {
  place(" ORG 12000h\nself: JMPR cc_UC,self\n");
  const RunOutcome outcome = CallOnProcessor(cpu, 0x012000, kMonitor, 5000);
  EXPECT_EQ(outcome.end, RunEnd::kGone);
  EXPECT_EQ(outcome.instructions, 5000U);
  EXPECT_EQ(cpu.Ip(), 0x012000);
}

}  // namespace
}  // namespace velmora
