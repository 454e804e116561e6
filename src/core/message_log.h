// The message log: every progress and error line of the program goes through
// Text2Buffer into the message list and, when logging is on, into the log file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "core/message_list.h"

namespace velmora {

class MessageLog {
 public:
  explicit MessageLog(std::string logPath = "LOG.TXT");

  // Appends text (which may hold several CR LF separated lines) to the message list;
  // every line it closes is on disk in the log file when this returns.
  void Text2Buffer(std::string_view text);
  // Convenience for the common case: the text followed by CR LF.
  void WriteLine(std::string_view text);

  // Called with every line as soon as it is closed (the headless runner prints them).
  void SetLineObserver(std::function<void(const std::string&)> observer) { observer_ = std::move(observer); }

  // Called whenever the open line (the one not yet closed) changes: the terminal output of
  // a target program grows it character by character. An empty text: it was just closed.
  void SetOpenLineObserver(std::function<void(const std::string&)> observer) {
    openObserver_ = std::move(observer);
    reportedOpenLine_ = list_.OpenLine();
  }

  // Closed lines beginning with "*ERROR" so far: the headless runner fails its run on any.
  int ErrorLineCount() const { return errorLines_; }

  const MessageList& List() const { return list_; }
  MessageList& List() { return list_; }

  // Logging is on when the enable value is 1 (the value of the LOGFILE= preference).
  int32_t LogEnable() const { return logEnable_; }
  void SetLogEnable(int32_t enable) { logEnable_ = enable; }
  bool LoggingOn() const { return logEnable_ == 1; }
  const std::string& LogPath() const { return logPath_; }

  // At start with logging on: the log file is created anew with its header.
  bool StartLogFile();
  // _setlogfile: the file becomes the log file, logging is on, the file is created empty.
  bool SetLogFile(const std::string& path);
  // _writelogfile: appends the text as one line, whether or not logging is on.
  bool WriteLogFile(std::string_view text);

 private:
  bool appendToLog(const std::string& lines);
  void lineClosed(const std::string& line);
  void openLineMayHaveChanged();
  void reportLogFailure();

  MessageList list_;
  int32_t logEnable_ = 0;
  std::string logPath_;
  bool logFailureReported_ = false;
  int errorLines_ = 0;
  std::function<void(const std::string&)> observer_;
  std::function<void(const std::string&)> openObserver_;
  std::string reportedOpenLine_;
};

}  // namespace velmora
