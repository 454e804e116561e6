// Every operand format of the decoder with a real encoding, decoded at 001000h with the
// shipped opcode table and the default type's registers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "decoder_fixture.h"

namespace velmora {
namespace {

using test::DecodeRun;
using test::Shipped;

constexpr int32_t kAt = 0x001000;

struct OperandCase {
  std::vector<uint8_t> bytes;
  std::string text;
};

TEST(OperandFormats, OneEncodingOfEachFormat) {
  const OperandCase cases[] = {
      {{0xCC, 0x00}, "NOP     "},
      {{0x00, 0x12}, "ADD     R1,R2"},
      {{0x01, 0x23}, "ADDB    RL1,RH1"},
      {{0xC0, 0x4A}, "MOVBZ   R10,RL2"},  // byte register in the high nibble
      {{0xD0, 0x4A}, "MOVBS   R10,RL2"},
      {{0xC2, 0xF4, 0x34, 0x12}, "MOVBZ   R4,DPP0:1234h"},  // loads a word register
      {{0xD2, 0xF4, 0x34, 0x12}, "MOVBS   R4,DPP0:1234h"},
      {{0xC5, 0xF4, 0x34, 0x12}, "MOVBZ   DPP0:1234h,RL2"},  // stores from a byte register
      {{0xD5, 0xF5, 0x34, 0x12}, "MOVBS   DPP0:1234h,RH2"},
      {{0x4B, 0x77}, "DIV     R7"},
      {{0xA1, 0x30}, "NEGB    RH1"},
      {{0xFC, 0x88}, "POP     PSW"},
      {{0x02, 0xF3, 0x34, 0x12}, "ADD     R3,DPP0:1234h"},
      {{0x42, 0xF3, 0x34, 0x52}, "CMP     R3,DPP1:1234h"},
      {{0xF3, 0xF3, 0x00, 0xC0}, "MOVB    RH1,DPP3:0000h"},  // F3 is a byte register
      {{0xF6, 0xF2, 0x12, 0xFE}, "MOV     SP,R2"},           // from FE00 on a register
      {{0xF7, 0xF4, 0x00, 0x40}, "MOVB    DPP1:0000h,RL2"},
      {{0xE6, 0xD8, 0x11, 0x80}, "MOV     S0CON,#8011h"},
      {{0xE7, 0xF6, 0x5A, 0x00}, "MOVB    RL3,#5Ah"},
      {{0xB6, 0xFA, 0x00, 0x80}, "CMPD2   R10,#8000h"},
      {{0xE0, 0x15}, "MOV     R5,#1h"},
      {{0xE1, 0x93}, "MOVB    RH1,#9h"},
      {{0x92, 0xF6, 0x02, 0x80}, "CMPI2   R6,DPP2:0002h"},
      {{0x84, 0x05, 0x00, 0x42}, "MOV     [R5],DPP1:0200h"},
      {{0xB4, 0x01, 0xC0, 0xFF}, "MOVB    P2,[R1]"},
      {{0x08, 0x12}, "ADD     R1,#2h"},
      {{0x08, 0x19}, "ADD     R1,[R1]"},
      {{0x48, 0x3E}, "CMP     R3,[R2+]"},
      {{0x49, 0x5D}, "CMPB    RH2,[R1+]"},
      {{0xC8, 0x23}, "MOV     [R2],[R3]"},
      {{0xE8, 0x67}, "MOV     [R6],[R7+]"},
      {{0xD8, 0x89}, "MOV     [R8+],[R9]"},
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
      {{0x0A, 0x88, 0xF0, 0x30}, "BFLDL   PSW,#F0h,#30h"},
      {{0x1A, 0x88, 0x30, 0xF0}, "BFLDH   PSW,#F0h,#30h"},
      {{0x4A, 0x88, 0xE0, 0x15}, "BMOV    P2_5,C"},  // source encoded first
      {{0xBF, 0x88}, "BSET    IEN"},                 // PSW.11, a bit of its own
      {{0xFF, 0x88}, "BSET    PSW.15"},              // ILVL, a field of four bits
      {{0x0E, 0x04}, "BCLR    FD08.0"},              // the bit-addressable RAM
      // Jumps on a bit: behind the 4-byte instruction + 2 * rel.
      {{0x8A, 0x88, 0x05, 0xB0}, "JB      IEN,100Eh"},
      {{0x9A, 0x88, 0x05, 0xB0}, "JNB     IEN,100Eh"},
      {{0xAA, 0x88, 0xFE, 0xB0}, "JBC     IEN,1000h"},
      {{0xBA, 0x88, 0x05, 0xB0}, "JNBS    IEN,100Eh"},
      // JMPR and CALLR: the instruction's address + 2 + 2 * rel.
      {{0x3D, 0xFC}, "JMPR    cc_NZ,0FFAh"},
      {{0xBB, 0x10}, "CALLR   1022h"},
      {{0xAB, 0x2C}, "CALLI   cc_Z,[R12]"},
      {{0xEA, 0x80, 0x34, 0x12}, "JMPA    cc_C,1234h"},
      {{0xDA, 0x01, 0x34, 0x12}, "CALLS   01h,1234h"},
      {{0xE2, 0xF2, 0x00, 0x30}, "PCALL   R2,3000h"},
      {{0x9B, 0x34}, "TRAP    #1A"},
      {{0xC1, 0x00, 0x00, 0x00}, "Illegal Instruction"},  // no format: one word
      {{0xF2, 0xF1, 0x18, 0xFE}, "Illegal Operand"},      // no register at FE18
  };
  for (const auto& c : cases) {
    int32_t end = 0;
    EXPECT_EQ(DecodeRun(c.bytes, 1, kAt, &end)[0], c.text);
    EXPECT_EQ(end - kAt, c.text == "Illegal Instruction" ? 2 : static_cast<int>(c.bytes.size()))
        << c.text;
  }
}

TEST(OperandFormats, AllSixteenConditions) {
  const char* const names[] = {"UC", "NET", "Z",   "NZ",  "V",   "NV",  "N",   "NN",
                               "C",  "NC",  "SGT", "SLE", "SLT", "SGE", "UGT", "ULE"};
  for (int cc = 0; cc < 16; ++cc) {
    const auto cc4 = static_cast<uint8_t>(cc << 4);
    EXPECT_EQ(
        DecodeRun({static_cast<uint8_t>(cc4 | 0x0D), 0x01, 0x9C, static_cast<uint8_t>(cc4 | 0x03)},
                  2, kAt),
        (std::vector<std::string>{std::string("JMPR    cc_") + names[cc] + ",1004h",
                                  std::string("JMPI    cc_") + names[cc] + ",[R3]"}));
  }
}

TEST(OperandFormats, RelativeTargetsStayInTheSegment) {
  EXPECT_EQ(DecodeRun({0x0D, 0x01}, 1, 0x01FFFE)[0], "JMPR    cc_UC,0002h");
  EXPECT_EQ(DecodeRun({0x0D, 0xFE}, 1, 0x020000)[0], "JMPR    cc_UC,FFFEh");
}

TEST(OperandFormats, ARegisterAddressWithoutANameIsAnIllegalOperand) {
  RegisterTable registers;  // neither CP (FE10) nor SP (FE12) yet
  MemoryImage image;
  image.StoreLoaded(kAt, std::vector<uint8_t>{0xF2, 0xF1, 0x10, 0xFE, 0xF2, 0xF1, 0x12, 0xFE});
  InstructionDecoder decoder(Shipped().opcodes, registers);
  EXPECT_EQ(decoder.Disassemble(image, kAt + 4), "Illegal Operand");
  ASSERT_TRUE(registers.Add(RegisterDefinition("SP", 0xFE12)));
  decoder.RegistersChanged();
  EXPECT_EQ(decoder.Disassemble(image, kAt), "Illegal Operand");
  EXPECT_EQ(decoder.Disassemble(image, kAt + 4), "MOV     R1,SP");
}

}  // namespace
}  // namespace velmora
