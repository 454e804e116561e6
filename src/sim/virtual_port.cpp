#include "sim/virtual_port.h"

#include <algorithm>
#include <thread>

namespace velmora {

bool VirtualPort::Open(const std::string&, const LineSettings& settings) {
  openFault_ = refusal_;
  if (refusal_.problem != PortProblem::None) return false;
  hangUpBudget_.reset();
  hungUpAt_.reset();
  settings_ = settings;
  open_ = true;
  return true;
}

bool VirtualPort::Configure(const LineSettings& settings) {
  settings_ = settings;
  return open_;
}

VirtualPort::Clock::duration VirtualPort::byteTime() const {
  if (!lineRate_ || settings_.baudRate <= 0) return Clock::duration::zero();
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(10.0 / settings_.baudRate));
}

void VirtualPort::collect(Clock::time_point after) {
  for (const auto& out : board_.TakeOutput()) {
    if (hangUpBudget_ && *hangUpBudget_ == 0) continue;  // the line is dead
    targetLineFree_ = std::max(targetLineFree_, after) + byteTime() + out.delay;
    incoming_.push_back({out.value, targetLineFree_});
    if (hangUpBudget_ && --*hangUpBudget_ == 0) hungUpAt_ = targetLineFree_;
  }
}

void VirtualPort::advanceBoard(Clock::time_point now) {
  // A host that looked away for long does not make the board catch up in one go.
  constexpr auto kLongestStretch = std::chrono::milliseconds(100);
  if (board_.programRunning() && now > boardClock_ && boardClock_ != Clock::time_point{}) {
    board_.Advance(std::chrono::duration_cast<std::chrono::microseconds>(
        std::min<Clock::duration>(now - boardClock_, kLongestStretch)));
  }
  boardClock_ = now;
}

void VirtualPort::HangUpAfter(size_t bytes) {
  collect(Clock::now());  // what the board has sent so far is on the wire already
  hangUpBudget_ = bytes;
  if (bytes == 0) hungUpAt_ = Clock::now();
}

PortFault VirtualPort::Fault() const {
  if (openFault_.problem != PortProblem::None) return openFault_;
  if (hungUpAt_ && *hungUpAt_ <= Clock::now()) return {PortProblem::HungUp, {}};
  return {};
}

bool VirtualPort::Write(std::span<const uint8_t> bytes) {
  if (!open_ || Fault().problem == PortProblem::HungUp) return false;
  const auto now = Clock::now();
  advanceBoard(now);
  for (uint8_t byte : bytes) {
    hostLineFree_ = std::max(hostLineFree_, now) + byteTime();
    collect(now);  // whatever the board said before this byte
    board_.Receive(byte);
    collect(hostLineFree_);
  }
  return true;
}

// The output buffer is empty once the last byte has moved into the transmitter, one byte
// time before it has left the line: a byte written then follows it without a gap, as on
// a real serial interface.
bool VirtualPort::WaitForBytesWritten(std::chrono::milliseconds timeout) {
  if (!open_) return false;
  const auto emptied = hostLineFree_ - byteTime();
  const auto until = std::min(emptied, Clock::now() + timeout);
  if (until > Clock::now()) std::this_thread::sleep_until(until);
  return emptied <= Clock::now();
}

size_t VirtualPort::BytesAvailable() {
  if (!open_) return 0;
  const auto now = Clock::now();
  advanceBoard(now);
  collect(now);
  return static_cast<size_t>(std::count_if(incoming_.begin(), incoming_.end(),
                                           [now](const InByte& b) { return b.arrival <= now; }));
}

std::vector<uint8_t> VirtualPort::Read(size_t count) {
  std::vector<uint8_t> bytes;
  const auto now = Clock::now();
  while (bytes.size() < count && !incoming_.empty() && incoming_.front().arrival <= now) {
    bytes.push_back(incoming_.front().value);
    incoming_.pop_front();
  }
  return bytes;
}

void VirtualPort::DiscardInput() {
  const auto now = Clock::now();
  collect(now);
  while (!incoming_.empty() && incoming_.front().arrival <= now) incoming_.pop_front();
}

void VirtualPort::WaitForInput(std::chrono::milliseconds timeout) {
  const auto now = Clock::now();
  advanceBoard(now);
  collect(now);
  auto until = now + timeout;
  // Until the next byte still on the wire arrives (bytes already here do not count).
  for (const auto& byte : incoming_) {
    if (byte.arrival > now) {
      until = std::min(until, byte.arrival);
      break;
    }
  }
  if (hungUpAt_) until = std::min(until, std::max(*hungUpAt_, now));
  // A running program may say something at any moment: look again every few milliseconds.
  constexpr auto kProgramSlice = std::chrono::milliseconds(2);
  while (board_.programRunning() && Clock::now() + kProgramSlice < until) {
    std::this_thread::sleep_for(kProgramSlice);
    const auto later = Clock::now();
    advanceBoard(later);
    const size_t before = incoming_.size();
    collect(later);
    if (incoming_.size() != before) return;
  }
  std::this_thread::sleep_until(until);
}

void VirtualPort::Poll() {
  if (open_ && notify_ && BytesAvailable() > 0) NotifyReceived();
}

}  // namespace velmora
