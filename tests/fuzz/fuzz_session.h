// A session for the command language targets: no target connected, no port that can be
// opened, the shipped register names, and a bound on how long one input may run.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "fuzz_support.h"
#include "session/session.h"

namespace velmora::fuzz {

// A program folder of this process with two small HEX files (demo_ram.hex and
// demo_flash.hex) that _load and _executescript may name.
const std::filesystem::path& FuzzProgramFolder();

// False for lines the fuzzer must not run: commands that wait (_delay, _pause), write or
// append files (_save, _compare with its report, _setlogfile, _writelogfile), end the
// program (_quit) or open a port (_connect, _reconnect, _send, _sendfile, _movemonitor),
// and any line naming a path that could leave the program folder ("/", "\", a drive).
bool SafeToRun(std::string_view line);

// The input's lines that are safe to run, joined with LF.
std::string SafeLines(std::string_view input);

class FuzzSession {
 public:
  // Scripts loop until aborted by design; one input gets this many message lines or this
  // much time, whichever ends first, before the abort is requested (and requested again
  // until the input ends, since a script started afterwards clears it).
  static constexpr long kMaxEventPasses = 2000;
  static constexpr std::chrono::milliseconds kMaxRunTime{300};

  FuzzSession();
  Session& session() { return *session_; }
  Interpreter& interpreter() { return session_->interpreter(); }
  // False once the input has used its time: a long run of costly commands over the whole
  // address space is slow, not hung.
  bool TimeLeft() const { return std::chrono::steady_clock::now() - started_ < kMaxRunTime; }

 private:
  QuietFrontend frontend_;
  std::unique_ptr<Session> session_;
  long eventPasses_ = 0;
  std::chrono::steady_clock::time_point started_;
  // Last, so that it stops before the session goes.
  std::jthread watchdog_;
};

}  // namespace velmora::fuzz
