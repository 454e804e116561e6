// Operations of the memory image over the selection list, and the image side of moving
// the monitor to a new address.
#pragma once

#include <cstdint>

#include "core/memory_image.h"
#include "core/selection_list.h"

namespace velmora {

enum class FillWidth { Byte, Word };

// Writes value into every selected byte (byte width) or every word that a selected byte
// lies in (word width: low byte at the even address, high byte after it). Each written
// byte gets `defined` set and `valid` cleared.
void FillSelections(MemoryImage& image, const SelectionList& selections, int32_t value,
                    FillWidth width);

// Clear/unread: every selected byte loses `defined` and `valid`; data stays.
void UnreadSelections(MemoryImage& image, const SelectionList& selections);

struct MonitorArea {
  int32_t start;
  int32_t end;
  friend bool operator==(const MonitorArea&, const MonitorArea&) = default;
};

inline constexpr MonitorArea kDefaultMonitorArea{0xE00024, 0xE002E7};

enum class RelocationResult { Moved, OutsideAddressSpace, OverlapsCurrentArea };

// Copies the monitor's bytes from area to the new start: the new area gets all three
// flags, the old one loses them (its data stays). On success area becomes the new area.
// An area that would leave the address space or overlap the current one is refused and
// nothing changes.
RelocationResult RelocateMonitorImage(MemoryImage& image, MonitorArea& area, int32_t newStart);

}  // namespace velmora
