#include <gtest/gtest.h>

#include "core/command_words.h"
#include "core/file_exists.h"
#include "core/hex_field.h"
#include "recording_frontend.h"
#include "temp_folder.h"

namespace velmora {
namespace {

TEST(HexField, AcceptsUpToItsDigitCountAndTheEmptyText) {
  EXPECT_TRUE(IsValidHexField("", 6));
  EXPECT_TRUE(IsValidHexField("00f600", 6));
  EXPECT_TRUE(IsValidHexField("5A", 2));
  EXPECT_FALSE(IsValidHexField("5A0", 2));
  EXPECT_FALSE(IsValidHexField("1000000", 6));
  EXPECT_FALSE(IsValidHexField("12G", 6));
  EXPECT_FALSE(IsValidHexField("0x12", 6));
  EXPECT_EQ(SixDigitAddressText("f600"), "00F600");
  EXPECT_EQ(SixDigitAddressText(""), "000000");
}

TEST(HexField, MessagesAsTheDialogsShowThem) {
  EXPECT_EQ(hex_fields::kSelectRangeAddress.message, "No 6-digit hexadecimal number!");
  EXPECT_EQ(hex_fields::kRelocateAddress.message, "No 6-digit hexadecimal number !");
  EXPECT_EQ(hex_fields::kMemoryViewByte.digits, 2);
  EXPECT_EQ(BinaryFieldMessage(3), "No binary number or more than 3 digits !");
  EXPECT_TRUE(IsValidBinaryField("101", 3));
  EXPECT_FALSE(IsValidBinaryField("1010", 3));
  EXPECT_FALSE(IsValidBinaryField("102", 3));
}

TEST(CommandWords, SplitAtRunsOfBlanks) {
  const CommandWords words("  first.scm \t second.scm   third ");
  EXPECT_EQ(words.CommandWordCount(), 3);
  EXPECT_EQ(words.CommandWord(1), "first.scm");
  EXPECT_EQ(words.CommandWord(3), "third");
  EXPECT_EQ(words.CommandWord(0), "");
  EXPECT_EQ(words.CommandWord(4), "");
  EXPECT_EQ(CommandWords("").CommandWordCount(), 0);
}

TEST(FileExists, AsksBeforeOverwritingAndYesMeansGoAhead) {
  test::TempFolder folder;
  test::RecordingFrontend frontend;
  const std::string present = folder.Write("present.hex", ":00000001FF\r\n");
  EXPECT_FALSE(FileExists(folder.File("absent.hex"), true, frontend));
  EXPECT_TRUE(frontend.boxes.empty());
  EXPECT_TRUE(FileExists(present, false, frontend));
  EXPECT_TRUE(frontend.boxes.empty());

  frontend.QueueAnswer(BoxAnswer::Yes);
  EXPECT_FALSE(FileExists(present, true, frontend));
  frontend.QueueAnswer(BoxAnswer::No);
  EXPECT_TRUE(FileExists(present, true, frontend));
  ASSERT_EQ(frontend.boxes.size(), 2U);
  EXPECT_EQ(frontend.boxes[0].text, "File allready exists ! Overwrite ?");
  EXPECT_EQ(frontend.boxes[0].buttons, BoxButtons::YesNo);
  // A folder is not a file that can be read.
  EXPECT_FALSE(FileExists(folder.path().string(), false, frontend));
}

}  // namespace
}  // namespace velmora
