// Walks the `defined` bytes inside the selections in pieces of at most maxLength bytes
// that never cross a 64 KB boundary: the shape of the records that save only what holds
// a value.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "core/memory_image.h"
#include "core/selection_list.h"

namespace velmora {

// visit(address, bytes) for each piece in ascending order; a false return stops the walk,
// and then so does ForEachDefinedRun's (false).
bool ForEachDefinedRun(MemoryImage& image, const SelectionList& selections, int maxLength,
                       const std::function<bool(int32_t, std::span<const uint8_t>)>& visit);

}  // namespace velmora
