#include "link/transport.h"

#include <algorithm>

#include "core/frontend.h"
#include "core/message_log.h"
#include "link/timeouts.h"

namespace velmora {

using Clock = std::chrono::steady_clock;

Transport::Transport(SerialPort& port, const CommunicationSettings& settings, Frontend& frontend,
                     MessageLog& log)
    : port_(port), settings_(settings), frontend_(frontend), log_(log) {}

std::chrono::milliseconds Transport::Timeout() const {
  return std::chrono::milliseconds(std::max(settings_.timeout, 1));
}

void Transport::portFailure() {
  if (portFailed_) return;
  portFailed_ = true;
  PortFault fault = port_.Fault();
  if (fault.problem == PortProblem::None && !port_.IsOpen()) fault = {PortProblem::NotOpen, {}};
  for (const auto& line : PortFaultLines(settings_.DevicePath(), fault)) log_.WriteLine(line);
  // A device that went away stays useless; the next open finds out whether it is back.
  if (fault.problem == PortProblem::HungUp) port_.Close();
  frontend_.MessageBox(kPortInUseMessage, BoxButtons::Ok, BoxIcon::Exclamation, {});
}

bool Transport::hungUp() {
  if (port_.Fault().problem != PortProblem::HungUp) return false;
  portFailure();
  return true;
}

bool Transport::waitFor(size_t n) {
  auto deadline = Clock::now() + Timeout();
  size_t seen = port_.BytesAvailable();
  while (seen < n) {
    if (hungUp()) return false;
    const auto now = Clock::now();
    if (now >= deadline) return false;
    const auto remaining = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
    port_.WaitForInput(std::min(remaining + std::chrono::milliseconds(1), kWaitSlice));
    const size_t available = port_.BytesAvailable();
    if (available > seen) deadline = Clock::now() + Timeout();  // progress restarts the clock
    seen = available;
  }
  return true;
}

void Transport::SSSend(uint8_t byte) {
  if (portFailed_) return;
  const uint8_t data[1] = {byte};
  if (!port_.IsOpen() || !port_.Write(data) || !port_.WaitForBytesWritten(Timeout())) {
    return portFailure();
  }
  if (settings_.kline != 1) return;
  // The echo of the byte on the one-wire line; its value is not compared.
  auto deadline = Clock::now() + Timeout();
  while (port_.BytesAvailable() < 1 && Clock::now() < deadline) {
    if (hungUp()) return;
    port_.WaitForInput(kWaitSlice);
  }
  port_.Read(1);
}

void Transport::SSSendN(std::vector<uint8_t>& block) {
  if (portFailed_) return;
  if (!port_.IsOpen() || !port_.Write(block) || !port_.WaitForBytesWritten(Timeout())) {
    return portFailure();
  }
  if (settings_.kline != 1) return;
  waitFor(block.size());
  block = port_.Read(block.size());
}

int16_t Transport::SSReceive() {
  if (portFailed_ || !port_.IsOpen()) return -1;
  if (!waitFor(1)) return -1;
  const auto byte = port_.Read(1);
  return byte.empty() ? int16_t{-1} : static_cast<int16_t>(byte[0]);
}

int16_t Transport::SSReceiveN(std::vector<uint8_t>& block, size_t n) {
  if (portFailed_ || !port_.IsOpen()) return -1;
  if (!waitFor(n)) return -1;
  block = port_.Read(n);
  return 0;
}

void Transport::Discard() {
  if (port_.IsOpen()) port_.DiscardInput();
}

Exchange::Exchange(Transport& transport) : transport_(transport) {
  if (transport_.depth_++ == 0) {
    transport_.portFailed_ = false;
    transport_.port_.SetReceiveNotification(false);
  }
}

Exchange::~Exchange() {
  if (--transport_.depth_ == 0) transport_.port_.SetReceiveNotification(true);
}

}  // namespace velmora
