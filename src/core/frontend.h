// What the core needs from a user interface. The core never shows anything itself:
// the desktop windows, the headless runner and the tests each implement this. It is
// called on the thread that runs the session; a call that needs an answer blocks that
// thread until the user has given one.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/change_feed.h"

namespace velmora {

enum class BoxButtons { Ok, OkCancel, YesNo };
enum class BoxIcon { None, Information, Question, Exclamation, Critical };
enum class BoxAnswer { Ok, Cancel, Yes, No };

class Frontend {
 public:
  virtual ~Frontend() = default;

  // A modal message box; returns the button the user chose.
  virtual BoxAnswer MessageBox(std::string_view text, BoxButtons buttons, BoxIcon icon,
                               std::string_view caption) = 0;
  // A modal input box; nullopt when the user cancels.
  virtual std::optional<std::string> InputBox(std::string_view prompt, std::string_view caption,
                                              std::string_view defaultText) = 0;
  // The non-modal message window: shown with a text, or hidden with an empty one.
  virtual void ShowMessageWindow(std::string_view text) = 0;
  // The busy pointer while a long operation runs.
  virtual void SetBusy(bool busy) = 0;
  // Tells every view that listens what an operation changed. Called on the thread that
  // runs the operation; a listener of another thread hands the change on itself.
  void RequestRefresh(const Change& change) { changes_.Publish(change); }
  ChangeFeed& Changes() { return changes_; }
  // How far a transfer or a programming run has got: at the start, after each block and
  // at the end.
  virtual void ShowProgress(const Progress&) {}
  // The system clipboard, as text.
  virtual void SetClipboardText(std::string_view text) = 0;
  virtual std::string ClipboardText() = 0;

 private:
  ChangeFeed changes_;
};

}  // namespace velmora
