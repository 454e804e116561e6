#include "sim/board_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace velmora {

namespace {

using Clock = std::chrono::steady_clock;

int statusOf(int waitStatus) {
  if (WIFEXITED(waitStatus)) return WEXITSTATUS(waitStatus);
  if (WIFSIGNALED(waitStatus)) return 128 + WTERMSIG(waitStatus);
  return -1;
}

}  // namespace

BoardProcess::~BoardProcess() {
  Stop();
}

bool BoardProcess::Start(const std::string& program, const std::vector<std::string>& arguments,
                         std::chrono::milliseconds timeout, std::string& error) {
  Stop();
  devicePath_.clear();
  errorText_.clear();
  std::vector<std::string> words{program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  // Built before the fork: the child only calls what is safe between fork and exec.
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  int outPipe[2];
  int errPipe[2];
  if (pipe(outPipe) != 0) {
    error = std::string("pipe: ") + std::strerror(errno);
    return false;
  }
  if (pipe(errPipe) != 0) {
    error = std::string("pipe: ") + std::strerror(errno);
    close(outPipe[0]);
    close(outPipe[1]);
    return false;
  }
  for (int fd : {outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) fcntl(fd, F_SETFD, FD_CLOEXEC);
  pid_ = fork();
  if (pid_ < 0) {
    error = std::string("fork: ") + std::strerror(errno);
    for (int fd : {outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) close(fd);
    return false;
  }
  if (pid_ == 0) {
    dup2(outPipe[1], STDOUT_FILENO);
    dup2(errPipe[1], STDERR_FILENO);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(outPipe[1]);
  close(errPipe[1]);
  output_ = outPipe[0];
  errors_ = errPipe[0];
  // The child writes only a few lines there; they wait in the pipe until it ends.
  fcntl(errors_, F_SETFL, fcntl(errors_, F_GETFL) | O_NONBLOCK);

  const auto deadline = Clock::now() + timeout;
  std::string line;
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) {
      error =
          "no device line from " + program + " within " + std::to_string(timeout.count()) + " ms";
      break;
    }
    pollfd pollFd{output_, POLLIN, 0};
    const int ready = poll(&pollFd, 1, static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) continue;
    char c = 0;
    const ssize_t got = read(output_, &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      error = program + " ended before it named its device";
      break;
    }
    if (c == '\n') {
      devicePath_ = line;
      return true;
    }
    line.push_back(c);
  }
  Stop();
  return false;
}

bool BoardProcess::Running() {
  if (pid_ <= 0) return false;
  int waitStatus = 0;
  if (waitpid(pid_, &waitStatus, WNOHANG) == pid_) {
    status_ = statusOf(waitStatus);
    pid_ = -1;
    return false;
  }
  return true;
}

bool BoardProcess::Signal(int signal) {
  return Running() && kill(pid_, signal) == 0;
}

int BoardProcess::Stop(std::chrono::milliseconds grace) {
  if (Running()) {
    kill(pid_, SIGTERM);
    const auto deadline = Clock::now() + grace;
    while (Running() && Clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (Running()) {
      kill(pid_, SIGKILL);
      int waitStatus = 0;
      while (waitpid(pid_, &waitStatus, 0) < 0 && errno == EINTR) {
      }
      status_ = statusOf(waitStatus);
      pid_ = -1;
    }
  }
  if (output_ >= 0) {
    close(output_);
    output_ = -1;
  }
  if (errors_ >= 0) {
    char buffer[1024];
    ssize_t got = 0;
    while ((got = read(errors_, buffer, sizeof buffer)) > 0)
      errorText_.append(buffer, static_cast<size_t>(got));
    close(errors_);
    errors_ = -1;
  }
  const int status = status_;
  if (status >= 0) lastExit_ = status;
  status_ = -1;
  return status;
}

}  // namespace velmora
