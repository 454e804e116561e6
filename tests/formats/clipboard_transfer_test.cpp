#include "formats/clipboard_transfer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "formats/hex_reader.h"
#include "support/temp_folder.h"

namespace velmora {
namespace {

class ClipboardTest : public ::testing::Test {
 protected:
  void SetUp() override { image_.InitImage(); }

  // Bytes with a value that differs from their address's low byte, so that a paste at a
  // wrong offset shows.
  void Define(int32_t start, int32_t end) {
    std::vector<uint8_t> bytes;
    for (int32_t a = start; a <= end; ++a) bytes.push_back(static_cast<uint8_t>(a * 5 + (a >> 8)));
    image_.StoreLoaded(start, bytes);
  }

  void Select(int32_t start, int32_t end) { ASSERT_TRUE(selections_.AddSelection(start, end)); }

  // Compares count bytes and their `defined` flags at two places of the image.
  void ExpectSameAt(int32_t from, int32_t to, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
      ASSERT_EQ(image_.IsDefined(to + i), image_.IsDefined(from + i)) << std::hex << from + i;
      if (image_.IsDefined(from + i)) {
        ASSERT_EQ(image_.GetByte(to + i), image_.GetByte(from + i)) << std::hex << from + i;
      }
    }
  }

  int DefinedCount(int32_t start, int32_t count) {
    int defined = 0;
    for (int32_t a = start; a < start + count; ++a) defined += image_.IsDefined(a) ? 1 : 0;
    return defined;
  }

  std::vector<std::string> Messages() const {
    std::vector<std::string> lines;
    for (int i = 0; i + 1 < log_.List().Count(); ++i) lines.push_back(log_.List().Entry(i));
    return lines;
  }

