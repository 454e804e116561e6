// What an instruction does, named once per mnemonic of the instruction set. The opcode
// table says which opcode carries which mnemonic; this maps the mnemonic to its meaning,
// so the processor follows whatever opcode table it is given.
#pragma once

#include <cstdint>
#include <string_view>

namespace velmora {

enum class Operation : uint8_t {
  kUndefined,
  // Data movement.
  kMov,
  kMovb,
  kMovbz,
  kMovbs,
  kScxt,
  kPush,
  kPop,
  // Arithmetic and logic, word and byte.
  kAdd,
  kAddc,
  kSub,
  kSubc,
  kCmp,
  kAnd,
  kOr,
  kXor,
  kAddb,
  kAddcb,
  kSubb,
  kSubcb,
  kCmpb,
  kAndb,
  kOrb,
  kXorb,
  kCmpi1,
  kCmpi2,
  kCmpd1,
  kCmpd2,
  kNeg,
  kNegb,
  kCpl,
  kCplb,
  // Shifts and rotates.
  kShl,
  kShr,
  kRol,
  kRor,
  kAshr,
  kPrior,
  // Multiply and divide.
  kMul,
  kMulu,
  kDiv,
  kDivu,
  kDivl,
  kDivlu,
  // Bits.
  kBset,
  kBclr,
  kBmov,
  kBmovn,
  kBand,
  kBor,
  kBxor,
  kBcmp,
  kBfldl,
  kBfldh,
  // Flow.
  kJmpa,
  kJmpi,
  kJmpr,
  kJmps,
  kJb,
  kJnb,
  kJbc,
  kJnbs,
  kCalla,
  kCalli,
  kCallr,
  kCalls,
  kPcall,
  kRet,
  kRetp,
  kRets,
  kReti,
  kTrap,
  // System.
  kPrefix,
  kNop,
  kSrst,
  kIdle,
  kPwrdn,
  kSrvwdt,
  kDiswdt,
  kEinit,
};

// The instruction classes, one execute function each.
enum class OperationClass : uint8_t { kUndefined, kData, kMultiply, kBit, kFlow, kSystem };

// kUndefined for a mnemonic the processor does not know.
Operation OperationOf(std::string_view mnemonic);
OperationClass ClassOf(Operation operation);

// Byte operations: every operand is a byte, except where MOVBZ/MOVBS widen into a word.
bool IsByteOperation(Operation operation);

}  // namespace velmora
