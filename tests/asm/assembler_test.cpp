// Whole sources: directives, labels and forward references, the choice of jump forms by
// distance, INCLUDE, errors with their place, and the listing.
#include "asm/assembler.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "asm/assembly_output.h"
#include "asm_fixture.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;
using test::AssembleText;

struct SourceCase {
  const char* what;
  std::string source;
  int32_t start;  // address of the first placed byte
  Bytes bytes;
};

TEST(Assembler, DirectivesAndData) {
  const SourceCase cases[] = {
      {"DB strings and numbers, negative bytes",
       " ORG 100h\n DB \"Ok\",0,-1,'x'\n",
       0x100,
       {'O', 'k', 0x00, 0xFF, 'x'}},
      {"DW low byte first",
       " ORG 200h\n DW 1234h,-2,$\n",
       0x200,
       {0x34, 0x12, 0xFE, 0xFF, 0x00, 0x02}},
      {"DS leaves a gap", " ORG 10h\n DB 1\n DS 3\nx: DB x\n", 0x10, {0x01, 0x14}},
      {"ALIGN rounds up", " ORG 11h\n ALIGN 4\nx: DB x\n", 0x14, {0x14}},
      {"EQU before and after use", "n EQU m+1\nm EQU 40h\n ORG 0\n DB n,m\n", 0, {0x41, 0x40}},
      {"names in any case", " ORG 0\nLoop: DB LOOP,loop\n", 0, {0, 0}},
      {"END stops", " ORG 0\n DB 1\n END\n DB 2\n", 0, {1}},
      {"comments and blank lines", "; start\n\n ORG 0 ; here\n DB ';' ; a semicolon\n", 0, {';'}},
      {"24-bit addresses", " ORG 3FFFEh\n DW 0BEEFh\n", 0x3FFFE, {0xEF, 0xBE}},
  };
  for (const auto& c : cases) {
    const auto assembly = AssembleText(c.source);
    ASSERT_TRUE(assembly.Ok()) << c.what << ": " << test::Errors(assembly)[0];
    ASSERT_FALSE(assembly.chunks.empty()) << c.what;
    EXPECT_EQ(assembly.chunks.front().address, c.start) << c.what;
    EXPECT_EQ(test::Bytes(assembly), c.bytes) << c.what;
  }
}

TEST(Assembler, ForwardReferencesSettleAcrossPasses) {
  // The first instruction's length depends on a value defined at the end.
  const auto assembly = AssembleText(
      " ORG 0F000h\n"
      "start: ADD R1,#small\n"     // 08 1x: #data3 once small is known to be 5
      "       ADD R2,#big\n"       // 06 F2 dddd
      "       CALLA cc_UC,tail\n"  // CA 00 aaaa
      "tail:  RET\n"
      "small  EQU 5\n"
      "big    EQU tail-start\n");
  ASSERT_TRUE(assembly.Ok()) << test::Errors(assembly)[0];
  EXPECT_EQ(test::Bytes(assembly),
            (Bytes{0x08, 0x15, 0x06, 0xF2, 0x0A, 0x00, 0xCA, 0x00, 0x0A, 0xF0, 0xCB, 0x00}));
  EXPECT_GE(assembly.passes, 3);
}

TEST(Assembler, JumpFormsByDistance) {
  struct JumpCase {
    const char* what;
    std::string source;
    Bytes first;  // the bytes of the jump at 10000h
  };
  const JumpCase cases[] = {
      {"near forward: JMPR", " ORG 10000h\n JMP there\n DS 254\nthere: NOP\n", {0x0D, 0x7F}},
      {"one word further: JMPA",
       " ORG 10000h\n JMP there\n DS 256\nthere: NOP\n",
       {0xEA, 0x00, 0x04, 0x01}},
      {"near backward",
       " ORG 0FF00h\n JMP $\n ORG 10000h\n JMP cc_NZ,$+0FEh\n ORG 100FEh\n JMP cc_NZ,10000h\n",
       {0x3D, 0x7E}},
      {"other segment: JMPS", " ORG 10000h\n JMP 23456h\n", {0xFA, 0x02, 0x56, 0x34}},
      {"CALL near", " ORG 10000h\n CALL 10010h\n", {0xBB, 0x07}},
      {"conditional CALL: CALLA", " ORG 10000h\n CALL cc_Z,10010h\n", {0xCA, 0x20, 0x10, 0x00}},
      {"CALL far", " ORG 10000h\n CALL 0F600h\n", {0xDA, 0x00, 0x00, 0xF6}},
      {"JMPR without condition", " ORG 10000h\n JMPR $\n", {0x0D, 0xFF}},
      {"JMPA stays JMPA", " ORG 10000h\n JMPA cc_C,$+4\n", {0xEA, 0x80, 0x04, 0x00}},
      {"a label in segment 0 from segment 1",
       "low: NOP\n ORG 10000h\n JMP low\n",
       {0xFA, 0x00, 0x00, 0x00}},
  };
  for (const auto& c : cases) {
    const auto assembly = AssembleText(c.source);
    ASSERT_TRUE(assembly.Ok()) << c.what << ": " << test::Errors(assembly)[0];
    // The first jump at or above 10000h.
    const auto jump = std::find_if(assembly.chunks.begin(), assembly.chunks.end(),
                                   [](const auto& chunk) { return chunk.address >= 0x10000; });
    ASSERT_NE(jump, assembly.chunks.end()) << c.what;
    EXPECT_EQ(jump->bytes, c.first) << c.what;
  }
}

