// The first asynchronous serial channel: control, baud-rate reload (and fractional divider
// where the type has one), transmit and receive buffers, and its interrupt control
// registers. A byte written to S0TBUF leaves the pin one frame later at the programmed
// rate; a byte from the line lands in S0RBUF. Time is the board's virtual clock.
//
// Transmit flags: on types with S0TBIC, S0TBIR says the buffer is free again and S0TIR that
// a frame has left the pin; on the older types without it, S0TIR says the buffer is free.
// Not modelled: the synchronous mode (mode 0 and the reserved modes send as 8-bit
// asynchronous frames), parity and framing errors (the line delivers whole bytes), and the
// ninth data bit on the line.
#pragma once

#include <cstdint>
#include <functional>

#include "sim/devices/memory_map.h"
#include "sim/devices/register_hook.h"
#include "sim/devices/serial_registers.h"
#include "sim/devices/virtual_clock.h"

namespace velmora {

class SerialChannel : public RegisterHook {
 public:
  // A byte on its way out, with the cycle at which its stop bit ends.
  using TransmitHook = std::function<void(uint8_t byte, uint64_t cycle)>;
  using RequestHook = std::function<void()>;

  SerialChannel(const VirtualClock& clock, SerialRegisters registers);

  // Hooks the channel's registers into the map's register areas; false when one is outside.
  bool Attach(MemoryMap& map);
  void OnTransmit(TransmitHook hook) { onTransmit_ = std::move(hook); }
  // Called whenever the channel sets a request bit, so the processor looks at interrupts.
  void OnRequest(RequestHook hook) { onRequest_ = std::move(hook); }

  uint16_t Read(int32_t address) override;
  uint16_t Peek(int32_t address) override;
  void Write(int32_t address, uint16_t value) override;

  // A byte from the line, complete now. False when the receiver is off and drops it.
  bool Receive(uint8_t byte);
  // Sends what is due by now; the board calls it at NextEventAt() or later.
  void Update();
  // The cycle at which the frame on the pin ends, or UINT64_MAX when nothing is sent.
  uint64_t NextEventAt() const;

  // Cycles one frame takes with the present settings.
  uint64_t FrameCycles() const;
  // Bits of one frame: start, data (with parity or wake-up bit), stop bits.
  int FrameBits() const;
  double BaudRate() const;
  const SerialRegisters& registers() const { return registers_; }

 private:
  uint16_t* slot(int32_t address);
  void request(int32_t icAddress);
  void startFrame(uint64_t at);
  void bufferFree();

  const VirtualClock& clock_;
  SerialRegisters registers_;
  TransmitHook onTransmit_;
  RequestHook onRequest_;

  uint16_t control_ = 0;
  uint16_t reload_ = 0;
  uint16_t fraction_ = 0;
  uint16_t transmitBuffer_ = 0;
  uint16_t receiveBuffer_ = 0;
  uint16_t transmitIc_ = 0;
  uint16_t receiveIc_ = 0;
  uint16_t errorIc_ = 0;
  uint16_t bufferEmptyIc_ = 0;

  bool bufferFull_ = false;  // a byte waits in S0TBUF for the shift register
  bool shifting_ = false;    // a frame is on the pin
  uint8_t shiftByte_ = 0;
  uint64_t frameEndsAt_ = 0;
  bool receiveUnread_ = false;
};

}  // namespace velmora
