#include "core/memory_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
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
  EXPECT_EQ(image.AllocatedSegmentCount(), 4);  // reads allocate nothing
  image.SetValid(0x550000, true);
  EXPECT_EQ(image.AllocatedSegmentCount(), 5);  // a write allocates, zero-filled
  EXPECT_EQ(image.GetByte(0x550001), 0);
  image.SetValid(0x550000, false);
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

// A view reads through a const image: every byte of the address space, in pages that
// straddle written and never-written segments, reads as stored or as 0 without flags, and
// the image holds the same segments afterwards.
TEST(MemoryImage, ReadingTheWholeSpaceAllocatesNothing) {
  MemoryImage image;
  image.StoreLoaded(0x7FFFE, Bytes{1, 2, 3, 4});  // across the boundary of segments 7 and 8
  const MemoryImage& view = image;
  Bytes page(0x1000);
  Bytes flags(0x1000);
  long nonZero = 0;
  for (int32_t at = 0; at <= 0x1000000; at += 0x1000) {
    view.ReadBytes(at - 0x800, page);  // half a page before, so pieces straddle segments
    view.ReadFlags(at - 0x800, flags);
    for (size_t i = 0; i < page.size(); ++i) nonZero += page[i] != 0 || flags[i] != 0;
  }
  EXPECT_EQ(nonZero, 4);
  EXPECT_EQ(view.GetByte(0x80001), 4);
  EXPECT_EQ(view.Flags(0x80001), kDefined);
  EXPECT_FALSE(view.IsDefined(0x90000));
  EXPECT_EQ(image.AllocatedSegmentCount(), 2);
  // The first page began below 0 and the last one ran past FFFFFF, each read twice.
  EXPECT_EQ(image.RangeErrors(), 4);
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

// The window paints a page while the worker stores blocks into it: a read sees a block
// whole or not at all, never half of one, and never a segment half made.
TEST(MemoryImage, APageReadFromAnotherThreadSeesEveryBlockWhole) {
  MemoryImage image;
  constexpr int32_t kPage = 0x3A0000;  // a segment that does not exist yet
  constexpr size_t kPageSize = 256;
  constexpr int kBlocks = 3000;
  std::atomic<bool> done{false};
  std::thread worker([&] {
    Bytes block(kPageSize);
    for (int k = 1; k <= kBlocks; ++k) {
      std::fill(block.begin(), block.end(), static_cast<uint8_t>(k));
      if (k % 2 == 0) {
        image.StoreFromTarget(kPage, block);
      } else {
        image.StoreLoaded(kPage, block);
      }
    }
    done = true;
  });
  long torn = 0;
  long reads = 0;
  Bytes page(kPageSize);
  Bytes flags(kPageSize);
  while (!done || reads == 0) {
    image.ReadBytes(kPage, page);
    image.ReadFlags(kPage, flags);
    ++reads;
    if (std::count(page.begin(), page.end(), page.front()) != static_cast<long>(kPageSize)) ++torn;
    if (std::count(flags.begin(), flags.end(), flags.front()) != static_cast<long>(kPageSize))
      ++torn;
    // A defined page is all defined; a byte read alone agrees with the segment existing.
    if (image.IsDefined(kPage + 17) && !image.IsAllocated(MemoryImage::SegmentOf(kPage))) ++torn;
  }
  worker.join();
  EXPECT_EQ(torn, 0) << "of " << reads << " reads";
  EXPECT_EQ(image.GetByte(kPage + 255), static_cast<uint8_t>(kBlocks));
  EXPECT_EQ(image.Flags(kPage), kDefined | kValid);
  EXPECT_EQ(image.RangeErrors(), 0);
}

}  // namespace
}  // namespace velmora
