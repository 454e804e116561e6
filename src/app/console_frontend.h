// The frontend of the headless runner: message boxes on standard error answered by a
// policy, Ctrl-C as Escape.
#pragma once

#include <string>

#include "core/frontend.h"

namespace velmora {

struct ConsolePolicy {
  // Questions (Yes/No, OK/Cancel) and input boxes fail instead of being answered yes.
  bool refuseQuestions = false;
  // OK boxes that ask the user to act wait for Enter (stdin a terminal, a real board).
  bool waitForUser = false;
};

class ConsoleFrontend : public Frontend {
 public:
  explicit ConsoleFrontend(ConsolePolicy policy) : policy_(policy) {}

  void SetWaitForUser(bool wait) { policy_.waitForUser = wait; }
  // A question was refused under the policy: the run counts as failed.
  bool QuestionRefused() const { return questionRefused_; }

  BoxAnswer MessageBox(std::string_view text, BoxButtons buttons, BoxIcon icon,
                       std::string_view caption) override;
  std::optional<std::string> InputBox(std::string_view prompt, std::string_view caption,
                                      std::string_view defaultText) override;
  void ShowMessageWindow(std::string_view text) override;
  void SetBusy(bool) override {}
  void SetClipboardText(std::string_view text) override { clipboard_ = std::string(text); }
  std::string ClipboardText() override { return clipboard_; }

  // Ctrl-C: the first asks running scripts to stop, the second ends the program. The
  // handler only counts; whoever runs the session looks at the count.
  static void InstallInterruptHandler();
  static int Interrupts();

 private:
  bool waitForEnter(int interruptsBefore);

  ConsolePolicy policy_;
  bool questionRefused_ = false;
  std::string clipboard_;
};

}  // namespace velmora
