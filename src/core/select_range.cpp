#include "core/select_range.h"

#include <algorithm>

#include "core/hex_text.h"

namespace velmora {

std::string BlockSizeText(size_t index) {
  return index < kSelectRangeBlockSizes.size() ? std::to_string(kSelectRangeBlockSizes[index])
                                               : std::string{};
}

std::string EndFromBlockSize(std::string_view startText, int32_t size) {
  const int32_t start = std::max(HexVal(startText), 0);
  const int64_t end = std::min<int64_t>(int64_t{start} + size - 1, kHighestAddress);
  return HexN(static_cast<int32_t>(end), 6);
}

}  // namespace velmora
