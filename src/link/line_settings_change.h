// Taking new communication settings into use, as the settings dialog's OK does: the port
// is opened anew, and a connected target's baud-rate generator is set for the new rate
// while the host still talks at the old one.
#pragma once

#include <cstdint>
#include <string_view>

namespace velmora {

class Link;

inline constexpr std::string_view kPortNotAvailableMessage =
    "Communication Port not available ! Please select a different port !";

// The reload value of the serial channel's baud-rate generator: clock / ((S0BRS + 2) x 16 x
// baud) - 1, rounded to the nearest integer with halves to the even neighbour.
int32_t BaudRateReload(double clockHz, int32_t baudRate, int s0brs);

// False (with the message box, and the dialog to stay open) when the port cannot be opened.
bool ApplyCommunicationSettings(Link& link);

}  // namespace velmora
