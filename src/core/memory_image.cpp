#include "core/memory_image.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace velmora {

void MemoryImage::InitImage() {
  std::unique_lock lock(mutex_);
  for (auto& entry : segments_) entry.reset();
  for (int32_t seg = 0; seg < 4; ++seg) segment(seg * kSegmentSize);
}

MemoryImage::Segment* MemoryImage::segment(int32_t address) {
  if (!InRange(address)) {
    countRangeError();
    return nullptr;
  }
  auto& entry = segments_[static_cast<size_t>(SegmentOf(address))];
  if (!entry) entry = std::make_unique<Segment>();
  return entry.get();
}

uint8_t* MemoryImage::SegmentBytes(int index) {
  if (index < 0 || index >= kSegmentCount) return nullptr;
  std::unique_lock lock(mutex_);
  return segment(index * kSegmentSize)->data.data();
}

void MemoryImage::SetByte(int32_t address, uint8_t value) {
  std::unique_lock lock(mutex_);
  if (Segment* seg = segment(address)) seg->data[static_cast<size_t>(address & 0xFFFF)] = value;
}

const MemoryImage::Segment* MemoryImage::find(int32_t address) const {
  if (!InRange(address)) {
    countRangeError();
    return nullptr;
  }
  return segments_[static_cast<size_t>(SegmentOf(address))].get();
}

uint8_t MemoryImage::GetByte(int32_t address) const {
  std::shared_lock lock(mutex_);
  const Segment* seg = find(address);
  return seg ? seg->data[static_cast<size_t>(address & 0xFFFF)] : 0;
}

uint8_t MemoryImage::Flags(int32_t address) const {
  std::shared_lock lock(mutex_);
  const Segment* seg = find(address);
  return seg ? seg->state[static_cast<size_t>(address & 0xFFFF)] : 0;
}

template <typename Visit>
void MemoryImage::forEachRange(int32_t address, size_t count, Visit visit) const {
  if (count == 0) return;
  const int64_t first = address;
  const int64_t last = first + static_cast<int64_t>(count) - 1;
  if (first < 0 || last > 0xFFFFFF) countRangeError();
  int64_t at = std::max<int64_t>(first, 0);
  const int64_t end = std::min<int64_t>(last, 0xFFFFFF);
  while (at <= end) {
    const auto offset = static_cast<size_t>(at & 0xFFFF);
    const size_t length = std::min<size_t>(kSegmentSize - offset, static_cast<size_t>(end - at + 1));
    visit(static_cast<int32_t>(at), offset, static_cast<size_t>(at - first), length);
    at += static_cast<int64_t>(length);
  }
}

template <typename Visit>
void MemoryImage::forEachPiece(int32_t address, size_t count, Visit visit) const {
  forEachRange(address, count, [&](int32_t at, size_t offset, size_t index, size_t length) {
    visit(segments_[static_cast<size_t>(SegmentOf(at))].get(), offset, index, length);
  });
}

template <typename Visit>
void MemoryImage::forEachPiece(int32_t address, size_t count, Visit visit) {
  forEachRange(address, count, [&](int32_t at, size_t offset, size_t index, size_t length) {
    visit(*segment(at), offset, index, length);
  });
}

void MemoryImage::StoreLoaded(int32_t address, std::span<const uint8_t> bytes) {
  std::unique_lock lock(mutex_);
  forEachPiece(address, bytes.size(), [&](Segment& seg, size_t offset, size_t index, size_t n) {
    std::memcpy(seg.data.data() + offset, bytes.data() + index, n);
    uint8_t* state = seg.state.data() + offset;
    for (size_t i = 0; i < n; ++i) state[i] = static_cast<uint8_t>((state[i] & ~kValid) | kDefined);
  });
}

void MemoryImage::StoreFromTarget(int32_t address, std::span<const uint8_t> bytes) {
  std::unique_lock lock(mutex_);
  forEachPiece(address, bytes.size(), [&](Segment& seg, size_t offset, size_t index, size_t n) {
    std::memcpy(seg.data.data() + offset, bytes.data() + index, n);
    uint8_t* state = seg.state.data() + offset;
    for (size_t i = 0; i < n; ++i) state[i] = static_cast<uint8_t>(state[i] | kDefined | kValid);
  });
}

void MemoryImage::ReadBytes(int32_t address, std::span<uint8_t> out) const {
  std::shared_lock lock(mutex_);
  std::fill(out.begin(), out.end(), uint8_t{0});
  forEachPiece(address, out.size(), [&](const Segment* seg, size_t offset, size_t index, size_t n) {
    if (seg) std::memcpy(out.data() + index, seg->data.data() + offset, n);
  });
}

void MemoryImage::ReadFlags(int32_t address, std::span<uint8_t> out) const {
  std::shared_lock lock(mutex_);
  std::fill(out.begin(), out.end(), uint8_t{0});
  forEachPiece(address, out.size(), [&](const Segment* seg, size_t offset, size_t index, size_t n) {
    if (seg) std::memcpy(out.data() + index, seg->state.data() + offset, n);
  });
}

void MemoryImage::ChangeFlags(int32_t address, size_t count, uint8_t flagBits, bool on) {
  std::unique_lock lock(mutex_);
  forEachPiece(address, count, [&](Segment& seg, size_t offset, size_t, size_t n) {
    uint8_t* state = seg.state.data() + offset;
    for (size_t i = 0; i < n; ++i) {
      state[i] = on ? static_cast<uint8_t>(state[i] | flagBits)
                    : static_cast<uint8_t>(state[i] & ~flagBits);
    }
  });
}

bool MemoryImage::IsAllocated(int segmentIndex) const {
  std::shared_lock lock(mutex_);
  return segmentIndex >= 0 && segmentIndex < kSegmentCount &&
         segments_[static_cast<size_t>(segmentIndex)] != nullptr;
}

int MemoryImage::AllocatedSegmentCount() const {
  std::shared_lock lock(mutex_);
  return static_cast<int>(
      std::count_if(segments_.begin(), segments_.end(), [](const auto& s) { return s != nullptr; }));
}

}  // namespace velmora
