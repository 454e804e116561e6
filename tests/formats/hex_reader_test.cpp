#include "formats/hex_reader.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_folder.h"

namespace velmora {
namespace {

constexpr std::string_view kNoStartMarkLine = "*ERROR: No ':' at beginning of line ";
constexpr std::string_view kEndRecord = ":00000001FF";

// One record with its checksum, upper-case digits, no line end.
std::string Record(uint8_t type, uint16_t offset, const std::vector<uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::vector<uint8_t> all = {static_cast<uint8_t>(bytes.size()), static_cast<uint8_t>(offset >> 8),
                              static_cast<uint8_t>(offset), type};
  all.insert(all.end(), bytes.begin(), bytes.end());
  const auto sum = std::accumulate(all.begin(), all.end(), 0u);
  all.push_back(static_cast<uint8_t>(0x100 - (sum & 0xFF)));
  std::string text = ":";
  for (uint8_t b : all) {
    text += kDigits[b >> 4];
    text += kDigits[b & 0xF];
  }
  return text;
}

std::string Data(uint16_t offset, const std::vector<uint8_t>& bytes) {
  return Record(0, offset, bytes);
}

// count bytes first, first + 1, ... (wrapping at 256).
std::vector<uint8_t> Ramp(size_t count, uint8_t first = 0) {
  std::vector<uint8_t> bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(first + i);
  return bytes;
}

std::string Lines(const std::vector<std::string>& lines, std::string_view end = "\r\n") {
  std::string text;
  for (const auto& line : lines) {
    text += line;
    text += end;
  }
  return text;
}

class HexReaderTest : public ::testing::Test {
 protected:
  void SetUp() override { image_.InitImage(); }

  HexReadResult Load(std::string_view text) {
    return HexRead(folder_.Write("in.hex", text), image_, selections_, log_);
  }

  std::vector<Selection> Selections() const {
    std::vector<Selection> all;
    for (int i = 0; i < selections_.Count(); ++i) all.push_back(selections_.At(i));
    return all;
  }

  // The closed lines of the message list (the open line after them is left out).
  std::vector<std::string> Messages() const {
    std::vector<std::string> lines;
    const MessageList& list = log_.List();
    for (int i = 0; i + 1 < list.Count(); ++i) lines.push_back(list.Entry(i));
    return lines;
  }

  std::vector<uint8_t> Bytes(int32_t address, size_t count) {
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i) bytes[i] = image_.GetByte(address + static_cast<int32_t>(i));
    return bytes;
  }

  // Number of `defined` bytes from address on.
  size_t DefinedCount(int32_t address, size_t count) {
    size_t defined = 0;
    for (size_t i = 0; i < count; ++i) {
      if (image_.IsDefined(address + static_cast<int32_t>(i))) ++defined;
    }
    return defined;
  }

  test::TempFolder folder_;
  MemoryImage image_;
  SelectionList selections_;
  MessageLog log_;
};

TEST_F(HexReaderTest, OnlyAnEndRecordLoadsNothing) {
  ASSERT_TRUE(selections_.AddSelection(0x100, 0x1FF));
  const HexReadResult result = Load(Lines({std::string(kEndRecord)}));
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_EQ(result.bytesStored, 0);
  EXPECT_EQ(selections_.Count(), 0) << "the old selections are cleared first";
  EXPECT_EQ(selections_.ByteCount(), 0);
  EXPECT_TRUE(Messages().empty());
  EXPECT_EQ(DefinedCount(0, 0x400), 0u);
}

TEST_F(HexReaderTest, AscendingContiguousRecordsMakeOneSelection) {
  const HexReadResult result =
      Load(Lines({Data(0x0000, Ramp(16)), Data(0x0010, Ramp(16, 0x10)), std::string(kEndRecord)}));
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_EQ(result.bytesStored, 32);
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x00, 0x1F}}));
  EXPECT_EQ(Bytes(0, 32), Ramp(32));
  EXPECT_EQ(DefinedCount(0, 32), 32u);
  EXPECT_FALSE(image_.IsDefined(0x20));
}

TEST_F(HexReaderTest, RecordsInReverseOrderMergeIntoOneSelection) {
  Load(Lines({Data(0x0010, Ramp(16, 0x10)), Data(0x0000, Ramp(16)), std::string(kEndRecord)}));
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x00, 0x1F}}));
  EXPECT_EQ(Bytes(0, 32), Ramp(32));
}

