// Moves in every addressing mode, the core registers answered by the processor, short
// register addresses, DPP paging and the EXT prefixes.
#include <gtest/gtest.h>

#include "cpu_rig.h"

namespace velmora::test {
namespace {

class Moves : public ::testing::TestWithParam<InstructionRow> {};
TEST_P(Moves, MoveAndSetFlags) {
  CheckRow(GetParam());
}

// MOV sets E, Z and N of the moved value and keeps C and V.
// clang-format off
const InstructionRow kMoves[] = {
    {"MOV Rw,Rw", {0xF0, 0x12}, {{2, 0x8000}}, {}, kC | kV, {{1, 0x8000}}, {}, kC | kV | kN | kE},
    {"MOV Rw,Rw zero", {0xF0, 0x12}, {{1, 7}}, {}, kN, {{1, 0}}, {}, kZ},
    {"MOV Rw,#data4", {0xE0, 0x51}, {}, {}, 0, {{1, 5}}, {}, 0},
    {"MOV reg,#data16", {0xE6, 0xF1, 0x34, 0x12}, {}, {}, 0, {{1, 0x1234}}, {}, 0},
    {"MOV reg,mem", {0xF2, 0xF1, 0x00, 0x30}, {}, {{0x3000, 0xBEEF}}, 0, {{1, 0xBEEF}}, {}, kN},
    {"MOV mem,reg", {0xF6, 0xF1, 0x00, 0x30}, {{1, 0x4321}}, {}, 0, {}, {{0x3000, 0x4321}}, 0},
    {"MOV Rw,[Rw]", {0xA8, 0x12}, {{2, 0x3000}}, {{0x3000, 0x1111}}, 0, {{1, 0x1111}, {2, 0x3000}},
     {}, 0},
    {"MOV [Rw],Rw", {0xB8, 0x12}, {{1, 0x2222}, {2, 0x3000}}, {}, 0, {}, {{0x3000, 0x2222}}, 0},
    {"MOV [-Rw],Rw", {0x88, 0x12}, {{1, 0x3333}, {2, 0x3002}}, {}, 0, {{2, 0x3000}},
     {{0x3000, 0x3333}}, 0},
    {"MOV Rw,[Rw+]", {0x98, 0x12}, {{2, 0x3000}}, {{0x3000, 0x4444}}, 0,
     {{1, 0x4444}, {2, 0x3002}}, {}, 0},
    {"MOV [Rw],[Rw]", {0xC8, 0x12}, {{1, 0x3100}, {2, 0x3000}}, {{0x3000, 0x5555}}, 0,
     {{1, 0x3100}, {2, 0x3000}}, {{0x3100, 0x5555}}, 0},
    {"MOV [Rw+],[Rw]", {0xD8, 0x12}, {{1, 0x3100}, {2, 0x3000}}, {{0x3000, 0x6666}}, 0,
     {{1, 0x3102}, {2, 0x3000}}, {{0x3100, 0x6666}}, 0},
    {"MOV [Rw],[Rw+]", {0xE8, 0x12}, {{1, 0x3100}, {2, 0x3000}}, {{0x3000, 0x7777}}, 0,
     {{1, 0x3100}, {2, 0x3002}}, {{0x3100, 0x7777}}, 0},
    {"MOV [Rw+#d16],Rw", {0xC4, 0x12, 0x04, 0x00}, {{1, 0x8888}, {2, 0x3000}}, {}, 0, {{2, 0x3000}},
     {{0x3004, 0x8888}}, kN},
    {"MOV Rw,[Rw+#d16] negative", {0xD4, 0x12, 0xFE, 0xFF}, {{2, 0x3002}}, {{0x3000, 0x0999}}, 0,
     {{1, 0x0999}}, {}, 0},
    {"MOV [Rw],mem", {0x84, 0x02, 0x00, 0x30}, {{2, 0x3100}}, {{0x3000, 0xAAAA}}, 0, {},
     {{0x3100, 0xAAAA}}, kN},
    {"MOV mem,[Rw]", {0x94, 0x02, 0x00, 0x30}, {{2, 0x3100}}, {{0x3100, 0x0BBB}}, 0, {},
     {{0x3000, 0x0BBB}}, 0},
    // Byte moves: RL1 = 2, RH1 = 3; E is the byte 80h.
    {"MOVB Rb,Rb", {0xF1, 0x23}, {{1, 0x80FF}}, {}, 0, {{1, 0x8080}}, {}, kN | kE},
    {"MOVB Rb,#data4", {0xE1, 0x52}, {{1, 0xFFFF}}, {}, 0, {{1, 0xFF05}}, {}, 0},
    {"MOVB reg,#data8", {0xE7, 0xF3, 0x12, 0x00}, {}, {}, 0, {{1, 0x1200}}, {}, 0},
    {"MOVB [Rw+],[Rw] steps by one", {0xD9, 0x12}, {{1, 0x3101}, {2, 0x3000}}, {{0x3000, 0x0042}},
     0,
     {{1, 0x3102}}, {{0x3100, 0x4200}}, 0},
    {"MOVB [-Rw],Rb steps by one", {0x89, 0x12}, {{0, 0x5600}, {2, 0x3001}}, {}, 0, {{2, 0x3000}},
     {{0x3000, 0x0056}}, 0},
    {"MOVB Rb,[Rw+#d16]", {0xF4, 0x02, 0x01, 0x00}, {{2, 0x3000}}, {{0x3000, 0x7F00}}, 0,
     {{0, 0x007F}}, {}, 0},
    {"MOVB mem,reg", {0xF7, 0xF3, 0x01, 0x30}, {{1, 0xAB00}}, {{0x3000, 0x0011}}, 0, {},
     {{0x3000, 0xAB11}}, kN},
    // Stack moves and context switch.
    {"PUSH", {0xEC, 0xF1}, {{1, 0x8000}}, {}, 0, {}, {{0xFBFE, 0x8000}, {0xFE12, 0xFBFE}}, kN | kE},
    {"POP", {0xFC, 0xF1}, {}, {{0xFE12, 0xFBFE}, {0xFBFE, 0x0000}}, 0, {{1, 0}},
     {{0xFE12, 0xFC00}}, kZ},
    {"SCXT reg,#data16", {0xC6, 0xF1, 0x34, 0x12}, {{1, 0x1111}}, {}, 0, {{1, 0x1234}},
     {{0xFBFE, 0x1111}, {0xFE12, 0xFBFE}}, 0},
    {"SCXT CP,mem", {0xD6, 0x08, 0x00, 0x30}, {}, {{0x3000, 0xFB00}}, 0, {},
     {{0xFBFE, 0xFC00}, {0xFE10, 0xFB00}}, 0},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(AllModes, Moves, ::testing::ValuesIn(kMoves));

TEST(CoreRegisters, AnsweredByTheProcessorNotTheBus) {
  struct Case {
    const char* name;
    std::vector<uint8_t> code;
    int32_t address;
    uint16_t expected;
  };
  // clang-format off
  const Case cases[] = {
      // MOV R1,mem through DPP3 (page 3 = FE00..FFFF) reads SP and ONES.
      {"SP through DPP3", {0xF2, 0xF1, 0x12, 0xFE}, -1, 0xFC00},
      {"ONES", {0xF2, 0xF1, 0x1E, 0xFF}, -1, 0xFFFF},
      {"ZEROS", {0xF2, 0xF1, 0x1C, 0xFF}, -1, 0x0000},
      // MOV PSW,#0800h: the written value wins over MOV's own flags.
      {"PSW written", {0xE6, 0x88, 0x00, 0x08}, 0xFF10, 0x0800},
      {"ONES ignores writes", {0xE6, 0x8F, 0x00, 0x00}, 0xFF1E, 0xFFFF},
      {"CSP ignores writes", {0xE6, 0x04, 0x05, 0x00}, 0xFE08, 0x0000},
      {"DPP keeps ten bits", {0xE6, 0x00, 0xFF, 0xFF}, 0xFE00, 0x03FF},
      {"SP stays even", {0xE6, 0x09, 0x01, 0xFB}, 0xFE12, 0xFB00},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig rig;
    rig.Word(0xFE12, 0xDEAD);  // what the bus holds must not show through
    rig.Word(0xFF1E, 0x1234);
    rig.Run(c.code);
    const uint16_t value = c.address < 0 ? rig.cpu().Gpr(1) : rig.cpu().PeekWord(c.address);
    EXPECT_EQ(value, c.expected);
  }
}

TEST(CoreRegisters, ContextPointerMovesTheRegisterBank) {
  CpuRig rig;
  rig.Word(0xFB02, 0x4242);
  rig.Code({0xE6, 0x08, 0x00, 0xFB,  // MOV CP,#FB00h
            0xF0, 0x01});            // MOV R0,R1
  rig.Steps(2);
  EXPECT_EQ(rig.cpu().Registers().cp, 0xFB00);
  EXPECT_EQ(rig.Word(0xFB00), 0x4242);
  EXPECT_EQ(rig.cpu().Gpr(0), 0x4242);
}

TEST(ShortAddresses, RegReachesSfrOrEsfrAndBitoffItsAreas) {
  struct Case {
    const char* name;
    std::vector<uint8_t> code;
    int steps;
    int32_t address;
    uint16_t expected;
  };
  // MOV reg 10h,#1234h = E6 10 34 12; BSET bitoff.2 = 2F bitoff.
  // clang-format off
  const Case cases[] = {
      {"reg 10 is FE20", {0xE6, 0x10, 0x34, 0x12}, 1, 0xFE20, 0x1234},
      {"reg 10 under EXTR is F020", {0xD1, 0x80, 0xE6, 0x10, 0x34, 0x12}, 2, 0xF020, 0x1234},
      {"reg 10 under EXTSR is F020", {0xD7, 0x80, 0x00, 0x00, 0xE6, 0x10, 0x34, 0x12}, 2, 0xF020,
       0x1234},
      {"reg F3 is R3", {0xE6, 0xF3, 0x34, 0x12}, 1, 0xFC06, 0x1234},
      {"bitoff 10 is FD20", {0x2F, 0x10}, 1, 0xFD20, 0x0004},
      {"bitoff 90 is FF20", {0x2F, 0x90}, 1, 0xFF20, 0x0004},
      {"bitoff 90 under EXTR is F120", {0xD1, 0x80, 0x2F, 0x90}, 2, 0xF120, 0x0004},
      {"bitoff F3 is R3", {0x2F, 0xF3}, 1, 0xFC06, 0x0004},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig rig;
    rig.Code(c.code);
    rig.Steps(c.steps);
    EXPECT_EQ(rig.Word(c.address), c.expected);
  }
}

TEST(ShortAddresses, ExtrLastsForItsCountOnly) {
  CpuRig rig;
  rig.Code({0xD1, 0x90,                // EXTR #2
            0xE6, 0x10, 0x01, 0x00,    // MOV reg 10,#1: F020
            0xE6, 0x11, 0x02, 0x00,    // MOV reg 11,#2: F022
            0xE6, 0x12, 0x03, 0x00});  // MOV reg 12,#3: FE24 again
  rig.Steps(4);
  EXPECT_EQ(rig.Word(0xF020), 1);
  EXPECT_EQ(rig.Word(0xF022), 2);
  EXPECT_EQ(rig.Word(0xF024), 0);
  EXPECT_EQ(rig.Word(0xFE24), 3);
}

TEST(Paging, DppsSelectThePageOfEachQuarter) {
  struct Case {
    const char* name;
    int32_t dppAddress;  // which DPP the case sets
    uint16_t page;
    uint16_t offset;  // 16-bit data address the instruction uses
    int32_t physical;
  };
  // clang-format off
  const Case cases[] = {
      {"DPP0 page 0", 0xFE00, 0x0000, 0x0010, 0x000010},
      {"DPP1 in segment 1", 0xFE02, 0x0045, 0x4010, 0x114010},
      {"DPP2 in segment 64", 0xFE04, 0x0100, 0x8002, 0x400002},
      {"DPP3 highest page", 0xFE06, 0x03FF, 0xFFFE, 0xFFFFFE},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CpuRig rig;
    rig.cpu().PokeWord(c.dppAddress, c.page);
    rig.Word(c.physical, 0x5A5A);
    const auto low = static_cast<uint8_t>(c.offset), high = static_cast<uint8_t>(c.offset >> 8);
    rig.Run({0xF2, 0xF1, low, high});  // MOV R1,mem
    EXPECT_EQ(rig.cpu().Gpr(1), 0x5A5A);
    rig.cpu().SetGpr(2, 0xA5A5);
    rig.Run({0xF6, 0xF2, low, high});  // MOV mem,R2
    EXPECT_EQ(rig.Word(c.physical), 0xA5A5);
  }
}

TEST(Paging, ExtsReachesAnotherSegmentForExactlyItsCount) {
  CpuRig rig;
  rig.Word(0x020010, 0x1111);
  rig.Word(0x020020, 0x2222);
  rig.Word(0x000010, 0x3333);
  rig.Word(0x020030, 0x4444);
  rig.cpu().SetGpr(3, 0x0020);
  rig.Code({0xD7, 0x10, 0x02, 0x00,    // EXTS #2,#2
            0xF2, 0xF1, 0x10, 0x00,    // MOV R1,0010h   -> 02:0010
            0xA8, 0x23,                // MOV R2,[R3]    -> 02:0020
            0xF2, 0xF4, 0x10, 0x00});  // MOV R4,0010h -> DPP0: 00:0010
  EXPECT_EQ(rig.Steps(4), std::vector<StepKind>(4, StepKind::kExecuted));
  EXPECT_EQ(rig.cpu().Gpr(1), 0x1111);
  EXPECT_EQ(rig.cpu().Gpr(2), 0x2222);
  EXPECT_EQ(rig.cpu().Gpr(4), 0x3333);
}

TEST(Paging, ExtpUsesTheGivenPageAndLeavesRegistersAndStackAlone) {
  CpuRig rig;
  rig.Word(0x48C004, 0x0BCD);  // page 123h
  rig.cpu().SetGpr(5, 0x7777);
  rig.Code({0xD7, 0x50, 0x23, 0x01,    // EXTP #123h,#2
            0xF2, 0xF1, 0x04, 0x00,    // MOV R1,0004h -> 48C004
            0xEC, 0xF5,                // PUSH R5: the stack stays in segment 0
            0xF2, 0xF2, 0x04, 0x00});  // MOV R2,0004h: DPP0 again
  rig.Steps(4);
  EXPECT_EQ(rig.cpu().Gpr(1), 0x0BCD);
  EXPECT_EQ(rig.Word(0xFBFE), 0x7777);
  EXPECT_EQ(rig.cpu().Gpr(2), 0x0000);
}

TEST(Paging, ExtsWithTheSegmentInARegister) {
  CpuRig rig;
  rig.Word(0x030100, 0x9999);
  rig.cpu().SetGpr(5, 0x0003);
  rig.cpu().SetGpr(6, 0x0100);
  rig.Code({0xDC, 0x05,    // EXTS R5,#1
            0xA8, 0x16});  // MOV R1,[R6]
  rig.Steps(2);
  EXPECT_EQ(rig.cpu().Gpr(1), 0x9999);
}

}  // namespace
}  // namespace velmora::test
