// Hardware traps and interrupts: which one is taken, and the entry that saves PSW, CSP (in
// segmented mode) and IP on the system stack and continues at the vector in segment 0.
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cpu.h"

namespace velmora {
namespace {

struct TrapRow {
  uint16_t flag;
  uint8_t trapNumber;
};

// In the order they are taken when several are pending. The class B traps share a vector;
// TFR tells the handler which it was.
constexpr TrapRow kTraps[] = {
    {core::kTfrNmi, core::kTrapNmi},
    {core::kTfrStkof, core::kTrapStackOverflow},
    {core::kTfrStkuf, core::kTrapStackUnderflow},
    {core::kTfrUndopc, core::kTrapClassB},
    {core::kTfrPrtflt, core::kTrapClassB},
    {core::kTfrIllopa, core::kTrapClassB},
    {core::kTfrIllina, core::kTrapClassB},
};

}  // namespace

void Cpu::enter(uint8_t trapNumber, int level) {
  // The entry's own pushes do not test the stack limits: a trap for the trap entry would
  // never end.
  pushUnchecked(reg(kPswSlot));
  if (segmented()) pushUnchecked(reg(kCspSlot));
  pushUnchecked(ip_);
  const auto psw = static_cast<uint16_t>((reg(kPswSlot) & ~core::kPswIlvl) |
                                         ((level & 15) << core::kPswIlvlShift));
  setReg(kPswSlot, psw);
  setReg(kCspSlot, 0);
  ip_ = static_cast<uint16_t>(trapNumber * core::kTrapVectorSize);
  prefixRemaining_ = 0;
  paging_ = Paging::kDpp;
  extr_ = false;
  idle_ = false;
}

StepResult Cpu::enterPendingTrap() {
  for (const TrapRow& row : kTraps) {
    if ((pendingTraps_ & row.flag) == 0) continue;
    // Class B traps found before the instruction ran save its own address, so the handler
    // can see what failed; the others save where the program goes on.
    pendingTraps_ = static_cast<uint16_t>(pendingTraps_ & ~row.flag);
    enter(row.trapNumber, core::kHardwareTrapLevel);
    break;
  }
  cycles_ += kEntryCycles;
  return {StepKind::kTrapEntered, kEntryCycles};
}

const InterruptSource* Cpu::pendingInterrupt(bool& anyRequest) {
  const InterruptSource* best = nullptr;
  int bestPriority = -1;
  for (const InterruptSource& source : sources_) {
    const uint16_t control = bus_.ReadWord(source.controlRegister & 0xFFFFFE);
    if ((control & core::kIcIr) == 0 || (control & core::kIcIe) == 0) continue;
    anyRequest = true;
    const int priority = control & (core::kIcIlvl | core::kIcGlvl);  // ILVL, then GLVL
    if (priority > bestPriority) {
      bestPriority = priority;
      best = &source;
    }
  }
  const uint16_t psw = reg(kPswSlot);
  const int cpuLevel = (psw & core::kPswIlvl) >> core::kPswIlvlShift;
  if (best == nullptr || (psw & core::kPswIen) == 0 || interruptsBlocked() ||
      (bestPriority >> core::kIcIlvlShift) <= cpuLevel) {
    return nullptr;
  }
  return best;
}

}  // namespace velmora
