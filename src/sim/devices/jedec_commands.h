// The command cycles and status bits of the JEDEC flash command set, as a driver sees them.
#pragma once

#include <cstdint>

namespace velmora::jedec {

// Word offsets from the chip base of the unlock and command cycles.
inline constexpr int32_t kUnlockWord1 = 0x555;
inline constexpr int32_t kUnlockWord2 = 0x2AA;

inline constexpr uint8_t kUnlock1 = 0xAA;
inline constexpr uint8_t kUnlock2 = 0x55;
inline constexpr uint8_t kProgram = 0xA0;
inline constexpr uint8_t kEraseSetup = 0x80;
inline constexpr uint8_t kChipErase = 0x10;
inline constexpr uint8_t kSectorErase = 0x30;
inline constexpr uint8_t kAutoselect = 0x90;
inline constexpr uint8_t kReset = 0xF0;

// Status bits while an operation runs.
inline constexpr uint16_t kDataPolling = 1 << 7;  // DQ7
inline constexpr uint16_t kToggle = 1 << 6;       // DQ6
inline constexpr uint16_t kTimeLimit = 1 << 5;    // DQ5
inline constexpr uint16_t kEraseTimer = 1 << 3;   // DQ3
inline constexpr uint16_t kToggle2 = 1 << 2;      // DQ2

// Autoselect words (offsets in words from the chip base).
inline constexpr int32_t kMakerWord = 0;
inline constexpr int32_t kDeviceWord = 1;
inline constexpr int32_t kProtectWord = 2;

}  // namespace velmora::jedec
