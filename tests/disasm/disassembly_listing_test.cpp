// The listing of the selected code: a routine read as its assembler listing, and the lines,
// separators and current position the listing gives for the shapes selections take.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/hex_text.h"
#include "core/selection_list.h"
#include "decoder_fixture.h"
#include "disasm/disassembly_listing.h"

namespace velmora {
namespace {

using Lines = std::vector<std::string>;
const std::string kStars = "*****************************";
constexpr int32_t kUnchanged = 0x123456;

struct ListingCase {
  const char* name;
  std::vector<std::pair<int32_t, std::vector<uint8_t>>> code;
  std::vector<std::pair<int32_t, int32_t>> selections;
  Lines lines;
  int32_t position;  // the current position afterwards
};

// Each case is listed by a decoder that has just decoded an EXTS whose cover is still open:
// every listing starts its prefix counters from nothing.
void expectListed(const ListingCase& c) {
  SCOPED_TRACE(c.name);
  MemoryImage image;
  for (const auto& [address, bytes] : c.code) image.StoreLoaded(address, bytes);
  SelectionList selections;
  for (const auto& [start, end] : c.selections) ASSERT_TRUE(selections.AddSelection(start, end));
  MemoryImage scratch;
  scratch.StoreLoaded(0, std::vector<uint8_t>{0xD7, 0x00, 0x01, 0x00});
  InstructionDecoder decoder{test::Shipped().opcodes, test::Shipped().registers};
  decoder.Disassemble(scratch, 0);
  DisassemblyListing listing{{ListingRow{}}, 0};
  int32_t position = kUnchanged;
  FillDisassembly(selections, image, decoder, listing, position);
  EXPECT_EQ(ListingLines(listing), c.lines);
  EXPECT_EQ(position, c.position);
  EXPECT_EQ(listing.selectedRow, c.position == kUnchanged ? -1 : 0);
  EXPECT_EQ(image.RangeErrors(), 0);
  // Each row carries what its line shows: the address and text, or nothing for stars.
  for (const ListingRow& row : listing.rows) {
    if (row.IsInstruction()) {
      EXPECT_GT(row.length, 0);
      EXPECT_EQ(row.Bytes()[0], image.GetByte(row.address));
    } else {
      EXPECT_EQ(row.address, -1);
      EXPECT_TRUE(row.text.empty());
    }
  }
}

DisassemblyListing listed(MemoryImage& image,
                          const std::vector<std::pair<int32_t, int32_t>>& ranges) {
  SelectionList selections;
  for (const auto& [start, end] : ranges) EXPECT_TRUE(selections.AddSelection(start, end));
  InstructionDecoder decoder{test::Shipped().opcodes, test::Shipped().registers};
  DisassemblyListing listing;
  int32_t position = -1;
  FillDisassembly(selections, image, decoder, listing, position);
  return listing;
}

TEST(Listing, ARoutineReadsAsItsAssemblerListing) {
  // Sums eight words from C000h after reading one through page 5, calls a routine while
  // interrupts are enabled and stores the sum; the routine clears a flag in the
  // bit-addressable RAM and stores RL4 through the page held in R6.
  expectListed({"routine",
                {{0x400, {0xE6, 0xF4, 0x00, 0xC0, 0xE0, 0x85, 0xE6, 0xF6, 0x00, 0x00, 0xD7, 0x40,
                          0x05, 0x00, 0xF2, 0xF7, 0x00, 0x40, 0xA8, 0x24, 0x00, 0x62, 0x08, 0x42,
                          0x28, 0x51, 0x3D, 0xFB, 0x9A, 0x88, 0x02, 0xB0, 0xCA, 0x00, 0x30, 0x04,
                          0xF6, 0xF6, 0x00, 0xFA, 0xBF, 0x88, 0xCB, 0x00, 0xCC, 0x00, 0xCC, 0x00,
                          0x0E, 0x04, 0xDC, 0x46, 0xF7, 0xF8, 0x00, 0x00, 0xCB, 0x00}}},
                {{0x400, 0x439}},
                // clang-format off
                {"000400: MOV     R4,#C000h",     "000404: MOV     R5,#8h",
                 "000406: MOV     R6,#0000h",     "00040A: EXTP    #0005h,#1",
                 "00040E: MOV     R7,4000h",      "000412: MOV     R2,[R4]",
                 "000414: ADD     R6,R2",         "000416: ADD     R4,#2h",
                 "000418: SUB     R5,#1h",        "00041A: JMPR    cc_NZ,0412h",
                 "00041C: JNB     IEN,0424h",     "000420: CALLA   cc_UC,0430h",
                 "000424: MOV     DPP3:3A00h,R6", "000428: BSET    IEN",
                 "00042A: RET     ",              "00042C: NOP     ",
                 "00042E: NOP     ",              "000430: BCLR    FD08.0",
                 "000432: EXTP    R6,#1",         "000434: MOVB    0000h,RL4",
                 "000438: RET     ",              kStars},
                // clang-format on
                0x400});
}

TEST(Listing, SelectionShapes) {
  const ListingCase cases[] = {
      {"each selection ends with a separator, in address order",
       {{0x10000, {0xCC, 0x00, 0xCB, 0x00}}, {0x20000, {0xF0, 0x12}}},
       {{0x20000, 0x20001}, {0x10000, 0x10003}},
       {"010000: NOP     ", "010002: RET     ", kStars, "020000: MOV     R1,R2", kStars},
       0x10000},
      {"an odd start is listed from the word below, the last instruction whole",
       {{0x500, {0xF2, 0xF1, 0x34, 0x52, 0xE6, 0xF4, 0x34, 0x12}}},
       {{0x501, 0x505}},
       {"000500: MOV     R1,DPP1:1234h", "000504: MOV     R4,#1234h", kStars},
       0x500},
      {"undefined bytes give no lines; listing resumes at the next defined byte",
       {{0x700, {0xCC, 0x00}}, {0x705, {0xF0, 0x12}}, {0x708, {0xCB, 0x00}}},
       {{0x700, 0x709}},
       {"000700: NOP     ", "000705: MOV     R1,R2", "000708: RET     ", kStars},
       0x700},
      {"an illegal line ends its own selection only",
       {{0x800, {0xCC, 0x00, 0xC1, 0x00, 0xCC, 0x00}},
        {0x900, {0xF2, 0xF1, 0x18, 0xFE, 0xCC, 0x00}},
        {0xA00, {0xCB, 0x00}}},
       {{0x800, 0x805}, {0x900, 0x905}, {0xA00, 0xA01}},
       {"000800: NOP     ", "000802: Illegal Instruction", kStars, "000900: Illegal Operand",
        kStars, "000A00: RET     ", kStars},
       0x800},
      {"a first selection without defined bytes keeps the position",
       {{0xB00, {0xCC, 0x00}}},
       {{0xA00, 0xA0F}, {0xB00, 0xB01}},
       {kStars, "000B00: NOP     ", kStars},
       kUnchanged},
      {"no selections", {}, {}, {}, kUnchanged},
      {"nothing defined in sixteen megabytes", {}, {{0, kHighestAddress}}, {kStars}, kUnchanged},
  };
  for (const auto& c : cases) expectListed(c);
}

TEST(Listing, RowsHoldTheInstructionBytesAndTheirKind) {
  MemoryImage image;
  image.StoreLoaded(0xC000, std::vector<uint8_t>{0xE6, 0xF4, 0x34, 0x12, 0xF0, 0x12, 0xC1, 0x00});
  const DisassemblyListing listing = listed(image, {{0xC000, 0xC007}});
  struct Expected {
    ListingRowKind kind;
    int32_t address;
    std::vector<uint8_t> bytes;
    std::string text;
  };
  const Expected expected[] = {
      {ListingRowKind::Instruction, 0xC000, {0xE6, 0xF4, 0x34, 0x12}, "MOV     R4,#1234h"},
      {ListingRowKind::Instruction, 0xC004, {0xF0, 0x12}, "MOV     R1,R2"},
      // An opcode the table does not know still shows the instruction word it stands in.
      {ListingRowKind::Instruction, 0xC006, {0xC1, 0x00}, "Illegal Instruction"},
      {ListingRowKind::Separator, -1, {}, ""},
  };
  ASSERT_EQ(listing.rows.size(), std::size(expected));
  for (size_t i = 0; i < std::size(expected); ++i) {
    SCOPED_TRACE(i);
    const ListingRow& row = listing.rows[i];
    EXPECT_EQ(row.kind, expected[i].kind);
    EXPECT_EQ(row.address, expected[i].address);
    EXPECT_EQ(std::vector<uint8_t>(row.Bytes().begin(), row.Bytes().end()), expected[i].bytes);
    EXPECT_EQ(row.text, expected[i].text);
  }
}

TEST(Listing, FindsTheRowOfAnInstructionsAddress) {
  MemoryImage image;
  image.StoreLoaded(0x10000, std::vector<uint8_t>{0xCC, 0x00, 0xF0, 0x12, 0xCB, 0x00});
  image.StoreLoaded(0x20000, std::vector<uint8_t>{0xE6, 0xF4, 0x34, 0x12, 0xCC, 0x00});
  const DisassemblyListing listing = listed(image, {{0x10000, 0x10005}, {0x20000, 0x20005}});
  ASSERT_EQ(listing.rows.size(), 7U);
  struct Case {
    int32_t address;
    int row;
  };
  // Inside an instruction, between selections and the separators' -1 find nothing.
  for (const Case c : {Case{0x10000, 0}, Case{0x10002, 1}, Case{0x10004, 2}, Case{0x20000, 4},
                       Case{0x20004, 5}, Case{0x20002, -1}, Case{0x10006, -1}, Case{-1, -1}}) {
    EXPECT_EQ(FindListingRow(listing, c.address), c.row) << std::hex << c.address;
  }
}

TEST(Listing, TheLastInstructionOfTheAddressSpaceKeepsOnlyItsOwnBytes) {
  MemoryImage image;
  image.StoreLoaded(0xFFFFFE, std::vector<uint8_t>{0xE6, 0xF4});  // a 4-byte opcode
  const DisassemblyListing listing = listed(image, {{0xFFFFFE, kHighestAddress}});
  ASSERT_EQ(listing.rows.size(), 2U);
  EXPECT_EQ(listing.rows[0].address, 0xFFFFFE);
  EXPECT_EQ(listing.rows[0].length, 2);
  EXPECT_FALSE(listing.rows[1].IsInstruction());
}

}  // namespace
}  // namespace velmora
