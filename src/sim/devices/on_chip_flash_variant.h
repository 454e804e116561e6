// The two on-chip flash controllers of the Korda types, as data: the word-programming
// controller of the mid generation (MORVIK) and the page-programming, sector-locking
// controller of the later generation (TOLVANE, BRASK). Status bit positions follow the
// status words of the types' memory definition files.
#pragma once

#include <cstdint>

#include "config/memory_unit.h"

namespace velmora {

struct OnChipFlashVariant {
  int32_t pageBytes;   // bytes programmed by one program command
  bool hasLocks;       // per-sector locks (LOCK/UNLOCK)
  bool hasProtection;  // global write protection (PROTECT/UNPROTECT)
  // Status register bits; 0 where the controller has no such bit.
  uint16_t busy;
  uint16_t pageMode;
  uint16_t programError;
  uint16_t eraseError;
  uint16_t sequenceError;
  uint16_t protectionError;
  uint16_t operationError;
  uint16_t supplyLow;
  uint16_t protectionInstalled;
  uint16_t writeProtectionActive;
  int blockNumberShift;  // -1: no block number field
  int blockNumberWidth;
  // Timing in microseconds.
  uint64_t programMicros;
  uint64_t eraseMicrosBase;
  uint64_t eraseMicrosPerKb;
};

inline constexpr OnChipFlashVariant kWordFlashVariant = {
    .pageBytes = 2,
    .hasLocks = false,
    .hasProtection = false,
    .busy = 1 << 0,
    .pageMode = 0,
    .programError = 1 << 1,
    .eraseError = 1 << 2,
    .sequenceError = 1 << 4,
    .protectionError = 0,
    .operationError = 0,
    .supplyLow = 1 << 3,
    .protectionInstalled = 0,
    .writeProtectionActive = 0,
    .blockNumberShift = 8,
    .blockNumberWidth = 2,
    .programMicros = 20,
    .eraseMicrosBase = 100'000,
    .eraseMicrosPerKb = 3'000,
};

inline constexpr OnChipFlashVariant kPageFlashVariant = {
    .pageBytes = 128,
    .hasLocks = true,
    .hasProtection = true,
    .busy = 1 << 0,
    .pageMode = 1 << 1,
    .programError = 1 << 2,
    .eraseError = 1 << 3,
    .sequenceError = 1 << 4,
    .protectionError = 1 << 5,
    .operationError = 1 << 6,
    .supplyLow = 0,
    .protectionInstalled = 1 << 8,
    .writeProtectionActive = 1 << 10,
    .blockNumberShift = -1,
    .blockNumberWidth = 0,
    .programMicros = 1'000,
    .eraseMicrosBase = 80'000,
    .eraseMicrosPerKb = 4'000,
};

// The later controller where the unit offers locks or protection, else the word controller;
// the page is the unit's burst size where it has one larger than a word.
OnChipFlashVariant OnChipFlashVariantFor(const MemoryUnit& unit);

}  // namespace velmora
