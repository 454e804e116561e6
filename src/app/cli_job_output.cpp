#include "app/cli_job_output.h"

#include <cinttypes>

namespace velmora {
namespace {

// A live line redrawn more often than this only flickers.
constexpr std::chrono::milliseconds kRedrawPeriod{100};

std::string format(const char* pattern, auto... values) {
  char text[160];
  std::snprintf(text, sizeof text, pattern, values...);
  return text;
}

std::string minutesAndSeconds(int64_t seconds) {
  return format("%" PRId64 ":%02" PRId64, seconds / 60, seconds % 60);
}

}  // namespace

std::string ProgressLine(std::string_view step, int64_t done, int64_t total,
                         std::chrono::milliseconds elapsed) {
  const int64_t percent = total > 0 ? done * 100 / total : 100;
  std::string line = format("%-9.*s %" PRId64 " / %" PRId64 " bytes  %3" PRId64 "%%",
                            static_cast<int>(step.size()), step.data(), done, total, percent);
  if (elapsed.count() <= 0 || done <= 0) return line;
  const double perSecond =
      static_cast<double>(done) * 1000.0 / static_cast<double>(elapsed.count());
  line += format("  %.1f KB/s", perSecond / 1024.0);
  const auto left = static_cast<int64_t>(static_cast<double>(total - done) / perSecond + 0.5);
  line += "  " + minutesAndSeconds(left) + " left";
  return line;
}

std::string StepLine(const JobStep& step) {
  const std::string result = step.result == ExitClass::Success
                                 ? "ok"
                                 : "failed (" + std::string(ExitClassName(step.result)) + ")";
  std::string line = format("%-9s", step.name.c_str());
  if (step.bytes > 0) line += format(" %" PRId64 " bytes ", step.bytes);
  line += format(" %.2f s  ", static_cast<double>(step.duration.count()) / 1000.0) + result;
  return line;
}

JobOutput::JobOutput(OutputMode mode, std::function<JobClock::time_point()> now)
    : mode_(mode), now_(std::move(now)) {}

void JobOutput::clearLiveLine() {
  if (!lineShown_) return;
  std::fputs("\r\033[K", stderr);
  lineShown_ = false;
}

void JobOutput::printLine(std::FILE* stream, const std::string& line) {
  clearLiveLine();
  std::fputs(line.c_str(), stream);
  std::fputc('\n', stream);
  std::fflush(stream);
}

void JobOutput::MessageLine(const std::string& line) {
  const bool error = line.starts_with("*ERROR");
  if (mode_.quiet || liveLine()) {
    if (error) printLine(stderr, line);
    return;
  }
  printLine(messages(), line);
}

void JobOutput::Result(const std::string& line) {
  if (!mode_.quiet) printLine(messages(), line);
}

void JobOutput::StepBegins(std::string_view name, std::string_view followedOperation) {
  step_ = std::string(name);
  followed_ = std::string(followedOperation);
  stepStart_ = now_();
  lastDrawn_ = {};
  lastCountdown_ = -1;
}

void JobOutput::Progress(std::string_view operation, int64_t done, int64_t total) {
  // A step runs other operations on the way (programming loads its driver first); the
  // line follows the step's own.
  if (!liveLine() || operation != followed_) return;
  const auto now = now_();
  if (done < total && now - lastDrawn_ < kRedrawPeriod) return;
  lastDrawn_ = now;
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now - stepStart_);
  std::fputs(("\r\033[K" + ProgressLine(step_, done, total, elapsed)).c_str(), stderr);
  std::fflush(stderr);
  lineShown_ = true;
}

void JobOutput::StepEnds(const JobStep& step) {
  if (mode_.quiet) return;
  printLine(liveLine() ? stderr : messages(), (liveLine() ? "" : "[step] ") + StepLine(step));
}

void JobOutput::Countdown(int secondsLeft) {
  if (mode_.quiet || secondsLeft == lastCountdown_) return;
  lastCountdown_ = secondsLeft;
  const std::string text = "waiting for the board: " + std::to_string(secondsLeft) + " s left";
  if (liveLine()) {
    std::fputs(("\r\033[K" + text).c_str(), stderr);
    std::fflush(stderr);
    lineShown_ = true;
  } else {
    printLine(messages(), "[wait] " + text);
  }
}

void JobOutput::Error(ExitClass exitClass, std::string_view job, const std::string& text) {
  printLine(stderr, "velmora-cli: " + std::string(job) + " failed (" +
                        std::string(ExitClassName(exitClass)) + "): " + text);
}

void JobOutput::Report(const std::string& json) {
  clearLiveLine();
  std::fputs(json.c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace velmora
