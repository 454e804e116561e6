#include "core/hex_text.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

struct HexValCase {
  const char* text;
  int32_t value;
};

TEST(HexVal, ConvertsAtMostSixDigitsOfEitherCase) {
  const HexValCase cases[] = {
      {"", 0},          {"0", 0},          {"A", 10},       {"ffffff", 0xFFFFFF},
      {"FFFFFF", 0xFFFFFF}, {"00F600", 0xF600}, {"aBcD", 0xABCD}, {"1000000", -1},
      {"0x10", -1},     {" 10", -1},       {"10 ", -1},     {"10h", -1},
      {"-1", -1},       {"G", -1},         {"0000000", -1},
  };
  for (const auto& c : cases) EXPECT_EQ(HexVal(c.text), c.value) << '"' << c.text << '"';
}

TEST(HexN, PadsButNeverShortens) {
  EXPECT_EQ(HexN(10, 4), "000A");
  EXPECT_EQ(HexN(0x12345, 2), "12345");
  EXPECT_EQ(HexN(-1, 2), "FFFFFFFF");
  EXPECT_EQ(HexN(0, 0), "0");
  EXPECT_EQ(HexN(0xE00024, 6), "E00024");
  EXPECT_EQ(HexN(0xabcdef, 1), "ABCDEF");
}

TEST(TextHelpers, NewLineIsCrLf) { EXPECT_EQ(NewLine(), "\r\n"); }

TEST(TextHelpers, LastPosFindsTheLastOccurrence) {
  EXPECT_EQ(LastPos("C:\\dir\\file.hex", '\\'), 7);
  EXPECT_EQ(LastPos("file.hex.bak", '.'), 9);
  EXPECT_EQ(LastPos("file", '.'), 0);
  EXPECT_EQ(LastPos("", '.'), 0);
}

TEST(TextHelpers, WordEndSplitsFirstWordAndRest) {
  // "_load file.hex": the first word has 5 characters, the rest starts at position 7.
  EXPECT_EQ(WordEnd("_load file.hex", false), 5);
  EXPECT_EQ(WordEnd("_load \t file.hex", true), 8);
  EXPECT_EQ(WordEnd("_load", false), 6);
  EXPECT_EQ(WordEnd("_load", true), 6);
  EXPECT_EQ(WordEnd("_load   ", true), 9);
  EXPECT_EQ(WordEnd("", false), 1);
  EXPECT_EQ(WordEnd("\tx", false), 0);
}

TEST(TextHelpers, RemoveSpacesKeepsTabs) {
  EXPECT_EQ(RemoveSpaces(" BAUD RATE = 9600 "), "BAUDRATE=9600");
  EXPECT_EQ(RemoveSpaces("a\tb c"), "a\tbc");
}

TEST(TextHelpers, BinValCountsEveryOtherCharacterAsZero) {
  EXPECT_EQ(BinVal(""), 0);
  EXPECT_EQ(BinVal("101"), 5);
  EXPECT_EQ(BinVal("1x1"), 5);
  EXPECT_EQ(BinVal("1111111111111111"), 0xFFFF);
  EXPECT_EQ(BinVal("0010"), 2);
}

TEST(TextHelpers, CaseHelpers) {
  EXPECT_EQ(ToUpper("memdef\\brask.mem"), "MEMDEF\\BRASK.MEM");
  EXPECT_TRUE(EqualsNoCase("Brask", "BRASK"));
  EXPECT_FALSE(EqualsNoCase("BRASK", "BRASK "));
}

}  // namespace
}  // namespace velmora
