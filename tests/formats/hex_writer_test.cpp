#include "formats/hex_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_folder.h"

namespace velmora {
namespace {

// Joins records into the text a file must hold: every line ended by CR LF.
std::string Text(const std::vector<std::string_view>& records) {
  std::string text;
  for (auto record : records) {
    text += record;
    text += "\r\n";
  }
  return text;
}

std::vector<std::string> FilesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

int DigitValue(char ch) {
  if (ch >= '0' && ch <= '9') return ch - '0';
  if (ch >= 'A' && ch <= 'F') return ch - 'A' + 10;
  return -1;  // lower case counts as wrong: the writer uses upper case only
}

// Checks the shape of every line of a written file independently of the writer: ":" and
// upper-case digit pairs only, CR LF after each record, the count matching the data, and
// the checksum making the byte sum a multiple of 256. Returns the data counts of the
// data records.
std::vector<int> CheckRecords(const std::string& text) {
  std::vector<int> counts;
  size_t at = 0;
  while (at < text.size()) {
    const size_t end = text.find("\r\n", at);
    EXPECT_NE(end, std::string::npos) << "record without CR LF at " << at;
    if (end == std::string::npos) break;
    const std::string_view line(text.data() + at, end - at);
    at = end + 2;
    EXPECT_EQ(line.find('\n'), std::string_view::npos) << line;
    EXPECT_EQ(line.find('\r'), std::string_view::npos) << line;
    EXPECT_TRUE(line.size() >= 11 && line.size() % 2 == 1 && line[0] == ':') << line;
    if (line.size() < 11 || line.size() % 2 == 0) continue;
    std::vector<int> bytes;
    for (size_t i = 1; i + 1 < line.size(); i += 2) {
      const int high = DigitValue(line[i]);
      const int low = DigitValue(line[i + 1]);
      EXPECT_TRUE(high >= 0 && low >= 0) << line;
      bytes.push_back(high * 16 + low);
    }
    int sum = 0;
    for (int b : bytes) sum += b;
    EXPECT_EQ(sum % 256, 0) << "checksum of " << line;
    EXPECT_EQ(static_cast<size_t>(bytes[0]) + 5, bytes.size()) << "count of " << line;
    if (bytes[3] == 0) counts.push_back(bytes[0]);
  }
  EXPECT_TRUE(text.ends_with(":00000001FF\r\n"));
  return counts;
}

class HexWriterTest : public ::testing::Test {
 protected:
  void SetUp() override { image_.InitImage(); }

  // Every byte from start to end gets the low byte of its address as its value.
  void Define(int32_t start, int32_t end) {
    std::vector<uint8_t> bytes;
    for (int32_t a = start; a <= end; ++a) bytes.push_back(static_cast<uint8_t>(a));
    image_.StoreLoaded(start, bytes);
  }

  std::string Path() const { return folder_.File("out.hex"); }
  std::string Written() const { return folder_.Read("out.hex"); }

  std::vector<std::string> Messages() const {
    std::vector<std::string> lines;
    for (int i = 0; i + 1 < log_.List().Count(); ++i) lines.push_back(log_.List().Entry(i));
    return lines;
  }

  test::TempFolder folder_;
  MemoryImage image_;
  SelectionList selections_;
  MessageLog log_;
};

TEST_F(HexWriterTest, BlockOfSixteenBytesInLinearFormat) {
  Define(0x0, 0xF);
  ASSERT_EQ(HexWrite(Path(), 0x0, 0xF, 16, 4, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":020000040000FA", ":10000000000102030405060708090A0B0C0D0E0F78",
                             ":00000001FF"}));
  EXPECT_TRUE(Messages().empty());
}

TEST_F(HexWriterTest, BlockInSegmentFormatNamesTheSegment) {
  Define(0x10000, 0x1000F);
  ASSERT_EQ(HexWrite(Path(), 0x10000, 0x1000F, 32, 2, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":020000021000EC", ":10000000000102030405060708090A0B0C0D0E0F78",
                             ":00000001FF"}));
}

