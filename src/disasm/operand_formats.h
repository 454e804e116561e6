// The operand formats of the instruction set and which opcode uses which. The opcode
// groups are fixed here; mnemonics, lengths and field widths come from the opcode table.
#pragma once

#include <cstdint>

namespace velmora {

enum class OperandFormat : uint8_t {
  kUndefined,            // in no group: the instruction is illegal
  kNone,                 // 2 bytes, the second 00
  kNoneProtected,        // 4 bytes: opcode, its complement, opcode, opcode
  kReturnFromInterrupt,  // RETI: FB 88
  kRwRw,
  kRbRb,
  kRwRb,
  kRw,
  kRwTwice,  // MUL/DIV class: the register in both nibbles
  kRb,
  kReg,
  kRegMemWord,
  kRegMemByte,
  kMemRegWord,
  kMemRegByte,
  kRegData16,
  kRegData8,
  kRwData16,
  kRwData4,
  kRbData4,
  kRwMem,
  kIndirectMem,
  kMemIndirect,
  kRwIndirectOrData3,
  kRbIndirectOrData3,
  kIndirectIndirect,
  kIndirectPostIncrement,
  kPostIncrementIndirect,
  kRwIndirect,
  kIndirectRw,
  kRbIndirect,
  kIndirectRb,
  kRwPostIncrement,
  kRbPostIncrement,
  kPreDecrementRw,
  kPreDecrementRb,
  kIndexedRw,
  kRwIndexed,
  kIndexedRb,
  kRbIndexed,
  kBitFieldLow,   // BFLDL: mask in the third byte, data in the fourth
  kBitFieldHigh,  // BFLDH: data in the third byte, mask in the fourth
  kBitBit,
  kBit,
  kBitRel,
  kCcRel,
  kRel,
  kCcIndirect,
  kCcCaddr,
  kSegCaddr,
  kRegCaddr,
  kTrap,
  // The prefixes: they start the decoder's prefix counters.
  kExtendImmediate,  // EXTS/EXTP/EXTSR/EXTPR with a segment or page number
  kExtendRegister,   // the same with the number in a register
  kExtendRegisters,  // ATOMIC or EXTR
  kCount,            // not a format: the number of them
};

OperandFormat FormatOf(uint8_t opcode);

inline bool IsPrefixFormat(OperandFormat format) {
  return format == OperandFormat::kExtendImmediate || format == OperandFormat::kExtendRegister ||
         format == OperandFormat::kExtendRegisters;
}

}  // namespace velmora
