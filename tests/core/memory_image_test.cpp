#include "core/memory_image.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/image_ops.h"

namespace velmora {
namespace {

TEST(MemoryImage, InitAllocatesTheFirstFourSegmentsOnly) {
  MemoryImage image;
  EXPECT_EQ(image.AllocatedSegmentCount(), 0);
  image.InitImage();
  EXPECT_EQ(image.AllocatedSegmentCount(), 4);
  EXPECT_TRUE(image.IsAllocated(3));
  EXPECT_FALSE(image.IsAllocated(4));
}

TEST(MemoryImage, AnyAccessAllocatesTheSegmentZeroFilled) {
  MemoryImage image;
  image.InitImage();
  EXPECT_EQ(image.GetByte(0x123456), 0);
  EXPECT_TRUE(image.IsAllocated(0x12));
  EXPECT_FALSE(image.IsValid(0x550000));
  EXPECT_TRUE(image.IsAllocated(0x55));
  image.SetDefined(0xE00024, false);
  EXPECT_TRUE(image.IsAllocated(0xE0));
  EXPECT_EQ(image.AllocatedSegmentCount(), 7);
}

TEST(MemoryImage, FlagsAreIndependentAndDataSurvivesUndefine) {
  MemoryImage image;
  image.SetByte(0x100, 0x5A);
  image.SetDefined(0x100, true);
  image.SetProtected(0x100, true);
  image.SetValid(0x100, true);
  EXPECT_EQ(image.Flags(0x100), kDefined | kProtected | kValid);
  image.SetValid(0x100, false);
  EXPECT_TRUE(image.IsDefined(0x100));
  EXPECT_TRUE(image.IsProtected(0x100));
  image.SetDefined(0x100, false);
  EXPECT_EQ(image.GetByte(0x100), 0x5A);
  image.SetDefined(0x100, true);
  EXPECT_EQ(image.GetByte(0x100), 0x5A);
  // SetByte never changes a flag.
  image.SetByte(0x100, 0x11);
  EXPECT_EQ(image.Flags(0x100), kDefined | kProtected);
}

TEST(MemoryImage, SegmentBoundaryAndAddressSpaceEnd) {
  MemoryImage image;
  image.SetByte(0xFFFF, 1);
  image.SetByte(0x10000, 2);
  EXPECT_TRUE(image.IsAllocated(0));
  EXPECT_TRUE(image.IsAllocated(1));
  EXPECT_EQ(image.GetByte(0xFFFF), 1);
  EXPECT_EQ(image.GetByte(0x10000), 2);

  image.SetByte(0xFFFFFF, 0xEE);
  EXPECT_TRUE(image.IsAllocated(255));
  EXPECT_EQ(image.GetByte(0xFFFFFF), 0xEE);

  const long before = image.RangeErrors();
  image.SetByte(0x1000000, 0x77);
  image.SetDefined(-1, true);
  EXPECT_EQ(image.GetByte(0x1000000), 0);
  EXPECT_FALSE(image.IsDefined(-1));
  EXPECT_EQ(image.RangeErrors(), before + 4);
  // -1 must not alias any real address.
  EXPECT_FALSE(image.IsDefined(0xFFFF));
}

TEST(MemoryImage, BulkStoresCrossSegmentsAndSetTheRightFlags) {
  MemoryImage image;
  std::vector<uint8_t> bytes(32);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i + 1);
  image.SetValid(0x1FFF0, true);
  image.SetProtected(0x1FFF1, true);
  image.StoreLoaded(0x1FFF0, bytes);
  EXPECT_EQ(image.GetByte(0x1FFF0), 1);
  EXPECT_EQ(image.GetByte(0x2000F), 32);
  EXPECT_EQ(image.Flags(0x1FFF0), kDefined);                 // valid cleared
  EXPECT_EQ(image.Flags(0x1FFF1), kDefined | kProtected);    // protected kept
  EXPECT_EQ(image.Flags(0x20010), 0);

  image.StoreFromTarget(0x2000E, std::vector<uint8_t>{0xAA, 0xBB, 0xCC});
  EXPECT_EQ(image.Flags(0x2000E), kDefined | kValid);
  EXPECT_EQ(image.GetByte(0x20010), 0xCC);

  std::vector<uint8_t> out(4);
  image.ReadBytes(0x2000E, out);
  EXPECT_EQ(out, (std::vector<uint8_t>{0xAA, 0xBB, 0xCC, 0}));

