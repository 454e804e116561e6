// Whether the addresses a job is about lie in the board's memory units, before anything
// is sent: a job refuses addresses the configuration does not know instead of letting
// the operations skip them silently.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "config/memory_unit.h"
#include "core/selection_list.h"

namespace velmora {

struct MemoryGap {
  int32_t address;
  std::string reason;  // "no memory unit holds C20000", "unit DPRAM has no flash driver"
};

// The first address of the ranges that no usable unit holds (or, with needDriver, that
// lies in a unit without a flash driver).
std::optional<MemoryGap> FirstGap(const std::vector<MemoryUnit>& units, const SelectionList& ranges,
                                  bool needDriver);

// Indexes of the units that hold any address of the ranges, in unit order.
std::vector<int> UnitsTouched(const std::vector<MemoryUnit>& units, const SelectionList& ranges);

}  // namespace velmora