TEST_F(HexReaderTest, GapsAndBackwardJumpsStartNewRuns) {
  Load(Lines({Data(0x0020, Ramp(16)), Data(0x0000, Ramp(16)), Data(0x0040, Ramp(4)),
              Data(0x0044, Ramp(4)), Data(0x0038, Ramp(8))}));
  // 38..3F touches 40..47 and merges with it; 00..0F and 20..2F stay apart.
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x00, 0x0F}, {0x20, 0x2F}, {0x38, 0x47}}));
}

TEST_F(HexReaderTest, OverlappingRecordsKeepTheLaterBytes) {
  Load(Lines({Data(0x0000, Ramp(16)), Data(0x0008, std::vector<uint8_t>(16, 0xEE))}));
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x00, 0x17}}));
  EXPECT_EQ(image_.GetByte(0x07), 0x07);
  EXPECT_EQ(image_.GetByte(0x08), 0xEE);
  EXPECT_EQ(image_.GetByte(0x17), 0xEE);
}

TEST_F(HexReaderTest, LoadingSetsDefinedClearsValidAndKeepsProtected) {
  image_.SetValid(0x10, true);
  image_.SetProtected(0x10, true);
  image_.SetValid(0x11, true);
  Load(Lines({Data(0x0010, {0xAA, 0xBB})}));
  EXPECT_TRUE(image_.IsDefined(0x10));
  EXPECT_FALSE(image_.IsValid(0x10));
  EXPECT_TRUE(image_.IsProtected(0x10));
  EXPECT_TRUE(image_.IsDefined(0x11));
  EXPECT_FALSE(image_.IsValid(0x11));
  EXPECT_FALSE(image_.IsProtected(0x11));
}

TEST_F(HexReaderTest, ExtendedLinearAddressMovesTheFollowingData) {
  Load(Lines({Record(4, 0, {0x00, 0x01}), Data(0x0002, {0x5A}), std::string(kEndRecord)}));
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x10002, 0x10002}}));
  EXPECT_EQ(image_.GetByte(0x10002), 0x5A);
  EXPECT_FALSE(image_.IsDefined(0x0002));
}

TEST_F(HexReaderTest, ExtendedSegmentAddressIsTimesSixteen) {
  Load(Lines({Record(2, 0, {0x10, 0x00}), Data(0x0000, {0x01, 0x02}), Record(2, 0, {0x12, 0x34}),
              Data(0x0005, {0x03}),
              // The base stays until the next address record.
              Data(0x0006, {0x04})}));
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x10000, 0x10001}, {0x12345, 0x12346}}));
  EXPECT_EQ(Bytes(0x10000, 2), (std::vector<uint8_t>{0x01, 0x02}));
  EXPECT_EQ(Bytes(0x12345, 2), (std::vector<uint8_t>{0x03, 0x04}));
}

TEST_F(HexReaderTest, SegmentBaseAndOffsetAddWithoutWrapping) {
  // Segment FFFF gives base FFFF0; offset FFFF reaches 10FFEF.
  Load(Lines({Record(2, 0, {0xFF, 0xFF}), Data(0xFFFF, {0x77})}));
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x10FFEF, 0x10FFEF}}));
  EXPECT_EQ(image_.GetByte(0x10FFEF), 0x77);
}

TEST_F(HexReaderTest, LowerCaseDigitsLoadLikeUpperCase) {
  const std::string upper = Lines(
      {Record(4, 0, {0x00, 0xAB}), Data(0xCDEF, {0xFA, 0xCE, 0xB0}), std::string(kEndRecord)});
  std::string lower = upper;
  for (char& ch : lower) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  ASSERT_NE(lower, upper);

  const HexReadResult result = Load(lower);
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0xABCDEF, 0xABCDF1}}));
  EXPECT_EQ(Bytes(0xABCDEF, 3), (std::vector<uint8_t>{0xFA, 0xCE, 0xB0}));
}

