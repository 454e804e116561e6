#include "app/console_frontend.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include "link/bootstrap.h"
#include "link/channel_switch.h"

namespace velmora {
namespace {

std::atomic<int> gInterrupts{0};  // written by the signal handler only

extern "C" void onInterrupt(int) { gInterrupts.fetch_add(1); }

// Texts of OK boxes that ask the person at the board to do something first.
bool asksToAct(std::string_view text) {
  return text == kResetQuestion || text == kMoveCableMessage ||
         text == "Please klick to the OK Button to continue";
}

// Message texts separate their lines with CR; a terminal wants LF.
std::string printable(std::string_view text) {
  std::string out(text);
  for (char& ch : out) {
    if (ch == '\r') ch = '\n';
  }
  return out;
}

}  // namespace

// Reads standard input up to the end of a line. False when a Ctrl-C came after the count
// given or the input ended; the interrupt stays counted, so the next pass of the event
// loop also asks the running script to stop.
bool ConsoleFrontend::waitForEnter(int interruptsBefore) {
  while (gInterrupts.load() == interruptsBefore) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (::poll(&input, 1, 50) <= 0) continue;
    char ch = 0;
    const ssize_t got = ::read(STDIN_FILENO, &ch, 1);
    if (got == 0 || (got < 0 && errno != EINTR && errno != EAGAIN)) return false;
    if (got == 1 && ch == '\n') return true;
  }
  return false;
}

void ConsoleFrontend::InstallInterruptHandler() {
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
}

int ConsoleFrontend::Interrupts() { return gInterrupts.load(); }

BoxAnswer ConsoleFrontend::MessageBox(std::string_view text, BoxButtons buttons, BoxIcon,
                                      std::string_view) {
  std::fprintf(stderr, "[message] %s\n", printable(text).c_str());
  if (buttons != BoxButtons::Ok && policy_.refuseQuestions) {
    questionRefused_ = true;
    std::fprintf(stderr, "[answer] %s (questions are refused)\n", buttons == BoxButtons::YesNo ? "No" : "Cancel");
    return buttons == BoxButtons::YesNo ? BoxAnswer::No : BoxAnswer::Cancel;
  }
  if (policy_.waitForUser && asksToAct(text)) {
    // Counted before the prompt shows, so that a Ctrl-C typed at once is not missed.
    const int interruptsBefore = gInterrupts.load();
    std::fprintf(stderr, "[press Enter to go on]\n");
    if (!waitForEnter(interruptsBefore)) {
      // Ctrl-C (or the end of input) at the prompt: the person does not want to go on, so
      // even an OK box is closed as cancelled and what it guards does not happen.
      std::fprintf(stderr, "[cancelled]\n");
      return BoxAnswer::Cancel;
    }
  }
  return buttons == BoxButtons::YesNo ? BoxAnswer::Yes : BoxAnswer::Ok;
}

std::optional<std::string> ConsoleFrontend::InputBox(std::string_view prompt, std::string_view,
                                                     std::string_view defaultText) {
  std::fprintf(stderr, "[input] %s\n", printable(prompt).c_str());
  if (policy_.refuseQuestions) {
    questionRefused_ = true;
    return std::nullopt;
  }
  return std::string(defaultText);
}

void ConsoleFrontend::ShowMessageWindow(std::string_view text) {
  if (!text.empty()) std::fprintf(stderr, "[window] %s\n", printable(text).c_str());
}

}  // namespace velmora
