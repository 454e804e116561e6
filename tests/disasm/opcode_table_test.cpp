// The opcode table file: what the reader takes and reports, how an instruction is cut into
// fields, and the table shipped with the program.
#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "core/message_log.h"
#include "decoder_fixture.h"
#include "disasm/instruction_fields.h"
#include "disasm/operand_formats.h"
#include "temp_folder.h"

namespace velmora {
namespace {

using test::Shipped;

std::string describe(const LineIssues& issues) {
  std::string text;
  for (const auto& issue : issues) text += std::to_string(issue.line) + ": " + issue.reason + "\n";
  return text;
}

TEST(OpcodeFile, ReportsAMissingFileTakesSpacedLinesAndNumbersTheOthers) {
  test::TempFolder folder;
  MessageLog log{"unused-log.txt"};
  OpcodeTable table;
  const auto load = [&](const std::string& text) {
    return LoadOpcodeTable(folder.Write("command.cmd", text), table, log);
  };
  load("F0,MOV,2,8,4,4\n");
  const std::string path = folder.File("CMDDEF/none.cmd");
  EXPECT_FALSE(LoadOpcodeTable(path, table, log).found);
  EXPECT_EQ(table.DefinedCount(), 0);
  std::string logged;  // wrapped over list entries
  for (int i = 0; i < log.List().Count(); ++i) logged += log.List().Entry(i);
  EXPECT_EQ(logged, "*ERROR: File " + path + " not found");

  load("F0,MOV,2,8,4,4\n");
  const std::vector<std::pair<std::string, std::string>> bad = {
      {"00,ADD", "fewer than three fields"},
      {"G0,ADD,2,8,4,4", "opcode is not a hexadecimal byte"},
      {"100,ADD,2,8,4,4", "opcode is not a hexadecimal byte"},
      {"00,,2,8,4,4", "no mnemonic"},
      {"00,ADD,9,16,16,16,16,8", "length is not 1 to 8"},
      {"00,ADD,two,8,4,4", "length is not 1 to 8"},
      {"00,ADD,2,8,3,5", "field width is not 2, 4, 8 or 16"},
      {"00,ADD,4,2,2,2,2,4,4,4,4,4,4", "more than nine field widths"},
      {"00,ADD,2,8,4", "field widths add up to 12 bits, not 16"},
  };
  std::string text = "; header\r\n\r\n   ; indented\r\n";
  for (const auto& b : bad) text += b.first + "\r\n";
  text += " 0d , JMPR , 2 , 4 , 4 , 8 \r\nCC,NOP,2,8,8\nCC,NOPE,2,8,4,4\n";
  const OpcodeTableResult result = load(text);
  ASSERT_EQ(result.issues.size(), bad.size() + 1) << describe(result.issues);
  for (size_t i = 0; i < bad.size(); ++i) {
    EXPECT_EQ(result.issues[i].line, static_cast<long>(i + 4)) << bad[i].first;
    EXPECT_EQ(result.issues[i].reason, bad[i].second) << bad[i].first;
  }
  EXPECT_EQ(result.issues.back().line, static_cast<long>(bad.size() + 6));  // CC again
  EXPECT_EQ(table.DefinedCount(), 2);
  EXPECT_FALSE(table.At(0x00).Defined());
  EXPECT_FALSE(table.At(0xF0).Defined());
  EXPECT_EQ(table.At(0xCC).mnemonic, "NOPE");
  const OpcodeEntry& jmpr = table.At(0x0D);
  EXPECT_EQ(jmpr.mnemonic, "JMPR");
  EXPECT_EQ(jmpr.length, 2);
  EXPECT_EQ(jmpr.fieldWidth, (decltype(jmpr.fieldWidth){4, 4, 8}));
}

TEST(InstructionFieldsCut, FieldsByWidthMostSignificantBitFirstWordsLowByteFirst) {
  OpcodeEntry entry;
  entry.fieldCount = 6;
  entry.fieldWidth = {8, 2, 2, 4, 16, 16};
  entry.length = 6;
  InstructionFields fields;
  fields.Cut(entry, std::array<uint8_t, 5>{0xD7, 0x9C, 0x34, 0x12, 0xAB});  // one byte short
  EXPECT_EQ(fields.Eight(0), 0xD7u);
  EXPECT_EQ((std::array<uint32_t, 3>{fields.Two(0), fields.Two(1), fields.Four(0)}),
            (std::array<uint32_t, 3>{2, 1, 0xC}));
  EXPECT_EQ(fields.Sixteen(0), 0x1234u);
  EXPECT_EQ(fields.Sixteen(1), 0x00ABu);  // a missing byte reads as zero
  EXPECT_EQ(fields.Count(16), 2);
  entry.fieldCount = 3;
  entry.fieldWidth = {4, 16, 4};
  fields.Cut(entry, std::array<uint8_t, 3>{0xAB, 0xCD, 0xEF});
  EXPECT_EQ((std::array<uint32_t, 3>{fields.Four(0), fields.Sixteen(0), fields.Four(1)}),
            (std::array<uint32_t, 3>{0xA, 0xDEBC, 0xF}));
  EXPECT_EQ(fields.Count(8), 0);  // a new cut forgets the former fields
}

TEST(ShippedOpcodeTable, LoadsWholeWithLengthsMatchingWidthsAndAFormatForEachOpcode) {
  EXPECT_TRUE(Shipped().opcodeResult.found);
  EXPECT_TRUE(Shipped().opcodeResult.issues.empty()) << describe(Shipped().opcodeResult.issues);
  EXPECT_EQ(Shipped().opcodes.DefinedCount(), 236);
  for (int opcode = 0; opcode < 256; ++opcode) {
    const OpcodeEntry& entry = Shipped().opcodes.At(static_cast<uint8_t>(opcode));
    EXPECT_EQ(entry.Defined(), FormatOf(static_cast<uint8_t>(opcode)) != OperandFormat::kUndefined)
        << std::hex << opcode;
    if (!entry.Defined()) continue;
    int bits = 0;
    for (int i = 0; i < entry.fieldCount; ++i) bits += entry.fieldWidth[static_cast<size_t>(i)];
    EXPECT_EQ(bits, 8 * entry.length) << std::hex << opcode;
    EXPECT_TRUE(entry.length == 2 || entry.length == 4) << std::hex << opcode;
  }
}

// The instruction set opcode by opcode: row h lists the mnemonics of opcodes h0 .. hF ("-"
// where the instruction set has none; "EXT" for the prefixes) and their lengths.
TEST(ShippedOpcodeTable, MnemonicsAndLengthsOpcodeByOpcode) {
  struct Row {
    const char* mnemonics;
    const char* lengths;
  };
  // clang-format off
  const Row rows[16] = {
      {"ADD ADDB ADD ADDB ADD ADDB ADD ADDB ADD ADDB BFLDL MUL ROL JMPR BCLR BSET", "2244444422422222"},
      {"ADDC ADDCB ADDC ADDCB ADDC ADDCB ADDC ADDCB ADDC ADDCB BFLDH MULU ROL JMPR BCLR BSET",
       "2244444422422222"},
      {"SUB SUBB SUB SUBB SUB SUBB SUB SUBB SUB SUBB BCMP PRIOR ROR JMPR BCLR BSET", "2244444422422222"},
      {"SUBC SUBCB SUBC SUBCB SUBC SUBCB SUBC SUBCB SUBC SUBCB BMOVN - ROR JMPR BCLR BSET",
       "22444444224-2222"},
      {"CMP CMPB CMP CMPB - - CMP CMPB CMP CMPB BMOV DIV SHL JMPR BCLR BSET", "2244--4422422222"},
      {"XOR XORB XOR XORB XOR XORB XOR XORB XOR XORB BOR DIVU SHL JMPR BCLR BSET", "2244444422422222"},
      {"AND ANDB AND ANDB AND ANDB AND ANDB AND ANDB BAND DIVL SHR JMPR BCLR BSET", "2244444422422222"},
      {"OR ORB OR ORB OR ORB OR ORB OR ORB BXOR DIVLU SHR JMPR BCLR BSET", "2244444422422222"},
      {"CMPI1 NEG CMPI1 - MOV - CMPI1 IDLE MOV MOVB JB - - JMPR BCLR BSET", "224-4-44224--222"},
      {"CMPI2 CPL CMPI2 - MOV - CMPI2 PWRDN MOV MOVB JNB TRAP JMPI JMPR BCLR BSET", "224-4-4422422222"},
      {"CMPD1 NEGB CMPD1 - MOVB DISWDT CMPD1 SRVWDT MOV MOVB JBC CALLI ASHR JMPR BCLR BSET",
       "224-444422422222"},
      {"CMPD2 CPLB CMPD2 - MOVB EINIT CMPD2 SRST MOV MOVB JNBS CALLR ASHR JMPR BCLR BSET",
       "224-444422422222"},
      {"MOVBZ - MOVBZ - MOV MOVBZ SCXT - MOV MOVB CALLA RET NOP JMPR BCLR BSET", "2-4-444-22422222"},
      {"MOVBS EXT MOVBS - MOV MOVBS SCXT EXT MOV MOVB CALLS RETS EXT JMPR BCLR BSET",
       "224-444422422222"},
      {"MOV MOVB PCALL - MOVB - MOV MOVB MOV MOVB JMPA RETP PUSH JMPR BCLR BSET", "224-4-4422422222"},
      {"MOV MOVB MOV MOVB MOVB - MOV MOVB - - JMPS RETI POP JMPR BCLR BSET", "22444-44--422222"},
  };
  // clang-format on
  for (int high = 0; high < 16; ++high) {
    std::istringstream mnemonics(rows[high].mnemonics);
    for (int low = 0; low < 16; ++low) {
      const auto opcode = static_cast<uint8_t>(high * 16 + low);
      const OpcodeEntry& entry = Shipped().opcodes.At(opcode);
      std::string expected;
      mnemonics >> expected;
      const char length = rows[high].lengths[low];
      if (expected == "-") {
        EXPECT_FALSE(entry.Defined()) << std::hex << int{opcode};
        EXPECT_EQ(length, '-') << std::hex << int{opcode};
        continue;
      }
      ASSERT_TRUE(entry.Defined()) << std::hex << int{opcode};
      if (expected != "EXT") {
        EXPECT_EQ(entry.mnemonic, expected) << std::hex << int{opcode};
      }
      EXPECT_EQ(entry.length, length - '0') << std::hex << int{opcode};
    }
  }
}

// With operand bytes that all have names in the default type's registers (88: PSW as a
// register and bit word, FF10: PSW as an address), every defined opcode decodes under its
// own mnemonic and never to an illegal line.
TEST(ShippedOpcodeTable, EveryDefinedOpcodeDecodesUnderItsMnemonic) {
  for (int opcode = 0; opcode < 256; ++opcode) {
    const OpcodeEntry& entry = Shipped().opcodes.At(static_cast<uint8_t>(opcode));
    if (!entry.Defined()) continue;
    const std::string text =
        test::DecodeRun({static_cast<uint8_t>(opcode), 0x88, 0x10, 0xFF}, 1, 0x400)[0];
    EXPECT_EQ(text.rfind("Illegal", 0), std::string::npos) << std::hex << opcode;
    if (opcode != 0xD1 && opcode != 0xD7 && opcode != 0xDC) {
      EXPECT_EQ(text.substr(0, 8), (entry.mnemonic + "        ").substr(0, 8))
          << std::hex << opcode;
    }
  }
}

}  // namespace
}  // namespace velmora