TEST_F(HexWriterTest, SelectionLeavesOutBytesWithoutValue) {
  Define(0x0, 0x1F);
  image_.SetDefined(0x8, false);
  image_.SetDefined(0x9, false);
  ASSERT_TRUE(selections_.AddSelection(0x0, 0x1F));
  ASSERT_EQ(HexWriteSelections(Path(), 32, 4, image_, selections_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(),
            Text({":020000040000FA", ":080000000001020304050607DC",
                  ":16000A000A0B0C0D0E0F101112131415161718191A1B1C1D1E1F1D", ":00000001FF"}));
}

TEST_F(HexWriterTest, SelectionSplitsAtThe64KBoundary) {
  Define(0xFFF0, 0x1000F);
  ASSERT_TRUE(selections_.AddSelection(0xFFF0, 0x1000F));
  ASSERT_EQ(HexWriteSelections(Path(), 32, 4, image_, selections_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":020000040000FA", ":10FFF000F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF89",
                             ":020000040001F9", ":10000000000102030405060708090A0B0C0D0E0F78",
                             ":00000001FF"}));
}

TEST_F(HexWriterTest, BlockRecordRunsAcrossThe64KBoundary) {
  Define(0xFFF8, 0x10017);
  // The record at FFF8 carries bytes of both segments; the next upper value comes before
  // the next record.
  const std::string data1 = ":10FFF800F8F9FAFBFCFDFEFF000102030405060701";
  const std::string data2 = ":1000080008090A0B0C0D0E0F1011121314151617F0";
  ASSERT_EQ(HexWrite(Path(), 0xFFF8, 0x10017, 16, 4, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":020000040000FA", data1, ":020000040001F9", data2, ":00000001FF"}));
  ASSERT_EQ(HexWrite(Path(), 0xFFF8, 0x10017, 16, 2, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":020000020000FC", data1, ":020000021000EC", data2, ":00000001FF"}));
}

TEST_F(HexWriterTest, ChecksumOfAMultipleOf256IsZero) {
  // 02 + 00 + 00 + 04 + 00 + FA and 01 + 00 + 00 + 00 + FF are both 100.
  image_.SetByte(0xFA0000, 0xFF);
  ASSERT_EQ(HexWrite(Path(), 0xFA0000, 0xFA0000, 16, 4, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":0200000400FA00", ":01000000FF00", ":00000001FF"}));
}

TEST_F(HexWriterTest, BlockWritesEveryByteAsItStands) {
  image_.SetByte(0x22, 0x99);  // a value but no `defined`; the others were never written
  ASSERT_EQ(HexWrite(Path(), 0x20, 0x24, 16, 4, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":020000040000FA", ":05002000000099000042", ":00000001FF"}));
}

TEST_F(HexWriterTest, TopOfTheAddressSpaceInLinearFormat) {
  Define(0xFFFFF0, 0xFFFFFF);
  ASSERT_EQ(HexWrite(Path(), 0xFFFFF0, 0xFFFFFF, 32, 4, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":0200000400FFFB", ":10FFF000F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF89",
                             ":00000001FF"}));
}

TEST_F(HexWriterTest, SegmentFormatReachesFFFFF) {
  Define(0xFFFF0, 0xFFFFF);
  ASSERT_EQ(HexWrite(Path(), 0xFFFF0, 0xFFFFF, 32, 2, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":02000002F0000C", ":10FFF000F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF89",
                             ":00000001FF"}));
}

