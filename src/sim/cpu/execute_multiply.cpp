// MUL, MULU, DIV, DIVU, DIVL, DIVLU on the multiply/divide registers MDH:MDL.
#include "sim/cpu/alu.h"
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cpu.h"

namespace velmora {
namespace {

using O = Operation;

uint16_t resultFlags(bool zero, bool negative, bool overflow) {
  return static_cast<uint16_t>((zero ? core::kPswZ : 0) | (negative ? core::kPswN : 0) |
                               (overflow ? core::kPswV : 0));
}

}  // namespace

void Cpu::executeMultiply(const Predecoded& p, uint64_t code) {
  const Operation op = p.operation;
  const uint16_t a = load(locate(p.operands[0], code));
  uint32_t md = 0;
  uint16_t flags = 0;
  bool write = true;

  if (op == O::kMul || op == O::kMulu) {
    const uint16_t b = load(locate(p.operands[1], code));
    if (op == O::kMul) {
      const int32_t product = static_cast<int16_t>(a) * static_cast<int16_t>(b);
      md = static_cast<uint32_t>(product);
      flags = resultFlags(product == 0, product < 0, product < -32768 || product > 32767);
    } else {
      md = static_cast<uint32_t>(a) * b;
      flags = resultFlags(md == 0, (md & 0x80000000U) != 0, md > 0xFFFF);
    }
  } else {
    // Division by zero and a quotient that does not fit 16 bits set V and leave MDH:MDL
    // as they were.
    const uint16_t mdh = reg(kMdhSlot), mdl = reg(kMdlSlot);
    const bool isSigned = op == O::kDiv || op == O::kDivl;
    const bool isLong = op == O::kDivl || op == O::kDivlu;
    int64_t dividend = 0;
    if (isLong) {
      const uint32_t both = (static_cast<uint32_t>(mdh) << 16) | mdl;
      dividend = isSigned ? static_cast<int32_t>(both) : static_cast<int64_t>(both);
    } else {
      dividend = isSigned ? static_cast<int16_t>(mdl) : static_cast<int64_t>(mdl);
    }
    const int64_t divisor = isSigned ? static_cast<int16_t>(a) : static_cast<int64_t>(a);
    bool overflow = divisor == 0;
    int64_t quotient = 0, remainder = 0;
    if (!overflow) {
      quotient = dividend / divisor;
      remainder = dividend % divisor;
      overflow = isSigned ? quotient < -32768 || quotient > 32767 : quotient > 0xFFFF;
    }
    if (overflow) {
      flags = core::kPswV;
      write = false;
    } else {
      md = (static_cast<uint32_t>(remainder & 0xFFFF) << 16) |
           static_cast<uint32_t>(quotient & 0xFFFF);
      flags = resultFlags(quotient == 0, (quotient & 0x8000) != 0, false);
    }
  }
  setFlags(static_cast<uint16_t>((reg(kPswSlot) & ~core::kPswFlags) | flags));
  if (write) {
    setReg(kMdhSlot, static_cast<uint16_t>(md >> 16));
    setReg(kMdlSlot, static_cast<uint16_t>(md));
    setReg(kMdcSlot, static_cast<uint16_t>(reg(kMdcSlot) | core::kMdcMdriu));
  }
}

}  // namespace velmora
