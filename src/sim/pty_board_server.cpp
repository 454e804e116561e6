#include "sim/pty_board_server.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace velmora {

namespace {

std::string failure(const char* call) {
  return std::string(call) + ": " + std::strerror(errno);
}

bool setCloseOnExec(int fd) {
  return fcntl(fd, F_SETFD, FD_CLOEXEC) == 0;
}

// No line discipline at all: every byte passes as it is, nothing is echoed or translated.
bool makeRaw(int fd) {
  termios tio{};
  if (tcgetattr(fd, &tio) != 0) return false;
  tio.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL |
                                        IXON | IXOFF);
  tio.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  tio.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
  tio.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB);
  tio.c_cflag |= CS8 | CREAD | CLOCAL;
  tio.c_cc[VMIN] = 1;
  tio.c_cc[VTIME] = 0;
  return tcsetattr(fd, TCSANOW, &tio) == 0;
}

timespec toTimespec(std::chrono::nanoseconds wait) {
  wait = std::max(wait, std::chrono::nanoseconds(0));
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((wait - seconds).count())};
}

}  // namespace

PtyBoardServer::PtyBoardServer(Board& board, int32_t lineRateBaud)
    : board_(board), lineRateBaud_(lineRateBaud) {}

PtyBoardServer::~PtyBoardServer() {
  if (device_ >= 0) close(device_);
  if (master_ >= 0) close(master_);
}

bool PtyBoardServer::Open(std::string& error) {
  master_ = posix_openpt(O_RDWR | O_NOCTTY);
  if (master_ < 0) {
    error = failure("posix_openpt");
    return false;
  }
  if (grantpt(master_) != 0 || unlockpt(master_) != 0) {
    error = failure("grantpt/unlockpt");
    return false;
  }
  const char* name = ptsname(master_);
  if (name == nullptr) {
    error = failure("ptsname");
    return false;
  }
  devicePath_ = name;
  device_ = open(name, O_RDWR | O_NOCTTY);
  if (device_ < 0) {
    error = failure(name);
    return false;
  }
  // The host's serial port sets its own modes when it opens the device; raw mode here
  // covers a terminal program that does not, and is what the device returns to when the
  // host restores the modes it found.
  if (!makeRaw(device_)) {
    error = failure("tcsetattr");
    return false;
  }
  const int flags = fcntl(master_, F_GETFL);
  if (flags < 0 || fcntl(master_, F_SETFL, flags | O_NONBLOCK) != 0 || !setCloseOnExec(master_) ||
      !setCloseOnExec(device_)) {
    error = failure("fcntl");
    return false;
  }
  return true;
}

PtyBoardServer::Clock::duration PtyBoardServer::byteTime() const {
  if (lineRateBaud_ <= 0) return Clock::duration::zero();
  return std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double>(10.0 / lineRateBaud_));
}

void PtyBoardServer::deliverDue(Clock::time_point now) {
  while (!toBoard_.empty() && toBoard_.front().due <= now) {
    const TimedByte in = toBoard_.front();
    toBoard_.pop_front();
    board_.Receive(in.value);
    // The board answers once the byte is in, and its line carries one byte at a time.
    for (const auto& out : board_.TakeOutput()) {
      boardLineFree_ = std::max(boardLineFree_, in.due) + byteTime() + out.delay;
      toHost_.push_back({out.value, boardLineFree_});
    }
  }
}

void PtyBoardServer::advanceBoard(Clock::time_point now) {
  constexpr auto kLongestStretch = std::chrono::milliseconds(100);
  if (board_.programRunning() && now > boardClock_ && boardClock_ != Clock::time_point{}) {
    board_.Advance(std::chrono::duration_cast<std::chrono::microseconds>(
        std::min<Clock::duration>(now - boardClock_, kLongestStretch)));
    for (const auto& out : board_.TakeOutput()) {
      boardLineFree_ = std::max(boardLineFree_, now) + byteTime() + out.delay;
      toHost_.push_back({out.value, boardLineFree_});
    }
  }
  boardClock_ = now;
}

bool PtyBoardServer::sendDue(Clock::time_point now) {
  if (hostBlocked_) return true;
  std::array<uint8_t, 4096> buffer;
  size_t count = 0;
  while (count < buffer.size() && count < toHost_.size() && toHost_[count].due <= now) {
    buffer[count] = toHost_[count].value;
    ++count;
  }
  if (count == 0) return true;
  const ssize_t written = write(master_, buffer.data(), count);
  if (written < 0) {
    if (errno == EAGAIN || errno == EWOULDBLOCK) {
      hostBlocked_ = true;
      return true;
    }
    return errno == EINTR;
  }
  toHost_.erase(toHost_.begin(), toHost_.begin() + written);
  hostBlocked_ = static_cast<size_t>(written) < count;
  return true;
}

bool PtyBoardServer::receive() {
  std::array<uint8_t, 4096> buffer;
  const ssize_t count = read(master_, buffer.data(), buffer.size());
  if (count < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
  if (count == 0) return false;
  // The bytes arrive at once through the pseudo-terminal; the line model spaces them out.
  const auto arrival = Clock::now();
  for (ssize_t i = 0; i < count; ++i) {
    hostLineFree_ = std::max(hostLineFree_, arrival) + byteTime();
    toBoard_.push_back({buffer[static_cast<size_t>(i)], hostLineFree_});
  }
  return true;
}

bool PtyBoardServer::Serve(std::chrono::milliseconds maxWait, const sigset_t* waitMask) {
  if (master_ < 0) return false;
  const auto start = Clock::now();
  auto wake = start + maxWait;
  if (!toBoard_.empty()) wake = std::min(wake, toBoard_.front().due);
  if (!toHost_.empty() && !hostBlocked_) wake = std::min(wake, toHost_.front().due);
  // A running program is given the processor every few milliseconds.
  if (board_.programRunning()) wake = std::min(wake, start + std::chrono::milliseconds(2));

  pollfd pollFd{master_, static_cast<short>(POLLIN | (hostBlocked_ ? POLLOUT : 0)), 0};
  const timespec timeout = toTimespec(wake - start);
  const int ready = ppoll(&pollFd, 1, &timeout, waitMask);
  if (ready < 0 && errno != EINTR) return false;
  if (ready > 0) {
    if ((pollFd.revents & (POLLERR | POLLNVAL)) != 0) return false;
    if ((pollFd.revents & POLLOUT) != 0) hostBlocked_ = false;
    if ((pollFd.revents & POLLIN) != 0 && !receive()) return false;
  }
  const auto now = Clock::now();
  deliverDue(now);
  advanceBoard(now);
  return sendDue(now);
}

}  // namespace velmora
