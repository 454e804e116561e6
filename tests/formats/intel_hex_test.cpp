// Intel HEX files and clipboard text: reading, writing, the round trip between them, and
// copy and paste of the selected bytes.
#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "formats/clipboard_transfer.h"
#include "formats/hex_reader.h"
#include "formats/hex_writer.h"
#include "reader_results.h"
#include "temp_folder.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;
const std::string kEnd = ":00000001FF";

// count bytes first, first + 1, ... (wrapping at 256).
Bytes ramp(size_t count, uint8_t first = 0) {
  Bytes bytes(count);
  std::iota(bytes.begin(), bytes.end(), first);
  return bytes;
}

// One record with its checksum, upper-case digits, no line end.
std::string record(uint8_t type, uint16_t offset, const Bytes& bytes) {
  Bytes all = {static_cast<uint8_t>(bytes.size()), static_cast<uint8_t>(offset >> 8),
               static_cast<uint8_t>(offset), type};
  all.insert(all.end(), bytes.begin(), bytes.end());
  all.push_back(static_cast<uint8_t>(0x100 - std::accumulate(all.begin(), all.end(), 0u)));
  std::string text = ":";
  for (uint8_t b : all) (text += "0123456789ABCDEF"[b >> 4]) += "0123456789ABCDEF"[b & 0xF];
  return text;
}
std::string data(uint16_t offset, const Bytes& bytes) {
  return record(0, offset, bytes);
}

// The records, each followed by the line end.
std::string lines(const std::vector<std::string>& records, std::string_view end = "\r\n") {
  std::string text;
  for (const auto& line : records) (text += line) += end;
  return text;
}

bool oneErrorLine(const MessageLog& log) {
  return log.List().Count() >= 2 && test::LogText(log).starts_with("*ERROR: ") &&
         test::LogText(log).rfind("*ERROR") == 0;
}

// The selections as "100-1FF 300-3FF".
std::string ranges(const SelectionList& list) {
  std::ostringstream text;
  for (int i = 0; i < list.Count(); ++i)
    text << (i ? " " : "") << std::uppercase << std::hex << list.At(i).start << '-'
         << list.At(i).end;
  return text.str();
}

// ---------------------------------------------------------------------------------------
// Reading

struct Loaded {
  test::TempFolder folder;
  MemoryImage image;
  SelectionList selections;
  MessageLog log;
  HexReadResult result;
};

// Reads the text into a fresh image whose selection list holds a stale range and whose
// byte 10 is valid and protected.
std::unique_ptr<Loaded> load(const std::string& text) {
  auto l = std::make_unique<Loaded>();
  l->image.ChangeFlags(0x10, 1, kValid | kProtected, true);
  EXPECT_TRUE(l->selections.AddSelection(0x100, 0x1FF));
  l->result = HexRead(l->folder.Write("in.hex", text), l->image, l->selections, l->log);
  return l;
}

