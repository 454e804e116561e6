#include "core/message_log.h"

#include <ctime>
#include <fstream>
#include <iomanip>
#include <locale>
#include <sstream>

#include "core/hex_text.h"

namespace velmora {
namespace {

// Date and time in the short format of the user's locale, falling back to the classic
// one when the environment names a locale this system lacks.
std::string formatNow(const char* format) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::ostringstream text;
  try {
    text.imbue(std::locale(""));
  } catch (const std::runtime_error&) {
    text.imbue(std::locale::classic());
  }
  text << std::put_time(&local, format);
  return text.str();
}

bool writeFile(const std::string& path, const std::string& content, std::ios::openmode mode) {
  std::ofstream file(path, std::ios::binary | mode);
  if (!file) return false;
  file << content;
  file.close();
  return !file.fail();
}

}  // namespace

MessageLog::MessageLog(std::string logPath) : logPath_(std::move(logPath)) {}

void MessageLog::Text2Buffer(std::string_view text) {
  const auto closed = list_.Append(text);
  for (const auto& line : closed) lineClosed(line);
  openLineMayHaveChanged();
  if (!LoggingOn() || closed.empty()) return;
  std::string lines;
  for (const auto& line : closed) {
    lines += line;
    lines += NewLine();
  }
  if (!appendToLog(lines)) reportLogFailure();
}

void MessageLog::WriteLine(std::string_view text) {
  std::string line(text);
  line += NewLine();
  Text2Buffer(line);
}

bool MessageLog::StartLogFile() {
  std::string header = "VELMORA LOG FILE";
  header += NewLine();
  header += "Date: " + formatNow("%x");
  header += NewLine();
  header += "Time: " + formatNow("%X");
  header += NewLine();
  header += NewLine();
  header += NewLine();
  logFailureReported_ = false;
  return writeFile(logPath_, header, std::ios::trunc);
}

bool MessageLog::SetLogFile(const std::string& path) {
  logPath_ = path;
  logEnable_ = 1;
  logFailureReported_ = false;
  return writeFile(logPath_, {}, std::ios::trunc);
}

bool MessageLog::WriteLogFile(std::string_view text) {
  std::string line(text);
  line += NewLine();
  return appendToLog(line);
}

bool MessageLog::appendToLog(const std::string& lines) {
  return writeFile(logPath_, lines, std::ios::app);
}

// A log that cannot be written is said once on the list (not in the log, which would
// fail again), so that a user never believes a log is being kept when it is not.
void MessageLog::reportLogFailure() {
  if (logFailureReported_) return;
  logFailureReported_ = true;
  std::string line = "*ERROR: Cannot write log file " + logPath_;
  line += NewLine();
  for (const auto& closed : list_.Append(line)) lineClosed(closed);
  openLineMayHaveChanged();
}

void MessageLog::openLineMayHaveChanged() {
  if (!openObserver_ || list_.OpenLine() == reportedOpenLine_) return;
  reportedOpenLine_ = list_.OpenLine();
  openObserver_(reportedOpenLine_);
}

void MessageLog::lineClosed(const std::string& line) {
  if (line.starts_with("*ERROR")) ++errorLines_;
  if (observer_) observer_(line);
}

}  // namespace velmora
