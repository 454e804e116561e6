// Moves, arithmetic, logic, shifts and the stack moves, word and byte.
#include "sim/cpu/alu.h"
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cpu.h"

namespace velmora {
namespace {

using O = Operation;

uint16_t signExtend(uint16_t byte) {
  return static_cast<uint16_t>(static_cast<int16_t>(static_cast<int8_t>(byte & 0xFF)));
}

// ADDC and SUBC keep Z only when it was set before and the result is zero as well, so a
// chain of them tests a multi-word result for zero.
alu::Result chainZero(alu::Result r, uint16_t psw) {
  if ((psw & core::kPswZ) == 0) r.flags = static_cast<uint16_t>(r.flags & ~core::kPswZ);
  return r;
}

}  // namespace

void Cpu::executeData(const Predecoded& p, uint64_t code) {
  const Operation op = p.operation;
  const bool byte = IsByteOperation(op);
  const uint16_t psw = reg(kPswSlot);
  const Location first = locate(p.operands[0], code);
  // Flags are set before a result is written, so a result written to PSW itself wins.

  switch (op) {
    case O::kPush: {
      const uint16_t value = load(first);
      push(value);
      setFlags(alu::Move(value, false).Apply(psw));
      return;
    }
    case O::kPop: {
      const uint16_t value = pop();
      setFlags(alu::Move(value, false).Apply(reg(kPswSlot)));
      store(first, value);
      return;
    }
    case O::kNeg:
    case O::kNegb: {
      const alu::Result r = alu::Sub(0, load(first), false, byte);
      setFlags(r.Apply(psw));
      store(first, r.value);
      return;
    }
    case O::kCpl:
    case O::kCplb: {
      const uint16_t value = load(first);
      const alu::Result r = alu::Logic(static_cast<uint16_t>(~value), value, byte);
      setFlags(r.Apply(psw));
      store(first, r.value);
      return;
    }
    default:
      break;
  }

  const Location second = locate(p.operands[1], code);
  const uint16_t b = load(second);
  switch (op) {
    case O::kMov:
    case O::kMovb:
      setFlags(alu::Move(b, byte).Apply(reg(kPswSlot)));
      store(first, b);
      return;
    case O::kMovbz:
      setFlags(alu::Move(b & 0xFF, false).Apply(reg(kPswSlot)));
      store(first, b & 0xFF);
      return;
    case O::kMovbs:
      setFlags(alu::Move(b, true).Apply(reg(kPswSlot)));
      store(first, signExtend(b));
      return;
    case O::kScxt: {
      const uint16_t old = load(first);
      push(old);
      store(first, b);
      return;
    }
    case O::kPrior: {
      const alu::Result r = alu::Prior(b);
      setFlags(r.Apply(psw));
      store(first, r.value);
      return;
    }
    default:
      break;
  }

  const uint16_t a = load(first);
  const bool carry = (psw & core::kPswC) != 0;
  alu::Result r;
  bool write = true;
  int step = 0;  // CMPI/CMPD: what the first operand moves by after the comparison
  switch (op) {
    case O::kAdd:
    case O::kAddb:
      r = alu::Add(a, b, false, byte);
      break;
    case O::kAddc:
    case O::kAddcb:
      r = chainZero(alu::Add(a, b, carry, byte), psw);
      break;
    case O::kSub:
    case O::kSubb:
      r = alu::Sub(a, b, false, byte);
      break;
    case O::kSubc:
    case O::kSubcb:
      r = chainZero(alu::Sub(a, b, carry, byte), psw);
      break;
    case O::kCmp:
    case O::kCmpb:
      r = alu::Sub(a, b, false, byte);
      write = false;
      break;
    case O::kCmpi1:
    case O::kCmpi2:
    case O::kCmpd1:
    case O::kCmpd2:
      r = alu::Sub(a, b, false, false);
      step = op == O::kCmpi1 ? 1 : op == O::kCmpi2 ? 2 : op == O::kCmpd1 ? -1 : -2;
      r.value = static_cast<uint16_t>(a + step);
      break;
    case O::kAnd:
    case O::kAndb:
      r = alu::Logic(static_cast<uint16_t>(a & b), b, byte);
      break;
    case O::kOr:
    case O::kOrb:
      r = alu::Logic(static_cast<uint16_t>(a | b), b, byte);
      break;
    case O::kXor:
    case O::kXorb:
      r = alu::Logic(static_cast<uint16_t>(a ^ b), b, byte);
      break;
    case O::kShl:
      r = alu::Shl(a, b & 15);
      break;
    case O::kShr:
      r = alu::Shr(a, b & 15);
      break;
    case O::kAshr:
      r = alu::Ashr(a, b & 15);
      break;
    case O::kRol:
      r = alu::Rol(a, b & 15);
      break;
    case O::kRor:
      r = alu::Ror(a, b & 15);
      break;
    default:
      return;
  }
  setFlags(r.Apply(reg(kPswSlot)));
  if (write) store(first, r.value);
}

}  // namespace velmora
