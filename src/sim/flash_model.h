// The board's programmable memories and the drivers that program them.
//
// Cells read as the blank value after an erase; programming can only clear bits, so
// programming over data that was not erased leaves the AND of old and new. A sector lock
// or the unit's protection refuses programming and erasing until it is lifted with the
// password, which the host stages in the driver buffer. Plain writes through the monitor
// do not change flash, as on a real chip.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/memory_image.h"

namespace velmora {

using BoardRegisters = std::array<uint16_t, 8>;  // R8 .. R15 of a call

struct FlashRegion {
  int32_t start;
  int32_t length;
};

struct FlashUnitModel {
  std::string name;
  uint8_t blank = 0xFF;
  std::vector<std::vector<FlashRegion>> sectors;  // the unit's sections
  int32_t driverEntry = -1;                       // where its driver image starts
  std::vector<uint8_t> driverImage;
  bool protectedUnit = false;
  std::vector<bool> locked;
  uint16_t errors = 0;  // error bits of status word 0 since the last successful operation
};

// Driver results in R15 and the bits of status word 0.
namespace flash_driver {
inline constexpr uint16_t kOk = 0;
inline constexpr uint16_t kRefused = 1;        // locked sector or protected unit
inline constexpr uint16_t kBadSector = 2;
inline constexpr uint16_t kWrongPassword = 3;
inline constexpr uint16_t kUnknownFunction = 4;
inline constexpr uint16_t kVersion = 0x0102;   // status word 2: version 1, revision 2

inline constexpr uint16_t kProgramErrorBit = 1 << 2;
inline constexpr uint16_t kEraseErrorBit = 1 << 3;
inline constexpr uint16_t kProtectionErrorBit = 1 << 5;
inline constexpr uint16_t kProtectionInstalledBit = 1 << 8;
inline constexpr uint16_t kWriteProtectionActiveBit = 1 << 10;
}  // namespace flash_driver

class FlashModel {
 public:
  FlashModel() = default;
  FlashModel(std::vector<FlashUnitModel> units, std::vector<uint8_t> password);

  // Every flash cell starts erased.
  void Erase(MemoryImage& memory);
  bool Covers(int32_t address) const;
  bool IsDriverEntry(int32_t address) const;
  // Runs the driver whose image is in memory at entry; nullopt when none is (a call into
  // memory that holds no driver runs off into the weeds and never returns).
  std::optional<BoardRegisters> Call(int32_t entry, const BoardRegisters& registers,
                                     MemoryImage& memory);

  const std::vector<FlashUnitModel>& units() const { return units_; }
  std::vector<FlashUnitModel>& units() { return units_; }

 private:
  BoardRegisters run(FlashUnitModel& unit, BoardRegisters r, MemoryImage& memory);
  uint16_t program(FlashUnitModel& unit, const BoardRegisters& r, MemoryImage& memory);
  uint16_t erase(FlashUnitModel& unit, uint16_t sector, MemoryImage& memory);
  bool passwordMatches(const BoardRegisters& r, MemoryImage& memory) const;
  int sectorOf(const FlashUnitModel& unit, int32_t address) const;

  std::vector<FlashUnitModel> units_;
  std::vector<uint8_t> password_;
};

}  // namespace velmora
