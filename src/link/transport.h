// The four byte-level primitives every exchange with the target is built on, with the
// time-out rules of the line and the K-line echo handling.
//
// A wait blocks on the port alone, with a deadline that restarts whenever bytes arrive;
// the user interface runs on a thread of its own meanwhile. Procedures of one exchange
// may nest freely.
#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>
#include <vector>

#include "config/communication_settings.h"
#include "link/serial_port.h"

namespace velmora {

class Frontend;
class MessageLog;

inline constexpr std::string_view kPortInUseMessage =
    "Caution ! Communication port used by other application ! Please select a different port ";

class Transport {
 public:
  Transport(SerialPort& port, const CommunicationSettings& settings, Frontend& frontend,
            MessageLog& log);

  SerialPort& port() { return port_; }
  const CommunicationSettings& settings() const { return settings_; }
  Frontend& frontend() { return frontend_; }

  void SSSend(uint8_t byte);
  // With K-line on, the block is replaced by the echoed bytes.
  void SSSendN(std::vector<uint8_t>& block);
  // The byte 0..255, or -1 after a time-out.
  int16_t SSReceive();
  // 0 with block holding exactly n bytes, or -1 after a silence longer than the time-out
  // (the bytes received so far stay queued and block is unchanged).
  int16_t SSReceiveN(std::vector<uint8_t>& block, size_t n);
  // Drops whatever the target has sent so far.
  void Discard();

  // Set when a port operation failed during the current exchange, or the device hung up;
  // the cause's line and the message box have then been written and shown once.
  bool PortFailed() const { return portFailed_; }

  std::chrono::milliseconds Timeout() const;
  // True while an exchange is open: the bytes that arrive belong to it.
  bool InExchange() const { return depth_ > 0; }

 private:
  friend class Exchange;

  void portFailure();
  // True (after reporting it) when the device has gone away: nothing will arrive.
  bool hungUp();
  // Waits until at least n bytes are in, or the line was silent for a time-out period.
  bool waitFor(size_t n);

  SerialPort& port_;
  const CommunicationSettings& settings_;
  Frontend& frontend_;
  MessageLog& log_;
  bool portFailed_ = false;
  int depth_ = 0;
};

// One exchange with the target: event reception is off while it lives and on again
// afterwards. Two operations never run at once (the session's runner sees to that), so an
// exchange is never refused.
class Exchange {
 public:
  explicit Exchange(Transport& transport);
  ~Exchange();
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

 private:
  Transport& transport_;
};

}  // namespace velmora
