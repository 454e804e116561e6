// The input rules of the configuration dialog and the memory unit editor, with the texts
// their message boxes show, so that the dialogs only display and a test can check them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "formats/register_table.h"

namespace velmora {

namespace configuration_messages {
inline constexpr std::string_view kRegisterValue = "No valid hexadecimal digit !";
inline constexpr std::string_view kGenericAddress = "No hexadecimal digit !";
inline constexpr std::string_view kBlank = "No 2 digit hexadezimal value !";
inline constexpr std::string_view kBurstSize = "No hexadezimal value !";
inline constexpr std::string_view kRegionField = "No hexadezimal Number";
inline constexpr std::string_view kActivateRegister = "No hexadezimal Number or valid SFR name";
inline constexpr std::string_view kMissingStartOrLength = "Please insert at least start address and length";
inline constexpr std::string_view kDriverMissing = "File does not exist !";
inline constexpr std::string_view kLoadDefaultUnits = "Do you want to load default memory units of this Type ?";
}  // namespace configuration_messages

// A register value box of the configuration dialog: the message to show for the text
// typed so far, or nullopt when it is accepted (empty counts as accepted).
std::optional<std::string_view> CheckInitRegisterText(std::string_view text, bool isGenericAddress);

// The text a box shows after it loses the focus: the value in 4 digits (6 for the generic
// addresses); empty stays empty. A box that is not empty afterwards checks its register.
std::string InitRegisterTextOnLeave(std::string_view text, bool isGenericAddress);

// An activation or map register: a hexadecimal address or the name of a known register.
bool IsRegisterReference(std::string_view text, const RegisterTable& registers);

}  // namespace velmora
