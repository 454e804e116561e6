// How operands reach memory: general purpose registers through CP, reg and bitoff short
// addresses (with EXTR into the extended register area), 16-bit data addresses through
// the DPPs or the page or segment an EXTP/EXTS prefix gives, and the indirect modes. The
// stack and the registers are always in segment 0 and never paged.
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cpu.h"

namespace velmora {

uint16_t Cpu::readWord(int32_t address) {
  if (isCoreSlot(address)) {
    const int slot = slotOf(address);
    // Reading the low half of a result tells the divider the result was collected.
    if (slot == kMdlSlot) setReg(kMdcSlot, static_cast<uint16_t>(reg(kMdcSlot) & ~core::kMdcMdriu));
    return reg(slot);
  }
  return bus_.ReadWord(address);
}

void Cpu::writeWord(int32_t address, uint16_t value) {
  if (isCoreSlot(address)) {
    writeCore(slotOf(address), value);
  } else {
    bus_.WriteWord(address, value);
    if (mayHoldInterruptControl(address)) interruptCheck_ = true;
  }
}

uint8_t Cpu::readByte(int32_t address) {
  if (isCoreSlot(address)) return static_cast<uint8_t>(reg(slotOf(address)) >> (8 * (address & 1)));
  return bus_.ReadByte(address);
}

void Cpu::writeByte(int32_t address, uint8_t value) {
  if (!isCoreSlot(address)) {
    bus_.WriteByte(address, value);
    if (mayHoldInterruptControl(address)) interruptCheck_ = true;
    return;
  }
  const int slot = slotOf(address);
  const uint16_t old = reg(slot);
  writeCore(slot, (address & 1) != 0 ? static_cast<uint16_t>((old & 0x00FF) | (value << 8))
                                     : static_cast<uint16_t>((old & 0xFF00) | value));
}

int32_t Cpu::dataAddress(uint32_t address) const {
  address &= 0xFFFF;
  switch (paging_) {
    case Paging::kPage:
      return static_cast<int32_t>((static_cast<uint32_t>(pagingValue_) << 14) |
                                  (address & 0x3FFF)) &
             0xFFFFFF;
    case Paging::kSegment:
      return static_cast<int32_t>((static_cast<uint32_t>(pagingValue_ & 0xFF) << 16) | address);
    case Paging::kDpp:
      break;
  }
  const uint32_t page = reg(static_cast<int>(address >> 14)) & 0x3FFU;
  return static_cast<int32_t>((page << 14) | (address & 0x3FFF));
}

int32_t Cpu::regAddress(uint32_t n, bool byte) const {
  if (n >= core::kFirstGprShort) return byte ? byteGprAddress(n) : gprAddress(n);
  return (extr_ ? core::kEsfrBase : core::kSfrBase) + 2 * static_cast<int32_t>(n);
}

int32_t Cpu::bitoffAddress(uint32_t n) const {
  if (n >= core::kFirstGprShort) return gprAddress(n);
  if (n >= core::kFirstBitSfr) {
    return (extr_ ? core::kBitEsfrBase : core::kBitSfrBase) +
           2 * static_cast<int32_t>(n - core::kFirstBitSfr);
  }
  return core::kBitRamBase + 2 * static_cast<int32_t>(n);
}

Cpu::Location Cpu::locate(const PredecodedOperand& operand, uint64_t code) {
  const uint32_t v = operand.field.From(code);
  const bool byte = operand.byteAccess;
  Location at;
  at.isByte = byte;
  switch (operand.kind) {
    case OperandKind::kWordRegister:
      at.address = gprAddress(v);
      return at;
    case OperandKind::kByteRegister:
      at.address = byteGprAddress(v);
      return at;
    case OperandKind::kRegWord:
    case OperandKind::kRegByte:
      at.address = regAddress(v, operand.kind == OperandKind::kRegByte);
      return at;
    case OperandKind::kMem:
      at.address = dataAddress(v);
      return at;
    case OperandKind::kIndirect:
      at.address = dataAddress(gpr(v));
      return at;
    case OperandKind::kPostIncrement:
      at.address = dataAddress(gpr(v));
      postIncrementRegister_ = static_cast<int>(v);
      postIncrementBy_ = byte ? 1 : 2;
      return at;
    case OperandKind::kPreDecrement: {
      const auto moved = static_cast<uint16_t>(gpr(v) - (byte ? 1 : 2));
      setGpr(v, moved);
      at.address = dataAddress(moved);
      return at;
    }
    case OperandKind::kIndexed:
      at.address = dataAddress(gpr(v) + operand.second.From(code));
      return at;
    case OperandKind::kIndirectOrData3:
      // 0ddd: #ddd; 10ii: [Rii]; 11ii: [Rii+].
      if ((v & 8) == 0) {
        at.isImmediate = true;
        at.immediate = static_cast<uint16_t>(v & 7);
        return at;
      }
      at.address = dataAddress(gpr(v & 3));
      if ((v & 4) != 0) {
        postIncrementRegister_ = static_cast<int>(v & 3);
        postIncrementBy_ = byte ? 1 : 2;
      }
      return at;
    case OperandKind::kBit:
    case OperandKind::kBitWord:
      at.address = bitoffAddress(v);
      at.isByte = false;
      return at;
    default:
      at.isImmediate = true;
      at.immediate = static_cast<uint16_t>(v);
      return at;
  }
}

uint16_t Cpu::load(const Location& at) {
  if (at.isImmediate) return at.isByte ? at.immediate & 0xFF : at.immediate;
  if (at.isByte) return readByte(at.address);
  if ((at.address & 1) != 0) requestTrap(core::kTfrIllopa);
  return readWord(at.address & 0xFFFFFE);
}

void Cpu::store(const Location& at, uint16_t value) {
  if (at.isImmediate) return;
  if (at.isByte) {
    writeByte(at.address, static_cast<uint8_t>(value));
    return;
  }
  if ((at.address & 1) != 0) requestTrap(core::kTfrIllopa);
  writeWord(at.address & 0xFFFFFE, value);
}

void Cpu::pushUnchecked(uint16_t value) {
  const auto sp = static_cast<uint16_t>(reg(kSpSlot) - 2);
  setReg(kSpSlot, sp);
  writeWord(sp, value);
}

void Cpu::push(uint16_t value) {
  pushUnchecked(value);
  if (reg(kSpSlot) < reg(kStkovSlot)) requestTrap(core::kTfrStkof);
}

uint16_t Cpu::pop() {
  const uint16_t sp = reg(kSpSlot);
  const uint16_t value = readWord(sp);
  setReg(kSpSlot, static_cast<uint16_t>(sp + 2));
  if (static_cast<uint16_t>(sp + 2) > reg(kStkunSlot)) requestTrap(core::kTfrStkuf);
  return value;
}

}  // namespace velmora
