// Where the program goes after an instruction, from its opcode and fields.
#pragma once

#include <cstdint>

#include "disasm/decoded_instruction.h"
#include "disasm/instruction_fields.h"

namespace velmora {

// The flow of an instruction of that format at address; length is the instruction's.
Flow FlowOf(uint8_t opcode, OperandFormat format, const InstructionFields& fields, int32_t address,
            int length);

}  // namespace velmora
