// The frontend of the headless runner: message boxes on standard error answered by a
// policy, events served from the serial port and the Qt event loop, Ctrl-C as Escape.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "core/frontend.h"

namespace velmora {

class Session;

struct ConsolePolicy {
  // Questions (Yes/No, OK/Cancel) and input boxes fail instead of being answered yes.
  bool refuseQuestions = false;
  // OK boxes that ask the user to act wait for Enter (stdin a terminal, a real board).
  bool waitForUser = false;
};

class ConsoleFrontend : public Frontend {
 public:
  explicit ConsoleFrontend(ConsolePolicy policy) : policy_(policy) {}

  void Attach(Session* session) { session_ = session; }
  void SetWaitForUser(bool wait) { policy_.waitForUser = wait; }
  // A question was refused under the policy: the run counts as failed.
  bool QuestionRefused() const { return questionRefused_; }
  // Called on every pass of the event loop (the runner prints the open line there).
  void SetIdleHandler(std::function<void()> handler) { idle_ = std::move(handler); }

  BoxAnswer MessageBox(std::string_view text, BoxButtons buttons, BoxIcon icon,
                       std::string_view caption) override;
  std::optional<std::string> InputBox(std::string_view prompt, std::string_view caption,
                                      std::string_view defaultText) override;
  void ShowMessageWindow(std::string_view text) override;
  void SetBusy(bool) override {}
  void RequestRefresh(RefreshTarget) override {}
  void ProcessEvents(std::chrono::milliseconds maxWait) override;
  void SetClipboardText(std::string_view text) override { clipboard_ = std::string(text); }
  std::string ClipboardText() override { return clipboard_; }

  // Ctrl-C: the first asks running scripts to stop, the second ends the program.
  static void InstallInterruptHandler();
  static int Interrupts();

 private:
  bool waitForEnter(int interruptsBefore);

  ConsolePolicy policy_;
  Session* session_ = nullptr;
  bool questionRefused_ = false;
  std::string clipboard_;
  int interruptsSeen_ = 0;
  std::function<void()> idle_;
};

}  // namespace velmora
