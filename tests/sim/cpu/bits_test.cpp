// Single-bit and bit-field instructions on a GPR, an SFR and the bit-addressable RAM.
#include <gtest/gtest.h>

#include "cpu_rig.h"

namespace velmora::test {
namespace {

class Bits : public ::testing::TestWithParam<InstructionRow> {};
TEST_P(Bits, ChangeTheBitAndSetFlags) {
  CheckRow(GetParam());
}

// BSET q = qF bitoff, BCLR q = qE bitoff; the two-bit forms are "op src dst (q<<4 | z)";
// BFLDL = 0A bitoff mask data, BFLDH = 1A bitoff data mask.
// clang-format off
const InstructionRow kBits[] = {
    {"BSET SFR bit", {0x3F, 0x90}, {}, {{0xFF20, 0x0001}}, kC | kV, {}, {{0xFF20, 0x0009}}, kZ},
    {"BSET already set", {0x3F, 0x90}, {}, {{0xFF20, 0x0008}}, 0, {}, {{0xFF20, 0x0008}}, kN},
    {"BCLR GPR bit", {0xFE, 0xF1}, {{1, 0x8001}}, {}, 0, {{1, 0x0001}}, {}, kN},
    {"BSET RAM bit", {0x0F, 0x05}, {}, {}, 0, {}, {{0xFD0A, 0x0001}}, kZ},
    {"BCLR RAM bit 15", {0xFE, 0x7F}, {}, {{0xFDFE, 0xFFFF}}, 0, {}, {{0xFDFE, 0x7FFF}}, kN},
    {"BMOV copies a set bit", {0x4A, 0xF2, 0xF1, 0xF0}, {{1, 0}, {2, 0x8000}}, {}, 0, {{1, 1}}, {},
     kN},
    {"BMOV copies a clear bit", {0x4A, 0xF2, 0xF1, 0xF0}, {{1, 0xFFFF}, {2, 0x7FFF}}, {}, 0,
     {{1, 0xFFFE}}, {}, kZ},
    {"BMOVN inverts", {0x3A, 0xF2, 0xF1, 0xF0}, {{1, 0xFFFF}, {2, 0x8000}}, {}, 0, {{1, 0xFFFE}},
     {}, kN},
    {"BMOV SFR bit to RAM bit", {0x4A, 0x90, 0x00, 0x31}, {}, {{0xFF20, 0x0008}}, 0, {},
     {{0xFD00, 0x0002}}, kN},
    {"BAND", {0x6A, 0xF2, 0xF1, 0x00}, {{1, 1}, {2, 0}}, {}, 0, {{1, 0}}, {}, kV | kN},
    {"BOR", {0x5A, 0xF2, 0xF1, 0x00}, {{1, 0}, {2, 1}}, {}, 0, {{1, 1}}, {}, kV | kN},
    {"BXOR both set", {0x7A, 0xF2, 0xF1, 0x00}, {{1, 1}, {2, 1}}, {}, 0, {{1, 0}}, {}, kV | kC},
    {"BCMP both clear", {0x2A, 0xF2, 0xF1, 0x00}, {{1, 0xFFFE}, {2, 0}}, {}, kN, {{1, 0xFFFE}}, {},
     kZ},
    {"BFLDL", {0x0A, 0xF1, 0x0F, 0x05}, {{1, 0x12F3}}, {}, kC, {{1, 0x12F5}}, {}, 0},
    {"BFLDH negative", {0x1A, 0xF1, 0x80, 0xFF}, {{1, 0x0000}}, {}, 0, {{1, 0x8000}}, {}, kN},
    {"BFLDH on PSW keeps its result", {0x1A, 0x88, 0xA0, 0xF0}, {}, {}, kN | kC, {},
     {{0xFF10, 0xA003}}, kN | kC},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(SetClearMoveCombine, Bits, ::testing::ValuesIn(kBits));

}  // namespace
}  // namespace velmora::test
