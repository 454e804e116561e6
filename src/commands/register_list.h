// The registers shown in the register window: a list of names kept in the settings
// (the DISPLAY= lines), whose values come from the memory image and are read from the
// target while it is connected and ready.
#pragma once

#include <cstdint>
#include <string_view>

namespace velmora {

class Link;
class MemoryImage;

// Adds a register that is not shown yet; false when it is there already or the current
// definitions do not know it.
bool AddSfr(Link& link, std::string_view name);
// Removes a shown register; false when it was not shown.
bool RemoveSfr(Link& link, std::string_view name);
// Reads every shown register from a ready target into the image, then asks for a redraw.
void RefreshSfr(Link& link);
// Drops names the current register definitions do not know (after a change of type).
void CheckSfr(Link& link);

// Reads one register (by its index in the definitions) from a ready target into the
// image, as the editor does before it shows the value. False when nothing was read.
bool ReadSfr(Link& link, int index);
// Puts a value into the image (low byte at the address, high byte above it) and, while
// the target is ready, writes the word to the target and refreshes the shown registers.
// False when the index is unknown or the target refused the write.
bool WriteSfr(Link& link, int index, uint16_t value);
// A register's value as the image holds it: the byte above the address is the high byte.
uint16_t SfrValue(const MemoryImage& image, int32_t address);

}  // namespace velmora
