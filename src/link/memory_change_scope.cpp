#include "link/memory_change_scope.h"

#include <algorithm>

#include "core/frontend.h"

namespace velmora {

MemoryChangeScope::MemoryChangeScope(Frontend& frontend, const SelectionList& selections)
    : frontend_(frontend), selections_(selections) {
  AddSelections();
}

MemoryChangeScope::~MemoryChangeScope() {
  AddSelections();
  for (const Change& change : changes_) frontend_.RequestRefresh(change);
}

void MemoryChangeScope::Add(int32_t first, int32_t last) {
  if (first < 0 || last < first) return;
  const Change change = Change::Memory(first, last);
  // A file read twice (loader and monitor share their span) is said once.
  if (std::find(changes_.begin(), changes_.end(), change) == changes_.end()) {
    changes_.push_back(change);
  }
}

void MemoryChangeScope::AddSelections() {
  Add(selections_.LowestSelectionStart(), selections_.HighestSelectionEnd());
}

}  // namespace velmora
