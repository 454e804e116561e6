// The written shape of one operand: a register, one of the indirect forms, an immediate,
// a condition, a bit address ("base.bit") or a plain expression or name, whose meaning
// (memory address, register, jump target, bit name) depends on the instruction form it
// is matched against.
#pragma once

#include <string>

#include "asm/source_line.h"

namespace velmora::assembler {

enum class OperandSyntax {
  kWordRegister,   // R5
  kByteRegister,   // RH2
  kIndirect,       // [R5]
  kPostIncrement,  // [R5+]
  kPreDecrement,   // [-R5]
  kIndexed,        // [R5+#expr]
  kImmediate,      // #expr
  kCondition,      // cc_Z
  kBit,            // base.bit
  kPlain,          // expression or name
};

struct ParsedOperand {
  OperandSyntax syntax = OperandSyntax::kPlain;
  int reg = -1;      // register, condition
  SourcePiece expr;  // the immediate, displacement, plain text or bit base
  SourcePiece bit;   // the bit number of kBit
  int column = 0;
  std::string error;  // a malformed bracket form
};

ParsedOperand ParseOperand(const SourcePiece& operand);

}  // namespace velmora::assembler
