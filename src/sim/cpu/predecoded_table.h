// The processor's view of the opcode table, prepared once: for every opcode byte its
// operation, length and where each operand sits in the instruction bits, taken from the
// decoder's opcode table, operand formats and operand layouts. Stepping then cuts fields
// with a shift and a mask instead of walking field widths per instruction.
#pragma once

#include <array>
#include <cstdint>

#include "disasm/opcode_table.h"
#include "disasm/operand_formats.h"
#include "disasm/operand_layout.h"
#include "sim/cpu/operation.h"

namespace velmora {

// One field of an instruction held as a 64-bit number, first byte most significant.
struct FieldCut {
  uint8_t lowShift = 0;
  uint8_t highShift = 0;  // the high byte of a 16-bit field (stored low byte first)
  uint8_t bits = 0;       // 0 for none

  uint32_t From(uint64_t code) const {
    if (bits == 16) {
      return static_cast<uint32_t>(((code >> lowShift) & 0xFF) |
                                   (((code >> highShift) & 0xFF) << 8));
    }
    return static_cast<uint32_t>((code >> lowShift) & ((1ULL << bits) - 1));
  }
};

struct PredecodedOperand {
  OperandKind kind = OperandKind::kNone;
  FieldCut field;
  FieldCut second;
  bool byteAccess = false;
};

struct ProtectionCheck {
  FieldCut field;
  uint8_t expected = 0;
};

struct Predecoded {
  Operation operation = Operation::kUndefined;
  OperationClass operationClass = OperationClass::kUndefined;
  OperandFormat format = OperandFormat::kUndefined;
  uint8_t length = 0;
  uint8_t operandCount = 0;
  std::array<PredecodedOperand, kMaxOperands> operands{};
  // Prefixes: the form (which of EXTS/EXTP/EXTSR/EXTPR, ATOMIC/EXTR), the count field and
  // the forms the layouts define, one bit each.
  FieldCut form;
  FieldCut count;
  uint8_t validForms = 0;
  // The 4-byte instructions that check their own copy before they act.
  std::array<ProtectionCheck, kMaxFixedFields> checks{};
  uint8_t checkCount = 0;
  uint8_t cycles = 0;  // from the cycle table, for the path without a taken branch
};

using PredecodedTable = std::array<Predecoded, 256>;

// Opcodes without a table line, without a format, with a mnemonic of unknown meaning, or
// cut into fields that do not hold the format's operands come out kUndefined: the
// processor treats them as undefined opcodes.
PredecodedTable BuildPredecodedTable(const OpcodeTable& opcodes);

}  // namespace velmora
