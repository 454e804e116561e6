// Jumps, calls, returns and the software trap.
#include "sim/cpu/alu.h"
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cpu.h"

namespace velmora {
namespace {

using O = Operation;

int32_t relative(uint32_t field) {
  return 2 * static_cast<int8_t>(static_cast<uint8_t>(field));
}

}  // namespace

bool Cpu::condition(uint32_t cc) const {
  return alu::Condition(cc, reg(kPswSlot));
}

void Cpu::branchFar(uint8_t segment, uint16_t ip) {
  setReg(kCspSlot, segment);
  branch(ip);
}

void Cpu::executeFlow(const Predecoded& p, uint64_t code) {
  const Operation op = p.operation;
  const uint32_t a = p.operands[0].field.From(code);
  const uint32_t b = p.operands[1].field.From(code);
  const auto next = ip_;
  switch (op) {
    case O::kJmpr:
      if (condition(a)) branch(static_cast<uint16_t>(next + relative(b)));
      return;
    case O::kJmpa:
      if (condition(a)) branch(static_cast<uint16_t>(b));
      return;
    case O::kJmpi:
      if (condition(a)) branch(gpr(b));
      return;
    case O::kJmps:
      branchFar(static_cast<uint8_t>(a), static_cast<uint16_t>(b));
      return;
    case O::kCallr:
      push(next);
      branch(static_cast<uint16_t>(next + relative(a)));
      return;
    case O::kCalla:
      if (condition(a)) {
        push(next);
        branch(static_cast<uint16_t>(b));
      }
      return;
    case O::kCalli:
      if (condition(a)) {
        push(next);
        branch(gpr(b));
      }
      return;
    case O::kCalls:
      push(reg(kCspSlot));
      push(next);
      branchFar(static_cast<uint8_t>(a), static_cast<uint16_t>(b));
      return;
    case O::kPcall: {
      const uint16_t value = load(locate(p.operands[0], code));
      push(value);
      push(next);
      setFlags(alu::Move(value, false).Apply(reg(kPswSlot)));
      branch(static_cast<uint16_t>(b));
      return;
    }
    case O::kRet:
      ip_ = pop();
      return;
    case O::kRets:
      ip_ = pop();
      setReg(kCspSlot, pop() & 0xFF);
      return;
    case O::kRetp: {
      ip_ = pop();
      const uint16_t value = pop();
      setFlags(alu::Move(value, false).Apply(reg(kPswSlot)));
      store(locate(p.operands[0], code), value);
      return;
    }
    case O::kReti:
      ip_ = pop();
      if (segmented()) setReg(kCspSlot, pop() & 0xFF);
      setReg(kPswSlot, pop());
      interruptCheck_ = true;
      return;
    case O::kTrap:
      push(reg(kPswSlot));
      if (segmented()) push(reg(kCspSlot));
      push(next);
      branchFar(0, static_cast<uint16_t>((a >> 1) * core::kTrapVectorSize));
      return;
    default:
      break;
  }

  // The bit jumps: the bit operand first, the displacement from the next instruction.
  const int32_t address = locate(p.operands[0], code).address;
  const uint32_t bit = p.operands[0].second.From(code);
  const uint16_t word = readWord(address);
  const bool set = ((word >> bit) & 1U) != 0;
  const auto target = static_cast<uint16_t>(next + relative(b));
  switch (op) {
    case O::kJb:
      if (set) branch(target);
      return;
    case O::kJnb:
      if (!set) branch(target);
      return;
    case O::kJbc:
    case O::kJnbs:
      setFlags(alu::BitTest(set).Apply(reg(kPswSlot)));
      if (op == O::kJbc && set) {
        writeWord(address, static_cast<uint16_t>(readWord(address) & ~(1U << bit)));
        branch(target);
      } else if (op == O::kJnbs && !set) {
        writeWord(address, static_cast<uint16_t>(readWord(address) | (1U << bit)));
        branch(target);
      }
      return;
    default:
      return;
  }
}

}  // namespace velmora