TEST(HexReader, ContiguousRunsBecomeSelections) {
  const struct {
    const char* what;
    const char* ranges;  // the selections afterwards
    int64_t stored;
    int32_t probe;  // an address loaded with the byte below
    uint8_t value;
    std::string text;
  } cases[] = {
      {"only an end record", "", 0, -1, 0, lines({kEnd})},
      {"records in reverse order", "0-1F", 32, 0x1F, 0x1F,
       lines({data(0x10, ramp(16, 0x10)), data(0, ramp(16))})},
      {"gaps and backward jumps start new runs", "0-F 20-2F 38-47", 48, 0x47, 3,
       lines({data(0x20, ramp(16)), data(0, ramp(16)), data(0x40, ramp(4)), data(0x44, ramp(4)),
              data(0x38, ramp(8))})},
      {"extended linear address", "10002-10002", 1, 0x10002, 0x5A,
       lines({record(4, 0, {0x00, 0x01}), data(2, {0x5A})})},
      {"segment base times 16, kept until the next", "10000-10001 12345-12346", 4, 0x12346, 4,
       lines({record(2, 0, {0x10, 0}), data(0, {1, 2}), record(2, 0, {0x12, 0x34}), data(5, {3}),
              data(6, {4})})},
      {"segment base plus offset without wrapping", "10FFEF-10FFEF", 1, 0x10FFEF, 0x77,
       lines({record(2, 0, {0xFF, 0xFF}), data(0xFFFF, {0x77})})},
      {"a record crosses a 64 KB boundary by plain addition", "20008-2000B 2FFF8-30007", 20,
       0x30007, 0x0F,
       lines({record(4, 0, {0x00, 0x02}), data(0xFFF8, ramp(16)), data(0x0008, ramp(4, 0x10))})},
      {"a record ends at FFFFFF", "FFFFF8-FFFFFF", 8, 0xFFFFFF, 7,
       lines({record(4, 0, {0, 0xFF}), data(0xFFF8, ramp(8))})},
      {"types 1, 3, 5 and unknown ones are skipped", "0-2 30020-30020", 4, 0x30020, 0x55,
       lines({data(0, {0x11, 0x22}), record(1, 0, {}), data(2, {0x33}),
              record(3, 0, {0, 0, 0x38, 0}), record(5, 0, {0, 0, 0xCD, 0x2A}),
              record(7, 0x1234, {0x99}), record(4, 0, {0, 3}), data(0x20, {0x55})})},
      {"lower case, checksums wrong or missing, LF ends", "10004-10008", 5, 0x10007, 0xAB,
       ":020000021000ec\n:0400000300001000e9\n:020004001234b4\n:0200060056ab00\n:01000800cd "
       "\n:00000001ff\n"},
      {"CR, LF and CR LF mixed, the last line without one", "51000-51027", 40, 0x51026, 0x86,
       record(4, 0, {0, 5}) + "\n" + data(0x1000, ramp(32)) + "\r" + data(0x1020, ramp(7, 0x80)) +
           "\r\n" + data(0x1027, {0xAA})},
      {"blank lines and end marks after the last record", "0-7", 8, 7, 7,
       lines({data(0, ramp(8)), kEnd}) + "\r\n\n  \r\n\t\x1A\r\n\x1A"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const auto l = load(c.text);
    EXPECT_EQ(l->result.status, HexReadStatus::Ok);
    EXPECT_EQ(test::LogText(l->log), "");
    EXPECT_EQ(ranges(l->selections), c.ranges);
    EXPECT_EQ(l->result.bytesStored, c.stored);
    if (c.probe < 0) continue;
    EXPECT_EQ(l->image.GetByte(c.probe), c.value);
    // Loading sets `defined`, clears `valid` and leaves `protected` (set at 10) alone.
    EXPECT_EQ(l->image.Flags(c.probe), c.probe == 0x10 ? kDefined | kProtected : kDefined);
  }
}

TEST(HexReader, ABadLineStopsWithOneErrorLineAndStoresNothingOfIt) {
  const std::pair<std::string, HexReadStatus> cases[] = {
      {"", HexReadStatus::NoStartMark},
      {"garbage", HexReadStatus::NoStartMark},
      {":04050000112G3344E3", HexReadStatus::BadDigit},
      {":0G050000112233", HexReadStatus::BadDigit},
      {":02000004000G00", HexReadStatus::BadDigit},
      {":10050000112233", HexReadStatus::ShortRecord},
      {":0405000", HexReadStatus::ShortRecord},
      {":02000004", HexReadStatus::ShortRecord},
      {data(0xFFF8, ramp(9)), HexReadStatus::BeyondAddressSpace},
  };
  for (const auto& [line, status] : cases) {
    SCOPED_TRACE("line \"" + line + "\"");
    const auto l = load(lines({record(4, 0, {0, 0xFF}), data(0x100, ramp(4)), data(0x200, ramp(4)),
                               line, data(0x300, ramp(4)), kEnd}));
    EXPECT_EQ(l->result.status, status);
    EXPECT_EQ(l->result.lineNumber, 4);
    if (status == HexReadStatus::NoStartMark) {
      EXPECT_EQ(test::LogText(l->log), "*ERROR: No ':' at beginning of line ");
    } else {
      EXPECT_TRUE(oneErrorLine(l->log) && test::LogText(l->log).ends_with(" 4")) << test::LogText(l->log);
    }
    // Runs closed before the line stay selected; the current run is loaded but not
    // selected; nothing of the bad line or after it is stored.
    EXPECT_EQ(ranges(l->selections), "FF0100-FF0103");
    EXPECT_TRUE(l->image.IsDefined(0xFF0203));
    for (int32_t a = 0xFF0204; a <= 0xFFFFFF; ++a) ASSERT_FALSE(l->image.IsDefined(a)) << a;
    EXPECT_EQ(l->image.RangeErrors(), 0);
  }
  Loaded missing;
  EXPECT_EQ(
      HexRead(missing.folder.File("absent.hex"), missing.image, missing.selections, missing.log)
          .status,
      HexReadStatus::CannotOpen);
  EXPECT_TRUE(oneErrorLine(missing.log));
}

TEST(HexReader, LinesAcrossTheReadBufferBoundariesAreIntact) {
  // About 1.1 MB, more than the reader takes in at once; blanks after the first record
  // shift the text so that every position of a line, its CR and LF among them, meets the
  // boundary of the first read.
  std::vector<std::string> records;
  for (int32_t a = 0; a < 0x60000; a += 16) {
    if ((a & 0xFFFF) == 0) records.push_back(record(4, 0, {0x00, static_cast<uint8_t>(a >> 16)}));
    records.push_back(data(static_cast<uint16_t>(a), ramp(16, static_cast<uint8_t>(a >> 4))));
  }
  for (const std::string end : {"\r\n", "\r"}) {
    const std::string text = lines(records, end);
    ASSERT_GT(text.size(), size_t{1} << 20);
    for (size_t shift = 0; shift < records[1].size() + end.size(); ++shift) {
      SCOPED_TRACE("shift " + std::to_string(shift) + (end == "\r" ? " CR" : " CR LF"));
      std::string shifted = text;
      const auto l = load(shifted.insert(records[0].size(), shift, ' '));
      ASSERT_EQ(ranges(l->selections), "0-5FFFF");
      ASSERT_EQ(l->image.GetByte(0x5FFFF), 0x0E);  // the record at 5FFF0 starts with FF
      ASSERT_EQ(l->image.GetByte(0x12345), 0x34 + 5);
    }
  }
}

TEST(HexReader, MoreThan1001SeparateRunsKeepTheBytesAndSaySo) {
  std::vector<std::string> records;
  for (int i = 0; i < 1100; ++i)
    records.push_back(data(static_cast<uint16_t>(i * 4), {static_cast<uint8_t>(i)}));
  records.push_back(data(0x0001, {0xAB}));  // touches the first run: merges into the full list
  const auto l = load(lines(records));
  EXPECT_EQ(l->result.status, HexReadStatus::Ok);
  EXPECT_EQ(test::LogText(l->log), kTooManySelectionsLine);
  ASSERT_EQ(l->selections.Count(), SelectionList::kCapacity);
  EXPECT_EQ(l->selections.At(0), (Selection{0, 1}));
  EXPECT_EQ(l->selections.At(1000), (Selection{4000, 4000}));
  for (int i = 0; i < 1100; ++i) ASSERT_EQ(l->image.GetByte(i * 4), static_cast<uint8_t>(i)) << i;
}

// ---------------------------------------------------------------------------------------
// Writing

struct SaveCase {
  const char* what;
  bool block;
  const char* ranges;  // the block, or the selections
  int size;
  int format;
  const char* records;  // the expected records before the end record
};

constexpr std::pair<int32_t, int32_t> kLoaded[] = {
    {0x0, 0x1F}, {0xFFF0, 0x1001F}, {0xF0005, 0xF0006}, {0xFFFF0, 0xFFFFF}, {0xFFFFF0, 0xFFFFFF}};

class HexWriter : public ::testing::Test {
 protected:
  // Every loaded byte holds the low byte of its address; 8 and 9 have lost their value,
  // and 22 holds 99 without ever having had one.
  void SetUp() override {
    for (auto [start, end] : kLoaded) {
      for (int32_t a = start; a <= end; ++a) image.SetByte(a, static_cast<uint8_t>(a));
      image.ChangeFlags(start, static_cast<size_t>(end - start + 1), kDefined, true);
    }
    image.ChangeFlags(0x8, 2, kDefined, false);
    image.SetByte(0x22, 0x99);
  }

  HexWriteStatus save(const SaveCase& c, MessageLog& log) {
    std::istringstream in(c.ranges);
    int32_t start = 0, end = 0;
    char dash = 0;
    SelectionList selections;
    while (in >> std::hex >> start >> dash >> end) EXPECT_TRUE(selections.AddSelection(start, end));
    return c.block ? HexWrite(path, start, end, c.size, c.format, image, log)
                   : HexWriteSelections(path, c.size, c.format, image, selections, log);
  }
  // The file a case expects: its records, blank-separated, then the end record.
  static std::string fileOf(const char* records) {
    std::string file;
    std::istringstream in(records);
    for (std::string record; in >> record;) file += record + "\r\n";
    return file + kEnd + "\r\n";
  }
  long filesInFolder() const {
    return std::distance(std::filesystem::directory_iterator(folder.path()), {});
  }

  test::TempFolder folder;
  std::string path = folder.File("out.hex");
  MemoryImage image;
};

TEST_F(HexWriter, RecordTexts) {
  const SaveCase cases[] = {
      {"block, linear", true, "0-F", 16, 4,
       ":020000040000FA :10000000000102030405060708090A0B0C0D0E0F78"},
      {"selection leaves out bytes without value", false, "0-1F", 32, 4,
       ":020000040000FA :080000000001020304050607DC "
       ":16000A000A0B0C0D0E0F101112131415161718191A1B1C1D1E1F1D"},
      {"selection, records of the record size", false, "0-1F", 7, 4,
       ":020000040000FA :0700000000010203040506E4 :0100070007F1 :07000A000A0B0C0D0E0F1094 "
       ":07001100111213141516175C :0700180018191A1B1C1D1E24 :01001F001FC1"},
      {"selection splits at the 64 KB boundary", false, "FFF0-1000F", 32, 4,
       ":020000040000FA :10FFF000F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF89 :020000040001F9 "
       ":10000000000102030405060708090A0B0C0D0E0F78"},
      {"a block record runs across the boundary, linear", true, "FFF8-10017", 16, 4,
       ":020000040000FA :10FFF800F8F9FAFBFCFDFEFF000102030405060701 :020000040001F9 "
       ":1000080008090A0B0C0D0E0F1011121314151617F0"},
      {"a block record runs across the boundary, segmented", true, "FFF8-10017", 16, 2,
       ":020000020000FC :10FFF800F8F9FAFBFCFDFEFF000102030405060701 :020000021000EC "
       ":1000080008090A0B0C0D0E0F1011121314151617F0"},
      {"a byte sum of 100 gives checksum 00", true, "FA0000-FA0000", 16, 4,
       ":0200000400FA00 :0100000000FF"},
      {"a block writes every byte as it stands", true, "20-24", 16, 4,
       ":020000040000FA :05002000000099000042"},
      {"the 20-bit format reaches FFFFF", true, "FFFF0-FFFFF", 32, 2,
       ":02000002F0000C :10FFF000F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF89"},
      {"an address record per segment", false, "5-6 10005-10006 F0005-F0006", 16, 2,
       ":020000020000FC :020005000506EE :020000021000EC :020005000506EE :02000002F0000C "
       ":020005000506EE"},
      {"no selection", false, "", 32, 4, ""},
      {"a selection without a byte that holds a value", false, "300-3FF", 32, 4, ""},
      {"a reversed block", true, "10-F", 32, 4, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    MessageLog log;
    ASSERT_EQ(save(c, log), HexWriteStatus::Ok);
    EXPECT_EQ(folder.Read("out.hex"), fileOf(c.records));
    EXPECT_EQ(test::LogText(log), "");
  }
}

// Segment records cannot reach above FFFFF: the whole file then goes out with linear
// records, the user is told, and nothing is lost. Data below stays in segment records.
TEST_F(HexWriter, TwentyBitSaveWithDataAboveOneMegabyteUsesLinearRecords) {
  constexpr const char* kLinear = "*SaveAs: addresses above FFFFF, written with 32-bit address records";
  const std::pair<SaveCase, const char*> cases[] = {
      {{"block past FFFFF", true, "FFFF8-100007", 16, 2,
        ":02000004000FEB :10FFF800F8F9FAFBFCFDFEFF00000000000000001D"},
       kLinear},
      {{"selection with data at FFFFF0", false, "0-7 FFFFF0-FFFFFF", 16, 2,
        ":020000040000FA :080000000001020304050607DC :0200000400FFFB "
        ":10FFF000F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF89"},
       kLinear},
      {{"selection past FFFFF without data there", false, "0-7 200000-2000FF", 16, 2,
        ":020000020000FC :080000000001020304050607DC"},
       ""},
  };
  for (const auto& [c, line] : cases) {
    SCOPED_TRACE(c.what);
    MessageLog log;
    ASSERT_EQ(save(c, log), HexWriteStatus::Ok);
    EXPECT_EQ(folder.Read("out.hex"), fileOf(c.records));
    EXPECT_EQ(test::LogText(log), line);
  }
}

TEST_F(HexWriter, ARefusedSaveLeavesTheTargetAsItWas) {
  const std::pair<SaveCase, HexWriteStatus> cases[] = {
      {{"block, record size 0", true, "0-F", 0, 4, ""}, HexWriteStatus::BadRecordSize},
      {{"selection, record size 256", false, "0-F", 256, 2, ""}, HexWriteStatus::BadRecordSize},
      {{"block, format 3", true, "0-F", 16, 3, ""}, HexWriteStatus::BadFormat},
      {{"block end beyond FFFFFF", true, "FFFFF0-1000000", 16, 4, ""}, HexWriteStatus::BadRange},
      {{"negative block start", true, "-1-F", 16, 4, ""}, HexWriteStatus::BadRange},
  };
  const std::string original = "not to be touched\r\n";
  for (const auto& [c, status] : cases) {
    SCOPED_TRACE(c.what);
    folder.Write("out.hex", original);
    MessageLog log;
    EXPECT_EQ(save(c, log), status);
    EXPECT_EQ(folder.Read("out.hex"), original);
    EXPECT_EQ(filesInFolder(), 1) << "a temporary file stayed";
    EXPECT_TRUE(oneErrorLine(log)) << test::LogText(log);
  }
  MessageLog log;
  ASSERT_EQ(save({"", true, "FA0000-FA0000", 16, 4, ""}, log),
            HexWriteStatus::Ok);  // replaces the file
  EXPECT_EQ(folder.Read("out.hex"), lines({":0200000400FA00", ":0100000000FF", kEnd}));
  path = folder.File("missing/out.hex");
  EXPECT_EQ(save({"", true, "0-F", 16, 4, ""}, log), HexWriteStatus::CannotWrite);
  EXPECT_TRUE(oneErrorLine(log) && test::LogText(log).find(path) != std::string::npos) << test::LogText(log);
  EXPECT_EQ(filesInFolder(), 1);
}

// ---------------------------------------------------------------------------------------
// Round trip

// Areas across a 64 KB boundary and at the ends of the 20-bit and 24-bit address spaces;
// the last two only in the 32-bit format.
constexpr std::pair<int32_t, int32_t> kAreas[] = {
    {0x000000, 0x000BFF}, {0x00F900, 0x0106FF}, {0x0FF800, 0x0FFFFF},
    {0x7FFC00, 0x8003FF}, {0xFFF800, 0xFFFFFF},
};

int valueOf(MemoryImage& image, int32_t a) {
  return image.IsDefined(a) ? image.GetByte(a) : -1;
}

// A save by selection brings back exactly the defined bytes, one selection per run; a save
// by block every byte of the block, all of them defined.
TEST(HexRoundTrip, SavedBytesReadBack) {
  test::TempFolder folder;
  const std::string path = folder.File("out.hex");
  for (int format : {2, 4}) {
    const std::span areas(kAreas, format == 2 ? 3 : 5);
    // Random bytes in runs that hold a value and gaps of 1 to 40 bytes that do not, and a
    // run outside the selections.
    MemoryImage original;
    SelectionList selected, runs;
    std::mt19937 random(20240611);
    for (const auto& [start, end] : areas) {
      ASSERT_TRUE(selected.AddSelection(start, end));
      bool defined = random() % 2 == 0;
      for (int32_t a = start; a <= end; defined = !defined) {
        const int32_t length = std::min<int32_t>(1 + random() % (defined ? 300 : 40), end - a + 1);
        for (int32_t i = 0; i < length; ++i)
          original.SetByte(a + i, static_cast<uint8_t>(random()));
        original.ChangeFlags(a, static_cast<size_t>(length), kDefined, defined);
        ASSERT_TRUE(!defined || runs.AddSelection(a, a + length - 1));
        a += length;
      }
    }
    original.ChangeFlags(0x300000, 0x100, kDefined, true);
    for (int size : {1, 32, 255}) {
      SCOPED_TRACE("format " + std::to_string(format) + ", record size " + std::to_string(size));
      MessageLog log;
      ASSERT_EQ(HexWriteSelections(path, size, format, original, selected, log),
                HexWriteStatus::Ok);
      MemoryImage loaded;
      SelectionList selections;
      ASSERT_EQ(HexRead(path, loaded, selections, log).status, HexReadStatus::Ok);
      EXPECT_EQ(ranges(selections), ranges(runs));
      EXPECT_FALSE(loaded.IsAllocated(0x30));
      for (const auto& [start, end] : areas) {
        for (int32_t a = start; a <= end; ++a)
          ASSERT_EQ(valueOf(loaded, a), valueOf(original, a)) << a;
        ASSERT_EQ(HexWrite(path, start, end, size, format, original, log), HexWriteStatus::Ok);
        MemoryImage block;
        ASSERT_EQ(HexRead(path, block, selections, log).status, HexReadStatus::Ok);
        ASSERT_EQ(selections.Count(), 1);
        ASSERT_EQ(selections.At(0), (Selection{start, end}));
        for (int32_t a = start; a <= end; ++a)
          ASSERT_EQ(valueOf(block, a), original.GetByte(a)) << a;
      }
      EXPECT_EQ(test::LogText(log), "");
    }
  }
}

// ---------------------------------------------------------------------------------------
// Clipboard

class Clipboard : public ::testing::Test {
 protected:
  // Values that differ from the low byte of the address, so that a wrong offset shows.
  void define(int32_t start, int32_t end) {
    for (int32_t a = start; a <= end; ++a) image.SetByte(a, static_cast<uint8_t>(a * 5 + (a >> 8)));
    image.ChangeFlags(start, static_cast<size_t>(end - start + 1), kDefined, true);
  }
  std::string copy(std::initializer_list<Selection> selected) {
    SelectionList selections;
    for (const auto& s : selected) EXPECT_TRUE(selections.AddSelection(s.start, s.end));
    return CopySelections(image, selections);
  }
  std::vector<int> values(int32_t start, int32_t count) {
    std::vector<int> result;
    for (int32_t a = start; a < start + count; ++a) result.push_back(valueOf(image, a));
    return result;
  }

  MemoryImage image;
  MessageLog log;
};

TEST_F(Clipboard, CopiedSelectionsPasteWithTheGapsBetweenThem) {
  define(0x100, 0x103);
  define(0x120, 0x122);
  image.SetDefined(0x121, false);
  const std::string text = copy({{0x100, 0x103}, {0x120, 0x122}});
  // Offsets from the lowest selection start, only the bytes that hold a value.
  EXPECT_EQ(text, lines({":020000040000FA", ":0400000001060B10DA", ":01002000A13E", ":01002200AB32",
                         kEnd}));
  // At the target, what lies in the gaps stays; what lies under the pasted bytes changes.
  image.StoreFromTarget(0x5000, Bytes(0x30, 0xEE));
  image.SetProtected(0x5000, true);
  const PasteResult result = PasteClipboard(text, 0x5000, image, log);
  EXPECT_EQ(result.status, PasteStatus::Ok);
  EXPECT_EQ(result.bytesPasted, 6);
  EXPECT_EQ(values(0x5000, 0x4), values(0x100, 0x4));
  EXPECT_EQ(values(0x5020, 0x4), (std::vector<int>{0xA1, 0xEE, 0xAB, 0xEE}));
  EXPECT_EQ(image.Flags(0x5000), kDefined | kProtected);
  EXPECT_EQ(image.Flags(0x5004), kDefined | kValid);
  EXPECT_EQ(image.Flags(0x5021), kDefined | kValid);
  EXPECT_EQ(image.Flags(0x5022), kDefined);
  EXPECT_EQ(test::LogText(log), "");
  SelectionList selections;
  ASSERT_TRUE(selections.AddSelection(0x5020, 0x502F));
  EXPECT_EQ(CutSelections(image, selections), copy({{0x5020, 0x502F}}));
  EXPECT_EQ(values(0x5020, 0x10), std::vector<int>(0x10, -1));
  EXPECT_EQ(copy({}), kEnd + "\r\n");  // nothing selected
}

TEST_F(Clipboard, RefusedPastesWriteNothing) {
  define(0x0, 0xF);
  const std::string sixteen = copy({{0x0, 0xF}});
  const std::tuple<std::string, int32_t, PasteStatus> cases[] = {
      {sixteen, 0xFFFFF1, PasteStatus::BeyondAddressSpace},
      {sixteen, -1, PasteStatus::BeyondAddressSpace},
      {"hello world", 0x100, PasteStatus::NotHexText},
      {":01000000AB54\r\nsome notes\r\n", 0x100, PasteStatus::NotHexText},  // a good record first
      {":10000000AB\r\n", 0x100, PasteStatus::NotHexText},
  };
  for (const auto& [text, start, status] : cases) {
    MessageLog refusal;
    EXPECT_EQ(PasteClipboard(text, start, image, refusal).status, status) << text;
    EXPECT_TRUE(oneErrorLine(refusal)) << test::LogText(refusal);
  }
  EXPECT_EQ(values(0xFFFFF0, 0x10), std::vector<int>(0x10, -1));
  EXPECT_EQ(values(0x100, 0x10), std::vector<int>(0x10, -1));
  EXPECT_EQ(PasteClipboard(sixteen, 0xFFFFF0, image, log).status,
            PasteStatus::Ok);  // ends at FFFFFF
  EXPECT_EQ(values(0xFFFFF0, 0x10), values(0, 0x10));
}

TEST_F(Clipboard, SelectionsOverSegmentsPasteAtAnUnalignedAddress) {
  // Offsets from 8005 cross their 64 KB boundaries in the middle of records.
  define(0x8005, 0x18010);
  image.ChangeFlags(0x9000, 0x123, kDefined, false);
  define(0x2A0000, 0x2A0003);
  const std::string text = copy({{0x8005, 0x18010}, {0x2A0000, 0x2A0003}});
  // Strict readers wrap the offset at FFFF, so no data record may run past it.
  for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
    const int count = std::stoi(text.substr(at + 1, 2), nullptr, 16);
    EXPECT_LE(std::stoi(text.substr(at + 3, 4), nullptr, 16) + count, 0x10000)
        << text.substr(at, 9);
  }
  const int32_t target = 0x400003;
  EXPECT_EQ(PasteClipboard(text, target, image, log).bytesPasted, 0x1000C - 0x123 + 4);
  EXPECT_EQ(values(target, 0x1000C + 0x100), values(0x8005, 0x1000C + 0x100));
  EXPECT_EQ(values(target + 0x2A0000 - 0x8005, 4), values(0x2A0000, 4));
}

}  // namespace
}  // namespace velmora
