// How a register's sixteen bits split into the boxes of the register editor: one box per
// bit field, from bit 15 down, and a disabled box for every bit no field covers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velmora {
struct RegisterDefinition;
}

namespace velmora::ui {

// The definitions keep a field's name and width at its highest bit; the field takes that
// bit and the width - 1 bits below it.
struct BitField {
  int high = 0;
  int width = 1;
  std::string name;
  bool used = true;  // false: a bit no field of the definitions covers

  int Low() const { return high - width + 1; }
  uint16_t Mask() const { return static_cast<uint16_t>(((1u << width) - 1) << Low()); }
  // The field's bits of value as a binary number of exactly `width` digits.
  std::string Digits(uint16_t value) const;
  // value with the field's bits replaced by bits (cut to the width).
  uint16_t Replace(uint16_t value, uint16_t bits) const;
};

// The fields from bit 15 down. A field that would reach below bit 0 is cut there; a bit
// named inside a wider field above it belongs to that field and gets no box of its own.
std::vector<BitField> BitFieldsOf(const RegisterDefinition& reg);

}  // namespace velmora::ui
