// The opcode table file: what the reader takes and reports, how an instruction is cut into
// fields, and the table shipped with the program.
#include <gtest/gtest.h>

#include <array>
#include <numeric>
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
  for (const auto& issue : issues)
    text += "line " + std::to_string(issue.line) + ": " + issue.reason + "\n";
  return text;
}

class OpcodeFile : public ::testing::Test {
 protected:
  test::TempFolder folder;
  MessageLog log{"unused-log.txt"};
  OpcodeTable table;

  OpcodeTableResult load(const std::string& text) {
    return LoadOpcodeTable(folder.Write("command.cmd", text), table, log);
  }
};

TEST_F(OpcodeFile, MissingFileIsAnErrorLineAndAnEmptyTable) {
  table.At(0x00).length = 2;
  const std::string path = folder.File("CMDDEF/none.cmd");
  const OpcodeTableResult result = LoadOpcodeTable(path, table, log);
  EXPECT_FALSE(result.found);
  EXPECT_EQ(table.DefinedCount(), 0);
  ASSERT_GE(log.List().Count(), 1);
  std::string first;
  for (int i = 0; i + 1 < log.List().Count(); ++i) first += log.List().Entry(i);
  EXPECT_EQ(first, "*ERROR: File " + path + " not found");
}

TEST_F(OpcodeFile, CommentsBlanksAndSpacingAreAccepted) {
  const OpcodeTableResult result = load(
      "; opcode, mnemonic, length, widths\r\n"
      "\r\n"
      "   ; indented comment\r\n"
      "00,ADD,2,8,4,4\r\n"
      " 0d , JMPR , 2 , 4 , 4 , 8 \r\n"
      "e6,MOV,4,8,8,16\n");
  EXPECT_TRUE(result.found);
  EXPECT_TRUE(result.issues.empty()) << describe(result.issues);
  EXPECT_EQ(table.DefinedCount(), 3);
  const OpcodeEntry& jmpr = table.At(0x0D);
  EXPECT_EQ(jmpr.mnemonic, "JMPR");
  EXPECT_EQ(jmpr.length, 2);
  EXPECT_EQ(jmpr.fieldCount, 3);
  EXPECT_EQ(jmpr.fieldWidth[0], 4);
  EXPECT_EQ(jmpr.fieldWidth[2], 8);
  EXPECT_EQ(table.At(0xE6).length, 4);
  EXPECT_FALSE(table.At(0x01).Defined());
  EXPECT_TRUE(table.At(0x01).mnemonic.empty());
}

TEST_F(OpcodeFile, EveryOtherLineIsReportedWithItsNumber) {
  struct BadLine {
    std::string line;
    std::string reason;
  };
  const std::vector<BadLine> bad = {
      {"00,ADD", "fewer than three fields"},
      {"100,ADD,2,8,4,4", "opcode is not a hexadecimal byte"},
      {"G0,ADD,2,8,4,4", "opcode is not a hexadecimal byte"},
      {",ADD,2,8,4,4", "opcode is not a hexadecimal byte"},
      {"00,,2,8,4,4", "no mnemonic"},
      {"00,ADD,0", "length is not 1 to 8"},
      {"00,ADD,9,16,16,16,16,8", "length is not 1 to 8"},
      {"00,ADD,two,8,4,4", "length is not 1 to 8"},
      {"00,ADD,2,8,3,5", "field width is not 2, 4, 8 or 16"},
      {"00,ADD,2,8,,4,4", "field width is not 2, 4, 8 or 16"},
      {"00,ADD,4,2,2,2,2,4,4,4,4,4,4", "more than nine field widths"},
      {"00,ADD,2,8,4", "field widths add up to 12 bits, not 16"},
      {"00,ADD,2,8,8,4", "field widths add up to 20 bits, not 16"},
      {"ADD 00 2", "fewer than three fields"},
  };
  std::string text = "; header\n";
  for (const auto& b : bad) text += b.line + "\n";
  text += "01,ADDB,2,8,4,4\n";
  const OpcodeTableResult result = load(text);
  ASSERT_EQ(result.issues.size(), bad.size()) << describe(result.issues);
  for (size_t i = 0; i < bad.size(); ++i) {
    EXPECT_EQ(result.issues[i].line, static_cast<long>(i + 2)) << bad[i].line;
    EXPECT_EQ(result.issues[i].reason, bad[i].reason) << bad[i].line;
  }
  EXPECT_FALSE(table.At(0x00).Defined());
  EXPECT_EQ(table.DefinedCount(), 1);
}

