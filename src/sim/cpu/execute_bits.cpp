// Single bits and bit fields: BSET, BCLR, BMOV, BMOVN, BAND, BOR, BXOR, BCMP, BFLDL, BFLDH.
// Flags are set before the word is written back, so a bit of PSW itself keeps the value
// the instruction gives it.
#include "sim/cpu/alu.h"
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cpu.h"

namespace velmora {
namespace {

using O = Operation;

uint16_t withBit(uint16_t word, uint32_t bit, bool on) {
  const auto mask = static_cast<uint16_t>(1U << bit);
  return on ? static_cast<uint16_t>(word | mask) : static_cast<uint16_t>(word & ~mask);
}

bool bitOf(uint16_t word, uint32_t bit) {
  return ((word >> bit) & 1U) != 0;
}

}  // namespace

void Cpu::executeBit(const Predecoded& p, uint64_t code) {
  const Operation op = p.operation;
  const int32_t destination = locate(p.operands[0], code).address;

  if (op == O::kBfldl || op == O::kBfldh) {
    const auto mask = static_cast<uint16_t>(p.operands[1].field.From(code));
    const auto data = static_cast<uint16_t>(p.operands[2].field.From(code));
    const uint16_t word = readWord(destination);
    const int shift = op == O::kBfldh ? 8 : 0;
    const auto result = static_cast<uint16_t>((word & ~(mask << shift)) | (data << shift));
    const alu::Result flags = alu::Logic(result, 0, false);
    setFlags(flags.Apply(reg(kPswSlot)));
    writeWord(destination, result);
    return;
  }

  const uint32_t destinationBit = p.operands[0].second.From(code);
  if (op == O::kBset || op == O::kBclr) {
    const bool old = bitOf(readWord(destination), destinationBit);
    setFlags(alu::BitTest(old).Apply(reg(kPswSlot)));
    writeWord(destination, withBit(readWord(destination), destinationBit, op == O::kBset));
    return;
  }

  const int32_t source = locate(p.operands[1], code).address;
  const bool s = bitOf(readWord(source), p.operands[1].second.From(code));
  const bool d = bitOf(readWord(destination), destinationBit);
  bool result = d;
  alu::Result flags = alu::BitPair(d, s);
  switch (op) {
    case O::kBmov:
      result = s;
      flags = alu::BitTest(s);
      break;
    case O::kBmovn:
      result = !s;
      flags = alu::BitTest(s);
      break;
    case O::kBand:
      result = d && s;
      break;
    case O::kBor:
      result = d || s;
      break;
    case O::kBxor:
      result = d != s;
      break;
    default:  // BCMP compares only
      break;
  }
  setFlags(flags.Apply(reg(kPswSlot)));
  if (op != O::kBcmp)
    writeWord(destination, withBit(readWord(destination), destinationBit, result));
}

}  // namespace velmora
