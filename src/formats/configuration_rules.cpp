#include "formats/configuration_rules.h"

#include "core/hex_field.h"
#include "core/hex_text.h"

namespace velmora {

std::optional<std::string_view> CheckInitRegisterText(std::string_view text, bool isGenericAddress) {
  if (isGenericAddress) {
    if (HexVal(text) == kNoNumber) return configuration_messages::kGenericAddress;
    return std::nullopt;
  }
  if (!IsValidHexField(text, 4)) return configuration_messages::kRegisterValue;
  return std::nullopt;
}

std::string InitRegisterTextOnLeave(std::string_view text, bool isGenericAddress) {
  if (text.empty()) return {};
  const int32_t value = HexVal(text);
  return value == kNoNumber ? std::string{} : HexN(value, isGenericAddress ? 6 : 4);
}

bool IsRegisterReference(std::string_view text, const RegisterTable& registers) {
  return (!text.empty() && HexVal(text) != kNoNumber) || registers.FindRegister(text) >= 0;
}

}  // namespace velmora
