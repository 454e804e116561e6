#include "core/hex_field.h"

#include <algorithm>

#include "core/hex_text.h"

namespace velmora {

bool IsValidHexField(std::string_view text, int digits) {
  return static_cast<int>(text.size()) <= digits && HexVal(text) != kNoNumber;
}

std::string SixDigitAddressText(std::string_view text) {
  const int32_t value = HexVal(text);
  return HexN(value == kNoNumber ? 0 : value, 6);
}

std::string BinaryFieldMessage(int digits) {
  return "No binary number or more than " + std::to_string(digits) + " digits !";
}

bool IsValidBinaryField(std::string_view text, int digits) {
  return static_cast<int>(text.size()) <= digits &&
         std::all_of(text.begin(), text.end(), [](char ch) { return ch == '0' || ch == '1'; });
}

}  // namespace velmora
