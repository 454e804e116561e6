#include "core/memory_image.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/image_ops.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(MemoryImage, LazySegmentsIndependentFlagsAndTheAddressSpaceEnd) {
  MemoryImage image;
  image.InitImage();
  EXPECT_EQ(image.AllocatedSegmentCount(), 4);
  EXPECT_EQ(image.GetByte(0x123456), 0);
  EXPECT_FALSE(image.IsValid(0x550000));
  EXPECT_EQ(image.AllocatedSegmentCount(), 6);  // any access allocates, zero-filled
  image.SetByte(0xFFFF, 0x5A);
  image.SetByte(0x10000, 2);
  image.SetDefined(0xFFFF, true);
  image.SetProtected(0xFFFF, true);
  image.SetValid(0xFFFF, true);
  image.SetValid(0xFFFF, false);
  image.SetDefined(0xFFFF, false);
  image.SetDefined(0xFFFF, true);
  EXPECT_EQ(image.Flags(0xFFFF), kDefined | kProtected);
  EXPECT_EQ(image.GetByte(0xFFFF), 0x5A);  // data survives losing `defined`
  EXPECT_EQ(image.Flags(0x10000), 0);      // SetByte changes no flag
  image.SetByte(0xFFFFFF, 3);
  image.SetByte(0x1000000, 4);
  image.SetDefined(-1, true);
  EXPECT_EQ(image.GetByte(0xFFFFFF), 3);
  EXPECT_EQ(image.GetByte(0x1000000), 0);
  EXPECT_FALSE(image.IsDefined(-1));
  EXPECT_EQ(image.RangeErrors(), 4);
  image.StoreLoaded(0xFFFFFE, Bytes{1, 2, 3});  // stores what fits, one range error
  EXPECT_EQ(image.GetByte(0xFFFFFF), 2);
  EXPECT_EQ(image.RangeErrors(), 5);
}

TEST(ImageOps, FillWritesSelectedBytesOrTheWordsTheyLieInAndUnreadClears) {
  MemoryImage image;
  SelectionList selections;
  ASSERT_TRUE(selections.AddSelection(0x13, 0x14));  // words at 12 and 14
  ASSERT_TRUE(selections.AddSelection(0xFFFFFF, 0xFFFFFF));
  image.SetValid(0x12, true);
  FillSelections(image, selections, 0xBEEF, FillWidth::Word);
  Bytes bytes(6);
  image.ReadBytes(0x11, bytes);
  EXPECT_EQ(bytes, (Bytes{0, 0xEF, 0xBE, 0xEF, 0xBE, 0}));
  EXPECT_EQ(image.Flags(0x11), 0);
  EXPECT_EQ(image.Flags(0x12), kDefined);
  EXPECT_EQ(image.Flags(0x15), kDefined);
  EXPECT_EQ(image.GetByte(0xFFFFFE), 0xEF);
  EXPECT_EQ(image.GetByte(0xFFFFFF), 0xBE);
  EXPECT_EQ(image.RangeErrors(), 0);
  FillSelections(image, selections, 0x1A5, FillWidth::Byte);
  image.ReadBytes(0x11, bytes);
  EXPECT_EQ(bytes, (Bytes{0, 0xEF, 0xA5, 0xA5, 0xBE, 0}));
  image.ChangeFlags(0x12, 4, kValid | kProtected, true);
  UnreadSelections(image, selections);
  EXPECT_EQ(image.Flags(0x12), kDefined | kValid | kProtected);
  EXPECT_EQ(image.Flags(0x13), kProtected);
  EXPECT_EQ(image.GetByte(0x13), 0xA5);
}

TEST(ImageOps, RelocateMonitorMovesBytesAndFlagsUnlessTheAreaOverlapsOrLeaves) {
  MemoryImage image;
  MonitorArea area = kDefaultMonitorArea;
  for (int32_t a = area.start; a <= area.end; ++a) image.SetByte(a, static_cast<uint8_t>(a));
  image.ChangeFlags(area.start, area.end - area.start + 1, kDefined | kProtected, true);
  for (int32_t start : {0xE00100, 0xE00000}) {
    EXPECT_EQ(RelocateMonitorImage(image, area, start), RelocationResult::OverlapsCurrentArea);
  }
  for (int32_t start : {0xFFFF00, -1}) {
    EXPECT_EQ(RelocateMonitorImage(image, area, start), RelocationResult::OutsideAddressSpace);
  }
  EXPECT_EQ(area, kDefaultMonitorArea);
  ASSERT_EQ(RelocateMonitorImage(image, area, 0xE00024 - 0x2C4), RelocationResult::Moved);
  EXPECT_EQ(area, (MonitorArea{0xDFFD60, 0xE00023}));
  EXPECT_EQ(image.GetByte(area.start), 0x24);
  EXPECT_EQ(image.GetByte(area.end), 0xE7);
  EXPECT_EQ(image.Flags(area.end), kDefined | kProtected | kValid);
  EXPECT_EQ(image.Flags(0xE00024), 0);
  EXPECT_EQ(image.GetByte(0xE00024), 0x24);  // the old data stays
}

}  // namespace
}  // namespace velmora
