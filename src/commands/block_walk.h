// The walk of the selections in transfer blocks: 1024 bytes, except that a remainder of
// up to 1025 bytes goes as one block.
#pragma once

#include <cstdint>
#include <functional>

#include "core/selection_list.h"

namespace velmora {

inline constexpr int32_t kTransferBlock = 1024;

// Calls transfer(address, length, runningTotal) for every block in list order; the
// running total already includes the block. A false return stops the walk (and the walk
// returns false).
bool WalkBlocks(const SelectionList& selections,
                const std::function<bool(int32_t address, int32_t length, int64_t total)>& transfer);

// A count as the progress lines write it: decimal with a leading blank for the sign.
std::string SignedDecimal(int64_t value);

}  // namespace velmora