TEST_F(HexReaderTest, WrongOrMissingChecksumStillLoads) {
  // Right checksum would be 78; the second record has none at all and a trailing blank.
  const HexReadResult result =
      Load(":10000000000102030405060708090A0B0C0D0E0F00\r\n:020010001011 \r\n");
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_TRUE(Messages().empty());
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x00, 0x11}}));
  EXPECT_EQ(Bytes(0, 16), Ramp(16));
  EXPECT_EQ(Bytes(0x10, 2), (std::vector<uint8_t>{0x10, 0x11}));
}

TEST_F(HexReaderTest, EmptyLineInTheMiddleStopsTheLoad) {
  const HexReadResult result = Load(Lines({
      Data(0x0100, Ramp(16)),        // closed by the gap below: stays selected
      Data(0x0200, Ramp(16)),        // the current run when the empty line comes
      Data(0x0210, Ramp(16, 0x10)),  //
      "",                            // line 4
      Data(0x0300, Ramp(16)),        // never read
      std::string(kEndRecord),
  }));
  EXPECT_EQ(result.status, HexReadStatus::NoStartMark);
  EXPECT_EQ(result.lineNumber, 4);
  EXPECT_EQ(Messages(), (std::vector<std::string>{std::string(kNoStartMarkLine)}));
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x100, 0x10F}}));
  // The bytes of the unselected run are in the image all the same.
  EXPECT_EQ(DefinedCount(0x200, 0x20), 0x20u);
  EXPECT_EQ(Bytes(0x200, 0x20), Ramp(0x20));
  EXPECT_EQ(DefinedCount(0x300, 0x10), 0u);
}

TEST_F(HexReaderTest, LineWithoutStartMarkStopsTheLoad) {
  const std::vector<std::string> stoppers = {"garbage", " :0100000011EE", "\t",
                                             "   ",     "\x1A",           "1000000000"};
  for (const auto& stopper : stoppers) {
    SCOPED_TRACE("line: \"" + stopper + "\"");
    MemoryImage image;
    SelectionList selections;
    MessageLog log;
    const std::string text =
        Lines({Data(0x0000, {0x01}), Data(0x0010, {0x02}), stopper, Data(0x0020, {0x03})});
    const HexReadResult result = HexRead(folder_.Write("stop.hex", text), image, selections, log);
    EXPECT_EQ(result.status, HexReadStatus::NoStartMark);
    EXPECT_EQ(result.lineNumber, 3);
    ASSERT_EQ(log.List().Count(), 2);
    EXPECT_EQ(log.List().Entry(0), kNoStartMarkLine);
    ASSERT_EQ(selections.Count(), 1);
    EXPECT_EQ(selections.At(0), (Selection{0x00, 0x00}));
    EXPECT_TRUE(image.IsDefined(0x10));
    EXPECT_FALSE(image.IsDefined(0x20));
  }
}

TEST_F(HexReaderTest, BlankLinesAndEndMarksAfterTheLastRecordAreIgnored) {
  const std::vector<std::string> tails = {"\r\n",         "\r\n\r\n\r\n", "\n\n",
                                          "  \r\n\t\r\n", "\x1A",         "\r\n\x1A\r\n"};
  for (const auto& tail : tails) {
    SCOPED_TRACE(::testing::PrintToString(tail));
    MemoryImage image;
    SelectionList selections;
    MessageLog log;
    const std::string text = Lines({Data(0x0000, Ramp(8)), std::string(kEndRecord)}) + tail;
    const HexReadResult result = HexRead(folder_.Write("tail.hex", text), image, selections, log);
    EXPECT_EQ(result.status, HexReadStatus::Ok);
    EXPECT_EQ(log.List().Count(), 1) << "no message line";
    ASSERT_EQ(selections.Count(), 1);
    EXPECT_EQ(selections.At(0), (Selection{0x00, 0x07}));
  }
}

