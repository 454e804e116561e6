#include "core/selection_list.h"

#include <algorithm>
#include <vector>

namespace velmora {

namespace {
constexpr Selection kUnused{-1, -1};
}

SelectionList::SelectionList() {
  entries_.fill(kUnused);
  saved_.fill(kUnused);
}

void SelectionList::ClearSelections() {
  entries_.fill(kUnused);
  count_ = 0;
}

bool SelectionList::AddSelection(int32_t start, int32_t end) {
  if (count_ < kCapacity) {
    entries_[static_cast<size_t>(count_++)] = {start, end};
    NormalizeSelections();
    return true;
  }
  // Full: take the range only when it merges into what is there. The entries are sorted
  // by start, so only the neighbours of its place can touch it.
  const auto place = std::upper_bound(entries_.begin(), entries_.begin() + count_, start,
                                      [](int32_t value, const Selection& s) { return value < s.start; });
  const bool touchesBefore =
      place != entries_.begin() && static_cast<int64_t>(start) <= int64_t{(place - 1)->end} + 1;
  const bool touchesAfter = place != entries_.begin() + count_ &&
                            static_cast<int64_t>(place->start) <= int64_t{end} + 1;
  if (!touchesBefore && !touchesAfter) return false;
  std::vector<Selection> trial(entries_.begin(), entries_.begin() + count_);
  trial.push_back({start, end});
  const int merged = normalize(trial.data(), static_cast<int>(trial.size()));
  if (merged > kCapacity) return false;
  std::copy(trial.begin(), trial.begin() + merged, entries_.begin());
  std::fill(entries_.begin() + merged, entries_.end(), kUnused);
  count_ = merged;
  return true;
}

void SelectionList::NormalizeSelections() {
  count_ = normalize(entries_.data(), count_);
  std::fill(entries_.begin() + count_, entries_.end(), kUnused);
}

// Sorts by start and merges overlapping or adjacent ranges. A merged entry keeps the
// earlier start, which after sorting is never larger, so it covers both ranges exactly.
int SelectionList::normalize(Selection* entries, int count) {
  std::stable_sort(entries, entries + count,
                   [](const Selection& a, const Selection& b) { return a.start < b.start; });
  int i = 1;
  while (i < count) {
    Selection& previous = entries[i - 1];
    const Selection current = entries[i];
    if (static_cast<int64_t>(current.start) <= static_cast<int64_t>(previous.end) + 1) {
      previous.end = std::max(previous.end, current.end);
      std::copy(entries + i + 1, entries + count, entries + i);
      --count;
    } else {
      ++i;
    }
  }
  return count;
}

bool SelectionList::InSelection(int32_t address) const {
  return std::any_of(entries_.begin(), entries_.begin() + count_, [address](const Selection& s) {
    return s.start <= address && address <= s.end;
  });
}

int32_t SelectionList::LowestSelectionStart() const {
  if (count_ == 0) return -1;
  int32_t lowest = entries_[0].start;
  for (int i = 1; i < count_; ++i) lowest = std::min(lowest, entries_[static_cast<size_t>(i)].start);
  return lowest;
}

int32_t SelectionList::HighestSelectionEnd() const {
  if (count_ == 0) return -1;
  int32_t highest = entries_[0].end;
  for (int i = 1; i < count_; ++i) highest = std::max(highest, entries_[static_cast<size_t>(i)].end);
  return highest;
}

void SelectionList::SaveSelections() {
  saved_ = entries_;
  savedCount_ = count_;
}

void SelectionList::RestoreSelections() {
  entries_ = saved_;
  count_ = savedCount_;
}

int64_t SelectionList::ByteCount() const {
  int64_t total = 0;
  for (int i = 0; i < count_; ++i) {
    const Selection s = entries_[static_cast<size_t>(i)];
    if (s.end >= s.start) total += static_cast<int64_t>(s.end) - s.start + 1;
  }
  return total;
}

}  // namespace velmora