  MemoryImage image_;
  SelectionList selections_;
  MessageLog log_;
};

TEST_F(ClipboardTest, PasteReproducesTwoSelectionsAndTheGapBetween) {
  Define(0x100, 0x10F);
  Define(0x120, 0x12F);
  Select(0x100, 0x10F);
  Select(0x120, 0x12F);
  const std::string text = CopySelections(image_, selections_);

  // What lies in the gap at the target stays; what lies under the pasted bytes changes.
  std::vector<uint8_t> old(16, 0xEE);
  image_.StoreLoaded(0x5010, old);
  image_.ChangeFlags(0x5000, 0x30, kValid, true);
  image_.SetProtected(0x5000, true);

  const PasteResult result = PasteClipboard(text, 0x5000, image_, log_);
  EXPECT_EQ(result.status, PasteStatus::Ok);
  EXPECT_EQ(result.bytesPasted, 32);
  EXPECT_TRUE(Messages().empty());
  ExpectSameAt(0x100, 0x5000, 0x10);
  ExpectSameAt(0x120, 0x5020, 0x10);
  for (int32_t a = 0x5010; a < 0x5020; ++a) {
    EXPECT_EQ(image_.GetByte(a), 0xEE);
    EXPECT_TRUE(image_.IsDefined(a));
    EXPECT_TRUE(image_.IsValid(a)) << "the gap is not written";
  }
  EXPECT_FALSE(image_.IsValid(0x5000));
  EXPECT_FALSE(image_.IsValid(0x502F));
  EXPECT_TRUE(image_.IsProtected(0x5000));
  EXPECT_FALSE(image_.IsDefined(0x5030));
  EXPECT_FALSE(image_.IsDefined(0x4FFF));
}

TEST_F(ClipboardTest, BytesWithoutValueInsideASelectionStayWithoutValue) {
  Define(0x200, 0x21F);
  image_.ChangeFlags(0x208, 3, kDefined, false);
  Select(0x200, 0x21F);
  const std::string text = CopySelections(image_, selections_);

  EXPECT_EQ(PasteClipboard(text, 0x7000, image_, log_).bytesPasted, 29);
  ExpectSameAt(0x200, 0x7000, 0x20);
  EXPECT_EQ(DefinedCount(0x7008, 3), 0);

  // On top of bytes that have a value, those three keep theirs.
  image_.StoreLoaded(0x8000, std::vector<uint8_t>(0x20, 0x55));
  EXPECT_EQ(PasteClipboard(text, 0x8000, image_, log_).status, PasteStatus::Ok);
  EXPECT_EQ(image_.GetByte(0x8007), image_.GetByte(0x207));
  for (int32_t a = 0x8008; a < 0x800B; ++a) EXPECT_EQ(image_.GetByte(a), 0x55);
  EXPECT_EQ(image_.GetByte(0x800B), image_.GetByte(0x20B));
}

TEST_F(ClipboardTest, CutCopiesThenClearsDefinedAndValid) {
  Define(0x300, 0x33F);
  image_.ChangeFlags(0x300, 0x40, kValid | kProtected, true);
  Select(0x310, 0x31F);
  const std::string copied = CopySelections(image_, selections_);
  const uint8_t before = image_.GetByte(0x315);

  EXPECT_EQ(CutSelections(image_, selections_), copied);
  for (int32_t a = 0x310; a < 0x320; ++a) {
    EXPECT_FALSE(image_.IsDefined(a));
    EXPECT_FALSE(image_.IsValid(a));
    EXPECT_TRUE(image_.IsProtected(a));
  }
  EXPECT_EQ(image_.GetByte(0x315), before) << "the data stays";
  EXPECT_TRUE(image_.IsDefined(0x30F));
  EXPECT_TRUE(image_.IsValid(0x30F));
  EXPECT_TRUE(image_.IsDefined(0x320));
  EXPECT_TRUE(image_.IsValid(0x320));

  // Pasting the cut bytes back where they were restores them.
  EXPECT_EQ(PasteClipboard(copied, 0x310, image_, log_).bytesPasted, 16);
  EXPECT_EQ(DefinedCount(0x310, 16), 16);
  EXPECT_EQ(image_.GetByte(0x315), before);
}

TEST_F(ClipboardTest, PasteThatWouldPassFFFFFFIsRefused) {
  Define(0x0, 0xF);
  Select(0x0, 0xF);
  const std::string text = CopySelections(image_, selections_);
  for (int32_t start : {0xFFFFF1, 0xFFFFFF, -1}) {
    SCOPED_TRACE(start);
    MessageLog log;
    const PasteResult result = PasteClipboard(text, start, image_, log);
    EXPECT_EQ(result.status, PasteStatus::BeyondAddressSpace);
    EXPECT_EQ(result.bytesPasted, 0);
    ASSERT_EQ(log.List().Count(), 2);
    EXPECT_TRUE(log.List().Entry(0).starts_with("*ERROR: ")) << log.List().Entry(0);
  }
  EXPECT_EQ(DefinedCount(0xFFFFF0, 0x10), 0);
  EXPECT_EQ(image_.RangeErrors(), 0);

  // Ending exactly at FFFFFF fits.
  EXPECT_EQ(PasteClipboard(text, 0xFFFFF0, image_, log_).status, PasteStatus::Ok);
  ExpectSameAt(0x0, 0xFFFFF0, 0x10);
}

TEST_F(ClipboardTest, TextThatIsNotIntelHexIsRefusedWhole) {
  const std::string cases[] = {
      "hello world",
      "Some notes\r\n:01000000AB54\r\n",
      ":01000000AB54\r\nsome notes\r\n",  // a good record first: still nothing is written
      ":0100000GAB54\r\n",
      ":10000000AB\r\n",
  };
  for (const auto& text : cases) {
    SCOPED_TRACE(text);
    MessageLog log;
    const PasteResult result = PasteClipboard(text, 0x100, image_, log);
    EXPECT_EQ(result.status, PasteStatus::NotHexText);
    EXPECT_EQ(result.bytesPasted, 0);
    ASSERT_EQ(log.List().Count(), 2);
    EXPECT_TRUE(log.List().Entry(0).starts_with("*ERROR: ")) << log.List().Entry(0);
    EXPECT_EQ(DefinedCount(0x100, 0x20), 0);
  }
}

TEST_F(ClipboardTest, NothingSelectedCopiesOnlyTheEndRecord) {
  Define(0x0, 0xFF);
  const std::string text = CopySelections(image_, selections_);
  EXPECT_EQ(text, ":00000001FF\r\n");
  const PasteResult result = PasteClipboard(text, 0x1000, image_, log_);
  EXPECT_EQ(result.status, PasteStatus::Ok);
  EXPECT_EQ(result.bytesPasted, 0);
  EXPECT_EQ(DefinedCount(0x1000, 0x100), 0);
}

TEST_F(ClipboardTest, SelectionsSpreadOverSegmentsPasteAtAnUnalignedAddress) {
  // Offsets from 8005 cross their own 64 KB boundaries at other places than the
  // addresses do (at address 18005, in the middle of a record).
  Define(0x8005, 0x18010);
  image_.ChangeFlags(0x9000, 0x123, kDefined, false);
  Define(0x2A0000, 0x2A0003);
  Select(0x8005, 0x18010);
  Select(0x2A0000, 0x2A0003);
  const std::string text = CopySelections(image_, selections_);
  // Strict readers wrap the offset at FFFF, so no data record may run past it.
  size_t records = 0;
  for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
    ASSERT_EQ(text[at], ':');
    if (text.compare(at + 7, 2, "00") != 0) continue;
    const int count = std::stoi(text.substr(at + 1, 2), nullptr, 16);
    const int offset = std::stoi(text.substr(at + 3, 4), nullptr, 16);
    EXPECT_LE(offset + count, 0x10000) << text.substr(at, 9);
    ++records;
  }
  ASSERT_GE(records, size_t{(0x1000C - 0x123) / 32});

