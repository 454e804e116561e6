// The opcode table as the processor reads it, the system instructions, and cycle counting.
#include <gtest/gtest.h>

#include "cpu_rig.h"
#include "disasm/operand_formats.h"

namespace velmora::test {
namespace {

constexpr int32_t kTfr = 0xFFAC;
constexpr uint16_t kUndefinedOpcodeFlag = 0x0080;

// Every opcode the table defines is executed, none is taken for an undefined one; every
// opcode it leaves out traps. Operand bytes are zero (the protected ones fail their check,
// which is a different trap).
TEST(OpcodeCoverage, DefinedOpcodesExecuteAndOthersTrap) {
  const OpcodeTable& table = ShippedOpcodes();
  int defined = 0;
  for (int opcode = 0; opcode < 256; ++opcode) {
    SCOPED_TRACE(opcode);
    CpuRig rig;
    rig.cpu().SetGpr(0, 0x3000);
    rig.cpu().PokeWord(0xFE0E, 1);  // keep DIV away from zero
    const OpcodeEntry& entry = table.At(static_cast<uint8_t>(opcode));
    std::vector<uint8_t> code(8, 0);
    code[0] = static_cast<uint8_t>(opcode);
    const StepResult result = rig.Run(code);
    const bool undefinedTrap = (rig.cpu().PeekWord(kTfr) & kUndefinedOpcodeFlag) != 0;
    if (entry.Defined() && FormatOf(static_cast<uint8_t>(opcode)) != OperandFormat::kUndefined) {
      ++defined;
      EXPECT_FALSE(undefinedTrap) << entry.mnemonic;
      EXPECT_NE(result.kind, StepKind::kTrapEntered) << entry.mnemonic;
      EXPECT_GE(result.cycles, 2);
    } else {
      EXPECT_TRUE(undefinedTrap);
      EXPECT_EQ(result.kind, StepKind::kTrapEntered);
    }
  }
  EXPECT_EQ(defined, table.DefinedCount());
}

TEST(SystemInstructions, ReportWhatTheBoardMustDo) {
  struct Case {
    const char* name;
    std::vector<uint8_t> code;
    StepKind kind;
    std::vector<WatchdogRequest> watchdog;
    bool initDone;
  };
  const Case cases[] = {
      {"EINIT", {0xB5, 0x4A, 0xB5, 0xB5}, StepKind::kEndOfInit, {}, true},
      {"SRVWDT", {0xA7, 0x58, 0xA7, 0xA7}, StepKind::kExecuted, {WatchdogRequest::kService}, false},
      {"DISWDT before EINIT",
       {0xA5, 0x5A, 0xA5, 0xA5},
       StepKind::kExecuted,
       {WatchdogRequest::kDisable},
       false},
      {"DISWDT after EINIT",
       {0xB5, 0x4A, 0xB5, 0xB5, 0xA5, 0x5A, 0xA5, 0xA5},
       StepKind::kExecuted,
       {},
       true},
      {"damaged EINIT", {0xB5, 0x4A, 0xB5, 0x00}, StepKind::kExecuted, {}, false},
      {"NOP", {0xCC, 0x00}, StepKind::kExecuted, {}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig rig;
    std::vector<WatchdogRequest> seen;
    rig.cpu().SetWatchdogHook([&seen](WatchdogRequest r) { seen.push_back(r); });
    rig.Code(c.code);
    StepResult last{};
    for (size_t at = 0; at < c.code.size(); at += 4) last = rig.cpu().Step();
    EXPECT_EQ(last.kind, c.kind);
    EXPECT_EQ(seen, c.watchdog);
    EXPECT_EQ(rig.cpu().initDone(), c.initDone);
  }
}

TEST(Cycles, FollowTheTableAndAddUp) {
  struct Case {
    const char* name;
    std::vector<uint8_t> code;
    int cycles;
  };
  const Case cases[] = {
      {"NOP", {0xCC, 0x00}, 2},
      {"MOV reg,#data16", {0xE6, 0xF1, 0x00, 0x00}, 4},
      {"MUL", {0x0B, 0x12}, 10},
      {"DIVU", {0x5B, 0x11}, 20},
      {"JMPA taken", {0xEA, 0x00, 0x00, 0x30}, 6},
      {"JMPA not taken", {0xEA, 0x20, 0x00, 0x30}, 4},
      {"RET", {0xCB, 0x00}, 4},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig rig;
    rig.cpu().SetGpr(1, 1);
    const uint64_t before = rig.cpu().cycles();
    EXPECT_EQ(rig.Run(c.code).cycles, c.cycles);
    EXPECT_EQ(rig.cpu().cycles() - before, static_cast<uint64_t>(c.cycles));
  }
}

TEST(PublicState, JumpGprAndPeekPokeSeeWhatTheProgramSees) {
  CpuRig rig;
  rig.cpu().Jump(0x0A1234);
  EXPECT_EQ(rig.cpu().Ip(), 0x0A1234);
  EXPECT_EQ(rig.cpu().Registers().csp, 0x0A);
  rig.cpu().SetGpr(15, 0xCAFE);
  EXPECT_EQ(rig.Word(0xFC1E), 0xCAFE);
  rig.cpu().PokeWord(0xFE10, 0xFB00);  // CP
  EXPECT_EQ(rig.cpu().Gpr(15), rig.Word(0xFB1E));
  rig.cpu().PokeWord(0x123456, 0x7788);
  EXPECT_EQ(rig.Word(0x123456), 0x7788);
  EXPECT_EQ(rig.cpu().PeekWord(0xFF1E), 0xFFFF);
}

}  // namespace
}  // namespace velmora::test

namespace velmora::test {
namespace {

TEST(Programs, SumAnArrayInALoopUntilIdle) {
  CpuRig rig;
  for (int i = 0; i < 10; ++i) rig.Word(0x3000 + 2 * i, static_cast<uint16_t>(i + 1));
  rig.Code({
      0xE6, 0xF1, 0x00, 0x30,  // MOV   R1,#3000h
      0xE0, 0xA2,              // MOV   R2,#10
      0xE0, 0x04,              // MOV   R4,#0
      0x08, 0x4D,              // loop: ADD R4,[R1+]
      0xA0, 0x12,              // CMPD1 R2,#1
      0x3D, 0xFD,              // JMPR  cc_NZ,loop
      0xF6, 0xF4, 0x00, 0x31,  // MOV   3100h,R4
      0x87, 0x78, 0x87, 0x87,  // IDLE
  });
  int steps = 0;
  while (!rig.cpu().idle() && steps < 100) {
    rig.cpu().Step();
    ++steps;
  }
  EXPECT_EQ(steps, 3 + 3 * 10 + 2);
  EXPECT_EQ(rig.Word(0x3100), 55);
  EXPECT_EQ(rig.cpu().Gpr(1), 0x3014);
  EXPECT_EQ(rig.cpu().Gpr(2), 0);
}

}  // namespace
}  // namespace velmora::test
