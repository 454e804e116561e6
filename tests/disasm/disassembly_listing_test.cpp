// The listing of the selected code: a routine read as its assembler listing, and the lines,
// separators and current position the listing gives for the shapes selections take.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/hex_text.h"
#include "core/selection_list.h"
#include "decoder_fixture.h"
#include "disasm/disassembly_listing.h"

namespace velmora {
namespace {

using test::PlaceCode;
using test::Shipped;
using Lines = std::vector<std::string>;

const std::string kStars = "*****************************";

class Listing : public ::testing::Test {
 protected:
  MemoryImage image;
  SelectionList selections;
  InstructionDecoder decoder{Shipped().opcodes, Shipped().registers};
  DisassemblyListing listing;
  int32_t currentPosition = 0x123456;

  void select(int32_t start, int32_t end) { ASSERT_TRUE(selections.AddSelection(start, end)); }
  void fill() { FillDisassembly(selections, image, decoder, listing, currentPosition); }
};

// Reads a word through page 5, sums eight words from C000h, calls a routine while
// interrupts are enabled and stores the sum; the routine clears a flag in the
// bit-addressable RAM and stores RL4 through the page held in R6.
const std::vector<uint8_t> kRoutine = {
    0xE6, 0xF4, 0x00, 0xC0,  // 000400
    0xE0, 0x85,              // 000404
    0xE6, 0xF6, 0x00, 0x00,  // 000406
    0xD7, 0x40, 0x05, 0x00,  // 00040A
    0xF2, 0xF7, 0x00, 0x40,  // 00040E
    0xA8, 0x24,              // 000412 loop
    0x00, 0x62,              // 000414
    0x08, 0x42,              // 000416
    0x28, 0x51,              // 000418
    0x3D, 0xFB,              // 00041A
    0xAA, 0x88, 0x02, 0xB0,  // 00041C
    0xCA, 0x00, 0x30, 0x04,  // 000420
    0xF6, 0xF6, 0x00, 0xFA,  // 000424
    0xBF, 0x88,              // 000428
    0xCB, 0x00,              // 00042A
    0xCC, 0x00,              // 00042C
    0xCC, 0x00,              // 00042E
    0x0E, 0x04,              // 000430 the called routine
    0xDC, 0x46,              // 000432
    0xF7, 0xF8, 0x00, 0x00,  // 000434
    0xCB, 0x00,              // 000438
};

TEST_F(Listing, ARoutineReadsAsItsAssemblerListing) {
  PlaceCode(image, 0x400, kRoutine);
  select(0x400, 0x400 + static_cast<int32_t>(kRoutine.size()) - 1);
  fill();
  const Lines expected = {
      "000400: MOV     R4,#C000h",
      "000404: MOV     R5,#8h",
      "000406: MOV     R6,#0000h",
      "00040A: EXTP    #0005h,#1",
      "00040E: MOV     R7,4000h",
      "000412: MOV     R2,[R4]",
      "000414: ADD     R6,R2",
      "000416: ADD     R4,#2h",
      "000418: SUB     R5,#1h",
      "00041A: JMPR    cc_NZ,0412h",
      "00041C: JNB     IEN,0424h",
      "000420: CALLA   cc_UC,0430h",
      "000424: MOV     DPP3:3A00h,R6",
      "000428: BSET    IEN",
      "00042A: RET     ",
      "00042C: NOP     ",
      "00042E: NOP     ",
      "000430: BCLR    FD08.0",
      "000432: EXTP    R6,#1",
      "000434: MOVB    0000h,RL4",
      "000438: RET     ",
      kStars,
  };
  ASSERT_EQ(listing.instructions.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(listing.instructions[i], expected[i]) << i;
  EXPECT_EQ(listing.breakpoints, Lines(expected.size(), " "));
  EXPECT_EQ(currentPosition, 0x400);
  EXPECT_EQ(listing.selectedLine, 0);
}

TEST_F(Listing, EachSelectionEndsWithASeparator) {
  PlaceCode(image, 0x10000, {0xCC, 0x00, 0xCB, 0x00});
  PlaceCode(image, 0x20000, {0xF0, 0x12});
  select(0x20000, 0x20001);
  select(0x10000, 0x10003);
  fill();
  EXPECT_EQ(listing.instructions, (Lines{"010000: NOP     ", "010002: RET     ", kStars,
                                         "020000: MOV     R1,R2", kStars}));
  EXPECT_EQ(listing.breakpoints.size(), listing.instructions.size());
  EXPECT_EQ(currentPosition, 0x10000);
}

TEST_F(Listing, AnOddStartIsListedFromTheWordBelow) {
  PlaceCode(image, 0x500, {0xF0, 0x12, 0xF0, 0x34});
  select(0x501, 0x503);
  fill();
  EXPECT_EQ(listing.instructions,
            (Lines{"000500: MOV     R1,R2", "000502: MOV     R3,R4", kStars}));
}

TEST_F(Listing, AnInstructionReachingPastTheEndIsListedWhole) {
  PlaceCode(image, 0x600, {0xE6, 0xF4, 0x34, 0x12, 0xCC, 0x00});
  select(0x600, 0x601);
  fill();
  EXPECT_EQ(listing.instructions, (Lines{"000600: MOV     R4,#1234h", kStars}));
}

TEST_F(Listing, UndefinedBytesGiveNoLinesAndListingResumesAtTheNextDefinedByte) {
  PlaceCode(image, 0x700, {0xCC, 0x00});
  PlaceCode(image, 0x705, {0xF0, 0x12});  // resumes at the odd byte, as defined
  PlaceCode(image, 0x708, {0xCB, 0x00});
  select(0x700, 0x709);
  fill();
  EXPECT_EQ(listing.instructions,
            (Lines{"000700: NOP     ", "000705: MOV     R1,R2", "000708: RET     ", kStars}));
}

TEST_F(Listing, AnIllegalLineEndsItsSelectionOnly) {
  PlaceCode(image, 0x800, {0xCC, 0x00, 0xC1, 0x00, 0xCC, 0x00});
  PlaceCode(image, 0x900, {0xF2, 0xF1, 0x18, 0xFE, 0xCC, 0x00});  // no register at FE18
  PlaceCode(image, 0xA00, {0xCB, 0x00});
  select(0x800, 0x805);
  select(0x900, 0x905);
  select(0xA00, 0xA01);
  fill();
  EXPECT_EQ(listing.instructions,
            (Lines{"000800: NOP     ", "000802: Illegal Instruction", kStars,
                   "000900: Illegal Operand", kStars, "000A00: RET     ", kStars}));
}

TEST_F(Listing, NoSelectionsLeaveTheListsEmptyAndThePositionAsItWas) {
  listing.instructions = {"old"};
  listing.breakpoints = {"O"};
  listing.selectedLine = 0;
  fill();
  EXPECT_TRUE(listing.instructions.empty());
  EXPECT_TRUE(listing.breakpoints.empty());
  EXPECT_EQ(listing.selectedLine, -1);
  EXPECT_EQ(currentPosition, 0x123456);
}

TEST_F(Listing, ASelectionWithoutDefinedBytesKeepsThePosition) {
  PlaceCode(image, 0xB00, {0xCC, 0x00});
  select(0xA00, 0xA0F);
  select(0xB00, 0xB01);
  fill();
  EXPECT_EQ(listing.instructions, (Lines{kStars, "000B00: NOP     ", kStars}));
  EXPECT_EQ(currentPosition, 0x123456);
  EXPECT_EQ(listing.selectedLine, -1);
}

TEST_F(Listing, PrefixCountersStartFromNothingOnEveryListing) {
  PlaceCode(image, 0xC00, {0xF2, 0xF1, 0x34, 0x52});
  PlaceCode(image, 0xD00, {0xD7, 0x00, 0x01, 0x00});  // EXTS left open at the end
  select(0xC00, 0xC03);
  decoder.Disassemble(image, 0xD00);
  fill();
  EXPECT_EQ(listing.instructions.front(), "000C00: MOV     R1,DPP1:1234h");
}

TEST_F(Listing, SixteenMegabytesOfNothingEndsWithOneSeparator) {
  select(0, kHighestAddress);
  fill();
  EXPECT_EQ(listing.instructions, Lines{kStars});
  EXPECT_EQ(image.RangeErrors(), 0);
  EXPECT_EQ(image.AllocatedSegmentCount(), 0);
}

}  // namespace
}  // namespace velmora
