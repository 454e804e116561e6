// The user's context across the monitor: a planted breakpoint and the steps after it, CP and
// PSW as the host sees them, a copy of the monitor started elsewhere, and a long call.
#include <gtest/gtest.h>

#include "monitor_commands.h"
#include "target_host.h"

namespace velmora::test {
namespace {

constexpr int32_t kCp = 0x00FE10;
constexpr int32_t kSp = 0x00FE12;
constexpr int32_t kPsw = 0x00FF10;
constexpr uint16_t kResetCp = 0xFC00;  // the bank the loader ran on
constexpr uint16_t kPswC = 0x0002;
constexpr uint16_t kPswZ = 0x0008;
constexpr uint16_t kPswIen = 0x0800;

const Bytes kAcks{kAck1, kAck2};

// Sets R3, R15 and the carry and zero flags, stops at a breakpoint, then uses the carry.
constexpr const char* kBreakingProgram = R"(
        ORG   0E00600h
        MOV   R3,#3333h
        MOV   R15,#0F0Fh
        MOV   R1,#0FFFFh
        ADD   R1,#1               ; C and Z set
        CALLS 0E0h,0024h          ; the breakpoint at E0060E
        ADDC  R3,#0               ; E00612: goes on with the carry from before the break
        JMPS  0E0h,0028h          ; E00614
)";

class Context : public ::testing::TestWithParam<LineForm> {
 protected:
  void SetUp() override { ASSERT_EQ(host.Boot(GetParam()).back(), kApplicationStarted); }
  void load(const TargetImage& image) {
    ASSERT_EQ(WriteBlock(host, image.address, image.bytes), kAcks);
  }
  // What the host does at a break: the IP and CSP the breakpoint's far call pushed, popped
  // by moving SP past them.
  std::pair<uint16_t, uint16_t> popBreakFrame() {
    const uint16_t sp = ReadWord(host, kSp);
    const Bytes frame = ReadBlock(host, sp, 4);
    EXPECT_EQ(WriteWord(host, kSp, static_cast<uint16_t>(sp + 4)), kAcks);
    return {WordAt(frame, 1), WordAt(frame, 3)};
  }
  uint16_t userRegister(int n) { return ReadWord(host, ReadWord(host, kCp) + 2 * n); }

