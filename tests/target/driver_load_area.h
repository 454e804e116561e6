// Where a driver may be downloaded: into memory that its memory file calls RAM without any
// switching on, and clear of what the host and the monitor keep in RAM while it runs.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>

#include "driver_rig.h"

namespace velmora::test {

inline bool IsPlainRam(const MemoryUnit& unit) {
  static const std::set<std::string> kRam = {"IRAM", "DPRAM", "DSRAM", "PSRAM", "RAM"};
  return kRam.count(unit.type) != 0 && unit.activate.empty();
}

inline bool InPlainRam(const TypeDefinitions& type, int32_t address) {
  for (const auto& unit : type.units) {
    if (!IsPlainRam(unit)) continue;
    for (const auto& section : unit.sections) {
      for (const auto& region : section.regions) {
        if (address >= region.Base() && address < region.Base() + region.length) return true;
      }
    }
  }
  return false;
}

inline void ExpectSafeLoadArea(const DriverRig& rig) {
  struct Kept {
    int32_t start;
    int32_t end;  // exclusive
    const char* what;
  };
  const int32_t buffer = rig.unit().driverBufferAddress;
  const Kept kept[] = {
      {buffer, buffer + rig.unit().burstSize, "the driver buffer"},
      {0xE00024, 0xE002E8, "the monitor"},
      {0x00FA00, 0x00FC00, "the monitor's bank and the default system stack"},
      {0x00FC00, 0x00FC20, "the register bank drivers are called on"},
  };
  for (const auto& chunk : rig.assembly().chunks) {
    for (size_t i = 0; i < chunk.bytes.size(); ++i) {
      const int32_t at = chunk.address + static_cast<int32_t>(i);
      ASSERT_TRUE(InPlainRam(rig.type(), at)) << std::hex << at << " is not RAM";
      for (const auto& k : kept) {
        ASSERT_FALSE(at >= k.start && at < k.end) << std::hex << at << " is in " << k.what;
      }
    }
  }
}

}  // namespace velmora::test
