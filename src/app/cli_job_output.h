// How a job talks to the person or the program that started it. On a terminal each step
// shows one progress line and only error lines come through; otherwise every message line
// is printed as it comes, plainly. --quiet leaves errors only; with --json the report owns
// standard output and everything else goes to standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include "app/cli_exit_class.h"
#include "app/cli_job_report.h"

namespace velmora {

using JobClock = std::chrono::steady_clock;

struct OutputMode {
  bool terminal = false;  // standard error is a terminal
  bool quiet = false;
  bool json = false;
};

// "program   32768 / 65536 bytes   50%   16.0 KB/s   0:02 left"; rate and time left
// only once some time has passed and some bytes have moved.
std::string ProgressLine(std::string_view step, int64_t done, int64_t total,
                         std::chrono::milliseconds elapsed);
// "program   65536 bytes   4.10 s   ok" (or the failure class instead of "ok").
std::string StepLine(const JobStep& step);

class JobOutput {
 public:
  JobOutput(OutputMode mode, std::function<JobClock::time_point()> now);

  // A line of the session's message log.
  void MessageLine(const std::string& line);
  // A line the job itself reports as its result (info, mismatches): shown unless quiet.
  void Result(const std::string& line);
  // Progress of the running step, as the session reports it.
  void StepBegins(std::string_view name, std::string_view followedOperation);
  void Progress(std::string_view operation, int64_t done, int64_t total);
  void StepEnds(const JobStep& step);
  // --wait: seconds left before the job gives up on the board.
  void Countdown(int secondsLeft);
  // The job's closing error line; always shown, on standard error.
  void Error(ExitClass exitClass, std::string_view job, const std::string& text);
  // The JSON report, on standard output.
  void Report(const std::string& json);

 private:
  std::FILE* messages() const { return mode_.json ? stderr : stdout; }
  bool liveLine() const { return mode_.terminal && !mode_.quiet; }
  void clearLiveLine();
  void printLine(std::FILE* stream, const std::string& line);

  OutputMode mode_;
  std::function<JobClock::time_point()> now_;
  std::string step_;
  std::string followed_;
  JobClock::time_point stepStart_{};
  JobClock::time_point lastDrawn_{};
  bool lineShown_ = false;
  int lastCountdown_ = -1;
};

}  // namespace velmora
