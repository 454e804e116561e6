// Every modal box of the windows goes through one host on the window's thread, so that
// the core's questions, the views' input errors and the dialogs look alike, and a test can
// answer them without a person (and see what was asked).
#pragma once

#include <QString>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "core/frontend.h"

class QWidget;

namespace velmora::ui {

struct BoxRequest {
  QString text;
  QString caption;
  BoxButtons buttons = BoxButtons::Ok;
  BoxIcon icon = BoxIcon::None;
  bool input = false;  // an input box (text is its prompt)
  QString defaultText;
};

class BoxHost {
 public:
  // parent: the window boxes are centred on (may be null).
  explicit BoxHost(QWidget* parent = nullptr) : parent_(parent) {}
  void SetParent(QWidget* parent) { parent_ = parent; }

  BoxAnswer Message(const QString& text, BoxButtons buttons = BoxButtons::Ok,
                    BoxIcon icon = BoxIcon::Exclamation, const QString& caption = {});
  // nullopt when cancelled.
  std::optional<QString> Input(const QString& prompt, const QString& caption = {},
                               const QString& defaultText = {});

  // Tests: boxes are recorded and answered from these queues instead of being shown.
  // Without queued answers a box is answered OK (Yes for a question) and an input box
  // with its default text.
  void AnswerAutomatically(bool on) { automatic_ = on; }
  void QueueAnswer(BoxAnswer answer) { answers_.push_back(answer); }
  void QueueInput(std::optional<QString> input) { inputs_.push_back(std::move(input)); }
  const std::vector<BoxRequest>& Asked() const { return asked_; }
  void ClearAsked() { asked_.clear(); }

 private:
  QWidget* parent_;
  bool automatic_ = false;
  std::deque<BoxAnswer> answers_;
  std::deque<std::optional<QString>> inputs_;
  std::vector<BoxRequest> asked_;
};

}  // namespace velmora::ui