TEST_F(HexWriterTest, SelectionFormEmitsAnAddressRecordPerSegment) {
  for (int32_t a : {0x00005, 0x10005, 0xF0005}) Define(a, a + 1);
  for (int32_t a : {0x00005, 0x10005, 0xF0005}) ASSERT_TRUE(selections_.AddSelection(a, a + 1));
  ASSERT_EQ(HexWriteSelections(Path(), 16, 2, image_, selections_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(),
            Text({":020000020000FC", ":020005000506EE", ":020000021000EC", ":020005000506EE",
                  ":02000002F0000C", ":020005000506EE", ":00000001FF"}));
}

TEST_F(HexWriterTest, EmptyRangesGiveOnlyTheEndRecord) {
  ASSERT_EQ(HexWriteSelections(Path(), 32, 4, image_, selections_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":00000001FF"}));
  // A selection without any byte that holds a value writes no address record either.
  ASSERT_TRUE(selections_.AddSelection(0x300, 0x3FF));
  ASSERT_EQ(HexWriteSelections(Path(), 32, 4, image_, selections_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":00000001FF"}));
  // A reversed block holds no address.
  ASSERT_EQ(HexWrite(Path(), 0x10, 0x0F, 32, 4, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":00000001FF"}));
}

TEST_F(HexWriterTest, RecordSizesFrom1To255) {
  struct SizeCase {
    int size;
    std::vector<int> blockCounts;  // data counts of the block 0..1FF
  };
  const SizeCase cases[] = {
      {1, std::vector<int>(512, 1)},  {16, std::vector<int>(32, 16)},
      {32, std::vector<int>(16, 32)}, {100, {100, 100, 100, 100, 100, 12}},
      {255, {255, 255, 2}},
  };
  Define(0x0, 0x1FF);
  // Selection: 0..1FF with 100..13F undefined, so records also stop at the gap.
  image_.ChangeFlags(0x100, 0x40, kDefined, false);
  ASSERT_TRUE(selections_.AddSelection(0x0, 0x1FF));
  for (const auto& c : cases) {
    SCOPED_TRACE("record size " + std::to_string(c.size));
    ASSERT_EQ(HexWrite(Path(), 0x0, 0x1FF, c.size, 4, image_, log_), HexWriteStatus::Ok);
    EXPECT_EQ(CheckRecords(Written()), c.blockCounts);

    ASSERT_EQ(HexWriteSelections(Path(), c.size, 4, image_, selections_, log_), HexWriteStatus::Ok);
    const std::vector<int> counts = CheckRecords(Written());
    int total = 0;
    for (int n : counts) {
      EXPECT_LE(n, c.size);
      total += n;
    }
    EXPECT_EQ(total, 0x200 - 0x40);
    // 0..FF and 140..1FF each take whole records of the size, and one shorter at the end.
    const auto perRun = [&c](int length) { return (length + c.size - 1) / c.size; };
    EXPECT_EQ(counts.size(), static_cast<size_t>(perRun(0x100) + perRun(0xC0)));
  }
}

TEST_F(HexWriterTest, LinesAreCrLfWithUpperCaseDigits) {
  // Every byte value, so that every digit A..F appears in data and checksums.
  for (int32_t a = 0; a < 0x3000; ++a) {
    image_.SetByte(0x1FF00 + a, static_cast<uint8_t>(a * 7 + (a >> 8)));
  }
  image_.ChangeFlags(0x1FF00, 0x3000, kDefined, true);
  image_.ChangeFlags(0x20500, 0x10, kDefined, false);
  ASSERT_TRUE(selections_.AddSelection(0x1FF00, 0x22EFF));
  for (int format : {2, 4}) {
    SCOPED_TRACE("format " + std::to_string(format));
    ASSERT_EQ(HexWrite(Path(), 0x1FF00, 0x22EFF, 32, format, image_, log_), HexWriteStatus::Ok);
    const std::string block = Written();
    EXPECT_EQ(block.find_first_of("abcdef"), std::string::npos);
    CheckRecords(block);
    ASSERT_EQ(HexWriteSelections(Path(), 32, format, image_, selections_, log_),
              HexWriteStatus::Ok);
    CheckRecords(Written());
  }
}

TEST_F(HexWriterTest, ExistingFileIsReplaced) {
  folder_.Write("out.hex", std::string(100000, 'x'));
  Define(0x0, 0xF);
  ASSERT_EQ(HexWrite(Path(), 0x0, 0xF, 16, 4, image_, log_), HexWriteStatus::Ok);
  EXPECT_EQ(Written(), Text({":020000040000FA", ":10000000000102030405060708090A0B0C0D0E0F78",
                             ":00000001FF"}));
  EXPECT_EQ(FilesIn(folder_.path()), std::vector<std::string>{"out.hex"});
}

