// A serial port that plays a fixed exchange: the host must send the expected bytes in
// order, and each expectation met releases its reply, at once or after a delay. It lets
// a test state the exact conversation with the target, independent of the virtual board:
//
//   port.expect({0x31}).reply({0xAA, 0xEA});
//
// It also watches the received-byte notification, so that a test can tell whether the
// host talked to the line while the notification was on.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "link/serial_port.h"

namespace velmora::test {

class ScriptedPort : public SerialPort {
 public:
  using Bytes = std::vector<uint8_t>;
  using Clock = std::chrono::steady_clock;

  // The host sends these bytes next (at least one).
  ScriptedPort& expect(Bytes bytes) {
    if (bytes.empty()) return *this;
    steps_.push_back({std::move(bytes), {}});
    return *this;
  }
  // Answered as soon as the expectation before it is met.
  ScriptedPort& reply(Bytes bytes) {
    return replyAfter(std::chrono::milliseconds(0), std::move(bytes));
  }
  // Answered delay after the expectation before it is met (several replies of one
  // expectation each count from that moment). Before any expectation: from now.
  ScriptedPort& replyAfter(std::chrono::milliseconds delay, Bytes bytes) {
    if (steps_.empty()) return arrive(delay, bytes);
    steps_.back().replies.push_back({delay, std::move(bytes)});
    return *this;
  }
  // Bytes that reach the host after the given time from now, whatever it sends.
  ScriptedPort& arrive(std::chrono::milliseconds after, Bytes bytes) {
    queue(Clock::now() + after, bytes);
    return *this;
  }
  // The one-wire line: every byte the host sends comes back before any answer.
  void SetEcho(bool echo) { echo_ = echo; }
  // Writes fail, as on a port another program took away.
  void SetFailing(bool failing) { failing_ = failing; }

  // Every expected byte was sent, in order, and nothing else.
  bool allConsumed() const { return step_ == steps_.size() && matched_ == 0 && problems_.empty(); }
  // What went against the script, for the failure message.
  std::string Problems() const {
    std::ostringstream text;
    for (const auto& problem : problems_) text << problem << "\n";
    if (step_ < steps_.size()) text << "step " << step_ << " of " << steps_.size() << " not met\n";
    return text.str();
  }
  const Bytes& written() const { return written_; }
  // Bytes queued for the host, arrived or not.
  size_t Pending() const { return input_.size(); }

  bool receiving() const { return receiving_; }
  // Every switch of the notification, in order.
  const std::vector<bool>& notificationChanges() const { return changes_; }
  // Bytes written while the notification was on.
  size_t writesWhileReceiving() const { return writesWhileReceiving_; }

  bool Open(const std::string&, const LineSettings&) override {
    open_ = true;
    return true;
  }
  void Close() override { open_ = false; }
  bool IsOpen() const override { return open_; }
  bool Configure(const LineSettings&) override { return open_; }

  bool Write(std::span<const uint8_t> bytes) override {
    if (!open_ || failing_) return false;
    for (uint8_t byte : bytes) take(byte);
    return true;
  }
  bool WaitForBytesWritten(std::chrono::milliseconds) override { return open_ && !failing_; }
  size_t BytesAvailable() override {
    const auto now = Clock::now();
    return static_cast<size_t>(std::count_if(input_.begin(), input_.end(),
                                             [now](const InByte& b) { return b.arrival <= now; }));
  }
  std::vector<uint8_t> Read(size_t count) override {
    Bytes bytes;
    const auto now = Clock::now();
    while (bytes.size() < count && !input_.empty() && input_.front().arrival <= now) {
      bytes.push_back(input_.front().value);
      input_.pop_front();
    }
    return bytes;
  }
  void DiscardInput() override {
    const auto now = Clock::now();
    while (!input_.empty() && input_.front().arrival <= now) input_.pop_front();
  }
  // Sleeps until the next byte still on its way arrives, at most timeout; bytes already
  // waiting do not end the wait, so a block wait does not spin.
  void WaitForInput(std::chrono::milliseconds timeout) override {
    const auto now = Clock::now();
    auto until = now + timeout;
    for (const auto& byte : input_) {
      if (byte.arrival > now) {
        until = std::min(until, byte.arrival);
        break;
      }
    }
    std::this_thread::sleep_until(until);
  }
  void SetReceiveNotification(bool enabled) override {
    receiving_ = enabled;
    changes_.push_back(enabled);
  }

 private:
  struct Reply {
    std::chrono::milliseconds delay;
    Bytes bytes;
  };
  struct Step {
    Bytes expected;
    std::vector<Reply> replies;
  };
  struct InByte {
    uint8_t value;
    Clock::time_point arrival;
  };

  void queue(Clock::time_point arrival, const Bytes& bytes) {
    // The line keeps its order: nothing overtakes a byte already on its way.
    if (!input_.empty()) arrival = std::max(arrival, input_.back().arrival);
    for (uint8_t value : bytes) input_.push_back({value, arrival});
  }

  void take(uint8_t byte) {
    written_.push_back(byte);
    if (receiving_) ++writesWhileReceiving_;
    const auto now = Clock::now();
    if (echo_) queue(now, {byte});
    if (step_ >= steps_.size()) {
      problems_.push_back("unexpected byte " + hex(byte) + " after the script");
      return;
    }
    Step& step = steps_[step_];
    if (step.expected[matched_] != byte) {
      problems_.push_back("step " + std::to_string(step_) + " byte " + std::to_string(matched_) +
                          ": sent " + hex(byte) + ", expected " + hex(step.expected[matched_]));
      return;
    }
    if (++matched_ < step.expected.size()) return;
    for (const auto& answer : step.replies) queue(now + answer.delay, answer.bytes);
    matched_ = 0;
    ++step_;
  }

  static std::string hex(uint8_t byte) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[byte >> 4], kDigits[byte & 0x0F]};
  }

  std::vector<Step> steps_;
  size_t step_ = 0;
  size_t matched_ = 0;
  std::vector<std::string> problems_;
  Bytes written_;
  std::deque<InByte> input_;
  bool open_ = true;
  bool echo_ = false;
  bool failing_ = false;
  bool receiving_ = true;
  std::vector<bool> changes_;
  size_t writesWhileReceiving_ = 0;
};

}  // namespace velmora::test
