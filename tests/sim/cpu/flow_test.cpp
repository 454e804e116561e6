// Condition codes, jumps, calls and returns with the stack contents they leave.
#include <gtest/gtest.h>

#include <string>

#include "cpu_rig.h"

namespace velmora::test {
namespace {

constexpr int32_t kSp = 0xFE12;

TEST(Conditions, EveryCodeAgainstFlagCombinations) {
  // Columns: the flags before JMPR cc,+2. '1' = the jump is taken.
  const uint16_t flags[] = {0, kZ, kC, kV, kN, kN | kV, kC | kZ, kE, kZ | kE};
  // clang-format off
  const char* const taken[16] = {
      "111111111",  // UC
      "101111000",  // NET: not equal and not end of table
      "010000101",  // Z
      "101111010",  // NZ
      "000101000",  // V
      "111010111",  // NV
      "000011000",  // N
      "111100111",  // NN
      "001000100",  // C (ULT)
      "110111011",  // NC (UGE)
      "101001010",  // SGT
      "010110101",  // SLE
      "000110000",  // SLT
      "111001111",  // SGE
      "100111010",  // UGT
      "011000101",  // ULE
  };
  // clang-format on
  for (int cc = 0; cc < 16; ++cc) {
    for (size_t column = 0; column < std::size(flags); ++column) {
      SCOPED_TRACE("cc " + std::to_string(cc) + " column " + std::to_string(column));
      CpuRig rig;
      rig.cpu().SetPsw(flags[column]);
      const StepResult result = rig.Run({static_cast<uint8_t>(cc << 4 | 0x0D), 0x01});
      const bool jumped = rig.cpu().Ip() == kCodeAt + 4;
      EXPECT_EQ(jumped, taken[cc][column] == '1');
      EXPECT_EQ(result.cycles, jumped ? 4 : 2);
      EXPECT_EQ(rig.cpu().Psw(), flags[column]);  // jumps leave the flags alone
    }
  }
}

struct FlowCase {
  std::string name;
  std::vector<uint8_t> code;
  Words gprs;
  uint16_t psw;
  int32_t target;  // CSP:IP afterwards
  Words stack;     // words from SP upwards afterwards
  Words gprsAfter;
  uint16_t flagsAfter;
};

void checkFlow(const FlowCase& c) {
  SCOPED_TRACE(c.name);
  CpuRig rig;
  for (const auto& [n, value] : c.gprs) rig.cpu().SetGpr(n, value);
  rig.cpu().SetPsw(c.psw);
  EXPECT_EQ(rig.Run(c.code).kind, StepKind::kExecuted);
  EXPECT_EQ(rig.cpu().Ip(), c.target);
  const uint16_t sp = rig.cpu().PeekWord(kSp);
  EXPECT_EQ(sp, 0xFC00 - 2 * static_cast<int>(c.stack.size()));
  for (size_t i = 0; i < c.stack.size(); ++i) {
    EXPECT_EQ(rig.Word(sp + 2 * static_cast<int32_t>(i)), c.stack[i].second) << "stack word " << i;
  }
  for (const auto& [n, value] : c.gprsAfter) EXPECT_EQ(rig.cpu().Gpr(n), value) << "R" << n;
  EXPECT_EQ(rig.cpu().Psw() & kFlagMask, c.flagsAfter);
}

TEST(Jumps, GoWhereTheirOperandsSay) {
  // clang-format off
  const FlowCase cases[] = {
      {"JMPA cc_C taken", {0xEA, 0x80, 0x00, 0x30}, {}, kC, 0x3000, {}, {}, kC},
      {"JMPA cc_C not taken", {0xEA, 0x80, 0x00, 0x30}, {}, 0, 0x2004, {}, {}, 0},
      {"JMPR backwards", {0xFD, 0xFE}, {}, kZ | kC, 0x2002 - 4, {}, {}, kZ | kC},
      {"JMPI cc_NZ,[R4]", {0x9C, 0x34}, {{4, 0x4446}}, 0, 0x4446, {}, {}, 0},
      {"JMPS to segment 5", {0xFA, 0x05, 0x00, 0x01}, {}, 0, 0x050100, {}, {}, 0},
      {"JB set bit", {0x8A, 0xF1, 0x02, 0x30}, {{1, 0x0008}}, 0, 0x2008, {}, {{1, 0x0008}}, 0},
      {"JB clear bit", {0x8A, 0xF1, 0x02, 0x30}, {{1, 0xFFF7}}, 0, 0x2004, {}, {}, 0},
      {"JNB clear bit", {0x9A, 0xF1, 0xFE, 0x30}, {{1, 0}}, 0, 0x2000, {}, {}, 0},
      {"JBC clears and jumps", {0xAA, 0xF1, 0x02, 0x30}, {{1, 0x0008}}, 0, 0x2008, {}, {{1, 0}},
       kN},
      {"JBC clear bit falls through", {0xAA, 0xF1, 0x02, 0x30}, {{1, 0}}, kC, 0x2004, {}, {{1, 0}},
       kZ},
      {"JNBS sets and jumps", {0xBA, 0xF1, 0x02, 0x30}, {{1, 0}}, 0, 0x2008, {}, {{1, 0x0008}}, kZ},
      {"JNBS set bit falls through", {0xBA, 0xF1, 0x02, 0x30}, {{1, 8}}, 0, 0x2004, {}, {{1, 8}},
       kN},
  };
  // clang-format on
  for (const FlowCase& c : cases) checkFlow(c);
}

TEST(Calls, PushTheReturnAddress) {
  // clang-format off
  const FlowCase cases[] = {
      {"CALLA taken", {0xCA, 0x00, 0x00, 0x30}, {}, 0, 0x3000, {{0, 0x2004}}, {}, 0},
      {"CALLA cc_Z not taken", {0xCA, 0x20, 0x00, 0x30}, {}, 0, 0x2004, {}, {}, 0},
      {"CALLR backwards", {0xBB, 0xFE}, {}, 0, 0x1FFE, {{0, 0x2002}}, {}, 0},
      {"CALLI cc_UC,[R4]", {0xAB, 0x04}, {{4, 0x5000}}, 0, 0x5000, {{0, 0x2002}}, {}, 0},
      {"CALLS pushes CSP then IP", {0xDA, 0x02, 0x34, 0x12}, {}, 0, 0x021234,
       {{0, 0x2004}, {0, 0x0000}},
       {}, 0},
      {"PCALL pushes the register then IP", {0xE2, 0xF5, 0x00, 0x30}, {{5, 0xABCD}}, kC, 0x3000,
       {{0, 0x2004}, {0, 0xABCD}}, {}, kC | kN},
      {"TRAP pushes PSW, CSP, IP", {0x9B, 0x40}, {}, 0x1803, 0x000080,
       {{0, 0x2002}, {0, 0x0000}, {0, 0x1803}}, {}, kN | kC},
  };
  // clang-format on
  for (const FlowCase& c : cases) checkFlow(c);
}

TEST(Returns, RestoreWhatTheCallsSaved) {
  struct Case {
    const char* name;
    std::vector<uint8_t> call;  // at 01:2000
    std::vector<uint8_t> back;  // at the target
    int32_t target;
  };
  // clang-format off
  const Case cases[] = {
      {"CALLA/RET", {0xCA, 0x00, 0x00, 0x30}, {0xCB, 0x00}, 0x013000},
      {"CALLS/RETS", {0xDA, 0x02, 0x34, 0x12}, {0xDB, 0x00}, 0x021234},
      {"PCALL/RETP", {0xE2, 0xF5, 0x00, 0x30}, {0xEB, 0xF5}, 0x013000},
      {"TRAP/RETI", {0x9B, 0x40}, {0xFB, 0x88}, 0x000080},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig rig;
    rig.cpu().SetGpr(5, 0xABCD);
    rig.cpu().SetPsw(0x2805);  // ILVL 2, IEN, V, N
    rig.Code(c.call, 0x012000);
    rig.Bytes(c.target, c.back);
    rig.cpu().Step();
    EXPECT_EQ(rig.cpu().Ip(), c.target);
    rig.cpu().SetGpr(5, 0);
    rig.cpu().SetPsw(0x0800);
    EXPECT_EQ(rig.cpu().Step().kind, StepKind::kExecuted);
    EXPECT_EQ(rig.cpu().Ip(), 0x012000 + static_cast<int32_t>(c.call.size()));
    EXPECT_EQ(rig.cpu().PeekWord(kSp), 0xFC00);
    if (c.back[0] == 0xEB) {
      EXPECT_EQ(rig.cpu().Gpr(5), 0xABCD);
    }
    if (c.back[0] == 0xFB) {
      EXPECT_EQ(rig.cpu().Psw(), 0x2805);
    }
  }
}

TEST(Calls, UnsegmentedModeKeepsCspOffTheStack) {
  CpuRig rig;
  rig.cpu().PokeWord(0xFF12, 0x0800);  // SYSCON: segmentation disabled
  rig.cpu().SetPsw(0x0001);
  rig.Run({0x9B, 0x40});  // TRAP #20h
  EXPECT_EQ(rig.cpu().PeekWord(kSp), 0xFBFC);
  EXPECT_EQ(rig.Word(0xFBFC), 0x2002);
  EXPECT_EQ(rig.Word(0xFBFE), 0x0001);
  rig.Bytes(0x80, {0xFB, 0x88});  // RETI
  rig.cpu().Step();
  EXPECT_EQ(rig.cpu().Ip(), 0x2002);
  EXPECT_EQ(rig.cpu().PeekWord(kSp), 0xFC00);
}

}  // namespace
}  // namespace velmora::test
