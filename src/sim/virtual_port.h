// A serial port wired in process to a virtual board. Without the line-rate model every
// answer is there at once; with it, each byte takes 10 / baud seconds (8N1) on the wire in
// either direction, so transfers take as long as on a real line. A program started on the
// board runs as the port's time passes: whenever the host writes, looks or waits.
#pragma once

#include <chrono>
#include <deque>
#include <optional>

#include "link/serial_port.h"
#include "sim/board.h"

namespace velmora {

class VirtualPort : public SerialPort {
 public:
  using Clock = std::chrono::steady_clock;

  explicit VirtualPort(Board& board) : board_(board) {}

  void SetLineRateModel(bool on) { lineRate_ = on; }
  // Refuse to open, as a port held by another program would, or for the given reason.
  void SetUnavailable(bool unavailable) {
    SetUnavailable(unavailable ? PortFault{PortProblem::InUse, {}} : PortFault{});
  }
  void SetUnavailable(PortFault refusal) { refusal_ = std::move(refusal); }
  // The line goes dead after the board's next bytes bytes, as when the adapter is pulled
  // or the board's program ends: later output is lost, writes fail, and Fault() says
  // HungUp once those bytes have arrived. Opening the port again ends it.
  void HangUpAfter(size_t bytes);
  Board& board() { return board_; }
  const LineSettings& settings() const { return settings_; }

  bool Open(const std::string& device, const LineSettings& settings) override;
  void Close() override { open_ = false; }
  bool IsOpen() const override { return open_; }
  bool Configure(const LineSettings& settings) override;
  bool Write(std::span<const uint8_t> bytes) override;
  bool WaitForBytesWritten(std::chrono::milliseconds timeout) override;
  size_t BytesAvailable() override;
  std::vector<uint8_t> Read(size_t count) override;
  void DiscardInput() override;
  void WaitForInput(std::chrono::milliseconds timeout) override;
  void SetReceiveNotification(bool enabled) override { notify_ = enabled; }
  PortFault Fault() const override;

  // The event loop's turn: hands arrived bytes to the received-byte notification.
  void Poll() override;

 private:
  struct InByte {
    uint8_t value;
    Clock::time_point arrival;
  };

  Clock::duration byteTime() const;
  // Moves what the board has sent onto the wire, after the given moment.
  void collect(Clock::time_point after);
  // A started program on the board runs for the time that has passed since the last look.
  void advanceBoard(Clock::time_point now);

  Board& board_;
  LineSettings settings_;
  bool open_ = false;
  PortFault refusal_;
  PortFault openFault_;
  std::optional<size_t> hangUpBudget_;         // board bytes that still cross the line
  std::optional<Clock::time_point> hungUpAt_;  // when the line went dead
  bool notify_ = false;
  bool lineRate_ = false;
  std::deque<InByte> incoming_;
  Clock::time_point hostLineFree_{};    // when the host's last byte has reached the board
  Clock::time_point targetLineFree_{};  // when the board's last byte reaches the host
  Clock::time_point boardClock_{};      // how far the board's program has run
};

}  // namespace velmora
