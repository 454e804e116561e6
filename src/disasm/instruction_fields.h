// One instruction cut into its fields by the widths of its opcode entry: four lists, one
// per width, each in the order the fields appear in the instruction.
//
// Bits are taken from the most significant bit of the first byte on; a 2- or 4-bit
// field's first bit is its most significant bit. A 16-bit field is read as two 8-bit
// halves, the first of them the low byte, because the instruction set stores its operand
// words low byte first.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "disasm/opcode_table.h"

namespace velmora {

class InstructionFields {
 public:
  static constexpr int kWidthCount = 4;  // 2, 4, 8 and 16 bits

  // Cuts bytes by entry's widths. Bits beyond the end of bytes read as 0.
  void Cut(const OpcodeEntry& entry, std::span<const uint8_t> bytes);

  // The index-th field of that width, 0 when the instruction has no such field (a table
  // edited by hand may cut an opcode differently from what its format expects).
  uint32_t Two(int index) const { return value(0, index); }
  uint32_t Four(int index) const { return value(1, index); }
  uint32_t Eight(int index) const { return value(2, index); }
  uint32_t Sixteen(int index) const { return value(3, index); }
  int Count(int widthBits) const;

 private:
  uint32_t value(int list, int index) const {
    const auto l = static_cast<size_t>(list);
    return index >= 0 && index < counts_[l] ? values_[l][static_cast<size_t>(index)] : 0;
  }

  std::array<std::array<uint32_t, OpcodeEntry::kMaxFields>, kWidthCount> values_{};
  std::array<int, kWidthCount> counts_{};
};

// The other way: writes value into the index-th field of that width of an instruction cut
// by entry's widths, the way Cut reads it back. False when the entry has no such field or
// the value does not fit it.
bool StoreField(const OpcodeEntry& entry, int widthBits, int index, uint32_t value,
                std::span<uint8_t> bytes);

}  // namespace velmora
