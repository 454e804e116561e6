#include "core/selection_list.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/select_range.h"

namespace velmora {
namespace {

std::vector<Selection> all(const SelectionList& list) {
  std::vector<Selection> result;
  for (int i = 0; i < list.Count(); ++i) result.push_back(list.At(i));
  return result;
}

struct MergeCase {
  const char* what;
  std::vector<Selection> added;
  std::vector<Selection> expected;
};

TEST(SelectionList, SortsAndMerges) {
  const MergeCase cases[] = {
      {"adjacent ranges merge", {{0x100, 0x1FF}, {0x200, 0x2FF}}, {{0x100, 0x2FF}}},
      {"later range sorts first", {{0x300, 0x3FF}, {0x100, 0x1FF}}, {{0x100, 0x1FF}, {0x300, 0x3FF}}},
      {"covering range swallows two",
       {{0x100, 0x1FF}, {0x300, 0x3FF}, {0x100, 0x4FF}},
       {{0x100, 0x4FF}}},
      {"one-byte gap stays", {{0x100, 0x1FF}, {0x201, 0x2FF}}, {{0x100, 0x1FF}, {0x201, 0x2FF}}},
      {"range inside another", {{0x100, 0x4FF}, {0x200, 0x2FF}}, {{0x100, 0x4FF}}},
      {"overlap from below", {{0x200, 0x2FF}, {0x180, 0x210}}, {{0x180, 0x2FF}}},
      {"bridge joins neighbours",
       {{0x000, 0x0FF}, {0x200, 0x2FF}, {0x100, 0x1FF}},
       {{0x000, 0x2FF}}},
      {"reversed pair is kept apart", {{0x500, 0x400}, {0x100, 0x1FF}}, {{0x100, 0x1FF}, {0x500, 0x400}}},
      {"top of the address space", {{0xFFFF00, 0xFFFFFF}, {0xFFFE00, 0xFFFEFF}}, {{0xFFFE00, 0xFFFFFF}}},
  };
  for (const auto& c : cases) {
    SelectionList list;
    for (const auto& s : c.added) ASSERT_TRUE(list.AddSelection(s.start, s.end)) << c.what;
    EXPECT_EQ(all(list), c.expected) << c.what;
  }
}

TEST(SelectionList, InSelectionAtBothEndsOnly) {
  SelectionList list;
  EXPECT_FALSE(list.InSelection(0));
  ASSERT_TRUE(list.AddSelection(0x100, 0x1FF));
  EXPECT_TRUE(list.InSelection(0x100));
  EXPECT_TRUE(list.InSelection(0x1FF));
  EXPECT_FALSE(list.InSelection(0xFF));
  EXPECT_FALSE(list.InSelection(0x200));
  ASSERT_TRUE(list.AddSelection(0x900, 0x800));
  EXPECT_FALSE(list.InSelection(0x880));  // a reversed pair selects nothing
}

TEST(SelectionList, LowestAndHighestAndClear) {
  SelectionList list;
  EXPECT_EQ(list.LowestSelectionStart(), -1);
  EXPECT_EQ(list.HighestSelectionEnd(), -1);
  ASSERT_TRUE(list.AddSelection(0x300, 0x3FF));
  ASSERT_TRUE(list.AddSelection(0x100, 0x1FF));
  EXPECT_EQ(list.LowestSelectionStart(), 0x100);
  EXPECT_EQ(list.HighestSelectionEnd(), 0x3FF);
  EXPECT_EQ(list.ByteCount(), 0x200);
  list.ClearSelections();
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(list.LowestSelectionStart(), -1);
  EXPECT_EQ(list.HighestSelectionEnd(), -1);
}

TEST(SelectionList, SaveAndRestoreBringBackTheUsersList) {
  SelectionList list;
  ASSERT_TRUE(list.AddSelection(0x100, 0x1FF));
  ASSERT_TRUE(list.AddSelection(0x400, 0x4FF));
  list.SaveSelections();
  list.ClearSelections();
  ASSERT_TRUE(list.AddSelection(0xFC80, 0xFCFF));
  list.RestoreSelections();
  EXPECT_EQ(all(list), (std::vector<Selection>{{0x100, 0x1FF}, {0x400, 0x4FF}}));
}

TEST(SelectionList, AFullListRefusesANewRangeButTakesOneThatMerges) {
  SelectionList list;
  for (int i = 0; i < SelectionList::kCapacity; ++i) {
    ASSERT_TRUE(list.AddSelection(i * 4, i * 4 + 1));
  }
  ASSERT_EQ(list.Count(), 1001);
  const auto before = all(list);
  EXPECT_FALSE(list.AddSelection(0x100000, 0x100010));
  EXPECT_EQ(all(list), before);
  // Touches the last range: merges, no new slot needed.
  EXPECT_TRUE(list.AddSelection(1000 * 4 + 2, 1000 * 4 + 9));
  EXPECT_EQ(list.Count(), 1001);
  EXPECT_EQ(list.At(1000), (Selection{4000, 4009}));
  // Bridges two ranges: the list shrinks.
  EXPECT_TRUE(list.AddSelection(2, 3));
  EXPECT_EQ(list.Count(), 1000);
  EXPECT_TRUE(list.AddSelection(0x100000, 0x100010));
  EXPECT_EQ(list.Count(), 1001);
}

TEST(SelectRange, BlockSizesAndEndFromStartPlusSize) {
  EXPECT_EQ(BlockSizeText(0), "16");
  EXPECT_EQ(BlockSizeText(13), "1048576");
  EXPECT_EQ(BlockSizeText(14), "");
  EXPECT_EQ(EndFromBlockSize("001000", 256), "0010FF");
  EXPECT_EQ(EndFromBlockSize("000000", 16), "00000F");
  EXPECT_EQ(EndFromBlockSize("f00000", 1048576), "FFFFFF");
  EXPECT_EQ(EndFromBlockSize("FFFF00", 65536), "FFFFFF");
  EXPECT_EQ(EndFromBlockSize("", 512), "0001FF");
}

}  // namespace
}  // namespace velmora
