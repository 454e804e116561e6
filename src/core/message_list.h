// The model of the message list: closed lines plus the open line being built, trimmed
// towards 1000 entries, with the position of the first visible line for the view.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

class MessageList {
 public:
  static constexpr int kMaxEntries = 1000;
  static constexpr int kVisibleLines = 13;
  // A line is closed as soon as it holds more than this many characters.
  static constexpr size_t kWrapAfter = 75;

  MessageList();

  // Appends text; CR LF or a lone CR closes the open line, a stray LF is dropped, and a
  // line that grows past 76 characters is closed and continued on a new one. Returns the
  // lines closed by this call, in order.
  std::vector<std::string> Append(std::string_view text);

  int Count() const { return static_cast<int>(entries_.size()); }
  const std::string& Entry(int index) const { return entries_[static_cast<size_t>(index)]; }
  const std::string& OpenLine() const { return entries_.back(); }
  int FirstVisible() const { return firstVisible_; }
  void SetFirstVisible(int index);
  // Grows each time the list changes, so that a view can tell when to redraw.
  unsigned long Revision() const { return revision_; }

 private:
  void closeLine(std::string& current, std::vector<std::string>& closed);

  std::deque<std::string> entries_;
  int firstVisible_ = 0;
  unsigned long revision_ = 0;
};

}  // namespace velmora
