#include "sim/devices/serial_channel.h"

#include <limits>

namespace velmora {
namespace {

// Data bits on the line per mode (S0M), parity or wake-up bit included: mode 3 is seven
// bits and parity, 4 nine bits, 5 eight bits and the wake-up bit, 7 eight bits and parity.
constexpr int kDataBits[8] = {8, 8, 8, 8, 9, 9, 8, 9};
constexpr int kSamplesPerBit = 16;
constexpr int kFractionScale = 512;

}  // namespace

SerialChannel::SerialChannel(const VirtualClock& clock, SerialRegisters registers)
    : clock_(clock), registers_(registers) {}

bool SerialChannel::Attach(MemoryMap& map) {
  const int32_t addresses[] = {registers_.control,   registers_.reload,  registers_.fraction,
                               registers_.transmit,  registers_.receive, registers_.transmitIc,
                               registers_.receiveIc, registers_.errorIc, registers_.bufferEmptyIc};
  bool all = true;
  for (const int32_t address : addresses) {
    if (address >= 0) all = map.AttachHook(address, this) && all;
  }
  return all;
}

uint16_t* SerialChannel::slot(int32_t address) {
  if (address == registers_.control) return &control_;
  if (address == registers_.reload) return &reload_;
  if (address == registers_.fraction) return &fraction_;
  if (address == registers_.transmit) return &transmitBuffer_;
  if (address == registers_.receive) return &receiveBuffer_;
  if (address == registers_.transmitIc) return &transmitIc_;
  if (address == registers_.receiveIc) return &receiveIc_;
  if (address == registers_.errorIc) return &errorIc_;
  if (address == registers_.bufferEmptyIc) return &bufferEmptyIc_;
  return nullptr;
}

int SerialChannel::FrameBits() const {
  const int stopBits = (control_ & s0con::kTwoStopBits) != 0 ? 2 : 1;
  return 1 + kDataBits[control_ & s0con::kModeMask] + stopBits;
}

uint64_t SerialChannel::FrameCycles() const {
  const uint64_t reload = static_cast<uint64_t>(reload_ & 0x1FFF) + 1;
  const auto bits = static_cast<uint64_t>(FrameBits());
  const bool fractional = registers_.fraction >= 0 && (control_ & s0con::kFractionalDivider) != 0 &&
                          (fraction_ & 0x1FF) != 0;
  if (fractional) {
    // The fractional divider passes FDV of every 512 clocks to the reload counter.
    return bits * kSamplesPerBit * reload * kFractionScale / (fraction_ & 0x1FF);
  }
  const bool slower = registers_.hasRateSelect && (control_ & s0con::kRateSelect) != 0;
  const uint64_t prescale = slower ? 3 : 2;
  return bits * kSamplesPerBit * prescale * reload;
}

double SerialChannel::BaudRate() const {
  return static_cast<double>(clock_.cpuHz) * FrameBits() / static_cast<double>(FrameCycles());
}

void SerialChannel::request(int32_t icAddress) {
  uint16_t* ic = slot(icAddress);
  if (ic == nullptr) return;
  *ic |= kInterruptRequest;
  if (onRequest_) onRequest_();
}

void SerialChannel::bufferFree() {
  request(registers_.bufferEmptyIc >= 0 ? registers_.bufferEmptyIc : registers_.transmitIc);
}

void SerialChannel::startFrame(uint64_t at) {
  shiftByte_ = static_cast<uint8_t>(transmitBuffer_);
  bufferFull_ = false;
  shifting_ = true;
  frameEndsAt_ = at + FrameCycles();
  bufferFree();
}

void SerialChannel::Update() {
  while (shifting_ && clock_.cycles >= frameEndsAt_) {
    shifting_ = false;
    const uint64_t endedAt = frameEndsAt_;
    if (onTransmit_) onTransmit_(shiftByte_, endedAt);
    if (registers_.bufferEmptyIc >= 0) request(registers_.transmitIc);
    if ((control_ & s0con::kLoopBack) != 0) Receive(shiftByte_);
    if (bufferFull_ && (control_ & s0con::kRun) != 0) startFrame(endedAt);
  }
}

uint64_t SerialChannel::NextEventAt() const {
  return shifting_ ? frameEndsAt_ : std::numeric_limits<uint64_t>::max();
}

bool SerialChannel::Receive(uint8_t byte) {
  const uint16_t needed = s0con::kRun | s0con::kReceiverEnable;
  if ((control_ & needed) != needed) return false;
  if (receiveUnread_ && (control_ & s0con::kOverrunCheck) != 0) {
    control_ |= s0con::kOverrunError;
    request(registers_.errorIc);
  }
  receiveBuffer_ = byte;
  receiveUnread_ = true;
  request(registers_.receiveIc);
  return true;
}

uint16_t SerialChannel::Peek(int32_t address) {
  const uint16_t* value = slot(address);
  return value != nullptr ? *value : 0;
}

uint16_t SerialChannel::Read(int32_t address) {
  Update();
  if (address == registers_.receive) receiveUnread_ = false;
  return Peek(address);
}

void SerialChannel::Write(int32_t address, uint16_t value) {
  Update();
  uint16_t* target = slot(address);
  if (target == nullptr || address == registers_.receive) return;  // S0RBUF is read-only
  const bool wasRunning = (control_ & s0con::kRun) != 0;
  *target = value;
  if (address == registers_.transmit) {
    bufferFull_ = true;
    if (!shifting_ && wasRunning) startFrame(clock_.cycles);
  } else if (address == registers_.control && !wasRunning && (value & s0con::kRun) != 0 &&
             bufferFull_ && !shifting_) {
    startFrame(clock_.cycles);
  }
}

}  // namespace velmora
