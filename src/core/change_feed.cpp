#include "core/change_feed.h"

#include <algorithm>

namespace velmora {

int ChangeFeed::Subscribe(Listener listener) {
  const int id = nextId_++;
  listeners_.emplace_back(id, std::move(listener));
  return id;
}

void ChangeFeed::Unsubscribe(int id) {
  std::erase_if(listeners_, [id](const auto& entry) { return entry.first == id; });
}

void ChangeFeed::Publish(const Change& change) const {
  for (const auto& [id, listener] : listeners_) {
    if (listener) listener(change);
  }
}

}  // namespace velmora
