// The registers shown in the register window: a list of names kept in the settings
// (the DISPLAY= lines), whose values come from the memory image and are read from the
// target while it is connected and ready.
#pragma once

#include <string_view>

namespace velmora {

class Link;

// Adds a register that is not shown yet; false when it is there already.
bool AddSfr(Link& link, std::string_view name);
// Removes a shown register; false when it was not shown.
bool RemoveSfr(Link& link, std::string_view name);
// Reads every shown register from a ready target into the image, then asks for a redraw.
void RefreshSfr(Link& link);
// Drops names the current register definitions do not know (after a change of type).
void CheckSfr(Link& link);

}  // namespace velmora
