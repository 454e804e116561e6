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
//   Rw  Rb  (81, 91, A1, B1: "n0")          8,4,4           N0
//   Rw  (MUL/DIV class 4B..7B: "nn")        8,4,4           N0, repeated in N1
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
//
// The instructions without operands still fill their other bytes: 00 behind a 2-byte
// one, 88 behind RETI, and the complement of the opcode and the opcode twice behind the
// 4-byte ones, which the processor checks before it obeys them.
#include "disasm/operand_layout.h"

#include <initializer_list>
#include <vector>

namespace velmora {
namespace {

using F = OperandFormat;
using K = OperandKind;

constexpr OperandSlot op(K kind, FieldRef field, FieldRef second = {}, uint8_t digits = 0) {
  return {kind, field, second, {}, digits};
}
constexpr OperandSlot imm(FieldRef field, uint8_t digits) {
  return {K::kImmediate, field, {}, {}, digits};
}
constexpr FixedField fixedValue(FieldRef field, uint8_t value) {
  return {field, 0, value};
}

OperandLayout layout(F format, std::initializer_list<OperandSlot> operands,
                     std::initializer_list<FixedField> fixed = {}, std::string_view mnemonic = {},
                     int8_t form = -1) {
  OperandLayout l;
  l.format = format;
  l.mnemonic = mnemonic;
  l.form = form;
  for (const OperandSlot& slot : operands) l.operands[l.operandCount++] = slot;
  for (const FixedField& field : fixed) l.fixed[l.fixedCount++] = field;
  return l;
}

std::vector<OperandLayout> buildLayouts() {
  const FieldRef n0 = Four(0), n1 = Four(1);
  const FieldRef b0 = Eight(0), b1 = Eight(1), b2 = Eight(2), b3 = Eight(3);
  const FieldRef d0 = Sixteen(0);
  const FixedField nibbleF = fixedValue(n0, 0xF);
  OperandSlot twice = op(K::kWordRegister, n0);
  twice.copy = n1;

  std::vector<OperandLayout> l = {
      layout(F::kNone, {}, {fixedValue(b1, 0)}),
      layout(F::kNoneProtected, {}, {{b1, 0xFF, 0xFF}, {b2, 0xFF, 0}, {b3, 0xFF, 0}}),
      layout(F::kReturnFromInterrupt, {}, {fixedValue(b1, 0x88)}),
      layout(F::kRwRw, {op(K::kWordRegister, n0), op(K::kWordRegister, n1)}),
      layout(F::kRbRb, {op(K::kByteRegister, n0), op(K::kByteRegister, n1)}),
      layout(F::kRwRb, {op(K::kWordRegister, n1), op(K::kByteRegister, n0)}),
      layout(F::kRw, {op(K::kWordRegister, n0)}),
      layout(F::kRwTwice, {twice}),
      layout(F::kRb, {op(K::kByteRegister, n0)}),
      layout(F::kReg, {op(K::kRegWord, b1)}),
      layout(F::kRegMemWord, {op(K::kRegWord, b1), op(K::kMem, d0)}),
      layout(F::kRegMemByte, {op(K::kRegByte, b1), op(K::kMem, d0)}),
      layout(F::kMemRegWord, {op(K::kMem, d0), op(K::kRegWord, b1)}),
      layout(F::kMemRegByte, {op(K::kMem, d0), op(K::kRegByte, b1)}),
      layout(F::kRegData16, {op(K::kRegWord, b1), imm(d0, 4)}),
      layout(F::kRegData8, {op(K::kRegByte, b1), imm(b2, 2)}),
      layout(F::kRwData16, {op(K::kWordRegister, n1), imm(d0, 4)}, {nibbleF}),
      layout(F::kRwData4, {op(K::kWordRegister, n1), imm(n0, 1)}),
      layout(F::kRbData4, {op(K::kByteRegister, n1), imm(n0, 1)}),
      layout(F::kRwMem, {op(K::kWordRegister, n1), op(K::kMem, d0)}, {nibbleF}),
      layout(F::kIndirectMem, {op(K::kIndirect, n1), op(K::kMem, d0)}),
      layout(F::kMemIndirect, {op(K::kMem, d0), op(K::kIndirect, n1)}),
      layout(F::kRwIndirectOrData3, {op(K::kWordRegister, n0), op(K::kIndirectOrData3, n1)}),
      layout(F::kRbIndirectOrData3, {op(K::kByteRegister, n0), op(K::kIndirectOrData3, n1)}),
      layout(F::kIndirectIndirect, {op(K::kIndirect, n0), op(K::kIndirect, n1)}),
      layout(F::kIndirectPostIncrement, {op(K::kIndirect, n0), op(K::kPostIncrement, n1)}),
      layout(F::kPostIncrementIndirect, {op(K::kPostIncrement, n0), op(K::kIndirect, n1)}),
      layout(F::kRwIndirect, {op(K::kWordRegister, n0), op(K::kIndirect, n1)}),
      layout(F::kIndirectRw, {op(K::kIndirect, n1), op(K::kWordRegister, n0)}),
      layout(F::kRbIndirect, {op(K::kByteRegister, n0), op(K::kIndirect, n1)}),
      layout(F::kIndirectRb, {op(K::kIndirect, n1), op(K::kByteRegister, n0)}),
      layout(F::kRwPostIncrement, {op(K::kWordRegister, n0), op(K::kPostIncrement, n1)}),
      layout(F::kRbPostIncrement, {op(K::kByteRegister, n0), op(K::kPostIncrement, n1)}),
      layout(F::kPreDecrementRw, {op(K::kPreDecrement, n1), op(K::kWordRegister, n0)}),
      layout(F::kPreDecrementRb, {op(K::kPreDecrement, n1), op(K::kByteRegister, n0)}),
      layout(F::kIndexedRw, {op(K::kIndexed, n1, d0), op(K::kWordRegister, n0)}),
      layout(F::kRwIndexed, {op(K::kWordRegister, n0), op(K::kIndexed, n1, d0)}),
      layout(F::kIndexedRb, {op(K::kIndexed, n1, d0), op(K::kByteRegister, n0)}),
      layout(F::kRbIndexed, {op(K::kByteRegister, n0), op(K::kIndexed, n1, d0)}),
      layout(F::kBitFieldLow, {op(K::kBitWord, b1), imm(b2, 2), imm(b3, 2)}),
      layout(F::kBitFieldHigh, {op(K::kBitWord, b1), imm(b3, 2), imm(b2, 2)}),
      layout(F::kBitBit, {op(K::kBit, b2, n1), op(K::kBit, b1, n0)}),
      layout(F::kBit, {op(K::kBit, b0, n0)}),
      layout(F::kBitRel, {op(K::kBit, b1, n0), op(K::kRelativeFromNext, b2)}),
      layout(F::kCcRel, {op(K::kCondition, n0), op(K::kRelative, b0)}),
      layout(F::kRel, {op(K::kRelative, b1)}),
      layout(F::kCcIndirect, {op(K::kCondition, n0), op(K::kIndirect, n1)}),
      layout(F::kCcCaddr, {op(K::kCondition, n0), op(K::kCaddr, d0)}),
      layout(F::kSegCaddr, {op(K::kSegment, b1), op(K::kCaddr, d0)}),
      layout(F::kRegCaddr, {op(K::kRegWord, b1), op(K::kCaddr, d0)}),
      layout(F::kTrap, {op(K::kTrapNumber, b1)}),
  };
  const OperandSlot count = op(K::kCount, Two(1));
  const OperandSlot segment = op(K::kSegmentNumber, b1);
  const OperandSlot page = op(K::kPageNumber, b1, Two(3));
  l.push_back(layout(F::kExtendImmediate, {segment, count}, {}, "EXTS", 0));
  l.push_back(layout(F::kExtendImmediate, {page, count}, {}, "EXTP", 1));
  l.push_back(layout(F::kExtendImmediate, {segment, count}, {}, "EXTSR", 2));
  l.push_back(layout(F::kExtendImmediate, {page, count}, {}, "EXTPR", 3));
  const OperandSlot rw = op(K::kWordRegister, n0);
  l.push_back(layout(F::kExtendRegister, {rw, count}, {}, "EXTS", 0));
  l.push_back(layout(F::kExtendRegister, {rw, count}, {}, "EXTP", 1));
  l.push_back(layout(F::kExtendRegister, {rw, count}, {}, "EXTSR", 2));
  l.push_back(layout(F::kExtendRegister, {rw, count}, {}, "EXTPR", 3));
  l.push_back(layout(F::kExtendRegisters, {count}, {}, "ATOMIC", 0));
  l.push_back(layout(F::kExtendRegisters, {count}, {}, "EXTR", 2));
  return l;
}

struct LayoutIndex {
  std::vector<OperandLayout> layouts = buildLayouts();
  std::array<std::span<const OperandLayout>, static_cast<size_t>(F::kCount)> byFormat{};

  LayoutIndex() {
    // Rows of one format stand together; each format's span covers its run of rows.
    for (size_t i = 0; i < layouts.size();) {
      size_t end = i;
      while (end < layouts.size() && layouts[end].format == layouts[i].format) ++end;
      byFormat[static_cast<size_t>(layouts[i].format)] = {layouts.data() + i, end - i};
      i = end;
    }
  }
};

const LayoutIndex& index() {
  static const LayoutIndex built;
  return built;
}

}  // namespace

std::span<const OperandLayout> LayoutsOf(OperandFormat format) {
  const auto at = static_cast<size_t>(format);
  return at < index().byFormat.size() ? index().byFormat[at] : std::span<const OperandLayout>{};
}

const OperandLayout* LayoutFor(OperandFormat format, uint32_t form) {
  for (const OperandLayout& l : LayoutsOf(format)) {
    if (l.form < 0 || static_cast<uint32_t>(l.form) == form) return &l;
  }
  return nullptr;
}

}  // namespace velmora