TEST(Assembler, AJumpThatGrowsPushesTheCodeBehindIt) {
  // The target moves out of reach only once the JMPs before it have grown.
  std::string source = " ORG 0\n";
  for (int i = 0; i < 150; ++i) source += " JMP end\n";
  source += "end: NOP\n";
  const auto assembly = AssembleText(source);
  ASSERT_TRUE(assembly.Ok()) << test::Errors(assembly)[0];
  const Bytes bytes = test::Bytes(assembly);
  // The first jumps are absolute, the last relative; all reach "end".
  const int32_t end = static_cast<int32_t>(bytes.size()) - 2;
  EXPECT_EQ(bytes[0], 0xEA);
  EXPECT_EQ(bytes[2] | (bytes[3] << 8), end);
  EXPECT_EQ(bytes[bytes.size() - 4], 0x0D);
  EXPECT_EQ(bytes[bytes.size() - 3], 0x00);  // the last one jumps to the next instruction
}

TEST(Assembler, ImmediatesMeanTheNumberWritten) {
  // The processor widens #data3 and #data4 with zeros: a negative number needs the form of
  // the operation's width. A zero that only starts a number with a letter adds no width.
  const SourceCase cases[] = {
      {"-1 in a word operation", " ORG 0\n MOV R11,#-1\n", 0, {0xE6, 0xFB, 0xFF, 0xFF}},
      {"-1 in a byte operation", " ORG 0\n MOVB RL1,#-1\n", 0, {0xE7, 0xF2, 0xFF, 0x00}},
      {"-2 added", " ORG 0\n ADD R1,#-2\n", 0, {0x06, 0xF1, 0xFE, 0xFF}},
      {"0FFFFh", " ORG 0\n XOR R11,#0FFFFh\n", 0, {0x56, 0xFB, 0xFF, 0xFF}},
      {"0FAh in a byte", " ORG 0\n MOVB RL1,#0FAh\n", 0, {0xE7, 0xF2, 0xFA, 0x00}},
      {"small values keep the short form", " ORG 0\n MOV R1,#7\n", 0, {0xE0, 0x71}},
  };
  for (const auto& c : cases) {
    const auto assembly = AssembleText(c.source);
    ASSERT_TRUE(assembly.Ok()) << c.what << ": " << test::Errors(assembly)[0];
    EXPECT_EQ(test::Bytes(assembly), c.bytes) << c.what;
  }
  EXPECT_FALSE(AssembleText(" ORG 0\n MOVB RL1,#100h\n").Ok());
  EXPECT_FALSE(AssembleText(" ORG 0\n MOVB RL1,#-129\n").Ok());
}

