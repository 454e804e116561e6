// A virtual board at the far end of a pseudo-terminal, so that the host program (or any
// terminal program) talks to it through an ordinary serial device.
//
// The server holds the device side of the pair open itself: the pair then outlives the
// host closing its port, and the host can open it again and find the board as it left it.
#pragma once

#include <signal.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

#include "sim/board.h"

namespace velmora {

class PtyBoardServer {
 public:
  using Clock = std::chrono::steady_clock;

  // With lineRateBaud above 0 every byte takes 10 / baud seconds on the line in each
  // direction (8N1), as on a real line; with 0 bytes move as fast as the host takes them.
  explicit PtyBoardServer(Board& board, int32_t lineRateBaud = 0);
  ~PtyBoardServer();
  PtyBoardServer(const PtyBoardServer&) = delete;
  PtyBoardServer& operator=(const PtyBoardServer&) = delete;

  // Creates the pseudo-terminal pair in raw mode; false with the reason in error.
  bool Open(std::string& error);
  // The device the host opens, such as /dev/pts/3.
  const std::string& DevicePath() const { return devicePath_; }

  // One turn: hands the board what has arrived, sends what is due, then sleeps until the
  // host sends, a byte falls due or maxWait has passed. While sleeping the signal mask is
  // waitMask (when given), so a signal blocked outside the sleep can end it without a
  // race. False when the pseudo-terminal failed.
  bool Serve(std::chrono::milliseconds maxWait, const sigset_t* waitMask = nullptr);

  // Bytes waiting to reach the board or the host (for tests of the line model).
  size_t PendingToBoard() const { return toBoard_.size(); }
  size_t PendingToHost() const { return toHost_.size(); }

 private:
  struct TimedByte {
    uint8_t value;
    Clock::time_point due;  // when the byte has crossed the line
  };

  Clock::duration byteTime() const;
  void deliverDue(Clock::time_point now);
  bool sendDue(Clock::time_point now);
  // A started program runs for the time that has passed; what it sends goes on the line.
  void advanceBoard(Clock::time_point now);
  bool receive();

  Board& board_;
  int32_t lineRateBaud_;
  int master_ = -1;
  int device_ = -1;  // the host's side, held open by the server too
  std::string devicePath_;
  std::deque<TimedByte> toBoard_;
  std::deque<TimedByte> toHost_;
  bool hostBlocked_ = false;  // the host's input queue is full; wait until it reads
  Clock::time_point hostLineFree_{};
  Clock::time_point boardLineFree_{};
  Clock::time_point boardClock_{};  // how far a started program on the board has run
};

}  // namespace velmora
