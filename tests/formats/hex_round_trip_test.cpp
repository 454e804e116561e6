// Images saved as Intel HEX and read back, and files written by other tools.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "formats/hex_reader.h"
#include "formats/hex_writer.h"
#include "support/temp_folder.h"

namespace velmora {
namespace {

struct Area {
  int32_t start;
  int32_t end;
};

// Areas of a few KB, among them ones across a 64 KB boundary and at the ends of the
// 20-bit and 24-bit address spaces.
const std::vector<Area> kLowAreas = {
    {0x000000, 0x000BFF},
    {0x00F900, 0x0106FF},
    {0x05FF40, 0x06023F},
    {0x0FF800, 0x0FFFFF},
};
const std::vector<Area> kHighAreas = {
    {0x7FFC00, 0x8003FF},
    {0xFFF800, 0xFFFFFF},
};

// Bytes that hold a value but lie in no selection: a save by selection leaves them out.
constexpr Area kUnselected = {0x300000, 0x3000FF};

constexpr int kRecordSizes[] = {1, 16, 32, 255};
constexpr unsigned kSeeds[] = {1, 77, 20240611};

std::vector<Area> AreasFor(int format) {
  std::vector<Area> areas = kLowAreas;
  if (format == 4) areas.insert(areas.end(), kHighAreas.begin(), kHighAreas.end());
  return areas;
}

// Fills every area with random bytes, alternating runs that hold a value with gaps of
// 1 to 40 bytes that do not (their stored bytes are random too, as leftovers would be).
void FillRandom(MemoryImage& image, const std::vector<Area>& areas, std::mt19937& random) {
  std::uniform_int_distribution<int> byte(0, 255);
  std::uniform_int_distribution<int> runLength(1, 300);
  std::uniform_int_distribution<int> gapLength(1, 40);
  std::bernoulli_distribution startWithGap(0.5);
  for (const Area& area : areas) {
    bool defined = !startWithGap(random);
    for (int32_t a = area.start; a <= area.end;) {
      const int32_t length =
          std::min(defined ? runLength(random) : gapLength(random), area.end - a + 1);
      for (int32_t i = 0; i < length; ++i) {
        image.SetByte(a + i, static_cast<uint8_t>(byte(random)));
        image.SetDefined(a + i, defined);
      }
      a += length;
      defined = !defined;
    }
  }
}

// One selection per run of `defined` bytes, found by walking the areas byte by byte.
std::vector<Selection> DefinedRuns(MemoryImage& image, const std::vector<Area>& areas) {
  std::vector<Selection> runs;
  for (const Area& area : areas) {
    for (int32_t a = area.start; a <= area.end; ++a) {
      if (!image.IsDefined(a)) continue;
      if (!runs.empty() && runs.back().end == a - 1) {
        runs.back().end = a;
      } else {
        runs.push_back({a, a});
      }
    }
  }
  return runs;
}

std::vector<Selection> SelectionsOf(const SelectionList& list) {
  std::vector<Selection> all;
  for (int i = 0; i < list.Count(); ++i) all.push_back(list.At(i));
  return all;
}

std::string Describe(unsigned seed, int format, int size) {
  return "seed " + std::to_string(seed) + ", format " + std::to_string(format) + ", record size " +
         std::to_string(size);
}

TEST(HexRoundTrip, SaveByBlockReadsBackEveryByteOfTheBlock) {
  test::TempFolder folder;
  const std::string path = folder.File("block.hex");
  for (unsigned seed : kSeeds) {
    for (int format : {2, 4}) {
      const std::vector<Area> areas = AreasFor(format);
      MemoryImage original;
      original.InitImage();
      std::mt19937 random(seed);
      FillRandom(original, areas, random);
      for (int size : kRecordSizes) {
        for (const Area& block : areas) {
          SCOPED_TRACE(Describe(seed, format, size) + ", block at " + std::to_string(block.start));
          MessageLog log;
          ASSERT_EQ(HexWrite(path, block.start, block.end, size, format, original, log),
                    HexWriteStatus::Ok);
          MemoryImage loaded;
          loaded.InitImage();
          SelectionList selections;
          const HexReadResult read = HexRead(path, loaded, selections, log);
          ASSERT_EQ(read.status, HexReadStatus::Ok);
          ASSERT_EQ(read.bytesStored, block.end - block.start + 1);
          ASSERT_EQ(SelectionsOf(selections), (std::vector<Selection>{{block.start, block.end}}));
          for (int32_t a = block.start; a <= block.end; ++a) {
            ASSERT_TRUE(loaded.IsDefined(a)) << a;
            ASSERT_EQ(loaded.GetByte(a), original.GetByte(a)) << a;
          }
          if (block.start > 0) {
            ASSERT_FALSE(loaded.IsDefined(block.start - 1));
          }
          if (block.end < 0xFFFFFF) {
            ASSERT_FALSE(loaded.IsDefined(block.end + 1));
          }
          ASSERT_EQ(log.List().Count(), 1) << "no message line";
        }
      }
    }
  }
}

TEST(HexRoundTrip, SaveBySelectionReadsBackTheDefinedBytes) {
  test::TempFolder folder;
  const std::string path = folder.File("selection.hex");
  for (unsigned seed : kSeeds) {
    for (int format : {2, 4}) {
      const std::vector<Area> areas = AreasFor(format);
      MemoryImage original;
      original.InitImage();
      std::mt19937 random(seed);
      FillRandom(original, areas, random);
      original.ChangeFlags(kUnselected.start, kUnselected.end - kUnselected.start + 1, kDefined,
                           true);
      SelectionList selected;
      for (const Area& area : areas) ASSERT_TRUE(selected.AddSelection(area.start, area.end));
      const std::vector<Selection> expected = DefinedRuns(original, areas);
      ASSERT_GT(expected.size(), 20u);

      for (int size : kRecordSizes) {
        SCOPED_TRACE(Describe(seed, format, size));
        MessageLog log;
        ASSERT_EQ(HexWriteSelections(path, size, format, original, selected, log),
                  HexWriteStatus::Ok);
        MemoryImage loaded;
        loaded.InitImage();
        SelectionList selections;
        const HexReadResult read = HexRead(path, loaded, selections, log);
        ASSERT_EQ(read.status, HexReadStatus::Ok);
        ASSERT_EQ(SelectionsOf(selections), expected);
        for (const Area& area : areas) {
          for (int32_t a = area.start; a <= area.end; ++a) {
            ASSERT_EQ(loaded.IsDefined(a), original.IsDefined(a)) << a;
            if (original.IsDefined(a)) {
              ASSERT_EQ(loaded.GetByte(a), original.GetByte(a)) << a;
            }
          }
        }
        ASSERT_FALSE(loaded.IsAllocated(kUnselected.start >> 16));
        ASSERT_EQ(log.List().Count(), 1) << "no message line";
      }
    }
  }
}

// Written by hand the way other tools write: lower-case digits, records of 1 to 255
// bytes, a segment base that is no multiple of 1000, start address records, a record
// across a 64 KB boundary.
constexpr const char* kForeignFile =
    ":020000040000fa\n"
    ":10000000deadbeef00112233445566778899aabb56\n"
    ":01001000cc23\n"
    ":020000020123d8\n"
    ":030005000f1e2d9e\n"
    ":0400000300001000e9\n"
    ":020000021000ec\n"
    ":ff000000"
    "030a11181f262d343b424950575e656c737a81888f969da4abb2b9c0c7ced5dce3eaf1f8ff060d14"
    "1b222930373e454c535a61686f767d848b9299a0a7aeb5bcc3cad1d8dfe6edf4fb020910171e252c"
    "333a41484f565d646b727980878e959ca3aab1b8bfc6cdd4dbe2e9f0f7fe050c131a21282f363d44"
    "4b525960676e757c838a91989fa6adb4bbc2c9d0d7dee5ecf3fa01080f161d242b323940474e555c"
    "636a71787f868d949ba2a9b0b7bec5ccd3dae1e8eff6fd040b121920272e353c434a51585f666d74"
    "7b828990979ea5acb3bac1c8cfd6dde4ebf2f900070e151c232a31383f464d545b626970777e858c"
    "939aa1a8afb6bdc4cbd2d9e0e7eef57d\n"
    ":020000040002f8\n"
    ":08fffc00fafbfcfdfeff01020f\n"
    ":04000005000100c036\n"
    ":00000001ff\n";

TEST(HexFromOtherTools, LoadsToTheExpectedBytes) {
  std::string crlf;
  for (const char* p = kForeignFile; *p != '\0'; ++p) {
    if (*p == '\n') crlf += '\r';
    crlf += *p;
  }
  struct Variant {
    const char* name;
    std::string text;
  };
  const Variant variants[] = {{"LF", kForeignFile}, {"CR LF", crlf}};

  std::vector<uint8_t> expected255(255);
  for (size_t i = 0; i < expected255.size(); ++i) expected255[i] = static_cast<uint8_t>(i * 7 + 3);
  const std::vector<uint8_t> expected0 = {0xDE, 0xAD, 0xBE, 0xEF, 0x00, 0x11, 0x22, 0x33, 0x44,
                                          0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC};
  const std::vector<uint8_t> expected1235 = {0x0F, 0x1E, 0x2D};
  const std::vector<uint8_t> expected2FFFC = {0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF, 0x01, 0x02};

  test::TempFolder folder;
  for (const auto& variant : variants) {
    SCOPED_TRACE(variant.name);
    MemoryImage image;
    image.InitImage();
    SelectionList selections;
    MessageLog log;
    const HexReadResult read =
        HexRead(folder.Write("foreign.hex", variant.text), image, selections, log);
    ASSERT_EQ(read.status, HexReadStatus::Ok);
    EXPECT_EQ(read.bytesStored, 17 + 3 + 255 + 8);
    EXPECT_EQ(read.recordsSkipped, 3);
    EXPECT_EQ(log.List().Count(), 1);
    EXPECT_EQ(SelectionsOf(selections),
              (std::vector<Selection>{
                  {0x0, 0x10}, {0x1235, 0x1237}, {0x10000, 0x100FE}, {0x2FFFC, 0x30003}}));
    const auto bytesAt = [&image](int32_t address, size_t count) {
      std::vector<uint8_t> bytes(count);
      image.ReadBytes(address, bytes);
      return bytes;
    };
    EXPECT_EQ(bytesAt(0x0, 17), expected0);
    EXPECT_EQ(bytesAt(0x1235, 3), expected1235);
    EXPECT_EQ(bytesAt(0x10000, 255), expected255);
    EXPECT_EQ(bytesAt(0x2FFFC, 8), expected2FFFC);
  }
}

}  // namespace
}  // namespace velmora
