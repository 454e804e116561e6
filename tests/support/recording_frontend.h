// A Frontend for tests: records every box, change and progress report, and answers from a
// queue.
#pragma once

#include <cstdint>
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

struct RecordedProgress {
  std::string operation;
  int64_t done;
  int64_t total;
  friend bool operator==(const RecordedProgress&, const RecordedProgress&) = default;
};

class RecordingFrontend : public Frontend {
 public:
  // Listens to its own change feed, as a window would.
  RecordingFrontend();
  RecordingFrontend(const RecordingFrontend&) = delete;
  RecordingFrontend& operator=(const RecordingFrontend&) = delete;

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
  void ShowProgress(const Progress& p) override {
    progress.push_back({std::string(p.operation), p.done, p.total});
  }
  void SetClipboardText(std::string_view text) override { clipboard = std::string(text); }
  std::string ClipboardText() override { return clipboard; }

  std::vector<RecordedBox> boxes;
  std::vector<std::string> prompts;
  std::string messageWindow;
  std::vector<bool> busyChanges;
  std::vector<Change> changes;
  std::vector<RecordedProgress> progress;
  std::string clipboard;

  // The changes recorded for one target, in order.
  std::vector<Change> ChangesOf(RefreshTarget target) const;
  bool Refreshed(RefreshTarget target) const { return !ChangesOf(target).empty(); }

 private:
  std::deque<BoxAnswer> answers_;
  std::deque<std::optional<std::string>> inputs_;
};

}  // namespace velmora::test
