// A Frontend for tests: records every box and request and answers from a queue.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "core/frontend.h"

namespace velmora::test {

struct RecordedBox {
  std::string text;
  BoxButtons buttons;
  BoxIcon icon;
};

class RecordingFrontend : public Frontend {
 public:
  // Answers for the next message boxes, in order; when the queue is empty a box is
  // answered with Ok, or Yes for a Yes/No question.
  void QueueAnswer(BoxAnswer answer) { answers_.push_back(answer); }
  void QueueInput(std::optional<std::string> input) { inputs_.push_back(std::move(input)); }

  BoxAnswer MessageBox(std::string_view text, BoxButtons buttons, BoxIcon icon,
                       std::string_view caption) override;
  std::optional<std::string> InputBox(std::string_view prompt, std::string_view caption,
                                      std::string_view defaultText) override;
  void ShowMessageWindow(std::string_view text) override { messageWindow = std::string(text); }
  void SetBusy(bool busy) override { busyChanges.push_back(busy); }
  void RequestRefresh(RefreshTarget target) override { refreshes.push_back(target); }
  void ProcessEvents(std::chrono::milliseconds) override { ++eventPasses; }
  void SetClipboardText(std::string_view text) override { clipboard = std::string(text); }
  std::string ClipboardText() override { return clipboard; }

  std::vector<RecordedBox> boxes;
  std::vector<std::string> prompts;
  std::string messageWindow;
  std::vector<bool> busyChanges;
  std::vector<RefreshTarget> refreshes;
  long eventPasses = 0;
  std::string clipboard;

 private:
  std::deque<BoxAnswer> answers_;
  std::deque<std::optional<std::string>> inputs_;
};

}  // namespace velmora::test