  TargetHost host{GetParam().oneWire};
};

TEST_P(Context, ABreakKeepsTheProgramsContextAndStepsGoOnFromIt) {
  load(AssembleTargetText(kBreakingProgram));
  const uint16_t sp = ReadWord(host, kSp);
  EXPECT_EQ(Go(host, 0xE00600, 1), (Bytes{kAck1, kAck2, kApplicationStarted}));
  EXPECT_EQ(ReadWord(host, kSp), sp - 4) << "the far call's frame, and nothing more";
  EXPECT_EQ(popBreakFrame(), std::make_pair(uint16_t{0x0612}, uint16_t{0x00E0}));
  EXPECT_EQ(ReadWord(host, kSp), sp);
  EXPECT_EQ(ReadWord(host, kCp), kResetCp);
  EXPECT_EQ(ReadWord(host, kPsw) & (kPswC | kPswZ), kPswC | kPswZ);
  EXPECT_EQ(userRegister(1), 0);
  EXPECT_EQ(userRegister(3), 0x3333);
  EXPECT_EQ(userRegister(15), 0x0F0F);

  // A step: a breakpoint planted after the next instruction, and Go to it.
  load(AssembleTargetText("ORG 0E00614h\nCALLS 0E0h,0024h"));
  EXPECT_EQ(Go(host, 0xE00612, 1), (Bytes{kAck1, kAck2, kApplicationStarted}));
  EXPECT_EQ(popBreakFrame(), std::make_pair(uint16_t{0x0618}, uint16_t{0x00E0}));
  EXPECT_EQ(userRegister(3), 0x3334) << "the carry came back with the PSW";
  EXPECT_EQ(ReadWord(host, kPsw) & (kPswC | kPswZ), 0);

  // The program's own end again, and the line back through the return entry.
  load(AssembleTargetText("ORG 0E00614h\nJMPS 0E0h,0028h"));
  EXPECT_EQ(Go(host, 0xE00614, 1), (Bytes{kAck1, kAck2, kAck2}));
  EXPECT_EQ(ReadWord(host, kSp), sp) << "no step ate stack";
}

TEST_P(Context, CpAndPswReadAndWriteTheUsersValues) {
  EXPECT_EQ(ReadWord(host, kCp), kResetCp);
  EXPECT_NE(host.machine().cpu().Registers().cp, kResetCp) << "the monitor runs on its own bank";
  EXPECT_EQ(WriteWord(host, kPsw, kPswC), kAcks);
  EXPECT_EQ(ReadWord(host, kPsw), kPswC);
  EXPECT_EQ(host.machine().cpu().Psw() & kPswIen, 0) << "the monitor keeps interrupts off";
  EXPECT_EQ(WriteBlock(host, kCp, Word(0xF600)), kAcks);

  // MDL and SP are live, CP between them is the saved one.
  const Bytes around = ReadBlock(host, 0x00FE0E, 6);
  const CoreRegisters live = host.machine().cpu().Registers();
  EXPECT_EQ(around, Concat({{kAck1}, Word(live.mdl), Word(0xF600), Word(live.sp), {kAck2}}));

  // The program finds the PSW and CP the host wrote.
  load(AssembleTargetText(R"(
        ORG   0E00600h
        MOV   R4,PSW
        MOV   R5,CP
        JMPS  0E0h,0028h
)"));
  EXPECT_EQ(Go(host, 0xE00600, 1), (Bytes{kAck1, kAck2, kAck2}));
  EXPECT_EQ(ReadBlock(host, 0xF608, 4), Concat({{kAck1}, Word(kPswC), Word(0xF600), {kAck2}}));

  // A call runs on that bank too.
  load(AssembleTargetFile("routines/crc16.asm"));
  const Bytes answer = Call(host, 0xE00400, {0, 0, 0, 1, 2, 3, 4, 5});
  EXPECT_EQ(RegistersIn(answer), (Registers{0xFFFF, 0, 0, 0xFFFF, 2, 3, 4, 5}));
  EXPECT_EQ(ReadWord(host, 0xF600 + 2 * 8), 0xFFFF);
}

TEST_P(Context, ACopyOfTheMonitorServesFromWhereverItRuns) {
  const TargetImage core = AssembleTargetFile(GetParam().monitor);
  constexpr int32_t kCopy = 0x00C100;  // another segment, another offset
  load({kCopy, core.bytes});
  EXPECT_EQ(Go(host, kCopy, 1), (Bytes{kAck1, kAck2, kApplicationStarted}));
  // The original is gone; everything from here on is the copy's work.
  EXPECT_EQ(WriteBlock(host, kMonitorStart, Bytes(kMonitorLength, 0)), kAcks);
  Bytes data(200);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 3 + 1);
  EXPECT_EQ(WriteBlock(host, 0xE08000, data), kAcks);
  EXPECT_EQ(ReadBlock(host, 0xE08000, 200), Concat({{kAck1}, data, {kAck2}}));
  // Its return entry is 4 bytes into the copy.
  load(AssembleTargetText("ORG 0E00600h\nJMPS 00h,0C104h"));
  EXPECT_EQ(Go(host, 0xE00600, 1), (Bytes{kAck1, kAck2, kAck2}));
  EXPECT_EQ(Plain(host, kTestComm, 2), kAcks);
}

INSTANTIATE_TEST_SUITE_P(Lines, Context, ::testing::Values(kTwoWire, kOneWire), LineFormName());

TEST(LongCall, TheMonitorWaitsAsLongAsTheRoutineRuns) {
  TargetHost host(false);
  ASSERT_EQ(host.Boot(kTwoWire).back(), kApplicationStarted);
  // 250 x 50000 rounds of 16 cycles: ten seconds at 20 MHz.
  const TargetImage routine = AssembleTargetText(R"(
        ORG   0E00600h
        MOV   R10,#0
outer:  MOV   R8,#50000
inner:  MULU  R12,R13
        SUB   R8,#1
        JMPR  cc_NZ,inner
        ADD   R10,#1
        CMP   R10,R9
        JMPR  cc_NE,outer
        RETS
)");
  ASSERT_EQ(WriteBlock(host, routine.address, routine.bytes), kAcks);
  const double start = host.Seconds();
  const Bytes answer = Call(host, routine.address, {7, 250, 0, 0, 0, 0, 0, 0x7777}, 12.0);
  EXPECT_GE(host.Seconds() - start, 10.0);
  ASSERT_EQ(answer.size(), 18u);
  EXPECT_EQ(answer.back(), kAck2);
  const Registers out = RegistersIn(answer);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(out[2], 250) << "every round ran";
  EXPECT_EQ(out[7], 0x7777);
}

}  // namespace
}  // namespace velmora::test
