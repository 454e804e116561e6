// The logic of the select-range dialog, free of any widget.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

// The block sizes the dialog offers, in decimal and in this order.
inline constexpr std::array<int32_t, 14> kSelectRangeBlockSizes = {
    16,    256,   512,    1024,   2048,   4096,   8192,
    16384, 32768, 65536, 131072, 262144, 524288, 1048576};

std::string BlockSizeText(size_t index);

// The end address text for a click on a block size: start + size - 1 as six digits, held
// at FFFFFF when the block would run past the address space.
std::string EndFromBlockSize(std::string_view startText, int32_t size);

}  // namespace velmora