TEST_F(HexReaderTest, EveryRecordTypeMixed) {
  const HexReadResult result = Load(Lines({
      Record(4, 0, {0x00, 0x00}),
      Data(0x0000, {0x11, 0x22}),
      Record(1, 0, {}),  // end of file in the middle: reading goes on
      Data(0x0002, {0x33}),
      Record(3, 0, {0x00, 0x00, 0x38, 0x00}),
      Record(2, 0, {0x20, 0x00}),
      Data(0x0010, {0x44}),
      Record(5, 0, {0x00, 0x00, 0xCD, 0x2A}),
      Record(0x07, 0x1234, {0x99, 0x99}),  // unknown types are skipped, data and all
      Record(0xAA, 0, {}),
      Record(4, 0, {0x00, 0x03}),
      Data(0x0020, {0x55}),
      std::string(kEndRecord),
  }));
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_EQ(result.bytesStored, 5);
  EXPECT_EQ(result.recordsSkipped, 6);
  EXPECT_EQ(Selections(),
            (std::vector<Selection>{{0x0, 0x2}, {0x20010, 0x20010}, {0x30020, 0x30020}}));
  EXPECT_EQ(Bytes(0, 3), (std::vector<uint8_t>{0x11, 0x22, 0x33}));
  EXPECT_EQ(image_.GetByte(0x20010), 0x44);
  EXPECT_EQ(image_.GetByte(0x30020), 0x55);
  EXPECT_FALSE(image_.IsDefined(0x1234));
  EXPECT_FALSE(image_.IsDefined(0x21234));
}

TEST_F(HexReaderTest, RecordMayCrossA64KBoundary) {
  Load(Lines({Record(4, 0, {0x00, 0x02}), Data(0xFFF8, Ramp(16)), Data(0x0008, Ramp(4, 0x10))}));
  // FFF8 + 16 runs on into the next segment as plain addition: 2FFF8 to 30007, and the
  // next record at 20008 is not contiguous with it.
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x20008, 0x2000B}, {0x2FFF8, 0x30007}}));
  EXPECT_EQ(Bytes(0x2FFF8, 16), Ramp(16));
  EXPECT_TRUE(image_.IsAllocated(3));
}

TEST_F(HexReaderTest, AllLineEndStylesLoadTheSame) {
  const std::vector<std::string> records = {Record(4, 0, {0x00, 0x05}), Data(0x1000, Ramp(32)),
                                            Data(0x1020, Ramp(7, 0x80)), std::string(kEndRecord)};
  struct Style {
    const char* name;
    std::string text;
  };
  const std::string crlf = Lines(records, "\r\n");
  const std::string lf = Lines(records, "\n");
  const Style styles[] = {
      {"CR LF", crlf},
      {"LF", lf},
      {"lone CR", Lines(records, "\r")},
      {"CR LF, no final line end", crlf.substr(0, crlf.size() - 2)},
      {"LF, no final line end", lf.substr(0, lf.size() - 1)},
      {"mixed", records[0] + "\n" + records[1] + "\r" + records[2] + "\r\n" + records[3]},
  };
  for (const auto& style : styles) {
    SCOPED_TRACE(style.name);
    MemoryImage image;
    SelectionList selections;
    MessageLog log;
    const HexReadResult result =
        HexRead(folder_.Write("ends.hex", style.text), image, selections, log);
    EXPECT_EQ(result.status, HexReadStatus::Ok);
    EXPECT_EQ(result.bytesStored, 39);
    ASSERT_EQ(selections.Count(), 1);
    EXPECT_EQ(selections.At(0), (Selection{0x51000, 0x51026}));
    EXPECT_EQ(image.GetByte(0x5101F), 31);
    EXPECT_EQ(image.GetByte(0x51026), 0x86);
  }
}

TEST_F(HexReaderTest, LastRecordWithoutLineEndIsLoaded) {
  const HexReadResult result = Load(Data(0x0040, {0xDE, 0xAD}));
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0x40, 0x41}}));
  EXPECT_EQ(Bytes(0x40, 2), (std::vector<uint8_t>{0xDE, 0xAD}));
}

TEST_F(HexReaderTest, RecordsOfOneTo255Bytes) {
  std::vector<std::string> records;
  std::vector<uint8_t> expected;
  uint16_t offset = 0;
  for (size_t n = 1; n <= 255; ++n) {
    const auto bytes = Ramp(n, static_cast<uint8_t>(n * 3));
    records.push_back(Data(offset, bytes));
    expected.insert(expected.end(), bytes.begin(), bytes.end());
    offset = static_cast<uint16_t>(offset + n);
  }
  records.emplace_back(kEndRecord);
  const HexReadResult result = Load(Lines(records));
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  ASSERT_EQ(expected.size(), 255u * 256u / 2u);
  EXPECT_EQ(result.bytesStored, static_cast<int64_t>(expected.size()));
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0, static_cast<int32_t>(expected.size()) - 1}}));
  EXPECT_EQ(Bytes(0, expected.size()), expected);
}

