// The prefixes (EXTS, EXTP, EXTSR, EXTPR, EXTR, ATOMIC) and the system instructions.
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cpu.h"

namespace velmora {
namespace {

using O = Operation;

constexpr uint32_t kExtrForm = 2;  // of ATOMIC/EXTR; form 0 is ATOMIC

}  // namespace

StepKind Cpu::executeSystem(const Predecoded& p, uint64_t code) {
  // The 4-byte system instructions carry a checked copy of themselves; a damaged one is a
  // protection fault rather than a reset or a stop.
  for (int i = 0; i < p.checkCount; ++i) {
    const ProtectionCheck& check = p.checks[static_cast<size_t>(i)];
    if (check.field.From(code) != check.expected) {
      requestTrap(core::kTfrPrtflt);
      return StepKind::kExecuted;
    }
  }

  switch (p.operation) {
    case O::kPrefix: {
      const uint32_t form = p.form.From(code);
      if ((p.validForms & (1U << form)) == 0) {
        requestTrap(core::kTfrUndopc);
        return StepKind::kExecuted;
      }
      prefixRemaining_ = static_cast<int>(p.count.From(code)) + 1;
      prefixStarted_ = true;
      if (p.format == OperandFormat::kExtendRegisters) {
        paging_ = Paging::kDpp;
        extr_ = form == kExtrForm;
        return StepKind::kExecuted;
      }
      const PredecodedOperand& target = p.operands[0];
      const uint32_t raw = target.field.From(code);
      const bool page = (form & 1) != 0;
      uint32_t value = raw;
      if (p.format == OperandFormat::kExtendRegister) {
        value = gpr(raw);
      } else if (page) {
        value = (target.second.From(code) << 8) | raw;
      }
      paging_ = page ? Paging::kPage : Paging::kSegment;
      pagingValue_ = static_cast<uint16_t>(value & (page ? 0x3FFU : 0xFFU));
      extr_ = (form & 2) != 0;
      return StepKind::kExecuted;
    }
    case O::kSrst:
      Reset();
      return StepKind::kSoftwareReset;
    case O::kIdle:
      idle_ = true;
      interruptCheck_ = true;
      return StepKind::kExecuted;
    case O::kPwrdn:
      // Only a reset ends power down.
      poweredDown_ = true;
      return StepKind::kExecuted;
    case O::kSrvwdt:
      if (watchdog_) watchdog_(WatchdogRequest::kService);
      return StepKind::kExecuted;
    case O::kDiswdt:
      // The watchdog can be switched off only during initialisation.
      if (!initDone_ && watchdog_) watchdog_(WatchdogRequest::kDisable);
      return StepKind::kExecuted;
    case O::kEinit:
      initDone_ = true;
      return StepKind::kEndOfInit;
    default:
      return StepKind::kExecuted;
  }
}

}  // namespace velmora
