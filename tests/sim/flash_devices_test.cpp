// Each type's flash units behind the bus: the external chip answers autoselect at its base
// and programs a word, the on-chip controller programs a page, both through BoardBus.
#include "sim/devices/flash_devices.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "device_test_support.h"
#include "sim/devices/board_bus.h"
#include "sim/devices/jedec_flash16.h"
#include "sim/devices/on_chip_flash_commands.h"

namespace velmora {
namespace {

struct TypeBoard {
  explicit TypeBoard(const char* name) : type(test::ShippedType(name)), bus(memory) {
    MapMemoryUnits(type.units, bus.map(), [&](const MemoryUnit& unit) {
      BlankFlashUnit(unit, memory);
      devices[unit.name] = MakeFlashDevice(unit, memory, clock);
      return devices[unit.name].get();
    });
    MapRegisterAreas(type.registers, bus.map());
  }
  void elapse(uint64_t micros) { clock.cycles += clock.CyclesFromMicros(micros); }

  TypeDefinitions type;
  MemoryImage memory;
  VirtualClock clock;
  BoardBus bus;
  std::map<std::string, std::unique_ptr<BusDevice>> devices;
};

TEST(FlashDevices, TheExternalChipAnswersAtItsBaseOnEveryType) {
  const struct {
    const char* type;
    int32_t base;
  } cases[] = {
      {"KESSEL", 0x000000}, {"MORVIK", 0x080000}, {"TOLVANE", 0x080000}, {"BRASK", 0x080000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    TypeBoard board(c.type);
    auto& bus = board.bus;
    const auto unlock = [&] {
      bus.WriteWord(c.base + 2 * jedec::kUnlockWord1, jedec::kUnlock1);
      bus.WriteWord(c.base + 2 * jedec::kUnlockWord2, jedec::kUnlock2);
    };
    unlock();
    bus.WriteWord(c.base + 2 * jedec::kUnlockWord1, jedec::kAutoselect);
    EXPECT_EQ(bus.ReadWord(c.base), JedecIdentity{}.maker);
    EXPECT_EQ(bus.ReadWord(c.base + 2), JedecIdentity{}.device);
    bus.WriteWord(c.base, jedec::kReset);
    EXPECT_EQ(bus.ReadWord(c.base), 0xFFFF);

    const int32_t target = c.base + 0x10000 + 0x40;
    unlock();
    bus.WriteWord(c.base + 2 * jedec::kUnlockWord1, jedec::kProgram);
    bus.WriteWord(target, 0x1357);
    EXPECT_NE(bus.ReadWord(target), bus.ReadWord(target)) << "DQ6 toggles while busy";
    board.elapse(JedecTiming{}.wordProgramMicros);
    EXPECT_EQ(bus.ReadWord(target), 0x1357);
    EXPECT_EQ(board.memory.GetByte(target + 1), 0x13) << "the monitor sees the cell";
  }
}

TEST(FlashDevices, TheOnChipFlashProgramsThroughTheBus) {
  const struct {
    const char* type;
    int32_t page;
    int32_t pageBytes;
  } cases[] = {{"MORVIK", 0x018000, 2}, {"TOLVANE", 0xC02000, 128}, {"BRASK", 0xC30000, 128}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    TypeBoard board(c.type);
    auto& bus = board.bus;
    EXPECT_EQ(bus.ReadWord(c.page), 0xFFFF) << "fresh from the factory";
    bus.WriteWord(c.page, onchip::kKey1);
    bus.WriteWord(c.page, onchip::kKey2);
    bus.WriteWord(c.page, onchip::kProgram);
    for (int32_t i = 0; i < c.pageBytes; i += 2) bus.WriteWord(c.page + i, 0x2468);
    EXPECT_EQ(bus.ReadWord(c.page) & 1, 1) << "busy";
    board.elapse(1000);
    EXPECT_EQ(bus.ReadWord(c.page) & 0xFF, 0) << "done without error";
    bus.WriteWord(c.page, onchip::kReadArray);
    EXPECT_EQ(bus.ReadWord(c.page + c.pageBytes - 2), 0x2468);
    EXPECT_EQ(bus.ReadWord(c.page + c.pageBytes), 0xFFFF);
  }
}

TEST(FlashDevices, OnlyFlashUnitsGetADevice) {
  const auto type = test::ShippedType("BRASK");
  MemoryImage memory;
  VirtualClock clock;
  for (const auto& unit : type.units) {
    const bool flash = unit.type == "FLASH" || unit.type == "IFLASH";
    EXPECT_EQ(MakeFlashDevice(unit, memory, clock) != nullptr, flash) << unit.name;
  }
}

}  // namespace
}  // namespace velmora