TEST_F(HexReaderTest, LinesAcrossTheReadBufferBoundariesAreIntact) {
  // About 1.1 MB of records, more than the reader takes in at once; shifting the text one character
  // at a time puts every position of a line, the CR and the LF among them, on whatever boundary the
  // reader reads in.
  std::string body;
  for (int32_t a = 0; a < 0x60000; a += 16) {
    if ((a & 0xFFFF) == 0) body += Record(4, 0, {0x00, static_cast<uint8_t>(a >> 16)}) + "\r\n";
    body += Data(static_cast<uint16_t>(a), Ramp(16, static_cast<uint8_t>(a >> 4))) + "\r\n";
  }
  body += std::string(kEndRecord) + "\r\n";
  ASSERT_GT(body.size(), size_t{1} << 20);
  for (const std::string_view end : {"\r\n", "\r"}) {
    std::string text = body;
    if (end == "\r") std::erase(text, '\n');
    for (int shift = 0; shift < 45; ++shift) {
      SCOPED_TRACE("shift " + std::to_string(shift) + (end == "\r" ? " CR" : " CR LF"));
      MemoryImage image;
      SelectionList selections;
      MessageLog log;
      // Trailing blanks after the first record are not looked at.
      std::string shifted = text;
      shifted.insert(shifted.find(end), static_cast<size_t>(shift), ' ');
      const HexReadResult result =
          HexRead(folder_.Write("big.hex", shifted), image, selections, log);
      ASSERT_EQ(result.status, HexReadStatus::Ok);
      ASSERT_EQ(result.bytesStored, 0x60000);
      ASSERT_EQ(selections.Count(), 1);
      ASSERT_EQ(selections.At(0), (Selection{0, 0x5FFFF}));
      // Record 5FFF0 starts with FF (the low byte of 5FFF), so 5FFFF holds FF + F.
      ASSERT_EQ(image.GetByte(0x5FFFF), 0x0E);
      ASSERT_EQ(image.GetByte(0x12345), 0x34 + 5);
    }
  }
}

struct BadRecordCase {
  const char* name;
  std::string line;
  HexReadStatus status;
  int32_t target;  // where the bad record's bytes would have gone
};

TEST_F(HexReaderTest, BadRecordStopsWithAnErrorLineAndStoresNothingOfIt) {
  const BadRecordCase cases[] = {
      {"bad digit in a data pair", ":04050000112G3344E3", HexReadStatus::BadDigit, 0x0500},
      {"bad digit in the last pair", ":040500001122334X00", HexReadStatus::BadDigit, 0x0500},
      {"bad digit in the count", ":0G050000112233", HexReadStatus::BadDigit, 0x0500},
      {"bad digit in the address", ":0405Z000112233", HexReadStatus::BadDigit, 0x0500},
      {"bad digit in the type", ":040500 0112233", HexReadStatus::BadDigit, 0x0500},
      {"bad digit in an address record", ":02000004000G00", HexReadStatus::BadDigit, 0x0500},
      {"data shorter than the count", ":10050000112233", HexReadStatus::ShortRecord, 0x0500},
      {"odd digit count", ":040500001122334", HexReadStatus::ShortRecord, 0x0500},
      {"no type", ":0405000", HexReadStatus::ShortRecord, 0x0500},
      {"only the start mark", ":", HexReadStatus::ShortRecord, 0x0500},
      {"address record without data", ":02000004", HexReadStatus::ShortRecord, 0x0500},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MemoryImage image;
    SelectionList selections;
    MessageLog log;
    const std::string text = Lines({Data(0x0100, Ramp(4)), Data(0x0200, Ramp(4)), c.line,
                                    Data(0x0300, Ramp(4)), std::string(kEndRecord)});
    const HexReadResult result = HexRead(folder_.Write("bad.hex", text), image, selections, log);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.lineNumber, 3);
    ASSERT_EQ(log.List().Count(), 2);
    const std::string& line = log.List().Entry(0);
    EXPECT_TRUE(line.starts_with("*ERROR: ")) << line;
    EXPECT_TRUE(line.ends_with(" 3")) << "names the line: " << line;
    // Runs closed before the bad line stay selected; the current one is not selected but
    // its bytes are loaded; nothing of the bad record or after it is.
    ASSERT_EQ(selections.Count(), 1);
    EXPECT_EQ(selections.At(0), (Selection{0x100, 0x103}));
    EXPECT_TRUE(image.IsDefined(0x203));
    for (int32_t a = c.target; a < c.target + 0x10; ++a) EXPECT_FALSE(image.IsDefined(a)) << a;
    EXPECT_FALSE(image.IsDefined(0x300));
  }
}

