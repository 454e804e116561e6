// The memory ranges an operation of the link changes, announced once when it ends. The
// connection and the monitor's move read files into the image through the selections,
// so they change what the files hold and what the user had selected before.
#pragma once

#include <cstdint>
#include <vector>

#include "core/change_feed.h"
#include "core/selection_list.h"

namespace velmora {

class Frontend;

class MemoryChangeScope {
 public:
  // Notes the span of the selections as they are now: whatever happens to them, it is
  // redrawn at the end.
  MemoryChangeScope(Frontend& frontend, const SelectionList& selections);
  // Announces every range noted, and the span of the selections then.
  ~MemoryChangeScope();
  MemoryChangeScope(const MemoryChangeScope&) = delete;
  MemoryChangeScope& operator=(const MemoryChangeScope&) = delete;

  // An inclusive range whose bytes or flags changed; an empty or negative one is ignored.
  void Add(int32_t first, int32_t last);
  // The span of the selections now (a file has just been read into them).
  void AddSelections();

 private:
  Frontend& frontend_;
  const SelectionList& selections_;
  std::vector<Change> changes_;
};

}  // namespace velmora
