#include "sim/board.h"

#include <algorithm>
#include <array>
#include <utility>

#include "sim/cpu/core_registers.h"

namespace velmora {

using std::chrono::milliseconds;

namespace {
constexpr uint8_t kAsc1Init = 0xCC;
constexpr uint8_t kAsc1Flag = 0xD5;

// The registers the processor keeps inside itself and the monitor serves from memory.
// CSP is set by every start; ZEROS and ONES cannot be written.
constexpr std::array<int32_t, 14> kCoreRegisters = {
    core::kDpp0,  core::kDpp0 + 2, core::kDpp0 + 4, core::kDpp0 + 6, core::kMdh,
    core::kMdl,   core::kCp,       core::kSp,       core::kStkov,    core::kStkun,
    core::kMdc,   core::kPsw,      core::kSyscon,   core::kTfr};

// A called routine's RETS lands here, inside the monitor's area and apart from its break
// entry at the start.
constexpr int32_t kCallReturnOffset = 4;
// A started program is followed this far (about 10 ms of a controller) while the host
// waits for the jump's answer; after that it counts as running on its own. Programs run
// alongside the line once the board's clock drives the processor.
constexpr uint64_t kProgramStepLimit = uint64_t{1} << 16;
}  // namespace

Board::Board(BoardConfig config)
    : config_(std::move(config)),
      flash_(config_.flashUnits, config_.flashPassword),
      monitorAddress_(config_.monitorAddress) {
  flash_.Erase(memory_);
  if (config_.opcodes && config_.registers && !config_.units.empty() && !config_.ids.empty()) {
    TargetMachineSetup setup;
    setup.units = config_.units;
    setup.registers = config_.registers;
    setup.opcodes = config_.opcodes;
    setup.ids = config_.ids;
    setup.cpuHz = static_cast<uint32_t>(config_.cpuClockHz);
    setup.kline = config_.kline;
    machine_ = TargetMachine::Make(std::move(setup), memory_);
  }
  if (machine_) {
    cpu_ = &machine_->cpu();
  } else if (config_.opcodes) {
    plainCpu_ = std::make_unique<Cpu>(bus_, *config_.opcodes);
    cpu_ = plainCpu_.get();
  }
  resetRegisters();
}

void Board::SetTrace(std::ostream* out) {
  trace_.reset();
  if (machine_) {
    machine_->SetTrace(out);
  } else if (out && config_.opcodes && config_.registers) {
    trace_ = std::make_unique<InstructionTrace>(*out, *config_.opcodes, *config_.registers);
  }
}

RunTrace Board::runTrace() {
  if (machine_) return {nullptr, nullptr, [machine = machine_.get()] { return machine->Step(); }};
  return {trace_.get(), &memory_, {}};
}

void Board::loadCoreRegisters() {
  for (int32_t address : kCoreRegisters) cpu_->PokeWord(address, ReadWord(address));
}

void Board::storeCoreRegisters() {
  for (int32_t address : kCoreRegisters) WriteWord(address, cpu_->PeekWord(address));
}

RunOutcome Board::runCode(int32_t start, bool asCall, uint64_t stepLimit) {
  loadCoreRegisters();
  const MonitorExits exits{monitorAddress_ + kCallReturnOffset, monitorAddress_};
  if (machine_) lastOutputCycle_ = machine_->now();
  RunOutcome outcome;
  if (asCall) {
    outcome = CallOnProcessor(*cpu_, start, exits, stepLimit, runTrace());
  } else {
    cpu_->Jump(start);
    outcome = RunOnProcessor(*cpu_, exits, stepLimit, runTrace());
  }
  storeCoreRegisters();
  forwardProgramOutput();
  return outcome;
}

void Board::forwardProgramOutput() {
  if (!machine_) return;
  for (const auto& byte : machine_->TakeSent()) {
    send(byte.value, boardTime(byte.cycle - std::min(byte.cycle, lastOutputCycle_)));
    lastOutputCycle_ = byte.cycle;
  }
}

void Board::followProgram(uint64_t stepLimit) {
  const MonitorExits exits{monitorAddress_ + kCallReturnOffset, monitorAddress_};
  const RunOutcome outcome = RunOnProcessor(*cpu_, exits, stepLimit, runTrace());
  forwardProgramOutput();
  if (outcome.end == RunEnd::kGone) return;
  // The break entry takes over (the program's far call has pushed CSP and the IP after the
  // breakpoint), or the program jumped to the monitor's return entry.
  programRunning_ = false;
  storeCoreRegisters();
  mode_ = Mode::Monitor;
  const MonitorBytes& b = config_.bytes;
  send(static_cast<uint8_t>(outcome.end == RunEnd::kBreak ? b.applicationStarted : b.ack2),
       boardTime(outcome.cycles));
}

void Board::Advance(std::chrono::microseconds elapsed) {
  if (!programRunning_ || elapsed.count() <= 0) return;
  // About three clock cycles an instruction, as the instruction mix of a program has it.
  constexpr uint64_t kCyclesPerStep = 3;
  const auto cycles = static_cast<uint64_t>(elapsed.count()) * static_cast<uint64_t>(config_.cpuClockHz) / 1'000'000;
  followProgram(std::max<uint64_t>(1, cycles / kCyclesPerStep));
}

milliseconds Board::boardTime(uint64_t cycles) const {
  return milliseconds(static_cast<int64_t>(cycles * 1000 / static_cast<uint64_t>(config_.cpuClockHz)));
}

void Board::store(int32_t at, std::span<const uint8_t> bytes) {
  for (size_t i = 0; i < bytes.size(); ++i) {
    const int32_t address = at + static_cast<int32_t>(i);
    if (!flash_.Covers(address)) memory_.SetByte(address, bytes[i]);
  }
}

void Board::resetRegisters() {
  // The core registers start as the processor's reset leaves them; the board's own reset
  // values (the monitor's bank and stack among them) go over them.
  if (cpu_) {
    cpu_->Reset();
    storeCoreRegisters();
  }
  for (const auto& reg : config_.resetRegisters) {
    WriteWord(reg.address, static_cast<uint16_t>(reg.value));
    // The peripherals take theirs too: the serial channel runs as the bootstrap left it.
    if (machine_) machine_->bus().WriteWord(reg.address, static_cast<uint16_t>(reg.value));
  }
  WriteWord(config_.cpAddress, static_cast<uint16_t>(config_.cpValue));
  WriteWord(config_.spAddress, static_cast<uint16_t>(config_.spValue));
}

Board::Footprint Board::footprint() const {
  return {received_.size(), output_.size(),   collected_.size(), loader_.size(),
          monitor_.size(),  routines_.size(), faults_.Armed(),   memory_.AllocatedSegmentCount()};
}

uint16_t Board::ReadWord(int32_t address) {
  return static_cast<uint16_t>(memory_.GetByte(address) | (memory_.GetByte(address + 1) << 8));
}

void Board::WriteWord(int32_t address, uint16_t value) {
  memory_.SetByte(address, static_cast<uint8_t>(value));
  memory_.SetByte(address + 1, static_cast<uint8_t>(value >> 8));
}

int32_t Board::address(std::span<const uint8_t> bytes, size_t at) {
  return bytes[at] | (bytes[at + 1] << 8) | (bytes[at + 2] << 16);
}

uint16_t Board::word(std::span<const uint8_t> bytes, size_t at) {
  return static_cast<uint16_t>(bytes[at] | (bytes[at + 1] << 8));
}

void Board::send(uint8_t byte, milliseconds delay) {
  if (faults_.Silent()) return;
  if (faults_.Apply(byte, delay)) output_.push_back({byte, delay});
}

std::vector<Board::OutByte> Board::TakeOutput() {
  std::vector<OutByte> out(output_.begin(), output_.end());
  output_.clear();
  return out;
}

void Board::expect(size_t n, Handler then) {
  collected_.clear();
  if (n == 0) {
    then({});
    return;
  }
  needed_ = n;
  then_ = std::move(then);
}

void Board::Receive(uint8_t byte) {
  ++receivedCount_;
  if (recording_) received_.push_back(byte);
  if (faults_.Silent()) return;
  if (config_.kline) send(byte);  // the one-wire line gives every byte back

  if (needed_ > 0) {
    collected_.push_back(byte);
    if (collected_.size() < needed_) return;
    needed_ = 0;
    Handler then = std::move(then_);
    const std::vector<uint8_t> data = std::move(collected_);
    collected_.clear();
    then(data);
    return;
  }

  switch (mode_) {
    case Mode::Bootstrap:
      if (byte != 0x00) return;
      send(config_.idByte);
      mode_ = Mode::Loader;
      expect(config_.loaderLength, [this](std::span<const uint8_t> loader) {
        loader_.assign(loader.begin(), loader.end());
        memory_.StoreLoaded(config_.loaderAddress, loader);
        send(static_cast<uint8_t>(config_.bytes.loaderStarted));
        mode_ = Mode::MonitorLoad;
        expect(config_.monitorLength, [this](std::span<const uint8_t> monitor) {
          monitor_.assign(monitor.begin(), monitor.end());
          monitorAddress_ = config_.monitorAddress;
          memory_.StoreLoaded(monitorAddress_, monitor);
          mode_ = Mode::Monitor;
          send(static_cast<uint8_t>(config_.bytes.applicationStarted));
        });
      });
      return;
    case Mode::Monitor:
      command(byte);
      return;
    case Mode::Asc1Pending:
      if (byte != 0x00) return;
      send(config_.asc1Ack);
      send(kAsc1Flag);
      mode_ = Mode::Monitor;
      return;
    case Mode::Running:
      if (programRunning_ && machine_) machine_->ReceiveNow(byte);
      return;
    case Mode::Loader:
    case Mode::MonitorLoad:
      return;
  }
}

void Board::command(uint8_t byte) {
  const MonitorBytes& b = config_.bytes;
  const auto ack1 = static_cast<uint8_t>(b.ack1);
  const auto ack2 = static_cast<uint8_t>(b.ack2);
  if (byte == b.writeBlock) {
    send(ack1);
    expect(5, [this](std::span<const uint8_t> header) { writeBlock(header); });
  } else if (byte == b.readBlock) {
    send(ack1);
    expect(5, [this](std::span<const uint8_t> header) { readBlock(header); });
  } else if (byte == b.writeWord) {
    send(ack1);
    expect(5, [this, ack2](std::span<const uint8_t> p) {
      store(address(p, 0), p.subspan(3, 2));
      send(ack2);
    });
  } else if (byte == b.einit || byte == b.testComm) {
    send(ack1);
    send(ack2);
  } else if (byte == b.swReset) {
    send(ack1);
    send(ack2);
    mode_ = Mode::Running;  // the controller restarts into the program in its flash
  } else if (byte == b.getChecksum) {
    send(ack1);
    send(static_cast<uint8_t>(lastChecksum_ ^ (faults_.TakeBadChecksum() ? 0xFF : 0x00)));
    send(ack2);
  } else if (byte == b.go) {
    send(ack1);
    expect(3, [this](std::span<const uint8_t> p) { go(p); });
  } else if (byte == b.call) {
    send(ack1);
    expect(19, [this](std::span<const uint8_t> p) { call(p); });
  } else if (byte == kAsc1Init) {
    send(ack1);
    send(ack2);
    mode_ = Mode::Asc1Pending;
  }
}

void Board::writeBlock(std::span<const uint8_t> header) {
  const int32_t at = address(header, 0);
  expect(word(header, 3), [this, at](std::span<const uint8_t> data) {
    uint8_t checksum = 0;
    for (uint8_t value : data) checksum ^= value;
    store(at, data);
    lastChecksum_ = checksum;
    send(static_cast<uint8_t>(config_.bytes.ack2));
  });
}

void Board::readBlock(std::span<const uint8_t> header) {
  const int32_t at = address(header, 0);
  const size_t count = word(header, 3);
  const size_t missing = std::min(faults_.TakeShortRead(), count);
  uint8_t checksum = 0;
  for (size_t i = 0; i < count - missing; ++i) {
    const uint8_t value = memory_.GetByte(at + static_cast<int32_t>(i));
    checksum ^= value;
    send(value);
  }
  lastChecksum_ = checksum;
  send(static_cast<uint8_t>(config_.bytes.ack2));
}

bool Board::isMonitorCopyAt(int32_t at) {
  if (monitor_.empty() || at == monitorAddress_) return false;
  for (size_t i = 0; i < monitor_.size(); ++i) {
    if (memory_.GetByte(at + static_cast<int32_t>(i)) != monitor_[i]) return false;
  }
  return true;
}

void Board::go(std::span<const uint8_t> parameters) {
  const int32_t target = address(parameters, 0);
  send(static_cast<uint8_t>(config_.bytes.ack2));
  if (isMonitorCopyAt(target)) {
    // A copy of the monitor starts and says so; the old one is left behind.
    monitorAddress_ = target;
    send(static_cast<uint8_t>(config_.bytes.applicationStarted));
    return;
  }
  mode_ = Mode::Running;
  if (!cpu_) return;
  loadCoreRegisters();
  if (machine_) {
    machine_->Jump(target);
    lastOutputCycle_ = machine_->now();
  } else {
    cpu_->Jump(target);
  }
  programRunning_ = true;
  followProgram(kProgramStepLimit);
}

void Board::call(std::span<const uint8_t> parameters) {
  const int32_t target = address(parameters, 0);
  BoardRegisters registers{};
  for (size_t k = 0; k < registers.size(); ++k) registers[k] = word(parameters, 3 + 2 * k);
  milliseconds duration{0};
  if (auto found = routines_.find(target); found != routines_.end()) {
    registers = found->second.run(registers, *this);
    duration = found->second.duration;
  } else if (flash_.IsDriverEntry(target)) {
    const auto result = flash_.Call(target, registers, memory_);
    if (!result) {
      mode_ = Mode::Running;  // no driver there: the controller never comes back
      return;
    }
    registers = *result;
  } else if (cpu_) {
    writeBank(registers);
    const RunOutcome outcome = runCode(target, true, kRunStepLimit);
    if (outcome.end != RunEnd::kReturned) {
      // Lost in the code, or stopped at a breakpoint: either way the call has no answer.
      mode_ = outcome.end == RunEnd::kBreak ? Mode::Monitor : Mode::Running;
      if (outcome.end == RunEnd::kBreak)
        send(static_cast<uint8_t>(config_.bytes.applicationStarted), boardTime(outcome.cycles));
      return;
    }
    duration = boardTime(outcome.cycles);
    const uint16_t bank = ReadWord(config_.cpAddress);
    for (size_t k = 0; k < registers.size(); ++k)
      registers[k] = ReadWord(bank + 2 * static_cast<int32_t>(8 + k));
  }
  writeBank(registers);
  for (size_t k = 0; k < registers.size(); ++k) {
    send(static_cast<uint8_t>(registers[k]), k == 0 ? duration : milliseconds(0));
    send(static_cast<uint8_t>(registers[k] >> 8));
  }
  send(static_cast<uint8_t>(config_.bytes.ack2));
}

// The routine's registers live in the register bank at CP, where Rn is at CP + 2n.
void Board::writeBank(const BoardRegisters& registers) {
  const uint16_t bank = ReadWord(config_.cpAddress);
  for (size_t k = 0; k < registers.size(); ++k)
    WriteWord(bank + 2 * static_cast<int32_t>(8 + k), registers[k]);
}

void Board::ResetToBootstrap() {
  mode_ = Mode::Bootstrap;
  programRunning_ = false;
  if (machine_) machine_->ResetToBootstrap();
  needed_ = 0;
  collected_.clear();
  resetRegisters();
}

void Board::EmitFromProgram(std::span<const uint8_t> bytes) {
  for (uint8_t value : bytes) send(value);
}

void Board::ReturnToMonitor() {
  programRunning_ = false;
  mode_ = Mode::Monitor;
  send(static_cast<uint8_t>(config_.bytes.ack2));
}

void Board::HitBreak(int32_t breakAddress) {
  auto sp = static_cast<uint16_t>(ReadWord(config_.spAddress) - 2);
  WriteWord(sp, static_cast<uint16_t>(breakAddress >> 16));
  sp = static_cast<uint16_t>(sp - 2);
  WriteWord(sp, static_cast<uint16_t>((breakAddress & 0xFFFF) + 4));
  WriteWord(config_.spAddress, sp);
  programRunning_ = false;
  mode_ = Mode::Monitor;
  send(static_cast<uint8_t>(config_.bytes.applicationStarted));
}

}  // namespace velmora
