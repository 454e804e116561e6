// Arithmetic, logic, shifts, multiply and divide: one row per case, values and flags
// worked out by hand from the instruction set's definitions.
#include <gtest/gtest.h>

#include "cpu_rig.h"

namespace velmora::test {
namespace {

constexpr int32_t kMdh = 0xFE0C, kMdl = 0xFE0E, kMdc = 0xFF0E;
constexpr uint16_t kMdriu = 0x0010;

class Arithmetic : public ::testing::TestWithParam<InstructionRow> {};
TEST_P(Arithmetic, GivesResultAndFlags) {
  CheckRow(GetParam());
}

// ADD R1,R2 = 00 12; SUB 20 12; ADDC 10 12; SUBC 30 12; CMP 40 12.
// clang-format off
const InstructionRow kAddSub[] = {
    {"ADD 7FFF+1 overflows", {0x00, 0x12}, {{1, 0x7FFF}, {2, 1}}, {}, 0, {{1, 0x8000}}, {},
     kN | kV},
    {"ADD FFFF+1 carries", {0x00, 0x12}, {{1, 0xFFFF}, {2, 1}}, {}, 0, {{1, 0}}, {}, kC | kZ},
    {"ADD 8000+8000", {0x00, 0x12}, {{1, 0x8000}, {2, 0x8000}}, {}, 0, {{1, 0}}, {},
     kC | kV | kZ | kE},
    {"ADD clears old flags", {0x00, 0x12}, {{1, 0x1234}, {2, 0}}, {}, kFlagMask, {{1, 0x1234}}, {},
     0},
    {"SUB 8000-1 overflows", {0x20, 0x12}, {{1, 0x8000}, {2, 1}}, {}, 0, {{1, 0x7FFF}}, {}, kV},
    {"SUB 0-1 borrows", {0x20, 0x12}, {{1, 0}, {2, 1}}, {}, 0, {{1, 0xFFFF}}, {}, kC | kN},
    {"SUB equal is zero", {0x20, 0x12}, {{1, 5}, {2, 5}}, {}, kC, {{1, 0}}, {}, kZ},
    {"SUB 1-8000", {0x20, 0x12}, {{1, 1}, {2, 0x8000}}, {}, 0, {{1, 0x8001}}, {},
     kE | kV | kC | kN},
    {"ADDC adds carry", {0x10, 0x12}, {{1, 1}, {2, 1}}, {}, kC | kZ, {{1, 3}}, {}, 0},
    {"ADDC zero keeps Z", {0x10, 0x12}, {{1, 0xFFFF}, {2, 0}}, {}, kC | kZ, {{1, 0}}, {}, kC | kZ},
    {"ADDC zero without Z", {0x10, 0x12}, {{1, 0xFFFF}, {2, 0}}, {}, kC, {{1, 0}}, {}, kC},
    {"SUBC borrow in", {0x30, 0x12}, {{1, 0}, {2, 0}}, {}, kC | kZ, {{1, 0xFFFF}}, {}, kC | kN},
    {"SUBC zero keeps Z", {0x30, 0x12}, {{1, 1}, {2, 0}}, {}, kC | kZ, {{1, 0}}, {}, kZ},
    {"CMP 3 with 5", {0x40, 0x12}, {{1, 3}, {2, 5}}, {}, 0, {{1, 3}, {2, 5}}, {}, kC | kN},
    {"CMP 8000 with 7FFF", {0x40, 0x12}, {{1, 0x8000}, {2, 0x7FFF}}, {}, 0, {{1, 0x8000}}, {}, kV},
    // Byte forms: RL1 = 2, RH1 = 3.
    {"ADDB 7F+1", {0x01, 0x23}, {{1, 0x017F}}, {}, 0, {{1, 0x0180}}, {}, kN | kV},
    {"ADDB FF+1", {0x01, 0x23}, {{1, 0x01FF}}, {}, 0, {{1, 0x0100}}, {}, kC | kZ},
    {"SUBB 80-1", {0x21, 0x23}, {{1, 0x0180}}, {}, 0, {{1, 0x017F}}, {}, kV},
    {"SUBB 0-80", {0x21, 0x23}, {{1, 0x8000}}, {}, 0, {{1, 0x8080}}, {}, kC | kN | kV | kE},
    {"CMPB equal", {0x41, 0x23}, {{1, 0x4444}}, {}, 0, {{1, 0x4444}}, {}, kZ},
    // Other addressing modes of the same operations.
    {"ADD reg,#data16", {0x06, 0xF1, 0x01, 0x00}, {{1, 0x7FFF}}, {}, 0, {{1, 0x8000}}, {}, kN | kV},
    {"ADD Rw,#data3", {0x08, 0x13}, {{1, 0x0010}}, {}, 0, {{1, 0x0013}}, {}, 0},
    {"ADD Rw,[Rw]", {0x08, 0x1A}, {{1, 1}, {2, 0x3000}}, {{0x3000, 2}}, 0, {{1, 3}, {2, 0x3000}},
     {}, 0},
    {"ADD Rw,[Rw+]", {0x08, 0x1E}, {{1, 1}, {2, 0x3000}}, {{0x3000, 2}}, 0, {{1, 3}, {2, 0x3002}},
     {}, 0},
    {"ADDB reg,#data8", {0x07, 0xF2, 0x80, 0x00}, {{1, 0x1200}}, {}, 0, {{1, 0x1280}}, {}, kN | kE},
    {"ADD mem,reg", {0x04, 0xF1, 0x00, 0x30}, {{1, 0x0005}}, {{0x3000, 0xFFFB}}, 0, {{1, 5}},
     {{0x3000, 0}}, kC | kZ},
    {"ADD reg,mem", {0x02, 0xF1, 0x00, 0x30}, {{1, 2}}, {{0x3000, 3}}, 0, {{1, 5}}, {}, 0},
    {"SUB reg,#data16", {0x26, 0xF3, 0x10, 0x00}, {{3, 0x0010}}, {}, 0, {{3, 0}}, {}, kZ},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(AddSubtractCompare, Arithmetic, ::testing::ValuesIn(kAddSub));

// AND 60, OR 70, XOR 50; NEG 81 n0, CPL 91 n0, NEGB A1, CPLB B1; CMPI/CMPD; MOVBZ/MOVBS.
// clang-format off
const InstructionRow kLogic[] = {
    {"AND clears C and V", {0x60, 0x12}, {{1, 0xF0F0}, {2, 0x8F0F}}, {}, kC | kV, {{1, 0x8000}},
     {}, kN},
    {"OR zero", {0x70, 0x12}, {{1, 0}, {2, 0}}, {}, 0, {{1, 0}}, {}, kZ},
    {"XOR source 8000", {0x50, 0x12}, {{1, 0x8000}, {2, 0x8000}}, {}, 0, {{1, 0}}, {}, kZ | kE},
    {"ORB byte only", {0x71, 0x23}, {{1, 0x8001}}, {}, 0, {{1, 0x8081}}, {}, kN | kE},
    {"NEG 1", {0x81, 0x10}, {{1, 1}}, {}, 0, {{1, 0xFFFF}}, {}, kC | kN},
    {"NEG 8000", {0x81, 0x10}, {{1, 0x8000}}, {}, 0, {{1, 0x8000}}, {}, kC | kV | kN | kE},
    {"NEG 0", {0x81, 0x10}, {{1, 0}}, {}, kC, {{1, 0}}, {}, kZ},
    {"CPL 00FF", {0x91, 0x10}, {{1, 0x00FF}}, {}, 0, {{1, 0xFF00}}, {}, kN},
    {"CPL FFFF", {0x91, 0x10}, {{1, 0xFFFF}}, {}, 0, {{1, 0}}, {}, kZ},
    {"CPL 8000", {0x91, 0x10}, {{1, 0x8000}}, {}, 0, {{1, 0x7FFF}}, {}, kE},
    {"NEGB RL1", {0xA1, 0x20}, {{1, 0x1201}}, {}, 0, {{1, 0x12FF}}, {}, kC | kN},
    {"CPLB RH1", {0xB1, 0x30}, {{1, 0x0012}}, {}, 0, {{1, 0xFF12}}, {}, kN},
    {"CMPI1 equal then step", {0x80, 0x51}, {{1, 5}}, {}, 0, {{1, 6}}, {}, kZ},
    {"CMPI2 below", {0x90, 0x51}, {{1, 3}}, {}, 0, {{1, 5}}, {}, kC | kN},
    {"CMPD1 above", {0xA0, 0x21}, {{1, 7}}, {}, 0, {{1, 6}}, {}, 0},
    {"CMPD2 #data16", {0xB6, 0xF1, 0x00, 0x01}, {{1, 0x0100}}, {}, 0, {{1, 0x00FE}}, {}, kZ},
    {"CMPI1 Rw,mem", {0x82, 0xF2, 0x00, 0x30}, {{2, 9}}, {{0x3000, 9}}, 0, {{2, 10}}, {}, kZ},
    {"MOVBZ R1,RH2", {0xC0, 0x51}, {{2, 0x8000}}, {}, kC | kV, {{1, 0x0080}}, {}, kC | kV},
    {"MOVBS R1,RH2", {0xD0, 0x51}, {{2, 0x8000}}, {}, kC | kV, {{1, 0xFF80}}, {},
     kC | kV | kN | kE},
    {"MOVBS R1,RL2 zero", {0xD0, 0x41}, {{1, 0xFFFF}, {2, 0x7F00}}, {}, 0, {{1, 0}}, {}, kZ},
    {"MOVBZ reg,mem", {0xC2, 0xF1, 0x01, 0x30}, {}, {{0x3000, 0xAB00}}, 0, {{1, 0x00AB}}, {}, 0},
    {"MOVBS mem,reg", {0xD5, 0xF2, 0x00, 0x30}, {{1, 0x00F0}}, {}, 0, {}, {{0x3000, 0xFFF0}}, kN},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(LogicNegateCompareStep, Arithmetic, ::testing::ValuesIn(kLogic));

// SHL Rw,#n = 5C n1 (count in the high nibble), SHR 7C, ROL 1C, ROR 3C, ASHR BC; the
// register forms 4C/6C/0C/2C/AC take the count from the low four bits of Rw2.
// clang-format off
const InstructionRow kShifts[] = {
    {"SHL by 0", {0x5C, 0x01}, {{1, 0x8001}}, {}, kC | kV, {{1, 0x8001}}, {}, kN},
    {"SHL by 15", {0x5C, 0xF1}, {{1, 0x0003}}, {}, 0, {{1, 0x8000}}, {}, kC | kN},
    {"SHL out to zero", {0x5C, 0x11}, {{1, 0x8000}}, {}, 0, {{1, 0}}, {}, kC | kZ},
    {"SHR by 15", {0x7C, 0xF1}, {{1, 0x8001}}, {}, 0, {{1, 0x0001}}, {}, kV},
    {"SHR by 1", {0x7C, 0x11}, {{1, 0x0001}}, {}, 0, {{1, 0}}, {}, kC | kZ},
    {"SHR by register", {0x6C, 0x12}, {{1, 0x000F}, {2, 0x0013}}, {}, 0, {{1, 0x0001}}, {},
     kC | kV},
    {"ASHR by 15", {0xBC, 0xF1}, {{1, 0x8000}}, {}, 0, {{1, 0xFFFF}}, {}, kN},
    {"ASHR by 4", {0xBC, 0x41}, {{1, 0x8018}}, {}, 0, {{1, 0xF801}}, {}, kC | kN},
    {"ASHR by 0", {0xBC, 0x01}, {{1, 0x0001}}, {}, kC | kV, {{1, 0x0001}}, {}, 0},
    {"ROL by 1", {0x1C, 0x11}, {{1, 0x8000}}, {}, 0, {{1, 0x0001}}, {}, kC},
    {"ROL by 0", {0x1C, 0x01}, {{1, 0x1234}}, {}, kC, {{1, 0x1234}}, {}, 0},
    {"ROL by 4", {0x1C, 0x41}, {{1, 0x1234}}, {}, 0, {{1, 0x2341}}, {}, kC},
    {"ROL by register", {0x0C, 0x12}, {{1, 0x1234}, {2, 0xFFF4}}, {}, 0, {{1, 0x2341}}, {}, kC},
    {"ROR by 1", {0x3C, 0x11}, {{1, 0x0001}}, {}, 0, {{1, 0x8000}}, {}, kC | kN},
    {"ROR by 4", {0x3C, 0x41}, {{1, 0x1234}}, {}, 0, {{1, 0x4123}}, {}, kV},
    {"ROR by 15", {0x3C, 0xF1}, {{1, 0x8001}}, {}, 0, {{1, 0x0003}}, {}, kV},
    {"PRIOR 0100", {0x2B, 0x12}, {{2, 0x0100}}, {}, kN, {{1, 7}}, {}, 0},
    {"PRIOR 0001", {0x2B, 0x12}, {{2, 0x0001}}, {}, 0, {{1, 15}}, {}, 0},
    {"PRIOR 8000", {0x2B, 0x12}, {{1, 9}, {2, 0x8000}}, {}, 0, {{1, 0}}, {}, 0},
    {"PRIOR 0", {0x2B, 0x12}, {{1, 9}}, {}, 0, {{1, 0}}, {}, kZ},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(ShiftsAndRotates, Arithmetic, ::testing::ValuesIn(kShifts));

// MUL R1,R2 = 0B 12, MULU 1B 12; DIV R1 = 4B 11, DIVU 5B, DIVL 6B, DIVLU 7B.
// clang-format off
const InstructionRow kMultiplyDivide[] = {
    {"MUL needs 17 bits", {0x0B, 0x12}, {{1, 0x0100}, {2, 0x0100}}, {}, 0, {},
     {{kMdh, 0x0001}, {kMdl, 0x0000}, {kMdc, kMdriu}}, kV},
    {"MUL negative fits", {0x0B, 0x12}, {{1, 0xFFFF}, {2, 2}}, {}, 0, {},
     {{kMdh, 0xFFFF}, {kMdl, 0xFFFE}}, kN},
    {"MUL 32768 does not fit", {0x0B, 0x12}, {{1, 0x4000}, {2, 2}}, {}, 0, {},
     {{kMdh, 0}, {kMdl, 0x8000}}, kV},
    {"MUL zero", {0x0B, 0x12}, {{1, 0}, {2, 5}}, {}, kC | kN, {}, {{kMdh, 0}, {kMdl, 0}}, kZ},
    {"MULU largest", {0x1B, 0x12}, {{1, 0xFFFF}, {2, 0xFFFF}}, {}, 0, {},
     {{kMdh, 0xFFFE}, {kMdl, 0x0001}}, kV | kN},
    {"MULU fits", {0x1B, 0x12}, {{1, 0x0100}, {2, 0x00FF}}, {}, 0, {}, {{kMdh, 0}, {kMdl, 0xFF00}},
     0},
    {"DIV 7/2", {0x4B, 0x11}, {{1, 2}}, {{kMdl, 7}}, 0, {}, {{kMdl, 3}, {kMdh, 1}}, 0},
    {"DIV -7/2", {0x4B, 0x11}, {{1, 2}}, {{kMdl, 0xFFF9}}, 0, {}, {{kMdl, 0xFFFD}, {kMdh, 0xFFFF}},
     kN},
    {"DIV by zero", {0x4B, 0x11}, {{1, 0}}, {{kMdl, 0x1234}, {kMdh, 0x5678}}, kZ, {},
     {{kMdl, 0x1234}, {kMdh, 0x5678}}, kV},
    {"DIV 8000/-1", {0x4B, 0x11}, {{1, 0xFFFF}}, {{kMdl, 0x8000}, {kMdh, 0x1111}}, 0, {},
     {{kMdl, 0x8000}, {kMdh, 0x1111}}, kV},
    {"DIV zero quotient", {0x4B, 0x11}, {{1, 5}}, {{kMdl, 3}}, 0, {}, {{kMdl, 0}, {kMdh, 3}}, kZ},
    {"DIVU FFFF/2", {0x5B, 0x11}, {{1, 2}}, {{kMdl, 0xFFFF}}, 0, {}, {{kMdl, 0x7FFF}, {kMdh, 1}},
     0},
    {"DIVU by zero", {0x5B, 0x11}, {{1, 0}}, {{kMdl, 9}, {kMdh, 8}}, 0, {}, {{kMdl, 9}, {kMdh, 8}},
     kV},
    {"DIVL overflow", {0x6B, 0x11}, {{1, 2}}, {{kMdh, 1}, {kMdl, 0}}, 0, {},
     {{kMdh, 1}, {kMdl, 0}}, kV},
    {"DIVL 65536/4", {0x6B, 0x11}, {{1, 4}}, {{kMdh, 1}, {kMdl, 0}}, 0, {},
     {{kMdh, 0}, {kMdl, 0x4000}}, 0},
    {"DIVL negative", {0x6B, 0x11}, {{1, 0xFFFE}}, {{kMdh, 0}, {kMdl, 10}}, 0, {},
     {{kMdh, 0}, {kMdl, 0xFFFB}}, kN},
    {"DIVLU overflow", {0x7B, 0x11}, {{1, 2}}, {{kMdh, 2}, {kMdl, 1}}, 0, {},
     {{kMdh, 2}, {kMdl, 1}}, kV},
    {"DIVLU FFFF quotient", {0x7B, 0x11}, {{1, 2}}, {{kMdh, 1}, {kMdl, 0xFFFF}}, 0, {},
     {{kMdh, 1}, {kMdl, 0xFFFF}}, kN},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(MultiplyDivide, Arithmetic, ::testing::ValuesIn(kMultiplyDivide));

}  // namespace
}  // namespace velmora::test
