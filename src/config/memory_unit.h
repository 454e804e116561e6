// The memories of a board as the host must know them to load code into them and to
// program them: units with sections of address regions, activation and mapping
// registers, and the driver that programs the unit.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

inline constexpr int kMaxMemoryUnits = 33;
inline constexpr int kMaxActivateRegisters = 6;
inline constexpr int kMaxSections = 21;
inline constexpr int kMaxRegionsPerSection = 5;
inline constexpr int kMaxFeatures = 21;
inline constexpr int kMaxStatusWords = 21;

inline constexpr std::array<std::string_view, 14> kMemoryTypeNames = {
    "IRAM",   "XRAM", "RAM",  "IROM", "ROM",   "OTP",   "IEEPROM",
    "EEPROM", "IFLASH", "FLASH", "XPER", "DPRAM", "PSRAM", "DSRAM"};

inline constexpr std::array<std::string_view, 7> kFeatureNames = {
    "ERASE", "PROGRAM", "STATUS", "LOCK", "UNLOCK", "PROTECT", "UNPROTECT"};

struct MemoryRegion {
  int32_t startAddress = 0;
  int32_t length = 0;
  bool hasMapping = false;
  int32_t mapAddress = 0;
  std::string mapRegister;
  int32_t mapMask = 0;
  bool mapped = false;

  // Where the region is seen now: its map address while mapped, else its start.
  int32_t Base() const { return mapped ? mapAddress : startAddress; }
  friend bool operator==(const MemoryRegion&, const MemoryRegion&) = default;
};

struct MemorySection {
  std::vector<MemoryRegion> regions;  // at most kMaxRegionsPerSection
  friend bool operator==(const MemorySection&, const MemorySection&) = default;
};

// One named bit or bit field of a driver's status word; width 0 means no text.
struct StatusBitText {
  std::string text;
  int32_t width = 0;
  friend bool operator==(const StatusBitText&, const StatusBitText&) = default;
};

using StatusWord = std::array<StatusBitText, 16>;

struct ActivateEntry {
  std::string reg;  // an SFR name or a hexadecimal address
  int32_t mask = 0;
  friend bool operator==(const ActivateEntry&, const ActivateEntry&) = default;
};

struct MemoryUnit {
  std::string name;
  std::string type = "RAM";
  int32_t blank = 0x00;
  int32_t burstSize = 1;
  std::vector<ActivateEntry> activate;  // at most kMaxActivateRegisters
  std::vector<MemorySection> sections;  // at most kMaxSections
  std::string driverPath;
  std::vector<std::string> features;  // at most kMaxFeatures
  int32_t driverBufferAddress = 0xFC80;
  std::vector<StatusWord> statusWords;  // at most kMaxStatusWords
  bool activated = false;
  // Run time only: this unit's driver is the one in target RAM, called at driverEntry.
  bool driverLoaded = false;
  int32_t driverEntry = 0;

  // Switched on by the user, or needing no switch at all.
  bool Usable() const { return activated || activate.empty(); }
  bool HasMapping() const;
  bool HasFeature(std::string_view feature) const;
  // Appends a feature unless it is there already or the list is full; false when not added.
  bool AddFeature(const std::string& feature);

  friend bool operator==(const MemoryUnit& a, const MemoryUnit& b) {
    return a.name == b.name && a.type == b.type && a.blank == b.blank &&
           a.burstSize == b.burstSize && a.activate == b.activate && a.sections == b.sections &&
           a.driverPath == b.driverPath && a.features == b.features &&
           a.driverBufferAddress == b.driverBufferAddress && a.statusWords == b.statusWords &&
           a.activated == b.activated;
  }
};

// Where an address lies: indexes of unit, section and region, or all -1.
struct MemoryLocation {
  int unit = -1;
  int section = -1;
  int region = -1;
  bool Found() const { return unit >= 0; }
  friend bool operator==(const MemoryLocation&, const MemoryLocation&) = default;
};

// The region that holds the address among the usable units; when ranges overlap, the last
// match in (unit, section, region) order wins.
MemoryLocation FindMemoryRegion(const std::vector<MemoryUnit>& units, int32_t address);

// Toggles the Activated flag; units without activation registers cannot be toggled.
bool ToggleActivation(MemoryUnit& unit);
// Toggles Mapped on every mappable region of the unit.
bool ToggleMapping(MemoryUnit& unit);

}  // namespace velmora
