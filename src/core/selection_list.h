// The list of selected address ranges that nearly every data operation works on.
//
// At most 1001 inclusive ranges, kept sorted by start with no two overlapping or
// touching. An addition that would need a 1002nd entry is refused (nothing changes) and
// the caller reports kTooManySelectionsLine; an addition that merges into the existing
// ranges is always taken, even when the list is full.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace velmora {

struct Selection {
  int32_t start;
  int32_t end;
  friend bool operator==(const Selection&, const Selection&) = default;
};

inline constexpr std::string_view kTooManySelectionsLine =
    "*ERROR: Too many selections (at most 1001 separate ranges)";

class SelectionList {
 public:
  static constexpr int kCapacity = 1001;

  SelectionList();

  void ClearSelections();
  // Stores the pair and normalises. A reversed or negative pair is stored as given and
  // selects nothing. Returns false, changing nothing, when the list has no room.
  [[nodiscard]] bool AddSelection(int32_t start, int32_t end);
  void NormalizeSelections();
  bool InSelection(int32_t address) const;
  int32_t LowestSelectionStart() const;
  int32_t HighestSelectionEnd() const;
  void SaveSelections();
  void RestoreSelections();

  int Count() const { return count_; }
  Selection At(int index) const { return entries_[static_cast<size_t>(index)]; }
  // Number of addresses the ranges cover (reversed pairs count nothing).
  int64_t ByteCount() const;

 private:
  using Entries = std::array<Selection, kCapacity>;
  static int normalize(Selection* entries, int count);

  Entries entries_;
  int count_ = 0;
  Entries saved_;
  int savedCount_ = 0;
};

}  // namespace velmora
