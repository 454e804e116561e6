// What the core needs from a user interface. The core never shows anything itself:
// the desktop windows, the headless runner and the tests each implement this.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

enum class BoxButtons { Ok, OkCancel, YesNo };
enum class BoxIcon { None, Information, Question, Exclamation, Critical };
enum class BoxAnswer { Ok, Cancel, Yes, No };

// The views and fields an operation may ask to be redrawn.
enum class RefreshTarget {
  MemoryView,
  RegisterList,
  StatusText,
  FeatureButtons,
  Disassembly,
  RecentScripts,
};

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
  virtual void RequestRefresh(RefreshTarget target) = 0;
  // Lets pending user-interface events run; blocks for at most maxWait when none are
  // pending, so that a wait loop never spins a core.
  virtual void ProcessEvents(std::chrono::milliseconds maxWait) = 0;
  // The system clipboard, as text.
  virtual void SetClipboardText(std::string_view text) = 0;
  virtual std::string ClipboardText() = 0;
};

}  // namespace velmora
