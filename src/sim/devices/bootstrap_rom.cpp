#include "sim/devices/bootstrap_rom.h"

#include <algorithm>

namespace velmora {

BootstrapRom::BootstrapRom(Bus& memory, SerialChannel& channel, const VirtualClock& clock,
                           uint8_t idByte)
    : memory_(memory), channel_(channel), clock_(clock), idByte_(idByte) {}

uint16_t BootstrapRom::ReloadFor(uint32_t hostBaud) const {
  if (hostBaud == 0) return 0;
  // The loader's timer counts CPU clocks while the line is low, then divides by the
  // clocks the reload counts per bit, rounding to the nearest reload.
  const uint64_t lowClocks = uint64_t{kLowBits} * clock_.cpuHz / hostBaud;
  const uint64_t perReload = uint64_t{kLowBits} * kClocksPerBit;
  const uint64_t rounded = (lowClocks + perReload / 2) / perReload;
  return static_cast<uint16_t>(std::clamp<uint64_t>(rounded, 1, 0x2000) - 1);
}

void BootstrapRom::takeZeroByte(uint32_t hostBaud) {
  const SerialRegisters& at = channel_.registers();
  channel_.Write(at.reload, ReloadFor(hostBaud));
  channel_.Write(at.control, kChannelControl);
  channel_.Write(at.transmit, idByte_);
  state_ = State::Loading;
}

void BootstrapRom::load(uint8_t byte) {
  const SerialRegisters& at = channel_.registers();
  if (!channel_.Receive(byte)) return;
  // The loader polls S0RIR, takes the byte and clears the request.
  const auto received = static_cast<uint8_t>(channel_.Read(at.receive));
  channel_.Write(at.receiveIc, channel_.Peek(at.receiveIc) & ~kInterruptRequest);
  memory_.WriteByte(kLoadAddress + loaded_, received);
  if (++loaded_ < kLoadLength) return;
  state_ = State::Started;
  if (onStart_) onStart_(kLoadAddress);
}

void BootstrapRom::Receive(uint8_t byte, uint32_t hostBaud) {
  switch (state_) {
    case State::WaitZero:
      // Anything but a zero byte is noise to the loader, which is still measuring the pin.
      if (byte == 0) takeZeroByte(hostBaud);
      return;
    case State::Loading:
      load(byte);
      return;
    case State::Started:
      return;  // the loaded code owns the channel now
  }
}

}  // namespace velmora
