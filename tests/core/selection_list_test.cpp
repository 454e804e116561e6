#include "core/selection_list.h"

#include <gtest/gtest.h>

#include <sstream>

#include "core/select_range.h"

namespace velmora {
namespace {

// The list as "100-1FF 300-3FF"; adds the ranges of such a text first.
std::string ranges(SelectionList& list, const std::string& added = "") {
  std::istringstream in(added);
  int32_t start = 0, end = 0;
  for (char dash = 0; in >> std::hex >> start >> dash >> end;)
    EXPECT_TRUE(list.AddSelection(start, end));
  std::ostringstream text;
  for (int i = 0; i < list.Count(); ++i)
    text << (i ? " " : "") << std::uppercase << std::hex << list.At(i).start << '-'
         << list.At(i).end;
  return text.str();
}

TEST(SelectionList, SortsAndMergesOverlappingAndAdjacentRanges) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"adjacent ranges merge", "100-1FF 200-2FF", "100-2FF"},
      {"later range sorts first", "300-3FF 100-1FF", "100-1FF 300-3FF"},
      {"covering range swallows two", "100-1FF 300-3FF 100-4FF", "100-4FF"},
      {"one-byte gap stays", "100-1FF 201-2FF", "100-1FF 201-2FF"},
      {"overlap from below", "200-2FF 180-210", "180-2FF"},
      {"bridge joins neighbours", "0-FF 200-2FF 100-1FF", "0-2FF"},
      {"reversed pair kept apart", "500-400 100-1FF", "100-1FF 500-400"},
  };
  for (const auto& [what, added, expected] : cases) {
    SelectionList list;
    EXPECT_EQ(ranges(list, added), expected) << what;
  }
}

TEST(SelectionList, QueriesClearSaveAndRestore) {
  SelectionList list;
  EXPECT_FALSE(list.InSelection(0));
  ranges(list, "300-3FF 100-1FF");
  for (int32_t a : {0x100, 0x1FF}) EXPECT_TRUE(list.InSelection(a)) << a;
  for (int32_t a : {0xFF, 0x200}) EXPECT_FALSE(list.InSelection(a)) << a;
  EXPECT_EQ(list.LowestSelectionStart(), 0x100);
  EXPECT_EQ(list.HighestSelectionEnd(), 0x3FF);
  ranges(list, "900-800");  // reversed: selects nothing
  EXPECT_FALSE(list.InSelection(0x880));
  EXPECT_EQ(list.ByteCount(), 0x200);
  list.SaveSelections();
  list.ClearSelections();
  EXPECT_EQ(list.LowestSelectionStart(), -1);
  EXPECT_EQ(list.HighestSelectionEnd(), -1);
  ranges(list, "FC80-FCFF");
  list.RestoreSelections();
  EXPECT_EQ(ranges(list), "100-1FF 300-3FF 900-800");
}

// A full list refuses a new range but takes one that merges (see also the HEX reader).
TEST(SelectionList, AFullListStillTakesARangeThatBridgesTwo) {
  SelectionList list;
  for (int i = 0; i < SelectionList::kCapacity; ++i)
    ASSERT_TRUE(list.AddSelection(i * 4, i * 4 + 1));
  EXPECT_FALSE(list.AddSelection(0x100000, 0x100010));
  EXPECT_TRUE(list.AddSelection(2, 3));
  EXPECT_TRUE(list.AddSelection(0x100000, 0x100010));
  EXPECT_EQ(list.Count(), SelectionList::kCapacity);
}

TEST(SelectRange, BlockSizesAndEndFromStartPlusSize) {
  EXPECT_EQ(BlockSizeText(0), "16");
  EXPECT_EQ(BlockSizeText(13), "1048576");
  EXPECT_EQ(BlockSizeText(14), "");
  EXPECT_EQ(EndFromBlockSize("001000", 256), "0010FF");
  EXPECT_EQ(EndFromBlockSize("f00000", 1048576), "FFFFFF");
  EXPECT_EQ(EndFromBlockSize("FFFF00", 65536), "FFFFFF");
}

}  // namespace
}  // namespace velmora
