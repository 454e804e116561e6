#include "ui/register_bit_fields.h"

#include <algorithm>

#include "formats/register_table.h"

namespace velmora::ui {

std::string BitField::Digits(uint16_t value) const {
  std::string digits;
  for (int b = high; b >= Low(); --b) digits += (value >> b & 1) != 0 ? '1' : '0';
  return digits;
}

uint16_t BitField::Replace(uint16_t value, uint16_t bits) const {
  return static_cast<uint16_t>((value & ~Mask()) | ((bits << Low()) & Mask()));
}

std::vector<BitField> BitFieldsOf(const RegisterDefinition& reg) {
  std::vector<BitField> fields;
  for (int bit = 15; bit >= 0;) {
    const int width = std::min<int>(reg.fieldWidths[static_cast<size_t>(bit)], bit + 1);
    if (width == 0) {
      fields.push_back({bit, 1, {}, false});
      --bit;
      continue;
    }
    fields.push_back({bit, width, reg.bitNames[static_cast<size_t>(bit)], true});
    bit -= width;
  }
  return fields;
}

}  // namespace velmora::ui
