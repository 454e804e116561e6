// Where each format finds its operands. The opcode table cuts every instruction into
// fields; a format reads fixed places of the four field lists:
//
//   W0, W1, ..  the 2-bit fields    N0, N1, ..  the 4-bit fields
//   B0, B1, ..  the 8-bit fields    D0          the 16-bit field (an operand word)
//
// B0 is the opcode byte wherever the table cuts it as one field (everywhere except the
// columns D, E and F, where the high nibble is an operand). Register pairs are written
// "nm" in the instruction set's encodings: n is the high nibble of the second byte.
//
//   format (opcodes)                       widths          operands from
//   Rw,Rw  Rb,Rb  (00, 01, ..)              8,4,4           N0, N1
//   Rw,Rb  (C0, D0: encoded "mn")           8,4,4           N1, N0
//   Rw  Rb  (4B.., 81, 91, A1, B1)          8,4,4           N0
//   reg  (EB, EC, FC)                       8,8             B1
//   reg,mem  mem,reg  reg,#data16           8,8,16          reg B1, mem or data D0
//   reg,#data8  (07, .., E7)                8,8,8,8         B1, B2
//   Rw,#data16  Rw,mem  (86.., 82..)        8,4,4,16        N1, D0 (N0 is F)
//   Rw,#data4  Rb,#data4  (1C.., E0, E1)    8,4,4           N1, data N0
//   [Rw],mem  mem,[Rw]  (84, 94, A4, B4)    8,4,4,16        N1, D0
//   Rw/Rb then [Rw], [Rw+] or #data3 (08..) 8,4,4           N0, N1 by the rule below
//   two registers, one or both indirect     8,4,4           n = N0, m = N1 as encoded:
//     C8/C9 [n],[m]  E8/E9 [n],[m+]  D8/D9 [n+],[m]  A8/A9 n,[m]  98/99 n,[m+]
//     B8/B9 [m],n  88/89 [-m],n
//   [Rw+#data16],Rw/Rb  (C4, E4)            8,4,4,16        [N1+#D0], N0
//   Rw/Rb,[Rw+#data16]  (D4, F4)            8,4,4,16        N0, [N1+#D0]
//   BFLDL  (0A)                             8,8,8,8         B1, mask B2, data B3
//   BFLDH  (1A)                             8,8,8,8         B1, mask B3, data B2
//   bit,bit  (2A .. 7A: "QQ ZZ qz")         8,8,8,4,4       B2.N1 (ZZ.z), B1.N0 (QQ.q)
//   bit  (BCLR xE, BSET xF: "qE QQ")        4,4,8           B0.N0
//   bit,rel  (JB 8A, JBC, JNB, JNBS)        8,8,8,4,4       B1.N0, rel B2
//   cc,rel  (JMPR xD: "cD rr")              4,4,8           N0, rel B0
//   rel  (CALLR BB)                         8,8             B1
//   cc,[Rw]  (JMPI 9C, CALLI AB)            8,4,4           N0, N1
//   cc,caddr  (CALLA CA, JMPA EA)           8,4,4,16        N0, D0
//   seg,caddr  (CALLS DA, JMPS FA)          8,8,16          B1, D0
//   reg,caddr  (PCALL E2)                   8,8,16          B1, D0
//   trap  (9B)                              8,8             B1 shifted right by 1
//   EXTS/EXTP/EXTSR/EXTPR #  (D7)           8,2,2,4,8,4,2,2 form W0, count W1, B1, page W3
//   EXTS/EXTP/EXTSR/EXTPR Rw  (DC)          8,2,2,4         form W0, count W1, N0
//   ATOMIC/EXTR  (D1)                       8,2,2,4         form W0, count W1
//
// The rule of opcodes 08 .. 79 for m = N1: 10ii is [Rii], 11ii is [Rii+], 0ddd is #ddd.
#include "disasm/operand_formats.h"

#include <array>
#include <initializer_list>

