// The prefixes: how many following instructions each covers and what it changes in their
// names. Each row is decoded as a run from 002000h with a fresh decoder.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "decoder_fixture.h"

namespace velmora {
namespace {

using Lines = std::vector<std::string>;

struct PrefixCase {
  std::vector<uint8_t> bytes;
  Lines lines;
};

TEST(PrefixInstructions, CoverageAndNames) {
  const PrefixCase cases[] = {
      // EXTS #01h,#1: 5234h plain once, then through DPP1 again.
      {{0xD7, 0x00, 0x01, 0x00, 0xF2, 0xF1, 0x34, 0x52, 0xF2, 0xF1, 0x34, 0x52},
       {"EXTS    #01h,#1", "MOV     R1,5234h", "MOV     R1,DPP1:1234h"}},
      // EXTP #0003h,#2 (page bits 8-9 in the last byte); registers keep their names.
      {{0xD7, 0x50, 0x03, 0x00, 0x84, 0x05, 0x00, 0x40, 0xF2, 0xF1,
        0x10, 0xFF, 0xF6, 0xF1, 0x00, 0x40, 0xD7, 0x40, 0xFF, 0x03},
       {"EXTP    #0003h,#2", "MOV     [R5],4000h", "MOV     R1,PSW", "MOV     DPP1:0000h,R1",
        "EXTP    #03FFh,#1"}},
      // EXTR #2: short number 28 is T7 at F050 for exactly two instructions, then T0.
      {{0xD1, 0x90, 0xEC, 0x28, 0xEC, 0x28, 0xEC, 0x28},
       {"EXTR    #2", "PUSH    T7", "PUSH    T7", "PUSH    T0"}},
      // EXTR moves bit addresses and names long addresses; F000 holds no register.
      {{0xD1, 0xB0, 0x3F, 0x80, 0xF2, 0xF1, 0xC2, 0xF1, 0xF2, 0xF1, 0x00, 0xF0},
       {"EXTR    #4", "BSET    DP0L_3", "MOV     R1,ODP2", "Illegal Operand"}},
      {{0xD7, 0x80, 0x02, 0x00, 0xF2, 0x28, 0x00, 0x80, 0xD7, 0xC0,
        0x04, 0x00, 0xF6, 0x28, 0x00, 0x80, 0xF6, 0x28, 0x00, 0x80},
       {"EXTSR   #02h,#1", "MOV     T7,8000h", "EXTPR   #0004h,#1", "MOV     8000h,T7",
        "MOV     DPP2:0000h,T0"}},
      {{0xDC, 0x05, 0xDC, 0x73, 0xDC, 0xA1, 0xDC, 0xF2},
       {"EXTS    R5,#1", "EXTP    R3,#4", "EXTSR   R1,#3", "EXTPR   R2,#4"}},
      {{0xDC, 0x45, 0xF2, 0xF1, 0x34, 0x52, 0xF2, 0xF1, 0x34, 0x52},
       {"EXTP    R5,#1", "MOV     R1,5234h", "MOV     R1,DPP1:1234h"}},
      {{0xD1, 0x20, 0xF2, 0xF1, 0x34, 0x52, 0xEC, 0x28},
       {"ATOMIC  #3", "MOV     R1,DPP1:1234h", "PUSH    T0"}},
      {{0xD1, 0x40, 0xD1, 0xC0}, {"Illegal Instruction", "Illegal Instruction"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(test::DecodeRun(c.bytes, static_cast<int>(c.lines.size()), 0x002000), c.lines)
        << c.lines[0];
  }
}

}  // namespace
}  // namespace velmora