struct RefusalCase {
  const char* name;
  bool bySelection;
  int32_t start;  // block form only
  int32_t end;
  int recordSize;
  int format;
  HexWriteStatus status;
};

TEST_F(HexWriterTest, RefusedSaveLeavesTheTargetAsItWas) {
  const RefusalCase cases[] = {
      {"block, record size 0", false, 0, 0xF, 0, 4, HexWriteStatus::BadRecordSize},
      {"block, record size 256", false, 0, 0xF, 256, 4, HexWriteStatus::BadRecordSize},
      {"selection, record size -1", true, 0, 0, -1, 4, HexWriteStatus::BadRecordSize},
      {"selection, record size 256", true, 0, 0, 256, 2, HexWriteStatus::BadRecordSize},
      {"block, format 3", false, 0, 0xF, 16, 3, HexWriteStatus::BadFormat},
      {"block, format 32", false, 0, 0xF, 16, 32, HexWriteStatus::BadFormat},
      {"selection, format 0", true, 0, 0, 16, 0, HexWriteStatus::BadFormat},
      {"block past FFFFF in the 20-bit format", false, 0xFFFF0, 0x10000F, 16, 2,
       HexWriteStatus::BadRange},
      // The selections below hold a byte at 100000.
      {"selection past FFFFF in the 20-bit format", true, 0, 0, 16, 2, HexWriteStatus::BadRange},
      {"block end beyond FFFFFF", false, 0xFFFFF0, 0x1000000, 16, 4, HexWriteStatus::BadRange},
      {"negative block start", false, -1, 0xF, 16, 4, HexWriteStatus::BadRange},
  };
  Define(0x0, 0xFF);
  Define(0x100000, 0x10000F);
  ASSERT_TRUE(selections_.AddSelection(0x0, 0xFF));
  ASSERT_TRUE(selections_.AddSelection(0x100000, 0x10000F));
  const std::string original = "not to be touched\r\n:00000001FF\r\n";
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = folder_.Write("out.hex", original);
    MessageLog log;
    const HexWriteStatus status =
        c.bySelection ? HexWriteSelections(path, c.recordSize, c.format, image_, selections_, log)
                      : HexWrite(path, c.start, c.end, c.recordSize, c.format, image_, log);
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(folder_.Read("out.hex"), original);
    EXPECT_EQ(FilesIn(folder_.path()), std::vector<std::string>{"out.hex"})
        << "no temporary file left behind";
    ASSERT_EQ(log.List().Count(), 2) << "one error line";
    EXPECT_TRUE(log.List().Entry(0).starts_with("*ERROR: ")) << log.List().Entry(0);
  }
}

TEST_F(HexWriterTest, FolderThatDoesNotExistFails) {
  Define(0x0, 0xF);
  ASSERT_TRUE(selections_.AddSelection(0x0, 0xF));
  const std::string path = folder_.File("missing/out.hex");
  // The message list wraps long lines, so the error line is read back joined.
  const auto errorText = [](const MessageLog& log) {
    std::string text;
    for (int i = 0; i + 1 < log.List().Count(); ++i) text += log.List().Entry(i);
    return text;
  };
  MessageLog blockLog;
  EXPECT_EQ(HexWrite(path, 0x0, 0xF, 16, 4, image_, blockLog), HexWriteStatus::CannotWrite);
  EXPECT_TRUE(errorText(blockLog).starts_with("*ERROR: ")) << errorText(blockLog);
  EXPECT_NE(errorText(blockLog).find(path), std::string::npos) << errorText(blockLog);
  MessageLog selectionLog;
  EXPECT_EQ(HexWriteSelections(path, 16, 4, image_, selections_, selectionLog),
            HexWriteStatus::CannotWrite);
  EXPECT_TRUE(errorText(selectionLog).starts_with("*ERROR: ")) << errorText(selectionLog);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "missing"));
}

}  // namespace
}  // namespace velmora
