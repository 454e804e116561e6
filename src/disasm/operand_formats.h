// The operand formats of the instruction set and which opcode uses which. The opcode
// groups are fixed here; mnemonics, lengths and field widths come from the opcode table.
#pragma once

#include <cstdint>
#include <string>

#include "disasm/instruction_fields.h"
#include "disasm/operand_names.h"

namespace velmora {

enum class OperandFormat : uint8_t {
  kUndefined,  // in no group: the instruction is illegal
  kNone,
  kRwRw,
  kRbRb,
  kRwRb,
  kRw,
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
  // The prefixes, decoded by DecodePrefix because they start the prefix counters.
  kExtendImmediate,  // EXTS/EXTP/EXTSR/EXTPR with a segment or page number
  kExtendRegister,   // the same with the number in a register
  kExtendRegisters,  // ATOMIC or EXTR
};

OperandFormat FormatOf(uint8_t opcode);

inline bool IsPrefixFormat(OperandFormat format) {
  return format == OperandFormat::kExtendImmediate || format == OperandFormat::kExtendRegister ||
         format == OperandFormat::kExtendRegisters;
}

struct OperandContext {
  const InstructionFields& fields;
  const OperandNames& names;
  PrefixScope scope;
  int32_t address;  // of the instruction
  int length;       // of the instruction, in bytes
};

// Appends the operands of an instruction of a format other than the prefixes, separated
// by ",". False when an operand cannot be named.
bool AppendOperands(OperandFormat format, const OperandContext& context, std::string& out);

}  // namespace velmora
