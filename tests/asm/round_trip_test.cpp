// The decoder and the assembler against each other over every defined opcode: the text
// of an encoding assembles back to the same bytes, and what the assembler writes decodes
// to the same text. Real encodings first, then many made from each opcode's fields.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "asm_fixture.h"
#include "disasm/instruction_fields.h"
#include "disasm/operand_formats.h"
#include "disasm/operand_layout.h"
#include "formats/hex_reader.h"

namespace velmora {
namespace {

using test::Shipped;

constexpr int32_t kAt = 0x012340;

std::string decodeOne(const std::vector<uint8_t>& bytes, int32_t at = kAt) {
  return test::DecodeRun(bytes, 1, at)[0];
}

// The line assembled on its own at address at.
assembler::Assembly assembleLine(const std::string& line, int32_t at = kAt) {
  char org[32];
  std::snprintf(org, sizeof org, "  ORG %Xh\n", static_cast<unsigned>(at));
  return test::AssembleText(std::string(org) + "  " + line + "\n");
}

struct Encoding {
  std::vector<uint8_t> bytes;
  std::string text;
};

TEST(RoundTrip, InstructionSetEncodingsBothWays) {
  // Encodings as the processor has them, independent of the tables under test.
  const Encoding cases[] = {
      {{0xCC, 0x00}, "NOP     "},
      {{0xCB, 0x00}, "RET     "},
      {{0xFB, 0x88}, "RETI    "},
      {{0xB5, 0x4A, 0xB5, 0xB5}, "EINIT   "},
      {{0xA5, 0x5A, 0xA5, 0xA5}, "DISWDT  "},
      {{0x87, 0x78, 0x87, 0x87}, "IDLE    "},
      {{0x00, 0x12}, "ADD     R1,R2"},
      {{0x01, 0x23}, "ADDB    RL1,RH1"},
      {{0xC0, 0x4A}, "MOVBZ   R10,RL2"},
      {{0x4B, 0x77}, "DIV     R7"},
      {{0x81, 0x30}, "NEG     R3"},
      {{0xFC, 0x88}, "POP     PSW"},
      {{0xC2, 0xF4, 0x34, 0x12}, "MOVBZ   R4,DPP0:1234h"},
      {{0xF6, 0xF2, 0x12, 0xFE}, "MOV     SP,R2"},
      {{0xE6, 0xD8, 0x11, 0x80}, "MOV     S0CON,#8011h"},
      {{0xE7, 0xF6, 0x5A, 0x00}, "MOVB    RL3,#5Ah"},
      {{0xB6, 0xFA, 0x00, 0x80}, "CMPD2   R10,#8000h"},
      {{0x92, 0xF6, 0x02, 0x80}, "CMPI2   R6,DPP2:0002h"},
      {{0xE0, 0x15}, "MOV     R5,#1h"},
      {{0x08, 0x19}, "ADD     R1,[R1]"},
      {{0x48, 0x3E}, "CMP     R3,[R2+]"},
      {{0x84, 0x05, 0x00, 0x42}, "MOV     [R5],DPP1:0200h"},
      {{0x88, 0x60}, "MOV     [-R0],R6"},
      {{0xC4, 0x34, 0x02, 0x00}, "MOV     [R4+#0002h],R3"},
      {{0xF4, 0x12, 0x10, 0x00}, "MOVB    RH0,[R2+#0010h]"},
      {{0x0A, 0x88, 0xF0, 0x30}, "BFLDL   PSW,#F0h,#30h"},
      {{0x1A, 0x88, 0x30, 0xF0}, "BFLDH   PSW,#F0h,#30h"},
      {{0x4A, 0x88, 0xE0, 0x15}, "BMOV    P2_5,C"},
      {{0xBF, 0x88}, "BSET    IEN"},
      {{0xFF, 0x88}, "BSET    PSW.15"},
      {{0x0E, 0x04}, "BCLR    FD08.0"},
      {{0x8A, 0x88, 0x05, 0xB0}, "JB      IEN,234Eh"},
      {{0x3D, 0xFC}, "JMPR    cc_NZ,233Ah"},
      {{0xBB, 0x10}, "CALLR   2362h"},
      {{0xAB, 0x2C}, "CALLI   cc_Z,[R12]"},
      {{0xEA, 0x80, 0x34, 0x12}, "JMPA    cc_C,1234h"},
      {{0xDA, 0x01, 0x34, 0x12}, "CALLS   01h,1234h"},
      {{0xE2, 0xF2, 0x00, 0x30}, "PCALL   R2,3000h"},
      {{0x9B, 0x34}, "TRAP    #1A"},
      {{0xD7, 0x40, 0xFF, 0x03}, "EXTP    #03FFh,#1"},
      {{0xD7, 0x80, 0x02, 0x00}, "EXTSR   #02h,#1"},
      {{0xDC, 0x73}, "EXTP    R3,#4"},
      {{0xD1, 0x90}, "EXTR    #2"},
      {{0xD1, 0x20}, "ATOMIC  #3"},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(decodeOne(c.bytes), c.text);
    const auto assembly = assembleLine(c.text);
    ASSERT_TRUE(assembly.Ok()) << c.text << ": " << test::Errors(assembly)[0];
    EXPECT_EQ(test::Bytes(assembly), c.bytes) << c.text;
  }
}

// Encodings made by putting varied values into each opcode's operand fields.
std::vector<std::vector<uint8_t>> encodingsOf(uint8_t opcode, int count) {
  std::vector<std::vector<uint8_t>> out;
  const OpcodeEntry& entry = Shipped().opcodes.At(opcode);
  uint32_t seed = 0x9E3779B9U * (opcode + 1U);
  auto next = [&seed] {
    seed = seed * 1664525U + 1013904223U;
    return seed >> 8;
  };
  for (const OperandLayout& layout : LayoutsOf(FormatOf(opcode))) {
    for (int n = 0; n < count; ++n) {
      std::vector<uint8_t> bytes(static_cast<size_t>(entry.length), 0);
      auto put = [&](FieldRef ref, uint32_t value) {
        if (ref.Used())
          StoreField(entry, ref.width, ref.index, value & ((1U << ref.width) - 1), bytes);
      };
      if (layout.form >= 0) put(Two(0), static_cast<uint32_t>(layout.form));
      for (const FixedField& fixed : layout.Fixed()) put(fixed.field, fixed.ValueFor(opcode));
      for (const OperandSlot& slot : layout.Operands()) {
        uint32_t value = next();
        // The trap number's field has its lowest bit clear in the processor's encoding.
        if (slot.kind == OperandKind::kTrapNumber) value &= ~1U;
        // Registers by short number: every second one a general purpose register.
        if (slot.kind == OperandKind::kRegWord || slot.kind == OperandKind::kRegByte) {
          if (n % 2 == 0) value |= 0xF0;
        }
        put(slot.field, value);
        put(slot.copy, value);
        put(slot.second, next());
      }
      bytes[0] = opcode;  // the opcode byte of the columns that hold an operand in it
      out.push_back(bytes);
    }
  }
  return out;
}

TEST(RoundTrip, EveryDefinedOpcodeThroughItsFields) {
  int exact = 0;
  int total = 0;
  for (int code = 0; code < 256; ++code) {
    const auto opcode = static_cast<uint8_t>(code);
    if (!Shipped().opcodes.At(opcode).Defined() || FormatOf(opcode) == OperandFormat::kUndefined)
      continue;
    int exactHere = 0;
    for (const auto& bytes : encodingsOf(opcode, 24)) {
      const std::string text = decodeOne(bytes);
      if (text == "Illegal Operand") continue;  // a register the definitions do not name
      ++total;
      const auto assembly = assembleLine(text);
      ASSERT_TRUE(assembly.Ok()) << text << ": " << test::Errors(assembly)[0];
      const std::vector<uint8_t> again = test::Bytes(assembly);
      ASSERT_FALSE(again.empty()) << text;
      EXPECT_EQ(decodeOne(again), text) << "opcode " << std::hex << code;
      if (again == bytes) {
        ++exact;
        ++exactHere;
        continue;
      }
      // Another encoding of the same text is only taken when it is another form that is
      // no longer: the same opcode must give back the very bytes.
      EXPECT_NE(again[0], bytes[0]) << text << " opcode " << std::hex << code;
      EXPECT_LE(again.size(), bytes.size()) << text;
    }
    EXPECT_GT(exactHere, 0) << "no encoding of opcode " << std::hex << code << " comes back";
  }
  // Only the texts two forms print alike (two named registers either way round) differ.
  EXPECT_GE(exact * 100, total * 99) << exact << " of " << total;
}

TEST(RoundTrip, ListingRunUnderPrefixes) {
  // Decoded as a listing does, then assembled as one source.
  const std::vector<uint8_t> code = {
      0xD7, 0x00, 0x01, 0x00, 0xF2, 0xF1, 0x34, 0x52,  // EXTS #01h,#1 / MOV R1,5234h
      0xD1, 0x90, 0xEC, 0x28, 0xEC, 0x28,              // EXTR #2 / PUSH T7 / PUSH T7
      0xD7, 0xC0, 0x04, 0x00, 0xF6, 0x28, 0x00, 0x80,  // EXTPR #0004h,#1 / MOV 8000h,T7
      0xF2, 0xF1, 0x34, 0x52};                         // MOV R1,DPP1:1234h
  const auto lines = test::DecodeRun(code, 8, kAt);
  std::string source = "  ORG 12340h\n";
  for (const auto& line : lines) source += "  " + line + "\n";
  const auto assembly = test::AssembleText(source);
  ASSERT_TRUE(assembly.Ok()) << test::Errors(assembly)[0];
  EXPECT_EQ(test::Bytes(assembly), code) << source;
}

// A whole shipped image listed as the disassembly view lists it, each line assembled back
// in one source (lines the decoder cannot show as DB of their bytes): the result lists
// the same, line for line.
TEST(RoundTrip, ShippedImagesListTheSameAfterAssembly) {
  for (const char* name : {"XFLASH16.HEX", "IFLASH_TOLVANE.HEX"}) {
    MemoryImage image;
    SelectionList selections;
    MessageLog log{"unused-log.txt"};
    HexRead((test::ShippedDataFolder() / "DRIVER" / name).string(), image, selections, log);
    const int32_t start = selections.LowestSelectionStart();
    int32_t end = start;
    while (image.IsDefined(end)) ++end;
    ASSERT_GT(end - start, 16) << name;

    InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
    std::vector<std::string> listing;
    char org[32];
    std::snprintf(org, sizeof org, "  ORG %Xh\n", static_cast<unsigned>(start));
    std::string source = org;
    for (int32_t at = start; at + decoder.InstructionLength(image, at) <= end;) {
      const int length = decoder.InstructionLength(image, at);
      const std::string text = decoder.Disassemble(image, at);
      listing.push_back(text);
      if (text.rfind("Illegal", 0) == 0) {
        source += "  DB ";
        for (int i = 0; i < length; ++i)
          source += (i ? "," : "") + std::to_string(image.GetByte(at + i));
        source += "\n";
      } else {
        source += "  " + text + "\n";
      }
      at += length;
    }
    const auto assembly = test::AssembleText(source);
    ASSERT_TRUE(assembly.Ok()) << name << ": " << test::Errors(assembly)[0];
    MemoryImage again;
    for (const auto& chunk : assembly.chunks) again.StoreLoaded(chunk.address, chunk.bytes);
    InstructionDecoder second(Shipped().opcodes, Shipped().registers);
    int32_t at = start;
    for (size_t i = 0; i < listing.size(); ++i) {
      ASSERT_EQ(second.Disassemble(again, at), listing[i]) << name << " line " << i;
      at += second.InstructionLength(again, at);
    }
  }
}

}  // namespace
}  // namespace velmora
