// velmora-board: a virtual board on a pseudo-terminal, so that the host program can be tried
// and tested without hardware. Its first line on standard output is the device to open;
// it serves until SIGINT or SIGTERM. SIGUSR1 is the reset button: the board goes back to
// its bootstrap loader, as when the user resets it with the bootstrap pin held.
#include <signal.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "link/wait_precision.h"
#include "core/message_log.h"
#include "session/session.h"
#include "sim/board.h"
#include "sim/board_setup.h"
#include "sim/pty_board_server.h"

namespace {

using velmora::Board;
using velmora::BoardFaults;

constexpr const char* kUsage =
    "Usage: velmora-board [options]\n"
    "Serves a virtual Korda board on a pseudo-terminal. The first line printed is the\n"
    "device to open (such as /dev/pts/3); the board serves until SIGINT or SIGTERM, and\n"
    "SIGUSR1 resets it to its bootstrap loader.\n"
    "\n"
    "  --home DIR            program folder (default: $VELMORA_HOME, else the folder of\n"
    "                        this program)\n"
    "  --type NAME           controller type from mctypes.dat (default TOLVANE)\n"
    "  --kline               one-wire K-line: every byte is echoed, K-line images expected\n"
    "  --trace FILE          write every instruction the board's processor runs to FILE:\n"
    "                        address, bytes, instruction, the registers it changed\n"
    "  --line-rate BAUD      every byte takes 10/BAUD seconds in each direction\n"
    "Faults (byte numbers N count the bytes the board sends, from 0):\n"
    "  --silent              the board never answers\n"
    "  --drop-output N       byte N is lost\n"
    "  --replace-output N:HEX  byte N is replaced by HEX\n"
    "  --delay-output N:MS   byte N comes MS milliseconds late\n"
    "  --short-read N        the first block read delivers N bytes fewer\n"
    "  --bad-checksum        the first checksum answer is wrong\n"
    "  --help                this text\n";

volatile sig_atomic_t stopRequested = 0;
volatile sig_atomic_t resetRequested = 0;

extern "C" void onStop(int) {
  stopRequested = 1;
}
extern "C" void onReset(int) {
  resetRequested = 1;
}

struct Options {
  std::string home;
  std::string type = "TOLVANE";
  std::string trace;
  bool kline = false;
  int32_t lineRate = 0;
  bool silent = false;
  bool badChecksum = false;
  size_t shortRead = 0;
  std::vector<size_t> drops;
  std::vector<std::pair<size_t, uint8_t>> replacements;
  std::vector<std::pair<size_t, long>> delays;
};

template <typename Number>
std::optional<Number> parseNumber(std::string_view text, int base = 10) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

// "N:VALUE" with N decimal and VALUE in the given base.
template <typename Value>
std::optional<std::pair<size_t, Value>> parsePair(std::string_view text, int valueBase) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto index = parseNumber<size_t>(text.substr(0, colon));
  const auto value = parseNumber<Value>(text.substr(colon + 1), valueBase);
  if (!index || !value) return std::nullopt;
  return std::pair{*index, *value};
}

int usageError(const std::string& what) {
  std::fprintf(stderr, "velmora-board: %s\n\n%s", what.c_str(), kUsage);
  return 2;
}

// Fills options from the arguments; an exit status when the program ends here.
std::optional<int> parseArguments(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    const auto value = [&]() -> std::optional<std::string_view> {
      if (i + 1 >= argc) return std::nullopt;
      return std::string_view(argv[++i]);
    };
    if (arg == "--help" || arg == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (arg == "--kline") {
      options.kline = true;
    } else if (arg == "--silent") {
      options.silent = true;
    } else if (arg == "--bad-checksum") {
      options.badChecksum = true;
    } else if (arg == "--home" || arg == "--type" || arg == "--trace") {
      const auto text = value();
      if (!text || text->empty()) return usageError(std::string(arg) + " needs a value");
      (arg == "--home" ? options.home : arg == "--type" ? options.type : options.trace) =
          std::string(*text);
    } else if (arg == "--line-rate") {
      const auto text = value();
      const auto baud = text ? parseNumber<int32_t>(*text) : std::nullopt;
      if (!baud || *baud <= 0) return usageError("--line-rate needs a baud rate above 0");
      options.lineRate = *baud;
    } else if (arg == "--drop-output" || arg == "--short-read") {
      const auto text = value();
      const auto number = text ? parseNumber<size_t>(*text) : std::nullopt;
      if (!number) return usageError(std::string(arg) + " needs a number");
      if (arg == "--drop-output") {
        options.drops.push_back(*number);
      } else {
        options.shortRead = *number;
      }
    } else if (arg == "--replace-output") {
      const auto text = value();
      const auto pair = text ? parsePair<uint8_t>(*text, 16) : std::nullopt;
      if (!pair) return usageError("--replace-output needs N:HEX, such as 0:AB");
      options.replacements.push_back(*pair);
    } else if (arg == "--delay-output") {
      const auto text = value();
      const auto pair = text ? parsePair<long>(*text, 10) : std::nullopt;
      if (!pair || pair->second < 0) return usageError("--delay-output needs N:MS, such as 0:500");
      options.delays.push_back(*pair);
    } else {
      return usageError("unknown argument " + std::string(arg));
    }
  }
  return std::nullopt;
}

