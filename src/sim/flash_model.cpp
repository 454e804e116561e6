#include "sim/flash_model.h"

#include <algorithm>

namespace velmora {

using namespace flash_driver;

FlashModel::FlashModel(std::vector<FlashUnitModel> units, std::vector<uint8_t> password)
    : units_(std::move(units)), password_(std::move(password)) {
  for (auto& unit : units_) unit.locked.assign(unit.sectors.size(), false);
}

void FlashModel::Erase(MemoryImage& memory) {
  for (const auto& unit : units_) {
    for (const auto& sector : unit.sectors) {
      for (const auto& region : sector) {
        std::vector<uint8_t> blank(static_cast<size_t>(region.length), unit.blank);
        memory.StoreLoaded(region.start, blank);
      }
    }
  }
}

int FlashModel::sectorOf(const FlashUnitModel& unit, int32_t address) const {
  for (size_t s = 0; s < unit.sectors.size(); ++s) {
    for (const auto& region : unit.sectors[s]) {
      if (address >= region.start && address < region.start + region.length) return static_cast<int>(s);
    }
  }
  return -1;
}

bool FlashModel::Covers(int32_t address) const {
  return std::any_of(units_.begin(), units_.end(),
                     [&](const FlashUnitModel& unit) { return sectorOf(unit, address) >= 0; });
}

bool FlashModel::IsDriverEntry(int32_t address) const {
  return std::any_of(units_.begin(), units_.end(),
                     [address](const FlashUnitModel& unit) { return unit.driverEntry == address; });
}

std::optional<BoardRegisters> FlashModel::Call(int32_t entry, const BoardRegisters& registers,
                                               MemoryImage& memory) {
  for (auto& unit : units_) {
    if (unit.driverEntry != entry || unit.driverImage.empty()) continue;
    std::vector<uint8_t> present(unit.driverImage.size());
    memory.ReadBytes(entry, present);
    if (present == unit.driverImage) return run(unit, registers, memory);
  }
  return std::nullopt;
}

BoardRegisters FlashModel::run(FlashUnitModel& unit, BoardRegisters r, MemoryImage& memory) {
  const uint16_t function = r[0];
  const uint16_t sector = r[6];
  uint16_t result = kOk;
  switch (function) {
    case 0x00:
      result = program(unit, r, memory);
      break;
    case 0x01:
      result = erase(unit, sector, memory);
      break;
    case 0x06:
      if (sector == 0) {
        r[0] = static_cast<uint16_t>(unit.errors | (unit.protectedUnit ? kProtectionInstalledBit | kWriteProtectionActiveBit : 0));
      } else if (sector == 1) {
        uint16_t bits = 0;
        for (size_t s = 0; s < unit.locked.size() && s < 16; ++s) bits |= unit.locked[s] ? 1 << s : 0;
        r[0] = bits;
      } else {
        r[0] = kVersion;
      }
      break;
    case 0x10:
      if (sector >= unit.locked.size()) {
        result = kBadSector;
      } else {
        unit.locked[sector] = true;
      }
      break;
    case 0x11:
      if (sector >= unit.locked.size()) {
        result = kBadSector;
      } else if (!passwordMatches(r, memory)) {
        result = kWrongPassword;
      } else {
        unit.locked[sector] = false;
      }
      break;
    case 0x20:
      unit.protectedUnit = true;
      break;
    case 0x21:
      if (passwordMatches(r, memory)) {
        unit.protectedUnit = false;
      } else {
        result = kWrongPassword;
      }
      break;
    default:
      result = kUnknownFunction;
      break;
  }
  if (result == kOk && function != 0x06) unit.errors = 0;
  if (result == kWrongPassword) unit.errors |= kProtectionErrorBit;
  r[7] = result;
  return r;
}

uint16_t FlashModel::program(FlashUnitModel& unit, const BoardRegisters& r, MemoryImage& memory) {
  const uint16_t burst = r[1];
  const int32_t buffer = r[2] | (r[3] << 16);
  const int32_t flash = r[5] | (r[6] << 16);
  for (int32_t k = 0; k < burst; ++k) {
    const int sector = sectorOf(unit, flash + k);
    if (sector < 0) {
      unit.errors |= kProgramErrorBit;
      return kBadSector;
    }
    if (unit.protectedUnit || unit.locked[static_cast<size_t>(sector)]) {
      unit.errors |= kProgramErrorBit | kProtectionErrorBit;
      return kRefused;
    }
  }
  for (int32_t k = 0; k < burst; ++k) {
    const uint8_t cell = memory.GetByte(flash + k);
    memory.SetByte(flash + k, static_cast<uint8_t>(cell & memory.GetByte(buffer + k)));
  }
  return kOk;
}

uint16_t FlashModel::erase(FlashUnitModel& unit, uint16_t sector, MemoryImage& memory) {
  if (sector >= unit.sectors.size()) {
    unit.errors |= kEraseErrorBit;
    return kBadSector;
  }
  if (unit.protectedUnit || unit.locked[sector]) {
    unit.errors |= kEraseErrorBit | kProtectionErrorBit;
    return kRefused;
  }
  for (const auto& region : unit.sectors[sector]) {
    std::vector<uint8_t> blank(static_cast<size_t>(region.length), unit.blank);
    memory.StoreLoaded(region.start, blank);
  }
  return kOk;
}

// The password is staged in the driver buffer: R9 bytes at (R11 / 10 hex) * 10000 + R10,
// the buffer's upper part being passed as the address divided by 1000 hex.
bool FlashModel::passwordMatches(const BoardRegisters& r, MemoryImage& memory) const {
  const int32_t buffer = ((r[3] >> 4) << 16) | r[2];
  if (r[1] != password_.size()) return false;
  std::vector<uint8_t> given(password_.size());
  memory.ReadBytes(buffer, given);
  return given == password_;
}

}  // namespace velmora