TEST_F(OpcodeFile, ALaterLineReplacesAnEarlierOneAndIsReported) {
  const OpcodeTableResult result = load("CC,NOP,2,8,8\nCC,NOPE,2,8,4,4\n");
  ASSERT_EQ(result.issues.size(), 1u);
  EXPECT_EQ(result.issues[0].line, 2);
  EXPECT_EQ(table.At(0xCC).mnemonic, "NOPE");
  EXPECT_EQ(table.At(0xCC).fieldCount, 3);
}

TEST_F(OpcodeFile, LoadingAgainForgetsTheFormerTable) {
  load("00,ADD,2,8,4,4\n01,ADDB,2,8,4,4\n");
  load("F0,MOV,2,8,4,4\n");
  EXPECT_EQ(table.DefinedCount(), 1);
  EXPECT_FALSE(table.At(0x00).Defined());
}

OpcodeEntry entryWith(std::vector<int16_t> widths) {
  OpcodeEntry entry;
  entry.mnemonic = "X";
  entry.fieldCount = static_cast<int16_t>(widths.size());
  for (size_t i = 0; i < widths.size(); ++i) entry.fieldWidth[i] = widths[i];
  entry.length = static_cast<int16_t>(std::accumulate(widths.begin(), widths.end(), 0) / 8);
  return entry;
}

TEST(InstructionFieldsCut, ListsByWidthInOrderMostSignificantBitFirst) {
  InstructionFields fields;
  const std::array<uint8_t, 4> bytes = {0xD7, 0x9C, 0x34, 0x12};
  fields.Cut(entryWith({8, 2, 2, 4, 16}), bytes);
  EXPECT_EQ(fields.Eight(0), 0xD7u);
  EXPECT_EQ(fields.Two(0), 2u);  // 10
  EXPECT_EQ(fields.Two(1), 1u);  // 01
  EXPECT_EQ(fields.Four(0), 0xCu);
  EXPECT_EQ(fields.Sixteen(0), 0x1234u);  // stored low byte first
  EXPECT_EQ(fields.Count(2), 2);
  EXPECT_EQ(fields.Count(4), 1);
  EXPECT_EQ(fields.Count(8), 1);
  EXPECT_EQ(fields.Count(16), 1);
}

TEST(InstructionFieldsCut, ASixteenBitFieldIsTwoBytePassesWhereverItStarts) {
  InstructionFields fields;
  const std::array<uint8_t, 3> bytes = {0xAB, 0xCD, 0xEF};
  fields.Cut(entryWith({4, 16, 4}), bytes);
  EXPECT_EQ(fields.Four(0), 0xAu);
  EXPECT_EQ(fields.Sixteen(0), 0xDEBCu);  // low byte BC, high byte DE
  EXPECT_EQ(fields.Four(1), 0xFu);
}

TEST(InstructionFieldsCut, MissingFieldsAndBytesReadAsZero) {
  InstructionFields fields;
  const std::array<uint8_t, 1> bytes = {0xFF};
  fields.Cut(entryWith({8, 8, 16}), bytes);
  EXPECT_EQ(fields.Eight(0), 0xFFu);
  EXPECT_EQ(fields.Eight(1), 0u);
  EXPECT_EQ(fields.Sixteen(0), 0u);
  EXPECT_EQ(fields.Eight(2), 0u);
  EXPECT_EQ(fields.Four(0), 0u);
  fields.Cut(entryWith({8, 4, 4}), std::array<uint8_t, 2>{0x01, 0x23});
  EXPECT_EQ(fields.Count(16), 0);  // a new cut forgets the former fields
  EXPECT_EQ(fields.Four(1), 3u);
}

