// Hardware traps (stack limits, undefined opcodes, protection faults, odd addresses) and
// interrupts: priority, deferral, the sequences that hold them off, and IDLE.
#include <gtest/gtest.h>

#include "cpu_rig.h"

namespace velmora::test {
namespace {

constexpr int32_t kSp = 0xFE12, kStkov = 0xFE14, kStkun = 0xFE16, kPsw = 0xFF10, kTfr = 0xFFAC;
constexpr uint8_t kNop[] = {0xCC, 0x00};

std::vector<uint8_t> nops(int count) {
  std::vector<uint8_t> code;
  for (int i = 0; i < count; ++i) code.insert(code.end(), std::begin(kNop), std::end(kNop));
  return code;
}

TEST(HardwareTraps, EnterTheirVectorsWithTheirFlags) {
  struct Case {
    const char* name;
    std::vector<uint8_t> code;
    Words setup;
    std::vector<StepKind> steps;  // until the trap is entered
    int32_t vector;
    uint16_t tfr;
    uint16_t pushedIp;
  };
  const Case cases[] = {
      {"stack overflow on PUSH",
       {0xEC, 0xF1, 0xCC, 0x00},
       {{kStkov, 0xFC00}},
       {StepKind::kExecuted, StepKind::kTrapEntered},
       0x10,
       0x4000,
       0x2002},
      {"stack overflow on CALLA",
       {0xCA, 0x00, 0x00, 0x30},
       {{kStkov, 0xFC00}},
       {StepKind::kExecuted, StepKind::kTrapEntered},
       0x10,
       0x4000,
       0x3000},
      {"stack underflow on POP",
       {0xFC, 0xF1},
       {{kStkun, 0xFC00}},
       {StepKind::kExecuted, StepKind::kTrapEntered},
       0x18,
       0x2000,
       0x2002},
      {"stack underflow on RET",
       {0xCB, 0x00},
       {{kStkun, 0xFC00}, {0xFC00, 0x4000}},
       {StepKind::kExecuted, StepKind::kTrapEntered},
       0x18,
       0x2000,
       0x4000},
      {"undefined opcode", {0x8B, 0x00}, {}, {StepKind::kTrapEntered}, 0x28, 0x0080, 0x2000},
      {"ATOMIC with an undefined form",
       {0xD1, 0x40},
       {},
       {StepKind::kExecuted, StepKind::kTrapEntered},
       0x28,
       0x0080,
       0x2002},
      {"damaged SRST",
       {0xB7, 0x48, 0xB7, 0x00},
       {},
       {StepKind::kExecuted, StepKind::kTrapEntered},
       0x28,
       0x0008,
       0x2004},
      {"word read at an odd address",
       {0xA8, 0x12},
       {},
       {StepKind::kExecuted, StepKind::kTrapEntered},
       0x28,
       0x0004,
       0x2002},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig rig;
    rig.cpu().SetGpr(2, 0x3001);
    for (const auto& [address, value] : c.setup) rig.cpu().PokeWord(address, value);
    rig.Code(c.code);
    rig.cpu().SetPsw(0x0803);  // IEN, C, N
    const uint16_t spBefore = rig.cpu().PeekWord(kSp);
    std::vector<StepKind> kinds = rig.Steps(static_cast<int>(c.steps.size()) - 1);
    const uint16_t pswBefore = rig.cpu().Psw();
    kinds.push_back(rig.cpu().Step().kind);
    EXPECT_EQ(kinds, c.steps);
    EXPECT_EQ(rig.cpu().Ip(), c.vector);
    EXPECT_EQ(rig.cpu().PeekWord(kTfr), c.tfr);
    EXPECT_EQ(rig.cpu().Psw() >> 12, 15) << "hardware traps run at the highest level";
    const uint16_t sp = rig.cpu().PeekWord(kSp);
    EXPECT_EQ(rig.Word(sp), c.pushedIp);
    EXPECT_EQ(rig.Word(sp + 2), 0x0000);  // CSP
    EXPECT_EQ(rig.Word(sp + 4), pswBefore);
    EXPECT_LT(sp, spBefore);
  }
}

TEST(HardwareTraps, SrstResetsTheCoreAndSaysSo) {
  CpuRig rig;
  rig.cpu().PokeWord(0xFE02, 0x0077);
  rig.cpu().PokeWord(kSp, 0xF000);
  rig.cpu().PokeWord(0xFE10, 0xF600);
  rig.cpu().SetPsw(0xF8FF);
  rig.cpu().PokeWord(kTfr, 0x0080);
  const StepResult result = rig.Run({0xB7, 0x48, 0xB7, 0xB7});
  EXPECT_EQ(result.kind, StepKind::kSoftwareReset);
  const CoreRegisters r = rig.cpu().Registers();
  EXPECT_EQ(rig.cpu().Ip(), 0);
  EXPECT_EQ(r.dpp, (std::array<uint16_t, 4>{0, 1, 2, 3}));
  EXPECT_EQ(r.sp, 0xFC00);
  EXPECT_EQ(r.cp, 0xFC00);
  EXPECT_EQ(r.stkov, 0xFA00);
  EXPECT_EQ(r.stkun, 0xFC00);
  EXPECT_EQ(r.psw, 0);
  EXPECT_EQ(r.tfr, 0);
}

class Interrupts : public ::testing::Test {
 protected:
  static constexpr int32_t kIcA = 0xFF60, kIcB = 0xFF62;
  static constexpr uint8_t kTrapA = 0x20, kTrapB = 0x21;