TEST_F(HexReaderTest, AddressesBeyondTheImageStopTheLoad) {
  const BadRecordCase cases[] = {
      {"record runs past FFFFFF", Data(0xFFF8, Ramp(9)), HexReadStatus::BeyondAddressSpace,
       0xFFFFF8},
      {"upper 0100", Record(4, 0, {0x01, 0x00}) + "\r\n" + Data(0x0000, Ramp(4)),
       HexReadStatus::BeyondAddressSpace, 0xFFFFF0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MemoryImage image;
    SelectionList selections;
    MessageLog log;
    const std::string text =
        Lines({Record(4, 0, {0x00, 0xFF}), Data(0xFFE0, Ramp(8)), c.line, std::string(kEndRecord)});
    const HexReadResult result = HexRead(folder_.Write("far.hex", text), image, selections, log);
    EXPECT_EQ(result.status, c.status);
    ASSERT_EQ(log.List().Count(), 2);
    EXPECT_TRUE(log.List().Entry(0).starts_with("*ERROR: ")) << log.List().Entry(0);
    EXPECT_EQ(image.RangeErrors(), 0) << "nothing was stored outside the image";
    EXPECT_EQ(selections.Count(), 0);
    EXPECT_TRUE(image.IsDefined(0xFFFFE7));
    for (int32_t a = c.target; a <= 0xFFFFFF; ++a) EXPECT_FALSE(image.IsDefined(a)) << a;
  }
}

TEST_F(HexReaderTest, RecordEndingExactlyAtFFFFFFLoads) {
  const HexReadResult result =
      Load(Lines({Record(4, 0, {0x00, 0xFF}), Data(0xFFF8, Ramp(8)), std::string(kEndRecord)}));
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_EQ(Selections(), (std::vector<Selection>{{0xFFFFF8, 0xFFFFFF}}));
  EXPECT_EQ(image_.GetByte(0xFFFFFF), 7);
}

TEST_F(HexReaderTest, MoreThan1001SeparateRunsKeepTheBytesAndReport) {
  constexpr int kRuns = 1100;
  std::vector<std::string> records;
  for (int i = 0; i < kRuns; ++i) {
    records.push_back(Data(static_cast<uint16_t>(i * 4), {static_cast<uint8_t>(i)}));
  }
  // Touches the first run: merges into the full list.
  records.push_back(Data(0x0001, {0xAB}));
  const HexReadResult result = Load(Lines(records));
  EXPECT_EQ(result.status, HexReadStatus::Ok);
  EXPECT_TRUE(result.selectionsDropped);
  EXPECT_EQ(Messages(), (std::vector<std::string>{std::string(kTooManySelectionsLine)}));
  ASSERT_EQ(selections_.Count(), SelectionList::kCapacity);
  EXPECT_EQ(selections_.At(0), (Selection{0x0, 0x1}));
  for (int i = 1; i < SelectionList::kCapacity; ++i) {
    ASSERT_EQ(selections_.At(i), (Selection{i * 4, i * 4})) << i;
  }
  for (int i = 0; i < kRuns; ++i) {
    ASSERT_TRUE(image_.IsDefined(i * 4)) << i;
    ASSERT_EQ(image_.GetByte(i * 4), static_cast<uint8_t>(i)) << i;
  }
}

TEST_F(HexReaderTest, MissingFileIsReported) {
  ASSERT_TRUE(selections_.AddSelection(0, 0xF));
  const HexReadResult result = HexRead(folder_.File("absent.hex"), image_, selections_, log_);
  EXPECT_EQ(result.status, HexReadStatus::CannotOpen);
  ASSERT_EQ(Messages().size(), 1u);
  EXPECT_TRUE(Messages()[0].starts_with("*ERROR: ")) << Messages()[0];
  EXPECT_EQ(selections_.Count(), 0);
}

}  // namespace
}  // namespace velmora
