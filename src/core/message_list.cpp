#include "core/message_list.h"

#include <algorithm>

namespace velmora {

MessageList::MessageList() : entries_(1) {}

void MessageList::closeLine(std::string& current, std::vector<std::string>& closed) {
  entries_.back() = current;
  closed.push_back(std::move(current));
  current.clear();
  entries_.emplace_back();
}

std::vector<std::string> MessageList::Append(std::string_view text) {
  std::vector<std::string> closed;
  std::string current = entries_.back();
  for (size_t i = 0; i < text.size(); ++i) {
    const char ch = text[i];
    if (ch == '\r') {
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
      closeLine(current, closed);
      continue;
    }
    if (ch == '\n') continue;
    current.push_back(ch);
    if (current.size() > kWrapAfter) closeLine(current, closed);
  }
  entries_.back() = current;

  if (firstVisible_ < Count() - kVisibleLines) firstVisible_ = Count() - kVisibleLines;
  // One entry per call, as the list has always been trimmed; a call that adds many lines
  // leaves it above the limit for the following calls to shrink.
  if (Count() > kMaxEntries) {
    entries_.pop_front();
    firstVisible_ = std::max(0, firstVisible_ - 1);
  }
  ++revision_;
  return closed;
}

void MessageList::SetFirstVisible(int index) {
  firstVisible_ = std::clamp(index, 0, std::max(0, Count() - 1));
}

}  // namespace velmora
