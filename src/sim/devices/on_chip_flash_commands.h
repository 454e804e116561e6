// The command words of the on-chip flash controller (see data/MEMDEF/ONCHIP.TXT).
#pragma once

#include <array>
#include <cstdint>

namespace velmora::onchip {

inline constexpr uint16_t kKey1 = 0x00A5;
inline constexpr uint16_t kKey2 = 0x005A;
inline constexpr uint16_t kProgram = 0x0010;
inline constexpr uint16_t kEraseSector = 0x0030;
inline constexpr uint16_t kLockSector = 0x0040;
inline constexpr uint16_t kUnlockSector = 0x0041;
inline constexpr uint16_t kProtect = 0x0050;
inline constexpr uint16_t kUnprotect = 0x0051;
inline constexpr uint16_t kClearStatus = 0x00F5;
inline constexpr uint16_t kReadArray = 0x00FF;

// The board's password for unlocking and unprotecting: "KORDA" in little-endian words.
inline constexpr std::array<uint16_t, 3> kDefaultPassword = {0x4F4B, 0x4452, 0x0041};

}  // namespace velmora::onchip