namespace velmora {
namespace {

using F = OperandFormat;

constexpr std::array<OperandFormat, 256> buildFormats() {
  std::array<OperandFormat, 256> formats{};
  auto set = [&formats](F format, std::initializer_list<int> opcodes) {
    for (const int opcode : opcodes) formats[static_cast<size_t>(opcode)] = format;
  };
  set(F::kNone, {0x87, 0x97, 0xA5, 0xA7, 0xB5, 0xB7, 0xCB, 0xCC, 0xDB, 0xFB});
  set(F::kRwRw, {0x00, 0x0B, 0x0C, 0x10, 0x1B, 0x20, 0x2B, 0x2C, 0x30, 0x40, 0x50, 0x60, 0x4C, 0x6C,
                 0x70, 0xF0, 0xAC});
  set(F::kRbRb, {0x01, 0x11, 0x21, 0x31, 0x41, 0x51, 0x61, 0x71, 0xF1});
  set(F::kRwRb, {0xC0, 0xD0});
  set(F::kRw, {0x4B, 0x5B, 0x6B, 0x7B, 0x81, 0x91});
  set(F::kRb, {0xA1, 0xB1});
  set(F::kReg, {0xEB, 0xEC, 0xFC});
  // MOVBZ and MOVBS reg,mem (C2, D2) load a byte into a word register, and show it so.
  set(F::kRegMemWord, {0x02, 0x12, 0x22, 0x32, 0x42, 0x52, 0x62, 0x72, 0xC2, 0xD2, 0xD6, 0xF2});
  set(F::kRegMemByte, {0x03, 0x13, 0x23, 0x33, 0x43, 0x53, 0x63, 0x73, 0xF3});
  set(F::kMemRegWord, {0x04, 0x14, 0x24, 0x34, 0x54, 0x64, 0x74, 0xF6});
  set(F::kMemRegByte, {0x05, 0x15, 0x25, 0x35, 0x55, 0x65, 0x75, 0xF7, 0xC5, 0xD5});
  set(F::kRegData16, {0x06, 0x16, 0x26, 0x36, 0x46, 0x56, 0x66, 0x76, 0xC6, 0xE6});
  set(F::kRegData8, {0x07, 0x17, 0x27, 0x37, 0x47, 0x57, 0x67, 0x77, 0xE7});
  set(F::kRwData16, {0x86, 0x96, 0xA6, 0xB6});
  set(F::kRwData4, {0x1C, 0x3C, 0x5C, 0x7C, 0x80, 0x90, 0xA0, 0xB0, 0xBC, 0xE0});
  set(F::kRbData4, {0xE1});
  set(F::kRwMem, {0x82, 0x92, 0xA2, 0xB2});
  set(F::kIndirectMem, {0x84, 0xA4});
  set(F::kMemIndirect, {0x94, 0xB4});
  set(F::kRwIndirectOrData3, {0x08, 0x18, 0x28, 0x38, 0x48, 0x58, 0x68, 0x78});
  set(F::kRbIndirectOrData3, {0x09, 0x19, 0x29, 0x39, 0x49, 0x59, 0x69, 0x79});
  set(F::kIndirectIndirect, {0xC8, 0xC9});
  set(F::kIndirectPostIncrement, {0xE8, 0xE9});
  set(F::kPostIncrementIndirect, {0xD8, 0xD9});
  set(F::kRwIndirect, {0xA8});
  set(F::kIndirectRw, {0xB8});
  set(F::kRbIndirect, {0xA9});
  set(F::kIndirectRb, {0xB9});
  set(F::kRwPostIncrement, {0x98});
  set(F::kRbPostIncrement, {0x99});
  set(F::kPreDecrementRw, {0x88});
  set(F::kPreDecrementRb, {0x89});
  set(F::kIndexedRw, {0xC4});
  set(F::kRwIndexed, {0xD4});
  set(F::kIndexedRb, {0xE4});
  set(F::kRbIndexed, {0xF4});
  set(F::kBitFieldLow, {0x0A});
  set(F::kBitFieldHigh, {0x1A});
  set(F::kBitBit, {0x2A, 0x3A, 0x4A, 0x5A, 0x6A, 0x7A});
  set(F::kBitRel, {0x8A, 0x9A, 0xAA, 0xBA});
  set(F::kRel, {0xBB});
  set(F::kCcIndirect, {0x9C, 0xAB});
  set(F::kCcCaddr, {0xCA, 0xEA});
  set(F::kSegCaddr, {0xDA, 0xFA});
  set(F::kRegCaddr, {0xE2});
  set(F::kTrap, {0x9B});
  set(F::kExtendImmediate, {0xD7});
  set(F::kExtendRegister, {0xDC});
  set(F::kExtendRegisters, {0xD1});
  for (int high = 0; high < 16; ++high) {
    formats[static_cast<size_t>(high * 16 + 0xD)] = F::kCcRel;
    formats[static_cast<size_t>(high * 16 + 0xE)] = F::kBit;
    formats[static_cast<size_t>(high * 16 + 0xF)] = F::kBit;
  }
  return formats;
}

constexpr std::array<OperandFormat, 256> kFormats = buildFormats();

bool bitField(const OperandContext& c, uint32_t mask, uint32_t data, std::string& out) {
  if (!c.names.BitOff(c.fields.Eight(1), -1, c.scope, out)) return false;
  out += ',';
  OperandNames::Immediate(mask, 2, out);
  out += ',';
  OperandNames::Immediate(data, 2, out);
  return true;
}

}  // namespace

OperandFormat FormatOf(uint8_t opcode) {
  return kFormats[opcode];
}

bool AppendOperands(OperandFormat format, const OperandContext& c, std::string& out) {
  const InstructionFields& f = c.fields;
  const OperandNames& names = c.names;
  auto rw = [&out](uint32_t n) { OperandNames::WordRegister(n, out); };
  auto rb = [&out](uint32_t n) { OperandNames::ByteRegister(n, out); };
  auto reg = [&](uint32_t number, bool byteSized) {
    return names.Reg(number, byteSized, c.scope, out);
  };
  auto mem = [&](uint32_t address) { return names.Mem(address, c.scope, out); };
  auto sep = [&out] { out += ','; };

  switch (format) {
    case F::kNone:
      return true;
    case F::kRwRw:
      rw(f.Four(0));
      sep();
      rw(f.Four(1));
      return true;
    case F::kRbRb:
      rb(f.Four(0));
      sep();
      rb(f.Four(1));
      return true;
    case F::kRwRb:
      rw(f.Four(1));
      sep();
      rb(f.Four(0));
      return true;
    case F::kRw:
      rw(f.Four(0));
      return true;
    case F::kRb:
      rb(f.Four(0));
      return true;
    case F::kReg:
      return reg(f.Eight(1), false);
    case F::kRegMemWord:
    case F::kRegMemByte:
      if (!reg(f.Eight(1), format == F::kRegMemByte)) return false;
      sep();
      return mem(f.Sixteen(0));
    case F::kMemRegWord:
    case F::kMemRegByte:
      if (!mem(f.Sixteen(0))) return false;
      sep();
      return reg(f.Eight(1), format == F::kMemRegByte);
    case F::kRegData16:
      if (!reg(f.Eight(1), false)) return false;
      sep();
      OperandNames::Immediate(f.Sixteen(0), 4, out);
      return true;
    case F::kRegData8:
      if (!reg(f.Eight(1), true)) return false;
      sep();
      OperandNames::Immediate(f.Eight(2), 2, out);
      return true;
    case F::kRwData16:
      rw(f.Four(1));
      sep();
      OperandNames::Immediate(f.Sixteen(0), 4, out);
      return true;
    case F::kRwData4:
      rw(f.Four(1));
      sep();
      OperandNames::Immediate(f.Four(0), 1, out);
      return true;
    case F::kRbData4:
      rb(f.Four(1));
      sep();
      OperandNames::Immediate(f.Four(0), 1, out);
      return true;
    case F::kRwMem:
      rw(f.Four(1));
      sep();
      return mem(f.Sixteen(0));
    case F::kIndirectMem:
      OperandNames::Indirect(f.Four(1), out);
      sep();
      return mem(f.Sixteen(0));
    case F::kMemIndirect:
      if (!mem(f.Sixteen(0))) return false;
      sep();
      OperandNames::Indirect(f.Four(1), out);
      return true;
    case F::kRwIndirectOrData3:
      rw(f.Four(0));
      sep();
      OperandNames::IndirectOrData3(f.Four(1), out);
      return true;
    case F::kRbIndirectOrData3:
      rb(f.Four(0));
      sep();
      OperandNames::IndirectOrData3(f.Four(1), out);
      return true;
    case F::kIndirectIndirect:
      OperandNames::Indirect(f.Four(0), out);
      sep();
      OperandNames::Indirect(f.Four(1), out);
      return true;
    case F::kIndirectPostIncrement:
      OperandNames::Indirect(f.Four(0), out);
      sep();
      OperandNames::PostIncrement(f.Four(1), out);
      return true;
    case F::kPostIncrementIndirect:
      OperandNames::PostIncrement(f.Four(0), out);
      sep();
      OperandNames::Indirect(f.Four(1), out);
      return true;
    case F::kRwIndirect:
      rw(f.Four(0));
      sep();
      OperandNames::Indirect(f.Four(1), out);
      return true;
    case F::kIndirectRw:
      OperandNames::Indirect(f.Four(1), out);
      sep();
      rw(f.Four(0));
      return true;
    case F::kRbIndirect:
      rb(f.Four(0));
      sep();
      OperandNames::Indirect(f.Four(1), out);
      return true;
    case F::kIndirectRb:
      OperandNames::Indirect(f.Four(1), out);
      sep();
      rb(f.Four(0));
      return true;
    case F::kRwPostIncrement:
      rw(f.Four(0));
      sep();
      OperandNames::PostIncrement(f.Four(1), out);
      return true;
    case F::kRbPostIncrement:
      rb(f.Four(0));
      sep();
      OperandNames::PostIncrement(f.Four(1), out);
      return true;
    case F::kPreDecrementRw:
      OperandNames::PreDecrement(f.Four(1), out);
      sep();
      rw(f.Four(0));
      return true;
    case F::kPreDecrementRb:
      OperandNames::PreDecrement(f.Four(1), out);
      sep();
      rb(f.Four(0));
      return true;
    case F::kIndexedRw:
      OperandNames::Indexed(f.Four(1), f.Sixteen(0), out);
      sep();
      rw(f.Four(0));
      return true;
    case F::kRwIndexed:
      rw(f.Four(0));
      sep();
      OperandNames::Indexed(f.Four(1), f.Sixteen(0), out);
      return true;
    case F::kIndexedRb:
      OperandNames::Indexed(f.Four(1), f.Sixteen(0), out);
      sep();
      rb(f.Four(0));
      return true;
    case F::kRbIndexed:
      rb(f.Four(0));
      sep();
      OperandNames::Indexed(f.Four(1), f.Sixteen(0), out);
      return true;
    case F::kBitFieldLow:
      return bitField(c, f.Eight(2), f.Eight(3), out);
    case F::kBitFieldHigh:
      return bitField(c, f.Eight(3), f.Eight(2), out);
    case F::kBitBit:
      if (!names.BitOff(f.Eight(2), static_cast<int>(f.Four(1)), c.scope, out)) return false;
      sep();
      return names.BitOff(f.Eight(1), static_cast<int>(f.Four(0)), c.scope, out);
    case F::kBit:
      return names.BitOff(f.Eight(0), static_cast<int>(f.Four(0)), c.scope, out);
    case F::kBitRel:
      if (!names.BitOff(f.Eight(1), static_cast<int>(f.Four(0)), c.scope, out)) return false;
      sep();
      OperandNames::RelTarget(c.address + c.length, f.Eight(2),
                              out);  // from the following instruction
      return true;
    case F::kCcRel:
      OperandNames::Condition(f.Four(0), out);
      sep();
      OperandNames::RelTarget(c.address + 2, f.Eight(0), out);
      return true;
    case F::kRel:
      OperandNames::RelTarget(c.address + 2, f.Eight(1), out);
      return true;
    case F::kCcIndirect:
      OperandNames::Condition(f.Four(0), out);
      sep();
      OperandNames::Indirect(f.Four(1), out);
      return true;
    case F::kCcCaddr:
      OperandNames::Condition(f.Four(0), out);
      sep();
      OperandNames::Address16(f.Sixteen(0), out);
      return true;
    case F::kSegCaddr:
      OperandNames::Hex(f.Eight(1), 2, out);
      out += 'h';
      sep();
      OperandNames::Address16(f.Sixteen(0), out);
      return true;
    case F::kRegCaddr:
      if (!reg(f.Eight(1), false)) return false;
      sep();
      OperandNames::Address16(f.Sixteen(0), out);
      return true;
    case F::kTrap:
      out += '#';
      OperandNames::Hex(f.Eight(1) >> 1, 2, out);
      return true;
    case F::kUndefined:
    case F::kExtendImmediate:
    case F::kExtendRegister:
    case F::kExtendRegisters:
      return false;
  }
  return false;
}

}  // namespace velmora
