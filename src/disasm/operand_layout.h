// Where each operand format keeps its operands: per format the operands in order, each
// with its kind and the instruction fields it comes from, and the fields that hold fixed
// values. The decoder reads fields into operands through this table and the assembler
// writes operands into fields through it, so both agree on every encoding.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "disasm/operand_formats.h"

namespace velmora {

enum class OperandKind : uint8_t {
  kNone,
  kWordRegister,      // Rn
  kByteRegister,      // RLn, RHn
  kRegWord,           // 8-bit register number: R0..R15 from F0 on, else an SFR short number
  kRegByte,           // the same with RL0..RH7
  kMem,               // 16-bit address
  kImmediate,         // #data: digits tell its width
  kIndirect,          // [Rn]
  kPostIncrement,     // [Rn+]
  kPreDecrement,      // [-Rn]
  kIndexed,           // [Rn+#data16]: the register, then the displacement from `second`
  kIndirectOrData3,   // 4-bit m of 08..79: [Rn] (n < 4), [Rn+] (n < 4) or #data3
  kBit,               // bitoff.bit: the bit offset, then the bit number from `second`
  kBitWord,           // bitoff alone (bit field instructions)
  kCondition,         // cc_UC .. cc_ULE
  kRelative,          // rel, counted from the instruction's address + 2
  kRelativeFromNext,  // rel, counted from the following instruction
  kCaddr,             // 16-bit code address in the current segment
  kSegment,           // segment number of CALLS/JMPS, "01h"
  kTrapNumber,        // the field holds the number shifted left by 1
  kSegmentNumber,     // #seg of EXTS/EXTSR
  kPageNumber,        // #page of EXTP/EXTPR: low byte, then bits 8.. from `second`
  kCount,             // #1..#4 of the prefixes: field + 1
};

// One field of an instruction: its width (2, 4, 8 or 16; 0 for none) and its index among
// the fields of that width, as InstructionFields numbers them.
struct FieldRef {
  uint8_t width = 0;
  uint8_t index = 0;
  constexpr bool Used() const { return width != 0; }
};

constexpr FieldRef Two(uint8_t i) {
  return {2, i};
}
constexpr FieldRef Four(uint8_t i) {
  return {4, i};
}
constexpr FieldRef Eight(uint8_t i) {
  return {8, i};
}
constexpr FieldRef Sixteen(uint8_t i) {
  return {16, i};
}

struct OperandSlot {
  OperandKind kind = OperandKind::kNone;
  FieldRef field;
  FieldRef second;     // the displacement, bit number or page high bits of the kinds above
  FieldRef copy;       // a field that repeats the operand (DIV Rw: "nn")
  uint8_t digits = 0;  // hexadecimal digits of an immediate
};

// A field the instruction set fixes: value = (opcode & opcodeMask) ^ flip.
struct FixedField {
  FieldRef field;
  uint8_t opcodeMask = 0;
  uint8_t flip = 0;
  constexpr uint32_t ValueFor(uint8_t opcode) const {
    return static_cast<uint32_t>((opcode & opcodeMask) ^ flip);
  }
};

inline constexpr int kMaxOperands = 3;
inline constexpr int kMaxFixedFields = 3;

// One way a format reads. The prefix formats have several, told apart by their first 2-bit
// field (`form`), each with its own mnemonic; every other format has one, named by the
// opcode table.
struct OperandLayout {
  OperandFormat format = OperandFormat::kUndefined;
  std::string_view mnemonic;  // empty: the opcode table's
  int8_t form = -1;           // value of Two(0), or -1
  std::array<OperandSlot, kMaxOperands> operands{};
  uint8_t operandCount = 0;
  std::array<FixedField, kMaxFixedFields> fixed{};
  uint8_t fixedCount = 0;

  std::span<const OperandSlot> Operands() const { return {operands.data(), operandCount}; }
  std::span<const FixedField> Fixed() const { return {fixed.data(), fixedCount}; }
};

// The layouts of a format; empty for kUndefined.
std::span<const OperandLayout> LayoutsOf(OperandFormat format);

// The layout of a format that the instruction's form field selects, or nullptr when the
// format has no such form (ATOMIC/EXTR with form 1 or 3).
const OperandLayout* LayoutFor(OperandFormat format, uint32_t form);

}  // namespace velmora