TEST(ShippedOpcodeTable, LoadsWithoutASkippedLine) {
  EXPECT_TRUE(Shipped().opcodeResult.found);
  EXPECT_TRUE(Shipped().opcodeResult.issues.empty()) << describe(Shipped().opcodeResult.issues);
  EXPECT_EQ(Shipped().opcodes.DefinedCount(), 236);
}

TEST(ShippedOpcodeTable, WidthsAddUpToTheLengthOfEveryInstruction) {
  for (int opcode = 0; opcode < 256; ++opcode) {
    const OpcodeEntry& entry = Shipped().opcodes.At(static_cast<uint8_t>(opcode));
    if (!entry.Defined()) continue;
    int bits = 0;
    for (int i = 0; i < entry.fieldCount; ++i) bits += entry.fieldWidth[static_cast<size_t>(i)];
    EXPECT_EQ(bits, 8 * entry.length) << "opcode " << std::hex << opcode;
    EXPECT_TRUE(entry.length == 2 || entry.length == 4) << "opcode " << std::hex << opcode;
  }
}

TEST(ShippedOpcodeTable, DefinesExactlyTheOpcodesTheDecoderHasAFormatFor) {
  for (int opcode = 0; opcode < 256; ++opcode) {
    const bool defined = Shipped().opcodes.At(static_cast<uint8_t>(opcode)).Defined();
    const bool formatted = FormatOf(static_cast<uint8_t>(opcode)) != OperandFormat::kUndefined;
    EXPECT_EQ(defined, formatted) << "opcode " << std::hex << opcode;
  }
}

// With every operand byte chosen so that it has a name in the default type's registers
// (88: PSW as a register and bit word, FF10: PSW as an address), every defined opcode
// decodes to its own mnemonic and never to an illegal line.
TEST(ShippedOpcodeTable, EveryDefinedOpcodeDecodesUnderItsMnemonic) {
  for (int opcode = 0; opcode < 256; ++opcode) {
    const OpcodeEntry& entry = Shipped().opcodes.At(static_cast<uint8_t>(opcode));
    if (!entry.Defined()) continue;
    MemoryImage image;
    test::PlaceCode(image, 0x400, {static_cast<uint8_t>(opcode), 0x88, 0x10, 0xFF});
    InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
    const std::string text = decoder.Disassemble(image, 0x400);
    EXPECT_EQ(text.rfind("Illegal", 0), std::string::npos) << "opcode " << std::hex << opcode;
    const bool prefix = opcode == 0xD1 || opcode == 0xD7 || opcode == 0xDC;
    if (!prefix) {
      EXPECT_EQ(text.substr(0, 8), (entry.mnemonic + "        ").substr(0, 8))
          << "opcode " << std::hex << opcode;
    }
  }
}

TEST(ShippedOpcodeTable, SpotChecksAgainstTheInstructionSet) {
  struct Expected {
    uint8_t opcode;
    const char* mnemonic;
    int length;
  };
  const Expected expected[] = {
      {0x00, "ADD", 2},   {0x01, "ADDB", 2},  {0x02, "ADD", 4},   {0x07, "ADDB", 4},
      {0x0A, "BFLDL", 4}, {0x1A, "BFLDH", 4}, {0x4A, "BMOV", 4},  {0x8A, "JB", 4},
      {0x9B, "TRAP", 2},  {0xB7, "SRST", 4},  {0xBB, "CALLR", 2}, {0xC0, "MOVBZ", 2},
      {0xC6, "SCXT", 4},  {0xCA, "CALLA", 4}, {0xCB, "RET", 2},   {0xDA, "CALLS", 4},
      {0xE2, "PCALL", 4}, {0xEA, "JMPA", 4},  {0xF0, "MOV", 2},   {0xFA, "JMPS", 4},
      {0xFB, "RETI", 2},  {0x9C, "JMPI", 2},  {0xAB, "CALLI", 2}, {0x6B, "DIVL", 2},
  };
  for (const auto& e : expected) {
    const OpcodeEntry& entry = Shipped().opcodes.At(e.opcode);
    EXPECT_EQ(entry.mnemonic, e.mnemonic) << std::hex << int{e.opcode};
    EXPECT_EQ(entry.length, e.length) << std::hex << int{e.opcode};
  }
}

}  // namespace
}  // namespace velmora
