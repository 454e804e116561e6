// The serial line to the target, as the link needs it. Implemented over a real device
// (a Qt adapter in src/app) and in process over the virtual board (src/sim).
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "link/port_fault.h"

namespace velmora {

struct LineSettings {
  int32_t baudRate = 9600;
  int32_t parity = 0;  // 0 none, 1 odd, 2 even
  int32_t dataBits = 8;
  int32_t stopBits = 1;
};

class SerialPort {
 public:
  virtual ~SerialPort() = default;

  virtual bool Open(const std::string& device, const LineSettings& settings) = 0;
  virtual void Close() = 0;
  virtual bool IsOpen() const = 0;
  // Changes the line settings of an open port.
  virtual bool Configure(const LineSettings& settings) = 0;

  virtual bool Write(std::span<const uint8_t> bytes) = 0;
  // Waits up to timeout until every written byte has left the output buffer.
  virtual bool WaitForBytesWritten(std::chrono::milliseconds timeout) = 0;
  virtual size_t BytesAvailable() = 0;
  // Reads up to count bytes of what has arrived.
  virtual std::vector<uint8_t> Read(size_t count) = 0;
  virtual void DiscardInput() = 0;
  // Blocks up to timeout until input arrives beyond what is already buffered.
  virtual void WaitForInput(std::chrono::milliseconds timeout) = 0;

  // Why the last Open failed, or that the device went away while open (HungUp); None
  // while all is well.
  virtual PortFault Fault() const { return {}; }

  // The received-byte notification: while enabled, onReceived runs (from the event loop)
  // whenever bytes arrive.
  virtual void SetReceiveNotification(bool enabled) = 0;
  // The event loop's turn for ports that have no event loop of their own: hands arrived
  // bytes to the received-byte notification.
  virtual void Poll() {}
  void SetReceivedHandler(std::function<void()> handler) { onReceived_ = std::move(handler); }

 protected:
  void NotifyReceived() {
    if (onReceived_) onReceived_();
  }

 private:
  std::function<void()> onReceived_;
};

}  // namespace velmora