  const int32_t target = 0x400003;
  const PasteResult result = PasteClipboard(text, target, image_, log_);
  EXPECT_EQ(result.status, PasteStatus::Ok);
  EXPECT_EQ(result.bytesPasted, 0x1000C - 0x123 + 4);
  ExpectSameAt(0x8005, target, 0x1000C);
  ExpectSameAt(0x2A0000, target + (0x2A0000 - 0x8005), 4);
  EXPECT_EQ(DefinedCount(target + 0x1000C, 0x100), 0);
}

TEST_F(ClipboardTest, ClipboardTextReadsAsIntelHex) {
  Define(0x100, 0x10F);
  Define(0x180, 0x183);
  Select(0x100, 0x10F);
  Select(0x180, 0x183);
  test::TempFolder folder;
  MemoryImage loaded;
  SelectionList loadedSelections;
  const HexReadResult read = HexRead(folder.Write("clip.hex", CopySelections(image_, selections_)),
                                     loaded, loadedSelections, log_);
  ASSERT_EQ(read.status, HexReadStatus::Ok);
  // Addresses are offsets from the lowest selection start.
  ASSERT_EQ(loadedSelections.Count(), 2);
  EXPECT_EQ(loadedSelections.At(0), (Selection{0x00, 0x0F}));
  EXPECT_EQ(loadedSelections.At(1), (Selection{0x80, 0x83}));
  for (int32_t i = 0; i < 0x10; ++i) EXPECT_EQ(loaded.GetByte(i), image_.GetByte(0x100 + i));
  for (int32_t i = 0; i < 4; ++i) EXPECT_EQ(loaded.GetByte(0x80 + i), image_.GetByte(0x180 + i));
}

TEST_F(ClipboardTest, PasteTakesTextOfOtherTools) {
  // Lower case, LF line ends, a segment address record and a start record.
  const std::string text =
      ":020000021000ec\n"
      ":0400000300001000e9\n"
      ":020004001234b4\n"
      ":00000001ff\n";
  const PasteResult result = PasteClipboard(text, 0x100, image_, log_);
  EXPECT_EQ(result.status, PasteStatus::Ok);
  EXPECT_EQ(result.bytesPasted, 2);
  EXPECT_EQ(image_.GetByte(0x10104), 0x12);
  EXPECT_EQ(image_.GetByte(0x10105), 0x34);
  EXPECT_EQ(DefinedCount(0x10100, 0x10), 2);
}

}  // namespace
}  // namespace velmora