  Interrupts() { rig.cpu().SetInterruptSources({{kIcA, kTrapA}, {kIcB, kTrapB}}); }
  void request(int32_t ic, int level, int group = 0, bool enabled = true) {
    rig.Word(ic, static_cast<uint16_t>(0x80 | (enabled ? 0x40 : 0) | (level << 2) | group));
    rig.cpu().NoteInterruptRequest();
  }

  CpuRig rig;
};

TEST_F(Interrupts, TakenBetweenInstructionsWithTheEntryOnTheStack) {
  rig.Code(nops(4));
  rig.cpu().SetPsw(0x0801);
  EXPECT_EQ(rig.cpu().Step().kind, StepKind::kExecuted);
  request(kIcA, 5, 1);
  EXPECT_EQ(rig.cpu().Step().kind, StepKind::kInterruptEntered);
  EXPECT_EQ(rig.cpu().Ip(), kTrapA * 4);
  EXPECT_EQ(rig.cpu().Psw(), 0x5801);
  EXPECT_EQ(rig.Word(kIcA), 0x55) << "IR cleared, the rest kept";
  EXPECT_EQ(rig.Word(0xFBFE), 0x0801);
  EXPECT_EQ(rig.Word(0xFBFC), 0x0000);
  EXPECT_EQ(rig.Word(0xFBFA), 0x2002);
  rig.Bytes(kTrapA * 4, {0xFB, 0x88});  // RETI
  rig.cpu().Step();
  EXPECT_EQ(rig.cpu().Ip(), 0x2002);
  EXPECT_EQ(rig.cpu().Psw(), 0x0801);
}

TEST_F(Interrupts, HighestLevelThenGroupWins) {
  struct Case {
    const char* name;
    int levelA, groupA, levelB, groupB;
    uint8_t expected;
  };
  const Case cases[] = {
      {"higher level", 3, 3, 4, 0, kTrapB},
      {"same level, higher group", 6, 2, 6, 1, kTrapA},
      {"level over group", 9, 0, 8, 3, kTrapA},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig fresh;
    fresh.cpu().SetInterruptSources({{kIcA, kTrapA}, {kIcB, kTrapB}});
    fresh.Code(nops(2));
    fresh.cpu().SetPsw(0x0800);
    fresh.Word(kIcA, static_cast<uint16_t>(0xC0 | c.levelA << 2 | c.groupA));
    fresh.Word(kIcB, static_cast<uint16_t>(0xC0 | c.levelB << 2 | c.groupB));
    fresh.cpu().NoteInterruptRequest();
    EXPECT_EQ(fresh.cpu().Step().kind, StepKind::kInterruptEntered);
    EXPECT_EQ(fresh.cpu().Ip(), c.expected * 4);
  }
}

TEST_F(Interrupts, WaitWhileTheProcessorPriorityIsAsHigh) {
  // ILVL 5 against a request of level 5: deferred until MOV PSW lowers the level; the
  // instruction after a PSW write still runs first.
  rig.Code({0xCC, 0x00, 0xE6, 0x88, 0x00, 0x08, 0xCC, 0x00, 0xCC, 0x00});
  rig.cpu().SetPsw(0x5800);
  request(kIcA, 5);
  EXPECT_EQ(rig.Steps(4),
            (std::vector<StepKind>{StepKind::kExecuted, StepKind::kExecuted, StepKind::kExecuted,
                                   StepKind::kInterruptEntered}));
  EXPECT_EQ(rig.Word(0xFBFA), 0x2008);
}

TEST_F(Interrupts, HeldOffByDisableOrMissingEnable) {
  struct Case {
    const char* name;
    uint16_t psw;
    bool enabled;
  };
  const Case cases[] = {{"IEN clear", 0x0000, true}, {"IE clear", 0x0800, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig fresh;
    fresh.cpu().SetInterruptSources({{kIcA, kTrapA}});
    fresh.Code(nops(3));
    fresh.cpu().SetPsw(c.psw);
    fresh.Word(kIcA, static_cast<uint16_t>(0x80 | (c.enabled ? 0x40 : 0) | 7 << 2));
    fresh.cpu().NoteInterruptRequest();
    EXPECT_EQ(fresh.Steps(3), std::vector<StepKind>(3, StepKind::kExecuted));
  }
}

TEST_F(Interrupts, NotInsideAtomicOrExtSequences) {
  struct Case {
    const char* name;
    std::vector<uint8_t> prefix;
  };
  const Case cases[] = {{"ATOMIC #2", {0xD1, 0x10}},
                        {"EXTP #2", {0xD7, 0x50, 0x00, 0x00}},
                        {"EXTR #2", {0xD1, 0x90}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig fresh;
    fresh.cpu().SetInterruptSources({{kIcA, kTrapA}});
    std::vector<uint8_t> code = c.prefix;
    const std::vector<uint8_t> rest = nops(3);
    code.insert(code.end(), rest.begin(), rest.end());
    fresh.Code(code);
    fresh.cpu().SetPsw(0x0800);
    fresh.cpu().Step();
    fresh.Word(kIcA, 0xC0 | 7 << 2);
    fresh.cpu().NoteInterruptRequest();
    EXPECT_EQ(fresh.Steps(3), (std::vector<StepKind>{StepKind::kExecuted, StepKind::kExecuted,
                                                     StepKind::kInterruptEntered}));
    EXPECT_EQ(fresh.Word(0xFBFA), static_cast<uint16_t>(kCodeAt + c.prefix.size() + 4));
  }
}

TEST_F(Interrupts, IdleWaitsAndAnInterruptWakesIt) {
  rig.Code({0x87, 0x78, 0x87, 0x87, 0xCC, 0x00});
  rig.cpu().SetPsw(0x0800);
  EXPECT_EQ(rig.cpu().Step().kind, StepKind::kExecuted);
  EXPECT_TRUE(rig.cpu().idle());
  const uint64_t before = rig.cpu().cycles();
  EXPECT_EQ(rig.Steps(3), std::vector<StepKind>(3, StepKind::kIdle));
  EXPECT_GT(rig.cpu().cycles(), before);
  EXPECT_EQ(rig.cpu().Ip(), 0x2004);
  request(kIcB, 2);
  EXPECT_EQ(rig.cpu().Step().kind, StepKind::kInterruptEntered);
  EXPECT_FALSE(rig.cpu().idle());
  EXPECT_EQ(rig.cpu().Ip(), kTrapB * 4);
  EXPECT_EQ(rig.Word(0xFBFA), 0x2004);
}

TEST_F(Interrupts, IdleEndsOnARequestThePriorityHoldsBack) {
  rig.Code({0x87, 0x78, 0x87, 0x87, 0xCC, 0x00});
  rig.cpu().SetPsw(0x0000);  // interrupts disabled
  rig.cpu().Step();
  EXPECT_EQ(rig.cpu().Step().kind, StepKind::kIdle);
  request(kIcA, 3);
  EXPECT_EQ(rig.cpu().Step().kind, StepKind::kExecuted);  // the NOP after IDLE
  EXPECT_EQ(rig.cpu().Ip(), 0x2006);
}

TEST_F(Interrupts, AProgramSettingIrRequestsOneItself) {
  // BSET IR of the control register at FF60 (bitoff B0h, bit 7), then a NOP.
  rig.Word(kIcA, 0x40 | 4 << 2);
  rig.Code({0x7F, 0xB0, 0xCC, 0x00});
  rig.cpu().SetPsw(0x0800);
  EXPECT_EQ(rig.Steps(2),
            (std::vector<StepKind>{StepKind::kExecuted, StepKind::kInterruptEntered}));
  EXPECT_EQ(rig.cpu().Ip(), kTrapA * 4);
}

TEST_F(Interrupts, NmiTrapComesBeforeThem) {
  rig.Code(nops(2));
  rig.cpu().SetPsw(0x0800);
  request(kIcA, 15);
  rig.cpu().RequestNmi();
  EXPECT_EQ(rig.cpu().Step().kind, StepKind::kTrapEntered);
  EXPECT_EQ(rig.cpu().Ip(), 0x08);
  EXPECT_EQ(rig.cpu().PeekWord(kTfr), 0x8000);
  EXPECT_EQ(rig.cpu().Psw() >> 12, 15);
}

TEST_F(Interrupts, PowerDownIgnoresThemUntilReset) {
  rig.Code({0x97, 0x68, 0x97, 0x97});
  rig.cpu().SetPsw(0x0800);
  rig.cpu().Step();
  request(kIcA, 7);
  EXPECT_EQ(rig.Steps(2), std::vector<StepKind>(2, StepKind::kIdle));
  rig.cpu().Reset();
  EXPECT_FALSE(rig.cpu().idle());
}

}  // namespace
}  // namespace velmora::test