void armFaults(const Options& options, BoardFaults& faults) {
  faults.SetSilent(options.silent);
  for (size_t nth : options.drops) faults.DropOutput(nth);
  for (const auto& [nth, byte] : options.replacements) faults.ReplaceOutput(nth, byte);
  for (const auto& [nth, ms] : options.delays) {
    faults.DelayOutput(nth, std::chrono::milliseconds(ms));
  }
  if (options.shortRead > 0) faults.ShortenNextRead(options.shortRead);
  if (options.badChecksum) faults.CorruptNextChecksum();
}

}  // namespace

int main(int argc, char** argv) {
  velmora::UseFineTimerSlack();
  Options options;
  if (const auto exitStatus = parseArguments(argc, argv, options)) return *exitStatus;

  const auto home = velmora::ProgramFolder(options.home, argv[0]);
  velmora::BoardImages images;
  if (options.kline) images = {"MCProg\\LOADK.HEX", "MCProg\\VELMORAK.HEX"};
  velmora::MessageLog log;
  auto config = velmora::LoadBoardConfig(home, options.type, images, log);
  if (!config) {
    for (int i = 0; i < log.List().Count(); ++i) {
      if (!log.List().Entry(i).empty()) std::fprintf(stderr, "%s\n", log.List().Entry(i).c_str());
    }
    std::fprintf(stderr, "velmora-board: no %s board in %s\n", options.type.c_str(), home.c_str());
    return 1;
  }
  config->kline = options.kline;
  Board board(*config);
  std::ofstream trace;
  if (!options.trace.empty()) {
    trace.open(options.trace);
    if (!trace) {
      std::fprintf(stderr, "velmora-board: cannot write the trace to %s\n", options.trace.c_str());
      return 1;
    }
    board.SetTrace(&trace);
  }
  armFaults(options, board.faults());

  // The signals are blocked except while the server sleeps, so that one arriving between
  // the check of the flags and the sleep still ends the sleep.
  sigset_t handled;
  sigemptyset(&handled);
  sigaddset(&handled, SIGINT);
  sigaddset(&handled, SIGTERM);
  sigaddset(&handled, SIGUSR1);
  sigset_t waitMask;
  sigprocmask(SIG_BLOCK, &handled, &waitMask);
  sigdelset(&waitMask, SIGINT);
  sigdelset(&waitMask, SIGTERM);
  sigdelset(&waitMask, SIGUSR1);
  struct sigaction action {};
  action.sa_handler = onStop;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = onReset;
  sigaction(SIGUSR1, &action, nullptr);
  // A reader of the first line that went away must not end the board.
  signal(SIGPIPE, SIG_IGN);

  velmora::PtyBoardServer server(board, options.lineRate);
  std::string error;
  if (!server.Open(error)) {
    std::fprintf(stderr, "velmora-board: no pseudo-terminal: %s\n", error.c_str());
    return 1;
  }
  std::printf("%s\n", server.DevicePath().c_str());
  std::fflush(stdout);
  std::fprintf(stderr, "velmora-board: %s board%s on %s (program folder %s)", options.type.c_str(),
               options.kline ? " on a K-line" : "", server.DevicePath().c_str(), home.c_str());
  if (options.lineRate > 0) std::fprintf(stderr, ", line rate %d baud", options.lineRate);
  std::fprintf(stderr, "; SIGUSR1 resets it, Ctrl-C ends it\n");

  while (!stopRequested) {
    if (resetRequested) {
      resetRequested = 0;
      board.ResetToBootstrap();
    }
    if (!server.Serve(std::chrono::milliseconds(500), &waitMask)) {
      std::fprintf(stderr, "velmora-board: the pseudo-terminal failed\n");
      return 1;
    }
  }
  return 0;
}
