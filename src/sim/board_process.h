// velmora-board run as a child process: tests and benchmarks start one, read the device
// it serves from its first line, and end it when they are done.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace velmora {

class BoardProcess {
 public:
  BoardProcess() = default;
  // Ends the child if it still runs.
  ~BoardProcess();
  BoardProcess(const BoardProcess&) = delete;
  BoardProcess& operator=(const BoardProcess&) = delete;

  // Starts program with the arguments and waits up to timeout for its first line, the
  // device path. False with the reason in error (the child is ended then).
  bool Start(const std::string& program, const std::vector<std::string>& arguments,
             std::chrono::milliseconds timeout, std::string& error);
  const std::string& DevicePath() const { return devicePath_; }
  bool Running();
  // Sends a signal to the child; false when it no longer runs.
  bool Signal(int signal);
  // Asks the child to end (SIGTERM), waits up to grace, then kills it. Returns its exit
  // status, 128 + the signal when a signal ended it, or -1 when nothing was running.
  int Stop(std::chrono::milliseconds grace = std::chrono::milliseconds(2000));
  // The status the last child ended with (as Stop returns it), also after a failed Start.
  int LastExitStatus() const { return lastExit_; }
  // What the child wrote to its standard error, collected when it ended.
  const std::string& ErrorOutput() const { return errorText_; }

 private:
  pid_t pid_ = -1;
  int output_ = -1;  // the read end of the child's standard output
  int errors_ = -1;  // and of its standard error
  std::string errorText_;
  std::string devicePath_;
  int status_ = -1;
  int lastExit_ = -1;
};

}  // namespace velmora
