// What a written operand means for one operand kind of an instruction form: whether its
// shape fits the kind at all, and the field values it stands for, or why its value does
// not fit (out of range, out of reach, unknown).
#pragma once

#include <cstdint>
#include <string>

#include "asm/instruction_encoder.h"
#include "asm/operand_syntax.h"
#include "disasm/operand_layout.h"

namespace velmora::assembler {

struct OperandValue {
  bool shape = false;   // the operand is written as this kind is
  uint32_t value = 0;   // for the operand's field
  uint32_t second = 0;  // for its second field
  std::string error;    // set when the shape fits but the value does not
  int column = 0;
};

// length is the instruction's, for jumps relative to the following instruction.
OperandValue ResolveOperand(const OperandSlot& slot, const ParsedOperand& operand,
                            const EncodeContext& context, int length);

}  // namespace velmora::assembler