  // A range running past FFFFFF stores what fits and counts one range error.
  const long before = image.RangeErrors();
  image.StoreLoaded(0xFFFFFE, std::vector<uint8_t>{1, 2, 3});
  EXPECT_EQ(image.GetByte(0xFFFFFF), 2);
  EXPECT_EQ(image.RangeErrors(), before + 1);
}

TEST(Fill, ByteWidthWritesEverySelectedByte) {
  MemoryImage image;
  SelectionList selections;
  ASSERT_TRUE(selections.AddSelection(0x10, 0x12));
  ASSERT_TRUE(selections.AddSelection(0x20, 0x20));
  image.SetValid(0x11, true);
  FillSelections(image, selections, 0x1A5, FillWidth::Byte);
  for (int32_t a : {0x10, 0x11, 0x12, 0x20}) {
    EXPECT_EQ(image.GetByte(a), 0xA5) << a;
    EXPECT_EQ(image.Flags(a), kDefined) << a;
  }
  EXPECT_FALSE(image.IsDefined(0x13));
  EXPECT_FALSE(image.IsDefined(0x1F));
}

TEST(Fill, WordWidthCoversTheWordsThatSelectedBytesLieIn) {
  MemoryImage image;
  SelectionList selections;
  ASSERT_TRUE(selections.AddSelection(3, 4));
  FillSelections(image, selections, 0x1234, FillWidth::Word);
  EXPECT_FALSE(image.IsDefined(1));
  EXPECT_EQ(image.GetByte(2), 0x34);
  EXPECT_EQ(image.GetByte(3), 0x12);
  EXPECT_EQ(image.GetByte(4), 0x34);
  EXPECT_EQ(image.GetByte(5), 0x12);
  EXPECT_TRUE(image.IsDefined(5));
  EXPECT_FALSE(image.IsDefined(6));
}

TEST(Fill, WordAtTheTopOfTheAddressSpaceStopsAtFFFFFF) {
  MemoryImage image;
  SelectionList selections;
  ASSERT_TRUE(selections.AddSelection(0xFFFFFF, 0xFFFFFF));
  FillSelections(image, selections, 0xBEEF, FillWidth::Word);
  EXPECT_EQ(image.GetByte(0xFFFFFE), 0xEF);
  EXPECT_EQ(image.GetByte(0xFFFFFF), 0xBE);
  EXPECT_EQ(image.RangeErrors(), 0);
}

TEST(Unread, ClearsDefinedAndValidButKeepsDataAndProtection) {
  MemoryImage image;
  SelectionList selections;
  image.StoreFromTarget(0x100, std::vector<uint8_t>{1, 2, 3, 4});
  image.SetProtected(0x101, true);
  ASSERT_TRUE(selections.AddSelection(0x101, 0x102));
  UnreadSelections(image, selections);
  EXPECT_EQ(image.Flags(0x100), kDefined | kValid);
  EXPECT_EQ(image.Flags(0x101), kProtected);
  EXPECT_EQ(image.Flags(0x102), 0);
  EXPECT_EQ(image.GetByte(0x102), 3);
  EXPECT_EQ(image.Flags(0x103), kDefined | kValid);
}

TEST(RelocateMonitor, MovesBytesAndFlagsToTheNewArea) {
  MemoryImage image;
  MonitorArea area = kDefaultMonitorArea;
  for (int32_t a = area.start; a <= area.end; ++a) {
    image.SetByte(a, static_cast<uint8_t>(a));
    image.SetDefined(a, true);
    image.SetProtected(a, true);
  }
  ASSERT_EQ(RelocateMonitorImage(image, area, 0x8000), RelocationResult::Moved);
  EXPECT_EQ(area, (MonitorArea{0x8000, 0x8000 + 0x2E7 - 0x24}));
  EXPECT_EQ(image.GetByte(0x8000), 0x24);
  EXPECT_EQ(image.GetByte(area.end), 0xE7);
  EXPECT_EQ(image.Flags(0x8000), kDefined | kProtected | kValid);
  EXPECT_EQ(image.Flags(area.end), kDefined | kProtected | kValid);
  EXPECT_EQ(image.Flags(area.end + 1), 0);
  EXPECT_EQ(image.Flags(0xE00024), 0);
  EXPECT_EQ(image.GetByte(0xE00024), 0x24);  // the old data stays
}

TEST(RelocateMonitor, RefusesOverlapAndTheEndOfTheAddressSpace) {
  MemoryImage image;
  MonitorArea area = kDefaultMonitorArea;
  EXPECT_EQ(RelocateMonitorImage(image, area, 0xE00100), RelocationResult::OverlapsCurrentArea);
  EXPECT_EQ(RelocateMonitorImage(image, area, 0xE00000), RelocationResult::OverlapsCurrentArea);
  EXPECT_EQ(RelocateMonitorImage(image, area, 0xFFFF00), RelocationResult::OutsideAddressSpace);
  EXPECT_EQ(RelocateMonitorImage(image, area, -1), RelocationResult::OutsideAddressSpace);
  EXPECT_EQ(area, kDefaultMonitorArea);
  // Just below the current area is fine.
  EXPECT_EQ(RelocateMonitorImage(image, area, 0xE00024 - 0x2C4), RelocationResult::Moved);
}

}  // namespace
}  // namespace velmora
