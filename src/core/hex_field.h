// The rule by which every dialog checks a hexadecimal input field after each change.
//
// A field is accepted when its text is no longer than the field's digit count and is a
// hexadecimal number (an empty field counts as 0). A dialog that refuses a text shows
// the field's message and puts the field back to a valid text.
#pragma once

#include <string>
#include <string_view>

namespace velmora {

struct HexField {
  int digits;
  std::string_view message;
};

bool IsValidHexField(std::string_view text, int digits);

// The text a six-digit address field shows after it loses the focus.
std::string SixDigitAddressText(std::string_view text);

// The fields of the dialogs and their messages, spelled as the dialogs show them.
namespace hex_fields {
inline constexpr HexField kSelectRangeAddress{6, "No 6-digit hexadecimal number!"};
inline constexpr HexField kPageAddress{6, "No 6-digit hexadecimal number!"};
inline constexpr HexField kRelocateAddress{6, "No 6-digit hexadecimal number !"};
inline constexpr HexField kSaveAsAddress{6, "No Hexadecimal number !"};
inline constexpr HexField kInitialRegisterValue{4, "No valid hexadecimal digit !"};
inline constexpr HexField kConfigurationAddress{6, "No hexadecimal digit !"};
inline constexpr HexField kMemoryViewByte{2, "No 2-digit hexadecimal number !"};
inline constexpr HexField kFillValue{6, "No valid hexadecimal number !"};
inline constexpr HexField kBlankValue{2, "No 2 digit hexadezimal value !"};
inline constexpr HexField kRegisterValue{4, "No 4-digit hexadezimal number !"};
}  // namespace hex_fields

// The message of the register editor's binary bit-field input.
std::string BinaryFieldMessage(int digits);
// Accepted when the text has at most digits characters, each "0" or "1".
bool IsValidBinaryField(std::string_view text, int digits);

}  // namespace velmora
