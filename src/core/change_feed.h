// What an operation changed, and the feed that tells every view about it. The views redraw
// only what a change covers, so a download repaints the page its blocks land on and not
// the whole window after every block.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora {

// The views and fields an operation may ask to be redrawn.
enum class RefreshTarget {
  MemoryView,
  RegisterList,
  StatusText,
  FeatureButtons,
  Disassembly,
  RecentScripts,
};

// What an operation changed, for the views that show it.
struct Change {
  RefreshTarget target;
  // MemoryView: the inclusive address range that changed, -1/-1 when anything may have
  //   (selections included). RegisterList: the register's address, -1 for all.
  // StatusText: the new TargetState value. Others: -1.
  int32_t first = -1;
  int32_t last = -1;

  static Change All(RefreshTarget target) { return {target, -1, -1}; }
  static Change Memory(int32_t first, int32_t last) {
    return {RefreshTarget::MemoryView, first, last};
  }
  static Change Register(int32_t address) {
    return {RefreshTarget::RegisterList, address, address};
  }
  static Change State(int32_t state) { return {RefreshTarget::StatusText, state, state}; }

  // first < 0 covers everything.
  bool Covers(int32_t address) const { return first < 0 || (address >= first && address <= last); }
  friend bool operator==(const Change&, const Change&) = default;
};

// Any number of listeners; Publish calls them in the order they subscribed. Subscribe and
// Unsubscribe belong to the thread that publishes (or to a time when nothing publishes),
// never to a listener while it is being called:
// the feed takes no lock, because a listener hands its change on to its own thread anyway.
class ChangeFeed {
 public:
  using Listener = std::function<void(const Change&)>;

  // The id to unsubscribe with.
  int Subscribe(Listener listener);
  void Unsubscribe(int id);
  void Publish(const Change& change) const;

 private:
  std::vector<std::pair<int, Listener>> listeners_;
  int nextId_ = 1;
};

// How far a long operation has got, for a progress bar.
struct Progress {
  std::string_view operation;  // the word its message lines begin with: "Download", ...
  int64_t done;
  int64_t total;
};

}  // namespace velmora
