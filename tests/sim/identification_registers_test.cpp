// The identification and reset configuration registers: values from the type database,
// read-only on the bus, absent on types without them.
#include "sim/devices/identification_registers.h"

#include <gtest/gtest.h>

#include "device_test_support.h"
#include "sim/devices/board_bus.h"

namespace velmora {
namespace {

TEST(IdentificationRegisters, ValuesComeFromTheTypeDatabaseAndCannotBeWritten) {
  const struct {
    const char* type;
    size_t count;  // registers the type has
  } cases[] = {{"KESSEL", 0}, {"MORVIK", 0}, {"TOLVANE", 6}, {"BRASK", 6}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const auto type = test::ShippedType(c.type);
    IdentificationRegisters ids(IdentificationValuesFor(type.registers, type.ids));
    ASSERT_EQ(ids.registers().size(), c.count);
    if (c.count == 0) continue;

    MemoryImage memory;
    BoardBus bus(memory);
    MapRegisterAreas(type.registers, bus.map());
    ASSERT_TRUE(ids.Attach(bus.map()));
    const auto at = [&](const char* name) {
      return type.registers.At(type.registers.FindRegister(name)).address;
    };
    EXPECT_EQ(bus.ReadWord(at("IDMANUF")), type.ids.at(1));
    EXPECT_EQ(bus.ReadWord(at("IDMEM")), type.ids.at(2));
    EXPECT_EQ(bus.ReadWord(at("IDCHIP")), 0x0C02);
    EXPECT_EQ(bus.ReadWord(at("RSTCFG")), 0x6600);
    for (const auto& reg : ids.registers()) {
      const uint16_t before = bus.ReadWord(reg.address);
      bus.WriteWord(reg.address, static_cast<uint16_t>(~before));
      bus.WriteByte(reg.address + 1, 0x00);
      EXPECT_EQ(bus.ReadWord(reg.address), before) << reg.name;
    }
    EXPECT_EQ(memory.AllocatedSegmentCount(), 0);
  }
}

}  // namespace
}  // namespace velmora
