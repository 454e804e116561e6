// Every operand format of the decoder with real encodings of the instruction set, decoded
// with the shipped opcode table and the default type's registers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "decoder_fixture.h"
#include "disasm/instruction_decoder.h"

namespace velmora {
namespace {

using test::PlaceCode;
using test::Shipped;

struct OperandCase {
  std::vector<uint8_t> bytes;
  std::string text;
};

constexpr int32_t kAt = 0x001000;

// Decodes each case on its own at kAt, with no prefix in force.
void expectDecoded(const std::vector<OperandCase>& cases) {
  for (const auto& c : cases) {
    MemoryImage image;
    PlaceCode(image, kAt, c.bytes);
    InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
    EXPECT_EQ(decoder.Disassemble(image, kAt), c.text) << "opcode " << std::hex << int{c.bytes[0]};
    EXPECT_EQ(decoder.InstructionLength(image, kAt), static_cast<int>(c.bytes.size()))
        << "opcode " << std::hex << int{c.bytes[0]};
  }
}

TEST(OperandFormats, WithoutOperands) {
  expectDecoded({
      {{0xCC, 0x00}, "NOP     "},
      {{0xCB, 0x00}, "RET     "},
      {{0xDB, 0x00}, "RETS    "},
      {{0xFB, 0x88}, "RETI    "},
      {{0xB7, 0x48, 0xB7, 0xB7}, "SRST    "},
      {{0x87, 0x78, 0x87, 0x87}, "IDLE    "},
      {{0x97, 0x68, 0x97, 0x97}, "PWRDN   "},
      {{0xA5, 0x5A, 0xA5, 0xA5}, "DISWDT  "},
      {{0xA7, 0x58, 0xA7, 0xA7}, "SRVWDT  "},
      {{0xB5, 0x4A, 0xB5, 0xB5}, "EINIT   "},
  });
}

TEST(OperandFormats, GeneralPurposeRegisters) {
  expectDecoded({
      {{0x00, 0x12}, "ADD     R1,R2"},
      {{0xF0, 0x12}, "MOV     R1,R2"},
      {{0x0B, 0x45}, "MUL     R4,R5"},
      {{0x2B, 0x3C}, "PRIOR   R3,R12"},
      {{0xAC, 0xFE}, "ASHR    R15,R14"},
      {{0x01, 0x23}, "ADDB    RL1,RH1"},
      {{0xF1, 0xF0}, "MOVB    RH7,RL0"},
      // MOVBZ and MOVBS hold the byte register in the high nibble.
      {{0xC0, 0x4A}, "MOVBZ   R10,RL2"},
      {{0xD0, 0xB3}, "MOVBS   R3,RH5"},
      {{0x4B, 0x77}, "DIV     R7"},
      {{0x7B, 0x22}, "DIVLU   R2"},
      {{0x81, 0x20}, "NEG     R2"},
      {{0x91, 0xF0}, "CPL     R15"},
      {{0xA1, 0x30}, "NEGB    RH1"},
      {{0xB1, 0xE0}, "CPLB    RL7"},
  });
}

TEST(OperandFormats, RegistersByShortNumber) {
  expectDecoded({
      {{0xEC, 0xF4}, "PUSH    R4"},
      {{0xFC, 0x88}, "POP     PSW"},
      {{0xEB, 0x08}, "RETP    CP"},
      {{0xE6, 0xD8, 0x11, 0x80}, "MOV     S0CON,#8011h"},
      {{0xC6, 0x08, 0x00, 0xFC}, "SCXT    CP,#FC00h"},
      // Byte instructions name F0..FF as byte registers.
      {{0xE7, 0xF6, 0x5A, 0x00}, "MOVB    RL3,#5Ah"},
      {{0x47, 0xF1, 0x0A, 0x00}, "CMPB    RH0,#0Ah"},
      {{0xF3, 0xF3, 0x00, 0xC0}, "MOVB    RH1,DPP3:0000h"},
  });
}

TEST(OperandFormats, MemoryAddressesThroughTheDataPagePointers) {
  expectDecoded({
      {{0x02, 0xF3, 0x34, 0x12}, "ADD     R3,DPP0:1234h"},
      {{0x42, 0xF3, 0x34, 0x52}, "CMP     R3,DPP1:1234h"},
      {{0xF2, 0xF1, 0x02, 0x80}, "MOV     R1,DPP2:0002h"},
      {{0x04, 0xF5, 0xFE, 0xBF}, "ADD     DPP2:3FFEh,R5"},
      {{0xF7, 0xF4, 0x00, 0x40}, "MOVB    DPP1:0000h,RL2"},
      {{0xC5, 0xF5, 0x10, 0x10}, "MOVBZ   DPP0:1010h,RH2"},
      // From FE00 on an address is a register.
      {{0xF6, 0xF2, 0x12, 0xFE}, "MOV     SP,R2"},
      {{0xD6, 0x03, 0x40, 0xFE}, "SCXT    DPP3,T2"},
      {{0x82, 0xF6, 0x00, 0xFF}, "CMPI1   R6,P0L"},
      {{0x92, 0xF6, 0x34, 0x12}, "CMPI2   R6,DPP0:1234h"},
      {{0x84, 0x05, 0x00, 0x42}, "MOV     [R5],DPP1:0200h"},
      {{0xA4, 0x02, 0xC4, 0xFF}, "MOVB    [R2],P3"},
      {{0x94, 0x07, 0x22, 0x00}, "MOV     DPP0:0022h,[R7]"},
      {{0xB4, 0x01, 0xC0, 0xFF}, "MOVB    P2,[R1]"},
  });
}

TEST(OperandFormats, ImmediateData) {
  expectDecoded({
      {{0xE6, 0xF4, 0x34, 0x12}, "MOV     R4,#1234h"},
      {{0x86, 0xF3, 0xFF, 0x00}, "CMPI1   R3,#00FFh"},
      {{0xB6, 0xFA, 0x00, 0x80}, "CMPD2   R10,#8000h"},
      // #data4 sits in the high nibble, the register in the low one.
      {{0xE0, 0x15}, "MOV     R5,#1h"},
      {{0x5C, 0x42}, "SHL     R2,#4h"},
      {{0x80, 0xF0}, "CMPI1   R0,#Fh"},
      {{0xBC, 0x3A}, "ASHR    R10,#3h"},
      {{0xE1, 0x93}, "MOVB    RH1,#9h"},
  });
}

TEST(OperandFormats, IndirectOrShortDataOfTheArithmeticGroup) {
  expectDecoded({
      {{0x08, 0x12}, "ADD     R1,#2h"},
      {{0x28, 0x07}, "SUB     R0,#7h"},
      {{0x08, 0x19}, "ADD     R1,[R1]"},
      {{0x48, 0x3E}, "CMP     R3,[R2+]"},
      {{0x78, 0xAB}, "OR      R10,[R3]"},
      {{0x09, 0x2B}, "ADDB    RL1,[R3]"},
      {{0x49, 0x5D}, "CMPB    RH2,[R1+]"},
      {{0x79, 0xF3}, "ORB     RH7,#3h"},
  });
}

TEST(OperandFormats, MovesThroughPointers) {
  expectDecoded({
      {{0xC8, 0x23}, "MOV     [R2],[R3]"},
      {{0xC9, 0x45}, "MOVB    [R4],[R5]"},
      {{0xE8, 0x67}, "MOV     [R6],[R7+]"},
      {{0xE9, 0x67}, "MOVB    [R6],[R7+]"},
      {{0xD8, 0x89}, "MOV     [R8+],[R9]"},
      {{0xD9, 0x89}, "MOVB    [R8+],[R9]"},
      {{0xA8, 0x10}, "MOV     R1,[R0]"},
      {{0xB8, 0x10}, "MOV     [R0],R1"},
      {{0xA9, 0x31}, "MOVB    RH1,[R1]"},
      {{0xB9, 0x31}, "MOVB    [R1],RH1"},
      {{0x98, 0xAF}, "MOV     R10,[R15+]"},
      {{0x99, 0x2E}, "MOVB    RL1,[R14+]"},
      {{0x88, 0x60}, "MOV     [-R0],R6"},
      {{0x89, 0x50}, "MOVB    [-R0],RH2"},
      {{0xC4, 0x34, 0x02, 0x00}, "MOV     [R4+#0002h],R3"},
      {{0xD4, 0x34, 0xFE, 0xFF}, "MOV     R3,[R4+#FFFEh]"},
      {{0xE4, 0x12, 0x10, 0x00}, "MOVB    [R2+#0010h],RH0"},
      {{0xF4, 0x12, 0x10, 0x00}, "MOVB    RH0,[R2+#0010h]"},
  });
}

TEST(OperandFormats, BitsNamedOnlyWhenTheDefinitionsGiveASingleBit) {
  expectDecoded({
      {{0xBF, 0x88}, "BSET    IEN"},     // PSW.11, a bit of its own
      {{0xFF, 0x88}, "BSET    PSW.15"},  // ILVL, a field of four bits, ends at bit 15
      {{0xCE, 0x88}, "BCLR    PSW.12"},  // no name at all
      {{0x7E, 0xE0}, "BCLR    P2_7"},
      {{0x0E, 0x04}, "BCLR    FD08.0"},  // the bit-addressable RAM
      {{0xFF, 0x7F}, "BSET    FDFE.15"},
      {{0x3F, 0xF2}, "BSET    R2.3"},  // no register at FFE4: the general purpose R2
      // BMOV dst,src is encoded with the source first: "4A QQ ZZ qz".
      {{0x4A, 0x88, 0xE0, 0x15}, "BMOV    P2_5,C"},
      {{0x6A, 0x10, 0x88, 0x0B}, "BAND    IEN,FD20.0"},
      {{0x2A, 0x88, 0x88, 0x3F}, "BCMP    PSW.15,Z"},
      // Bit field instructions name the word; BFLDH holds data before mask.
      {{0x0A, 0x88, 0xF0, 0x30}, "BFLDL   PSW,#F0h,#30h"},
      {{0x1A, 0x88, 0x30, 0xF0}, "BFLDH   PSW,#F0h,#30h"},
      {{0x0A, 0x20, 0x0F, 0x05}, "BFLDL   FD40,#0Fh,#05h"},
  });
}

TEST(OperandFormats, RelativeTargets) {
  expectDecoded({
      // JMPR and CALLR: the instruction's address + 2 + 2 * rel.
      {{0x3D, 0xFC}, "JMPR    cc_NZ,0FFAh"},
      {{0x0D, 0x7F}, "JMPR    cc_UC,1100h"},
      {{0xFD, 0x80}, "JMPR    cc_ULE,0F02h"},
      {{0x8D, 0x00}, "JMPR    cc_C,1002h"},
      {{0xBB, 0x10}, "CALLR   1022h"},
      // Jumps on a bit: the following instruction (4 bytes on) + 2 * rel.
      {{0x8A, 0x88, 0x05, 0xB0}, "JB      IEN,100Eh"},
      {{0xAA, 0xE0, 0xFB, 0x70}, "JNB     P2_7,0FFAh"},
      {{0x9A, 0x04, 0x00, 0x20}, "JBC     FD08.2,1004h"},
      {{0xBA, 0x88, 0xFF, 0x30}, "JNBS    Z,1002h"},
  });
}

TEST(OperandFormats, AllSixteenConditions) {
  const char* const names[] = {"cc_UC",  "cc_NET", "cc_Z",   "cc_NZ", "cc_V",   "cc_NV",
                               "cc_N",   "cc_NN",  "cc_C",   "cc_NC", "cc_SGT", "cc_SLE",
                               "cc_SLT", "cc_SGE", "cc_UGT", "cc_ULE"};
  std::vector<OperandCase> cases;
  for (int cc = 0; cc < 16; ++cc) {
    cases.push_back({{static_cast<uint8_t>(cc << 4 | 0x0D), 0x01},
                     std::string("JMPR    ") + names[cc] + ",1004h"});
    cases.push_back({{0x9C, static_cast<uint8_t>(cc << 4 | 0x03)},
                     std::string("JMPI    ") + names[cc] + ",[R3]"});
  }
  expectDecoded(cases);
}

TEST(OperandFormats, AbsoluteTargetsAndTraps) {
  expectDecoded({
      {{0xCA, 0x00, 0x34, 0x12}, "CALLA   cc_UC,1234h"},
      {{0xEA, 0x80, 0x00, 0x02}, "JMPA    cc_C,0200h"},
      {{0xAB, 0x2C}, "CALLI   cc_Z,[R12]"},
      {{0xDA, 0x01, 0x34, 0x12}, "CALLS   01h,1234h"},
      {{0xFA, 0xC0, 0x00, 0x00}, "JMPS    C0h,0000h"},
      {{0xE2, 0xF2, 0x00, 0x30}, "PCALL   R2,3000h"},
      {{0xE2, 0x08, 0x00, 0x30}, "PCALL   CP,3000h"},
      {{0x9B, 0x34}, "TRAP    #1A"},
      {{0x9B, 0x00}, "TRAP    #00"},
  });
}

TEST(OperandFormats, RelativeTargetsStayInTheSegment) {
  MemoryImage image;
  PlaceCode(image, 0x01FFFE, {0x0D, 0x01});
  PlaceCode(image, 0x020000, {0x0D, 0xFE});
  InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
  EXPECT_EQ(decoder.Disassemble(image, 0x01FFFE), "JMPR    cc_UC,0002h");
  EXPECT_EQ(decoder.Disassemble(image, 0x020000), "JMPR    cc_UC,FFFEh");
}

TEST(OperandFormats, OpcodesWithoutAFormatAreIllegalAndStepOneWord) {
  for (const uint8_t opcode : {0xC1, 0x83, 0x44, 0x8C, 0xF8}) {
    MemoryImage image;
    PlaceCode(image, kAt, {opcode, 0x00, 0x00, 0x00});
    InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
    EXPECT_EQ(decoder.Disassemble(image, kAt), "Illegal Instruction") << int{opcode};
    EXPECT_EQ(decoder.InstructionLength(image, kAt), 2) << int{opcode};
  }
}

TEST(OperandFormats, UnnamedRegistersMakeTheLineAnIllegalOperand) {
  expectDecoded({
      {{0xF2, 0xF1, 0x18, 0xFE}, "Illegal Operand"},  // no register at FE18
      {{0xEC, 0x7F}, "Illegal Operand"},              // nor at FEFE
      {{0x0F, 0x85}, "Illegal Operand"},              // nor at FF0A
      {{0x0A, 0x85, 0x01, 0x01}, "Illegal Operand"},
      {{0x4A, 0x88, 0x85, 0x00}, "Illegal Operand"},
  });
}

TEST(OperandFormats, AnAddressOnlyARegisterNameWouldGiveIsIllegalWithoutIt) {
  RegisterTable registers;  // CP is not defined
  ASSERT_TRUE(registers.Add(RegisterDefinition("SP", 0xFE12)));
  MemoryImage image;
  PlaceCode(image, kAt, {0xF2, 0xF1, 0x10, 0xFE, 0xF2, 0xF1, 0x12, 0xFE});
  InstructionDecoder decoder(Shipped().opcodes, registers);
  EXPECT_EQ(decoder.Disassemble(image, kAt), "Illegal Operand");
  EXPECT_EQ(decoder.Disassemble(image, kAt + 4), "MOV     R1,SP");
}

TEST(OperandFormats, TheRegisterIndexFollowsAReloadedTable) {
  RegisterTable registers;
  MemoryImage image;
  PlaceCode(image, kAt, {0xEC, 0x08});
  InstructionDecoder decoder(Shipped().opcodes, registers);
  EXPECT_EQ(decoder.Disassemble(image, kAt), "Illegal Operand");
  ASSERT_TRUE(registers.Add(RegisterDefinition("CP", 0xFE10)));
  decoder.RegistersChanged();
  EXPECT_EQ(decoder.Disassemble(image, kAt), "PUSH    CP");
}

}  // namespace
}  // namespace velmora
