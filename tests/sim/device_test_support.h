// Shared pieces of the device tests: a type's definitions from the shipped data folder and
// a memory device that records what reaches it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/message_log.h"
#include "program_folder.h"
#include "sim/devices/board_layout.h"
#include "sim/devices/bus_device.h"

namespace velmora::test {

inline TypeDefinitions ShippedType(std::string_view name) {
  MessageLog log{"unused-log.txt"};
  auto definitions = LoadTypeDefinitions(ShippedDataFolder(), name, log);
  EXPECT_TRUE(definitions.has_value()) << name;
  return definitions ? std::move(*definitions) : TypeDefinitions{};
}

inline const MemoryUnit* UnitNamed(const TypeDefinitions& type, std::string_view name) {
  for (const auto& unit : type.units) {
    if (unit.name == name) return &unit;
  }
  return nullptr;
}

// Answers every read with its name's tag and keeps a list of the writes it was given.
class RecordingDevice : public BusDevice {
 public:
  explicit RecordingDevice(uint16_t tag) : tag_(tag) {}
  uint16_t ReadWord(int32_t) override { return tag_; }
  void WriteWord(int32_t address, uint16_t value) override { writes.push_back({address, value}); }
  struct Write {
    int32_t address;
    uint16_t value;
    friend bool operator==(const Write&, const Write&) = default;
  };
  std::vector<Write> writes;

 private:
  uint16_t tag_;
};

}  // namespace velmora::test
