#include "core/image_ops.h"

#include <vector>

namespace velmora {

void FillSelections(MemoryImage& image, const SelectionList& selections, int32_t value,
                    FillWidth width) {
  const auto low = static_cast<uint8_t>(value & 0xFF);
  const auto high = static_cast<uint8_t>((value >> 8) & 0xFF);
  const auto store = [&image](int32_t address, uint8_t byte) {
    if (!MemoryImage::InRange(address)) return;
    image.SetByte(address, byte);
    image.SetDefined(address, true);
    image.SetValid(address, false);
  };
  for (int i = 0; i < selections.Count(); ++i) {
    const Selection s = selections.At(i);
    if (width == FillWidth::Byte) {
      for (int64_t a = s.start; a <= s.end; ++a) store(static_cast<int32_t>(a), low);
    } else {
      for (int64_t a = s.start & ~int64_t{1}; a <= s.end; a += 2) {
        store(static_cast<int32_t>(a), low);
        store(static_cast<int32_t>(a + 1), high);
      }
    }
  }
}

void UnreadSelections(MemoryImage& image, const SelectionList& selections) {
  for (int i = 0; i < selections.Count(); ++i) {
    const Selection s = selections.At(i);
    if (s.end < s.start) continue;
    image.ChangeFlags(s.start, static_cast<size_t>(s.end - s.start) + 1, kDefined | kValid, false);
  }
}

RelocationResult RelocateMonitorImage(MemoryImage& image, MonitorArea& area, int32_t newStart) {
  const int32_t length = area.end - area.start + 1;
  const int32_t newEnd = newStart + length - 1;
  if (length <= 0 || !MemoryImage::InRange(newStart) || !MemoryImage::InRange(newEnd)) {
    return RelocationResult::OutsideAddressSpace;
  }
  if (newStart <= area.end && area.start <= newEnd) return RelocationResult::OverlapsCurrentArea;

  std::vector<uint8_t> monitor(static_cast<size_t>(length));
  image.ReadBytes(area.start, monitor);
  image.ChangeFlags(area.start, monitor.size(), kDefined | kProtected | kValid, false);
  image.StoreFromTarget(newStart, monitor);
  image.ChangeFlags(newStart, monitor.size(), kProtected, true);
  area = {newStart, newEnd};
  return RelocationResult::Moved;
}

}  // namespace velmora
