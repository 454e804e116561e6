#include "sim/target_machine.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "sim/cpu/core_registers.h"
#include "sim/devices/board_layout.h"
#include "sim/devices/flash_devices.h"

namespace velmora {
namespace {

constexpr uint64_t kNever = std::numeric_limits<uint64_t>::max();
// Start, eight data bits and a stop bit: the host's frames.
constexpr uint64_t kHostFrameBits = 10;

}  // namespace

std::unique_ptr<TargetMachine> TargetMachine::Make(TargetMachineSetup setup, MemoryImage& memory) {
  if (!setup.registers || !setup.opcodes || setup.ids.empty()) return nullptr;
  auto serial = SerialRegistersFrom(*setup.registers);
  if (!serial) return nullptr;
  return std::unique_ptr<TargetMachine>(new TargetMachine(std::move(setup), memory, *serial));
}

TargetMachine::TargetMachine(TargetMachineSetup setup, MemoryImage& memory, SerialRegisters serial)
    : setup_(std::move(setup)),
      memory_(memory),
      clock_{0, setup_.cpuHz},
      bus_(memory_),
      cpu_(bus_, *setup_.opcodes),
      channel_(clock_, serial),
      identification_(IdentificationValuesFor(*setup_.registers, setup_.ids)) {
  layOut();
  channel_.OnRequest([this] { cpu_.NoteInterruptRequest(); });
  if (auto second = SerialRegistersFrom(*setup_.registers, "S1")) AttachSecondChannel(*second);
  channel_.OnTransmit([this](uint8_t byte, uint64_t cycle) {
    sent_.push_back({byte, cycle});
    // On one wire the receiver hears the frame as it leaves; the ROM listens only for
    // its loader bytes, after its identification byte has gone.
    if (setup_.kline && started()) channel_.Receive(byte);
  });
  std::vector<InterruptSource> sources = {{serial.transmitIc, serial_traps::kTransmit},
                                          {serial.receiveIc, serial_traps::kReceive},
                                          {serial.errorIc, serial_traps::kError}};
  if (serial.bufferEmptyIc >= 0) sources.push_back({serial.bufferEmptyIc, serial_traps::kBufferEmpty});
  cpu_.SetInterruptSources(std::move(sources));
  ResetToBootstrap();
}

SerialChannel* TargetMachine::AttachSecondChannel(SerialRegisters registers) {
  second_ = std::make_unique<SerialChannel>(clock_, registers);
  if (!second_->Attach(bus_.map())) {
    second_.reset();
    return nullptr;
  }
  second_->OnTransmit([this](uint8_t byte, uint64_t cycle) { sent_.push_back({byte, cycle}); });
  return second_.get();
}

void TargetMachine::layOut() {
  MemoryMap& map = bus_.map();
  MapMemoryUnits(setup_.units, map, [this](const MemoryUnit& unit) -> BusDevice* {
    auto device = MakeFlashDevice(unit, memory_, clock_);
    if (!device) return nullptr;
    BlankFlashUnit(unit, memory_);
    flash_.push_back(std::move(device));
    return flash_.back().get();
  });
  for (int32_t page = kBoardRamStart; page < kBoardRamStart + kBoardRamLength; page += MemoryMap::kPageSize) {
    if (map.KindAt(page) == PageKind::Unmapped) map.Map(page, MemoryMap::kPageSize, PageKind::Ram);
  }
  MapRegisterAreas(*setup_.registers, map);
  channel_.Attach(map);
  identification_.Attach(map);
}

void TargetMachine::SetTrace(std::ostream* out) {
  trace_.reset();
  if (out != nullptr) trace_ = std::make_unique<InstructionTrace>(*out, *setup_.opcodes, *setup_.registers);
}

void TargetMachine::ResetToBootstrap() {
  cpu_.Reset();
  heldCycles_ = clock_.cycles - cpu_.cycles();
  channel_.Write(channel_.registers().control, 0);
  if (second_) second_->Write(second_->registers().control, 0);
  hostLine_.clear();
  rom_ = std::make_unique<BootstrapRom>(bus_, channel_, clock_, static_cast<uint8_t>(setup_.ids.front()));
  running_ = false;
  rom_->OnStart([this](int32_t address) { Jump(address); });
}

void TargetMachine::Jump(int32_t address) {
  running_ = true;
  spinning_ = false;
  cpu_.Jump(address);
}

void TargetMachine::ReceiveNow(uint8_t byte) {
  if (!running_) return;
  spinning_ = false;
  channel_.Receive(byte);
  if (second_) second_->Receive(byte);
}

void TargetMachine::HostSends(std::span<const uint8_t> bytes, uint32_t baud) {
  if (baud == 0) return;
  const uint64_t frame = kHostFrameBits * clock_.cpuHz / baud;
  for (uint8_t byte : bytes) {
    hostLineFree_ = std::max(hostLineFree_, clock_.cycles) + frame;
    hostLine_.push_back({byte, hostLineFree_, baud});
  }
}

void TargetMachine::deliverDue() {
  while (!hostLine_.empty() && hostLine_.front().arrival <= clock_.cycles) {
    const LineByte byte = hostLine_.front();
    hostLine_.pop_front();
    if (started()) {
      channel_.Receive(byte.value);
      if (second_) second_->Receive(byte.value);
    } else {
      rom_->Receive(byte.value, byte.baud);
    }
  }
}

uint64_t TargetMachine::nextEvent() const {
  const uint64_t line = hostLine_.empty() ? kNever : hostLine_.front().arrival;
  return std::min({line, channel_.NextEventAt(), second_ ? second_->NextEventAt() : kNever});
}

void TargetMachine::updateChannels() {
  if (channel_.NextEventAt() <= clock_.cycles) channel_.Update();
  if (second_ && second_->NextEventAt() <= clock_.cycles) second_->Update();
}

void TargetMachine::advance(uint64_t until) {
  if (started()) {
    if (spinning_ && nextEvent() > clock_.cycles) {
      // Nothing can change before the next event: time jumps there.
      const uint64_t to = std::min(until, nextEvent());
      if (to > clock_.cycles) {
        heldCycles_ += to - clock_.cycles;
        clock_.cycles = to;
        return;
      }
    }
    Step();
    return;
  }
  if (nextEvent() <= clock_.cycles) {
    deliverDue();
    updateChannels();
    if (started()) return;
  }
  // Held in the ROM: nothing happens until the next frame ends.
  const uint64_t to = std::max(clock_.cycles + 1, std::min(until, nextEvent()));
  heldCycles_ += to - clock_.cycles;
  clock_.cycles = to;
}

StepResult TargetMachine::Step() {
  if (nextEvent() <= clock_.cycles) {
    deliverDue();
    updateChannels();
  }
  const int32_t before = cpu_.Ip();
  if (!codeHooks_.empty()) {
    if (auto hook = codeHooks_.find(before); hook != codeHooks_.end()) return runHook(hook->second);
  }
  if (trace_) trace_->Before(cpu_, memory_);
  const StepResult result = cpu_.Step();
  if (trace_) trace_->After(cpu_, result);
  clock_.cycles = cpu_.cycles() + heldCycles_;
  spinning_ = cpu_.idle() || (result.kind == StepKind::kExecuted && cpu_.Ip() == before);
  return result;
}

StepResult TargetMachine::runHook(const CodeHook& hook) {
  const uint64_t cycles = hook(cpu_);
  heldCycles_ += cycles;
  clock_.cycles = cpu_.cycles() + heldCycles_;
  // RETS: the caller's IP, then its CSP, off the system stack.
  const auto sp = cpu_.PeekWord(core::kSp);
  const uint16_t ip = cpu_.PeekWord(sp);
  const uint16_t csp = cpu_.PeekWord(static_cast<uint16_t>(sp + 2));
  cpu_.PokeWord(core::kSp, static_cast<uint16_t>(sp + 4));
  cpu_.Jump((static_cast<int32_t>(csp & 0xFF) << 16) | ip);
  spinning_ = false;
  return {StepKind::kExecuted, static_cast<int>(std::min<uint64_t>(cycles, INT32_MAX))};
}

bool TargetMachine::waiting() const {
  if (nextEvent() != kNever) return false;
  return !started() || spinning_ || cpu_.idle();
}

bool TargetMachine::RunUntilWaiting(uint64_t maxSteps) {
  spinning_ = false;
  for (uint64_t steps = 0; steps < maxSteps; ++steps) {
    if (waiting()) return true;
    advance(kNever);
  }
  return waiting();
}

void TargetMachine::Run(uint64_t cycles) {
  spinning_ = false;  // whoever called may have changed what the processor polls
  const uint64_t until = clock_.cycles + cycles;
  while (clock_.cycles < until) advance(until);
}

bool TargetMachine::RunUntilSent(size_t count, uint64_t maxCycles) {
  spinning_ = false;
  const uint64_t until = clock_.cycles + maxCycles;
  while (sent_.size() < count) {
    if (clock_.cycles >= until) return false;
    advance(until);
  }
  return true;
}

std::vector<TargetMachine::SentByte> TargetMachine::TakeSent() { return std::exchange(sent_, {}); }

}  // namespace velmora
