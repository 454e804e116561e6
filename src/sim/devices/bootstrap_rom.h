// What the controller's bootstrap loader does after a reset with the bootstrap pin held: it
// waits for a zero byte on the receive pin, takes the host's baud rate from how long the
// line was low, programs the serial channel to the nearest rate, sends the type's
// identification byte, takes exactly 32 bytes into internal RAM at FA40 and starts there.
// A state machine fed byte by byte; the bytes after the zero byte pass through the serial
// channel as the loader reads them from S0RBUF.
#pragma once

#include <cstdint>
#include <functional>

#include "sim/cpu/bus.h"
#include "sim/devices/serial_channel.h"
#include "sim/devices/virtual_clock.h"

namespace velmora {

class BootstrapRom {
 public:
  enum class State { WaitZero, Loading, Started };

  static constexpr int32_t kLoadAddress = 0x00FA40;
  static constexpr int kLoadLength = 32;
  // Run, receiver on, 8-bit asynchronous frames.
  static constexpr uint16_t kChannelControl = s0con::kRun | s0con::kReceiverEnable | 0x0001;
  // Low bits of the zero byte: the start bit and eight zero data bits.
  static constexpr int kLowBits = 9;
  static constexpr int kClocksPerBit = 32;

  BootstrapRom(Bus& memory, SerialChannel& channel, const VirtualClock& clock, uint8_t idByte);

  // Called with the address to start at once the 32 bytes are in.
  void OnStart(std::function<void(int32_t)> hook) { onStart_ = std::move(hook); }
  // A byte from the host, sent at hostBaud (what the loader's timer measures).
  void Receive(uint8_t byte, uint32_t hostBaud);

  State state() const { return state_; }
  int loaded() const { return loaded_; }
  // The reload the loader chooses for a zero byte sent at this rate.
  uint16_t ReloadFor(uint32_t hostBaud) const;

 private:
  void takeZeroByte(uint32_t hostBaud);
  void load(uint8_t byte);

  Bus& memory_;
  SerialChannel& channel_;
  const VirtualClock& clock_;
  uint8_t idByte_;
  std::function<void(int32_t)> onStart_;
  State state_ = State::WaitZero;
  int loaded_ = 0;
};

}  // namespace velmora
