#include <gtest/gtest.h>

#include "core/command_words.h"
#include "core/file_exists.h"
#include "core/hex_field.h"
#include "core/hex_text.h"
#include "recording_frontend.h"
#include "temp_folder.h"

namespace velmora {
namespace {

TEST(HexText, ConversionsAndSmallHelpers) {
  const std::pair<const char*, int32_t> kHexVal[] = {
      {"", 0},         {"A", 10},    {"ffffff", 0xFFFFFF}, {"FFFFFF", 0xFFFFFF}, {"aBcD", 0xABCD},
      {"1000000", -1}, {"0x10", -1}, {" 10", -1},          {"10 ", -1},          {"G", -1},
  };
  for (const auto& [text, value] : kHexVal) EXPECT_EQ(HexVal(text), value) << '"' << text << '"';
  EXPECT_EQ(HexN(10, 4), "000A");
  EXPECT_EQ(HexN(0x12345, 2), "12345");
  EXPECT_EQ(HexN(-1, 2), "FFFFFFFF");
  EXPECT_EQ(LastPos("C:\\dir\\file.hex", '\\'), 7);
  EXPECT_EQ(LastPos("file", '.'), 0);
  // "_load file.hex": the first word has 5 characters; with blanks skipped the rest starts
  // after the returned position.
  EXPECT_EQ(WordEnd("_load file.hex", false), 5);
  EXPECT_EQ(WordEnd("_load \t file.hex", true), 8);
  EXPECT_EQ(WordEnd("_load   ", true), 9);
  EXPECT_EQ(RemoveSpaces(" 96\t00 "), "96\t00");
  EXPECT_EQ(BinVal("1x01"), 9);
  EXPECT_EQ(BinVal("1111111111111111"), 0xFFFF);
  const CommandWords words("  first.scm \t second.scm   third ");
  EXPECT_EQ(words.CommandWordCount(), 3);
  EXPECT_EQ(words.CommandWord(3), "third");
  EXPECT_EQ(words.CommandWord(4), "");
}

TEST(HexField, AcceptsUpToItsDigitCountWithTheDialogsMessages) {
  EXPECT_TRUE(IsValidHexField("", 6));
  EXPECT_TRUE(IsValidHexField("00f600", 6));
  EXPECT_FALSE(IsValidHexField("5A0", 2));
  EXPECT_FALSE(IsValidHexField("12G", 6));
  EXPECT_EQ(SixDigitAddressText("f600"), "00F600");
  EXPECT_TRUE(IsValidBinaryField("101", 3));
  EXPECT_FALSE(IsValidBinaryField("1010", 3));
  EXPECT_FALSE(IsValidBinaryField("102", 3));
  EXPECT_EQ(BinaryFieldMessage(3), "No binary number or more than 3 digits !");
  EXPECT_EQ(hex_fields::kSelectRangeAddress.message, "No 6-digit hexadecimal number!");
  EXPECT_EQ(hex_fields::kRelocateAddress.message, "No 6-digit hexadecimal number !");
  EXPECT_EQ(hex_fields::kMemoryViewByte.digits, 2);
}

TEST(FileExists, AsksBeforeOverwritingAndYesMeansGoAhead) {
  test::TempFolder folder;
  test::RecordingFrontend frontend;
  const std::string present = folder.Write("present.hex", ":00000001FF\r\n");
  EXPECT_FALSE(FileExists(folder.File("absent.hex"), true, frontend));
  EXPECT_TRUE(FileExists(present, false, frontend));
  EXPECT_FALSE(FileExists(folder.path().string(), false, frontend));  // a folder is no file
  EXPECT_TRUE(frontend.boxes.empty());
  frontend.QueueAnswer(BoxAnswer::Yes);
  EXPECT_FALSE(FileExists(present, true, frontend));
  frontend.QueueAnswer(BoxAnswer::No);
  EXPECT_TRUE(FileExists(present, true, frontend));
  ASSERT_EQ(frontend.boxes.size(), 2U);
  EXPECT_EQ(frontend.boxes[0].text, "File allready exists ! Overwrite ?");
  EXPECT_EQ(frontend.boxes[0].buttons, BoxButtons::YesNo);
}

}  // namespace
}  // namespace velmora
