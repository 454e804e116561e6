// The prefixes and the instructions they cover: how far each reaches and what it changes
// in the names of the instructions under it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "decoder_fixture.h"
#include "disasm/instruction_decoder.h"

namespace velmora {
namespace {

using test::DecodeRun;
using test::PlaceCode;
using test::Shipped;

constexpr int32_t kAt = 0x002000;

// Places the bytes and decodes count instructions in a row with a fresh decoder.
std::vector<std::string> run(const std::vector<uint8_t>& bytes, int count) {
  MemoryImage image;
  PlaceCode(image, kAt, bytes);
  InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
  return DecodeRun(decoder, image, kAt, count);
}

using Lines = std::vector<std::string>;

TEST(PrefixInstructions, ExtsShowsTheNextAddressesPlain) {
  EXPECT_EQ(run({0xD7, 0x00, 0x01, 0x00,   // EXTS #01h,#1
                 0xF2, 0xF1, 0x34, 0x52,   // MOV R1,5234h
                 0xF2, 0xF1, 0x34, 0x52},  // the same, no longer covered
                3),
            (Lines{"EXTS    #01h,#1", "MOV     R1,5234h", "MOV     R1,DPP1:1234h"}));
}

TEST(PrefixInstructions, ExtpWithTheTwoHighPageBitsInTheLastByte) {
  EXPECT_EQ(run({0xD7, 0x50, 0x03, 0x00,   // EXTP #0003h,#2
                 0x84, 0x05, 0x00, 0x40,   // MOV [R5],4000h
                 0xF2, 0xF1, 0x10, 0xFF,   // MOV R1,PSW: registers keep their names
                 0xF6, 0xF1, 0x00, 0x40,   // MOV DPP1:0000h,R1
                 0xD7, 0x40, 0xFF, 0x03},  // EXTP #03FFh,#1
                5),
            (Lines{"EXTP    #0003h,#2", "MOV     [R5],4000h", "MOV     R1,PSW",
                   "MOV     DPP1:0000h,R1", "EXTP    #03FFh,#1"}));
}

TEST(PrefixInstructions, ExtrCoversExactlyTwoInstructions) {
  // The short number 28 names T0 at FE50, and T7 at F050 in the extended area.
  EXPECT_EQ(run({0xD1, 0x90, 0xEC, 0x28, 0xEC, 0x28, 0xEC, 0x28}, 4),
            (Lines{"EXTR    #2", "PUSH    T7", "PUSH    T7", "PUSH    T0"}));
}

TEST(PrefixInstructions, ExtrMovesBitAddressesAndNamesLongAddresses) {
  EXPECT_EQ(run({0xD1, 0xB0,              // EXTR #4
                 0x3F, 0x80,              // BSET DP0L_3 (P0L_3 without EXTR)
                 0xF2, 0xF1, 0xC2, 0xF1,  // MOV R1,ODP2 at F1C2
                 0xF2, 0xF1, 0x34, 0x12,  // an address outside the registers stays one
                 0xF2, 0xF1, 0x00, 0xF0,  // F000 holds no register: illegal
                 0x3F, 0x80, 0xF2, 0xF1, 0xC2, 0xF1},
                7),
            (Lines{"EXTR    #4", "BSET    DP0L_3", "MOV     R1,ODP2", "MOV     R1,DPP0:1234h",
                   "Illegal Operand", "BSET    P0L_3", "MOV     R1,DPP3:31C2h"}));
}

TEST(PrefixInstructions, ExtsrAndExtprDoBoth) {
  EXPECT_EQ(run({0xD7, 0x80, 0x02, 0x00,   // EXTSR #02h,#1
                 0xF2, 0x28, 0x00, 0x80,   // MOV T7,8000h
                 0xD7, 0xC0, 0x04, 0x00,   // EXTPR #0004h,#1
                 0xF6, 0x28, 0x00, 0x80,   // MOV 8000h,T7
                 0xF6, 0x28, 0x00, 0x80},  // MOV DPP2:0000h,T0
                5),
            (Lines{"EXTSR   #02h,#1", "MOV     T7,8000h", "EXTPR   #0004h,#1", "MOV     8000h,T7",
                   "MOV     DPP2:0000h,T0"}));
}

TEST(PrefixInstructions, RegisterForms) {
  EXPECT_EQ(run({0xDC, 0x05, 0xDC, 0x73, 0xDC, 0xA1, 0xDC, 0xF2}, 4),
            (Lines{"EXTS    R5,#1", "EXTP    R3,#4", "EXTSR   R1,#3", "EXTPR   R2,#4"}));
  EXPECT_EQ(run({0xDC, 0x45, 0xF2, 0xF1, 0x34, 0x52, 0xF2, 0xF1, 0x34, 0x52}, 3),
            (Lines{"EXTP    R5,#1", "MOV     R1,5234h", "MOV     R1,DPP1:1234h"}));
}

TEST(PrefixInstructions, AtomicChangesNoNames) {
  EXPECT_EQ(run({0xD1, 0x20, 0xF2, 0xF1, 0x34, 0x52, 0xEC, 0x28}, 3),
            (Lines{"ATOMIC  #3", "MOV     R1,DPP1:1234h", "PUSH    T0"}));
}

TEST(PrefixInstructions, UndefinedFormsOfD1AreIllegal) {
  EXPECT_EQ(run({0xD1, 0x40, 0xD1, 0xC0}, 2),
            (Lines{"Illegal Instruction", "Illegal Instruction"}));
}

TEST(PrefixInstructions, CountersAreSetToCountPlusOneAndStepDown) {
  MemoryImage image;
  PlaceCode(image, kAt, {0xD7, 0xF0, 0x01, 0x00, 0xCC, 0x00});  // EXTPR #0001h,#4
  InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
  decoder.Disassemble(image, kAt);
  EXPECT_EQ(decoder.Counters().extr, 5);
  EXPECT_EQ(decoder.Counters().extp, 5);
  EXPECT_EQ(decoder.Counters().exts, 0);
  for (int covered = 4; covered >= 0; --covered) {
    decoder.Disassemble(image, kAt + 4);
    EXPECT_EQ(decoder.Counters().extr, covered);
  }
  decoder.Disassemble(image, kAt + 4);
  EXPECT_EQ(decoder.Counters().extr, 0);  // never below 0

  decoder.Disassemble(image, kAt);
  decoder.ResetCounters();
  EXPECT_EQ(decoder.Counters().extr, 0);
  EXPECT_EQ(decoder.Counters().extp, 0);
}

}  // namespace
}  // namespace velmora
