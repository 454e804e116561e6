// The host's copy of the target's 24-bit address space, with three flags per byte.
//
// Storage is 256 segments of 64 KB, allocated zero-filled on the first write, so a run that
// touches a few areas keeps a few segments. Reads are const and allocate nothing: a byte of
// a segment never written reads as 0 without flags, as a zero-filled segment would, so
// painting or listing any range leaves the image as it was. Addresses outside 0..FFFFFF
// are a caller's mistake: writes store nothing, reads give 0, and RangeErrors() counts them.
//
// The window paints pages while the worker thread downloads into the image, so every
// public read takes the image's lock shared and every write takes it alone; the private
// helpers take nothing, so that a public function never waits for itself.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <span>

namespace velmora {

enum ByteFlag : uint8_t {
  kDefined = 1,    // the image holds a value for the byte
  kProtected = 2,  // the byte belongs to the monitor's area in target memory
  kValid = 4,      // the value is known to agree with target memory
};

class MemoryImage {
 public:
  static constexpr int kSegmentCount = 256;
  static constexpr int32_t kSegmentSize = 0x10000;

  MemoryImage() = default;
  MemoryImage(const MemoryImage&) = delete;
  MemoryImage& operator=(const MemoryImage&) = delete;

  static bool InRange(int32_t address) { return address >= 0 && address <= 0xFFFFFF; }
  static int SegmentOf(int32_t address) { return address >> 16; }

  // Frees every segment, then allocates segments 0 to 3 (addresses 0 to 3FFFF).
  void InitImage();

  void SetByte(int32_t address, uint8_t value);
  uint8_t GetByte(int32_t address) const;

  void SetDefined(int32_t address, bool on) { ChangeFlags(address, 1, kDefined, on); }
  bool IsDefined(int32_t address) const { return (Flags(address) & kDefined) != 0; }
  void SetProtected(int32_t address, bool on) { ChangeFlags(address, 1, kProtected, on); }
  bool IsProtected(int32_t address) const { return (Flags(address) & kProtected) != 0; }
  void SetValid(int32_t address, bool on) { ChangeFlags(address, 1, kValid, on); }
  bool IsValid(int32_t address) const { return (Flags(address) & kValid) != 0; }
  uint8_t Flags(int32_t address) const;

  // Bulk forms for readers, writers and transfers. Each works segment by segment and
  // ignores the part of the range that lies outside the address space (counted as one
  // range error).
  // Data written, `defined` set, `valid` cleared: what loading from a file means.
  void StoreLoaded(int32_t address, std::span<const uint8_t> bytes);
  // Data written, `defined` and `valid` set: what reading from the target means.
  void StoreFromTarget(int32_t address, std::span<const uint8_t> bytes);
  void ReadBytes(int32_t address, std::span<uint8_t> out) const;
  void ReadFlags(int32_t address, std::span<uint8_t> out) const;
  // Sets (on) or clears the given flag bits on a range.
  void ChangeFlags(int32_t address, size_t count, uint8_t flagBits, bool on);

  // The bytes of a segment (allocated if need be), for an owner that uses the image from one
  // thread and can afford no lock per access: a simulated processor's bus. Valid until
  // InitImage; writes through it change no flags. Null for a segment outside the space.
  uint8_t* SegmentBytes(int segment);
  bool IsAllocated(int segment) const;
  int AllocatedSegmentCount() const;
  long RangeErrors() const { return rangeErrors_.load(std::memory_order_relaxed); }

 private:
  struct Segment {
    std::array<uint8_t, kSegmentSize> data{};
    std::array<uint8_t, kSegmentSize> state{};
  };

  // The segment of an address for writing, allocated when needed; nullptr out of range.
  Segment* segment(int32_t address);
  // The segment for reading; nullptr out of range or when never written.
  const Segment* find(int32_t address) const;
  void countRangeError() const { rangeErrors_.fetch_add(1, std::memory_order_relaxed); }
  // Calls visit(address, offset in its segment, index into the range, length) for each
  // in-range piece that stays within one segment.
  template <typename Visit>
  void forEachRange(int32_t address, size_t count, Visit visit) const;
  // The same with the piece's segment: allocated for writing, or nullptr for a segment
  // never written (const form).
  template <typename Visit>
  void forEachPiece(int32_t address, size_t count, Visit visit);
  template <typename Visit>
  void forEachPiece(int32_t address, size_t count, Visit visit) const;

  mutable std::shared_mutex mutex_;
  std::array<std::unique_ptr<Segment>, kSegmentCount> segments_;
  // A diagnostic count, kept by reads too (under a shared lock, hence atomic): it says
  // nothing about the image's contents.
  mutable std::atomic<long> rangeErrors_{0};
};

}  // namespace velmora
