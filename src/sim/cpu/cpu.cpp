#include "sim/cpu/cpu.h"

#include <utility>

#include "sim/cpu/core_registers.h"

namespace velmora {

Cpu::Cpu(Bus& bus, const OpcodeTable& opcodes) : bus_(bus), table_(BuildPredecodedTable(opcodes)) {
  for (const int32_t address :
       {core::kDpp0, core::kDpp0 + 2, core::kDpp0 + 4, core::kDpp0 + 6, core::kCsp, core::kMdh,
        core::kMdl, core::kCp, core::kSp, core::kStkov, core::kStkun, core::kMdc, core::kPsw,
        core::kSyscon, core::kZeros, core::kOnes, core::kTfr}) {
    coreSlot_[static_cast<size_t>(slotOf(address))] = true;
  }
  Reset();
}

void Cpu::Reset() {
  core_.fill(0);
  for (int page = 0; page < 4; ++page) setReg(page, static_cast<uint16_t>(page));
  setReg(kCpSlot, core::kResetCp);
  setReg(kSpSlot, core::kResetSp);
  setReg(kStkovSlot, core::kResetStkov);
  setReg(kStkunSlot, core::kResetStkun);
  setReg(kOnesSlot, 0xFFFF);
  ip_ = 0;
  prefixRemaining_ = 0;
  prefixStarted_ = false;
  paging_ = Paging::kDpp;
  extr_ = false;
  postIncrementRegister_ = -1;
  interruptCheck_ = true;
  shield_ = false;
  shieldNext_ = false;
  pendingTraps_ = 0;
  idle_ = false;
  poweredDown_ = false;
  initDone_ = false;
}

StepResult Cpu::Step() {
  stepCycles_ = 0;
  if (pendingTraps_ != 0) return enterPendingTrap();
  if (poweredDown_) {
    cycles_ += kIdleCycles;
    return {StepKind::kIdle, kIdleCycles};
  }
  if (idle_ || (interruptCheck_ && !interruptsBlocked())) {
    bool anyRequest = false;
    const InterruptSource* source = pendingInterrupt(anyRequest);
    if (source != nullptr) {
      const uint16_t control = bus_.ReadWord(source->controlRegister);
      bus_.WriteWord(source->controlRegister, static_cast<uint16_t>(control & ~core::kIcIr));
      idle_ = false;
      enter(source->trapNumber, (control & core::kIcIlvl) >> core::kIcIlvlShift);
      cycles_ += kEntryCycles;
      return {StepKind::kInterruptEntered, kEntryCycles};
    }
    // Any enabled request ends IDLE, even one the priority keeps waiting.
    if (idle_ && !anyRequest) {
      cycles_ += kIdleCycles;
      return {StepKind::kIdle, kIdleCycles};
    }
    idle_ = false;
    if (!anyRequest) interruptCheck_ = false;
  }
  shield_ = false;

  if ((ip_ & 1) != 0) {
    requestTrap(core::kTfrIllina);
    return enterPendingTrap();
  }
  const int32_t segment = Ip() & 0xFF0000;
  const uint16_t first = bus_.ReadWord(segment | ip_);
  const auto opcode = static_cast<uint8_t>(first);
  const Predecoded& p = table_[opcode];
  if (p.operationClass == OperationClass::kUndefined) {
    requestTrap(core::kTfrUndopc);
    return enterPendingTrap();
  }
  uint64_t code = (static_cast<uint64_t>(opcode) << 56) | (static_cast<uint64_t>(first >> 8) << 48);
  for (int at = 2; at < p.length; at += 2) {
    const uint16_t word = bus_.ReadWord(segment | ((ip_ + at) & 0xFFFF));
    code |= static_cast<uint64_t>(word & 0xFF) << (56 - 8 * at);
    code |= static_cast<uint64_t>(word >> 8) << (48 - 8 * at);
  }
  ip_ = static_cast<uint16_t>(ip_ + p.length);
  stepCycles_ = p.cycles;
  prefixStarted_ = false;

  StepKind kind = StepKind::kExecuted;
  switch (p.operationClass) {
    case OperationClass::kData:
      executeData(p, code);
      break;
    case OperationClass::kMultiply:
      executeMultiply(p, code);
      break;
    case OperationClass::kBit:
      executeBit(p, code);
      break;
    case OperationClass::kFlow:
      executeFlow(p, code);
      break;
    case OperationClass::kSystem:
      kind = executeSystem(p, code);
      break;
    case OperationClass::kUndefined:
      break;
  }
  if (postIncrementRegister_ >= 0) {
    const auto n = static_cast<uint32_t>(postIncrementRegister_);
    setGpr(n, static_cast<uint16_t>(gpr(n) + postIncrementBy_));
    postIncrementRegister_ = -1;
  }
  if (!prefixStarted_ && prefixRemaining_ > 0 && --prefixRemaining_ == 0) {
    paging_ = Paging::kDpp;
    extr_ = false;
  }
  shield_ = shieldNext_;
  shieldNext_ = false;
  cycles_ += static_cast<uint64_t>(stepCycles_);
  return {kind, stepCycles_};
}

void Cpu::Jump(int32_t address) {
  setReg(kCspSlot, static_cast<uint16_t>((address >> 16) & 0xFF));
  ip_ = static_cast<uint16_t>(address);
}

uint16_t Cpu::Gpr(int n) const {
  return bus_.ReadWord(gprAddress(static_cast<uint32_t>(n)));
}

void Cpu::SetGpr(int n, uint16_t value) {
  bus_.WriteWord(gprAddress(static_cast<uint32_t>(n)), value);
}

uint16_t Cpu::PeekWord(int32_t address) {
  address &= 0xFFFFFE;
  return isCoreSlot(address) ? reg(slotOf(address)) : bus_.ReadWord(address);
}

void Cpu::PokeWord(int32_t address, uint16_t value) {
  address &= 0xFFFFFE;
  if (isCoreSlot(address)) {
    writeCore(slotOf(address), value);
  } else {
    bus_.WriteWord(address, value);
  }
}

void Cpu::SetInterruptSources(std::vector<InterruptSource> sources) {
  sources_ = std::move(sources);
  interruptCheck_ = true;
}

CoreRegisters Cpu::Registers() const {
  CoreRegisters r;
  for (size_t page = 0; page < 4; ++page) r.dpp[page] = core_[page];
  r.csp = reg(kCspSlot);
  r.ip = ip_;
  r.mdh = reg(kMdhSlot);
  r.mdl = reg(kMdlSlot);
  r.cp = reg(kCpSlot);
  r.sp = reg(kSpSlot);
  r.stkov = reg(kStkovSlot);
  r.stkun = reg(kStkunSlot);
  r.mdc = reg(kMdcSlot);
  r.psw = reg(kPswSlot);
  r.syscon = reg(kSysconSlot);
  r.tfr = reg(kTfrSlot);
  return r;
}

void Cpu::writeCore(int slot, uint16_t value) {
  switch (slot) {
    case 0:
    case 1:
    case 2:
    case 3:
      // A new page takes effect for the following instruction's accesses.
      setReg(slot, value & 0x3FF);
      shieldNext_ = true;
      return;
    case kCspSlot:
    case kZerosSlot:
    case kOnesSlot:
      return;  // read-only to the program
    case kCpSlot:
    case kSpSlot:
      setReg(slot, value & 0xFFFE);
      shieldNext_ = true;
      return;
    case kStkovSlot:
    case kStkunSlot:
      setReg(slot, value & 0xFFFE);
      return;
    case kMdhSlot:
    case kMdlSlot:
      setReg(slot, value);
      setReg(kMdcSlot, static_cast<uint16_t>(reg(kMdcSlot) | core::kMdcMdriu));
      return;
    case kPswSlot:
      setReg(slot, value);
      interruptCheck_ = true;
      shieldNext_ = true;
      return;
    default:
      setReg(slot, value);
      return;
  }
}

}  // namespace velmora