TEST(Assembler, ErrorsNameFileLineAndColumnAndPlaceNothing) {
  const std::pair<std::string, std::string> cases[] = {
      {" ORG 0\n MOVE R1,R2\n", "main.asm:2:2: unknown instruction 'MOVE'"},
      {" ADD R1,\n", "main.asm:1:9: missing operand"},
      {" ADD R1,[R5]\n", "main.asm:1:2: no form of ADD takes these operands"},
      {" MOVB RL1,#300\n", "main.asm:1:12: value 12Ch out of range 0h..FFh"},
      {" JMPR cc_UC,200h\n", "main.asm:1:13: target 200h out of reach of a relative jump"},
      {" JMPR cc_UC,3\n", "main.asm:1:13: jump target at an odd address"},
      {" JMPA cc_UC,12345h\n", "main.asm:1:13: target 12345h lies in another segment"},
      {" MOV R1,#nowhere\n", "main.asm:1:10: undefined name 'nowhere'"},
      {"x: NOP\nx: NOP\n", "main.asm:2:1: 'x' is defined twice"},
      {"PSW: NOP\n", "main.asm:1:1: 'PSW' is the name of a register or condition"},
      {" DB 1+\n", "main.asm:1:7: expected a value"},
      {" BSET 1234h.3\n", "main.asm:1:7: 1234h is not a bit-addressable word"},
      {" BSET PSW.16\n", "main.asm:1:11: bit number 10h out of range 0h..Fh"},
      {" ORG 0\n DB 1\n ORG 0\n DB 2\n",
       "main.asm:4:1: overwrites the byte placed before at 000000"},
      {" DB \"open\n", "main.asm:1:5: missing closing quote"},
      {" EXTS #1,#5\n", "main.asm:1:11: count 5h out of range 1h..4h"},
      {" MOV R1,DPP1:4000h\n", "main.asm:1:14: page offset 4000h out of range 0h..3FFFh"},
      {" EQU 4\n", "main.asm:1:2: EQU needs a name before it"},
      {" ORG 10000h\n JMP cc_Z,0F000h\n",
       "main.asm:2:11: a conditional JMP cannot leave the segment"},
  };
  for (const auto& [source, message] : cases) {
    const auto assembly = AssembleText(source);
    ASSERT_FALSE(assembly.Ok()) << source;
    EXPECT_EQ(test::Errors(assembly)[0], message) << source;
    EXPECT_TRUE(assembly.chunks.empty()) << source;
  }
}

TEST(Assembler, IncludeTakesFilesBesideTheIncludingOne) {
  const auto assembly = test::AssembleFiles({
      {"main.asm", " ORG 0\n INCLUDE \"lib/defs.inc\"\n DB value\n"},
      {"lib/defs.inc", "value EQU 42\n INCLUDE more.inc\n"},
      {"lib/more.inc", " DB 7\n"},
  });
  ASSERT_TRUE(assembly.Ok()) << test::Errors(assembly)[0];
  EXPECT_EQ(test::Bytes(assembly), (Bytes{7, 42}));

  const auto missing = test::AssembleFiles({{"main.asm", " NOP\n INCLUDE \"none.inc\"\n"}});
  EXPECT_EQ(test::Errors(missing),
            std::vector<std::string>{"main.asm:2:10: cannot read 'none.inc'"});

  const auto broken =
      test::AssembleFiles({{"main.asm", " INCLUDE b.inc\n"}, {"b.inc", " NOP\n ADD R1\n"}});
  EXPECT_EQ(test::Errors(broken),
            std::vector<std::string>{"b.inc:2:2: no form of ADD takes these operands"});

  const auto loop = test::AssembleFiles({{"main.asm", " INCLUDE a.inc\n"},
                                         {"a.inc", " NOP\n INCLUDE ./b.inc\n"},
                                         {"b.inc", " INCLUDE a.inc\n"}});
  EXPECT_EQ(test::Errors(loop), std::vector<std::string>{"b.inc:1:10: 'a.inc' includes itself"});

  // Deep but not circular: one file after another, as far as the depth allows.
  std::map<std::string, std::string> chain = {{"main.asm", " INCLUDE f1.inc\n"}};
  for (int i = 1; i < 20; ++i) {
    chain["f" + std::to_string(i) + ".inc"] = " INCLUDE f" + std::to_string(i + 1) + ".inc\n";
  }
  const auto deep = test::AssembleFiles(chain);
  ASSERT_EQ(deep.errors.size(), 1U);
  EXPECT_EQ(deep.errors[0].file, "f15.inc");
  EXPECT_EQ(deep.errors[0].text, "INCLUDE nested too deeply");
}

TEST(Assembler, ListingShowsAddressesAndBytes) {
  const auto assembly = test::AssembleFiles({
      {"main.asm",
       "; demo\n ORG 0F600h\nstart: MOV R1,#2\n DB 1,2,3,4,5,6,7,8,9\n INCLUDE i.inc\n"},
      {"i.inc", " RET\n"},
  });
  ASSERT_TRUE(assembly.Ok()) << test::Errors(assembly)[0];
  EXPECT_EQ(assembler::ListingText(assembly),
            "                                  ; demo\r\n"
            "00F600                             ORG 0F600h\r\n"
            "00F600  E0 21                     start: MOV R1,#2\r\n"
            "00F602  01 02 03 04 05 06 07 08    DB 1,2,3,4,5,6,7,8,9\r\n"
            "00F60A  09\r\n"
            "                                   INCLUDE i.inc\r\n"
            "00F60B  CB 00                   +  RET\r\n");
}

}  // namespace
}  // namespace velmora
