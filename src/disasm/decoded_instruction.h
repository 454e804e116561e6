// One instruction as the decoder understands it: where it stands, its operands with their
// kinds, values and names, and where the program goes after it. The listing text is
// formatted from this; stepping and the board follow its flow instead of reading text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "disasm/operand_layout.h"

namespace velmora {

inline constexpr std::string_view kIllegalInstruction = "Illegal Instruction";
inline constexpr std::string_view kIllegalOperand = "Illegal Operand";

enum class FlowKind : uint8_t {
  kSequential,
  kJump,
  kConditionalJump,
  kCall,
  kConditionalCall,
  kReturn,               // RET, RETP: the offset comes off the stack
  kFarReturn,            // RETS: the offset, then the segment
  kReturnFromInterrupt,  // RETI: as RETS for stepping
  kTrap,                 // the target is the trap's vector
  kReset,                // SRST: starts again at 0
  kPrefix,               // the next `prefixCount` instructions run under it as one
};

struct Flow {
  FlowKind kind = FlowKind::kSequential;
  // A 24-bit target where the instruction holds it; 16-bit targets are in the segment of
  // the instruction.
  std::optional<int32_t> target;
  int indirectRegister = -1;  // JMPI/CALLI: the register that holds the target offset
  int prefixCount = 0;

  bool MayFallThrough() const {
    return kind == FlowKind::kConditionalJump || kind == FlowKind::kConditionalCall;
  }
};

struct DecodedOperand {
  OperandKind kind = OperandKind::kNone;
  // Registers: their number; memory, immediates, conditions, counts: the value; bits: the
  // bit offset; relative targets: the 16-bit target offset; trap: its number.
  uint32_t value = 0;
  uint32_t second = 0;  // bit number, displacement, or 0
  std::string text;     // as the listing shows it, names resolved
};

enum class DecodeStatus : uint8_t { kOk, kUnknownInstruction, kUnnamedOperand };

struct DecodedInstruction {
  int32_t address = 0;
  int length = 0;  // what a listing steps by; never 0
  uint8_t opcode = 0;
  OperandFormat format = OperandFormat::kUndefined;
  DecodeStatus status = DecodeStatus::kOk;
  std::string mnemonic;
  std::vector<DecodedOperand> operands;
  Flow flow;

  // Where the next instruction starts, in the instruction's segment.
  int32_t Following() const { return (address & 0xFF0000) | ((address + length) & 0xFFFF); }
};

// The listing line: the mnemonic padded to 8 characters and the operands separated by
// ","; the illegal texts in place of a line that cannot be shown.
std::string FormatInstruction(const DecodedInstruction& instruction);

}  // namespace velmora
