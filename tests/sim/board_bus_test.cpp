// The board's memory map per controller type (who answers which address) and the bus over
// the memory image: RAM, read-only and unmapped pages, devices and register hooks.
#include "sim/devices/board_bus.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "device_test_support.h"
#include "sim/devices/board_layout.h"

namespace velmora {
namespace {

using test::RecordingDevice;

// A board of a type with a recording device on every flash unit, tagged by its unit's order.
struct MappedType {
  explicit MappedType(const std::string& name) : type(test::ShippedType(name)), bus(memory) {
    uint16_t tag = 0x100;
    refused = MapMemoryUnits(type.units, bus.map(), [&](const MemoryUnit& unit) {
      devices[unit.name] = std::make_unique<RecordingDevice>(tag++);
      return devices[unit.name].get();
    });
    MapRegisterAreas(type.registers, bus.map());
  }
  // The unit name whose device answers, "" when no device does.
  std::string deviceAt(int32_t address) const {
    for (const auto& [unit, device] : devices) {
      if (bus.map().DeviceAt(address) == device.get()) return unit;
    }
    return "";
  }

  TypeDefinitions type;
  MemoryImage memory;
  BoardBus bus;
  std::map<std::string, std::unique_ptr<RecordingDevice>> devices;
  int refused = 0;
};

struct MapCase {
  const char* type;
  int32_t address;
  PageKind kind;
  const char* device;  // the flash unit that answers, "" for none
};

TEST(BoardBusMap, EachTypeAnswersItsAddressesFromItsMemoryDefinitions) {
  const MapCase cases[] = {
      // External flash from 0 below the internal RAM; no ESFR area on the oldest type.
      {"KESSEL", 0x000000, PageKind::Device, "XFLASH"},
      {"KESSEL", 0x00F000, PageKind::Device, "XFLASH"},
      {"KESSEL", 0x00F9FE, PageKind::Device, "XFLASH"},
      {"KESSEL", 0x00FA00, PageKind::Ram, ""},
      {"KESSEL", 0x00FDFF, PageKind::Ram, ""},
      {"KESSEL", 0x00FE00, PageKind::Registers, ""},
      {"KESSEL", 0x01FFFE, PageKind::Device, "XFLASH"},
      {"KESSEL", 0x020000, PageKind::Ram, ""},
      {"KESSEL", 0x030000, PageKind::Unmapped, ""},
      // On-chip flash in segment 0 and from 18000h, XRAM and CAN window, ESFR area.
      {"MORVIK", 0x000000, PageKind::Device, "IFLASH"},
      {"MORVIK", 0x007FFE, PageKind::Device, "IFLASH"},
      {"MORVIK", 0x008000, PageKind::Unmapped, ""},
      {"MORVIK", 0x018000, PageKind::Device, "IFLASH"},
      {"MORVIK", 0x02FFFE, PageKind::Device, "IFLASH"},
      {"MORVIK", 0x00E000, PageKind::Ram, ""},
      {"MORVIK", 0x00EF00, PageKind::Ram, ""},
      {"MORVIK", 0x00F000, PageKind::Registers, ""},
      {"MORVIK", 0x00F1FE, PageKind::Registers, ""},
      {"MORVIK", 0x00F200, PageKind::Unmapped, ""},
      {"MORVIK", 0x00F600, PageKind::Ram, ""},
      {"MORVIK", 0x080000, PageKind::Device, "XFLASH"},
      {"MORVIK", 0x100000, PageKind::Unmapped, ""},
      // Sectored flash at C00000, data and program RAM, external flash.
      {"TOLVANE", 0xC00000, PageKind::Device, "IFLASH"},
      {"TOLVANE", 0xC1FFFE, PageKind::Device, "IFLASH"},
      {"TOLVANE", 0xC20000, PageKind::Unmapped, ""},
      {"TOLVANE", 0x00C000, PageKind::Ram, ""},
      {"TOLVANE", 0x00D000, PageKind::Unmapped, ""},
      {"TOLVANE", 0xE007FE, PageKind::Ram, ""},
      {"TOLVANE", 0xE00800, PageKind::Unmapped, ""},
      {"TOLVANE", 0x0FFFFE, PageKind::Device, "XFLASH"},
      {"TOLVANE", 0x00FFFE, PageKind::Registers, ""},
      {"BRASK", 0xC3FFFE, PageKind::Device, "IFLASH"},
      {"BRASK", 0x00DFFE, PageKind::Ram, ""},
      {"BRASK", 0xE00FFE, PageKind::Ram, ""},
      {"BRASK", 0x00EF00, PageKind::Ram, ""},
      {"BRASK", 0x00F100, PageKind::Registers, ""},
  };
  std::map<std::string, std::unique_ptr<MappedType>> boards;
  for (const auto& c : cases) {
    auto& board = boards[c.type];
    if (!board) board = std::make_unique<MappedType>(c.type);
    SCOPED_TRACE(std::string(c.type) + " " + std::to_string(c.address));
    EXPECT_EQ(board->refused, 0);
    EXPECT_EQ(board->bus.map().KindAt(c.address), c.kind);
    EXPECT_EQ(board->deviceAt(c.address), c.device);
  }
}

TEST(BoardBusMap, RefusesRangesOffPageBoundariesAndDevicelessDevicePages) {
  MemoryMap map;
  RecordingDevice device(1);
  EXPECT_FALSE(map.Map(0x1080, 0x100, PageKind::Ram));
  EXPECT_FALSE(map.Map(0x1000, 0x180, PageKind::Ram));
  EXPECT_FALSE(map.Map(0xFFFF00, 0x200, PageKind::Ram));
  EXPECT_FALSE(map.Map(0x1000, 0x100, PageKind::Device));
  EXPECT_FALSE(map.Map(0x1000, 0x100, PageKind::Ram, &device));
  EXPECT_EQ(map.KindAt(0x1000), PageKind::Unmapped);
  EXPECT_EQ(map.KindAt(0x1100), PageKind::Unmapped);
  EXPECT_FALSE(map.MapRegisters(0xE000, 0x100));
  EXPECT_FALSE(map.MapRegisters(0xFF00, 0x200)) << "registers end at FFFF";
  EXPECT_EQ(map.KindAt(0x10000), PageKind::Unmapped);
  EXPECT_FALSE(map.AttachHook(0xFE00, nullptr)) << "not a register page yet";
}

TEST(BoardBusMemory, RamKeepsLittleEndianWordsAndBytesInTheImage) {
  MemoryImage memory;
  BoardBus bus(memory);
  ASSERT_TRUE(bus.map().Map(0xF600, 0x800, PageKind::Ram));
  bus.WriteWord(0xF601, 0x1234);  // the processor clears bit 0; so does the bus
  EXPECT_EQ(memory.GetByte(0xF600), 0x34);
  EXPECT_EQ(memory.GetByte(0xF601), 0x12);
  bus.WriteByte(0xF603, 0xAB);
  EXPECT_EQ(bus.ReadWord(0xF602), 0xAB00);
  EXPECT_EQ(bus.ReadByte(0xF601), 0x12);
  memory.SetByte(0xFDFF, 0x77);
  EXPECT_EQ(bus.ReadWord(0xFDFE), 0x7700);
}

TEST(BoardBusMemory, ReadOnlyAndUnmappedPagesDropWritesAndUnmappedReadsOpenBus) {
  MemoryImage memory;
  BoardBus bus(memory);
  ASSERT_TRUE(bus.map().Map(0x10000, 0x100, PageKind::Rom));
  memory.SetByte(0x10000, 0x5A);
  bus.WriteByte(0x10000, 0x00);
  bus.WriteWord(0x10000, 0x0000);
  EXPECT_EQ(bus.ReadByte(0x10000), 0x5A);

  memory.SetByte(0x20000, 0x11);
  bus.WriteWord(0x20002, 0x2222);
  EXPECT_EQ(bus.ReadWord(0x20000), MemoryMap::kOpenBus);
  EXPECT_EQ(bus.ReadByte(0x20001), 0xFF);
  EXPECT_EQ(memory.GetByte(0x20002), 0x00);
  EXPECT_EQ(bus.ReadWord(0x1020000), MemoryMap::kOpenBus) << "addresses wrap at 24 bits";
}

TEST(BoardBusMemory, DevicesGetWordsAndByteLanes) {
  MemoryImage memory;
  BoardBus bus(memory);
  RecordingDevice device(0xBEEF);
  ASSERT_TRUE(bus.map().Map(0x80000, 0x10000, PageKind::Device, &device));
  bus.WriteWord(0x80AAA, 0x00AA);
  bus.WriteByte(0x80555, 0x55);
  bus.WriteByte(0x80554, 0x66);
  EXPECT_EQ(bus.ReadWord(0x80000), 0xBEEF);
  EXPECT_EQ(bus.ReadByte(0x80001), 0xBE);
  EXPECT_EQ(bus.ReadByte(0x80000), 0xEF);
  const std::vector<RecordingDevice::Write> expected = {
      {0x80AAA, 0x00AA}, {0x80554, 0x5500}, {0x80554, 0x0066}};
  EXPECT_EQ(device.writes, expected);
  EXPECT_TRUE(memory.AllocatedSegmentCount() == 0) << "device pages never touch the image";
}

// A register that remembers its value and counts the processor's reads.
class CountingRegister : public RegisterHook {
 public:
  uint16_t Read(int32_t) override {
    ++reads;
    return value;
  }
  uint16_t Peek(int32_t) override { return value; }
  void Write(int32_t address, uint16_t written) override {
    lastAddress = address;
    value = written;
  }
  uint16_t value = 0x1234;
  int reads = 0;
  int32_t lastAddress = -1;
};

TEST(BoardBusRegisters, HookedRegistersAnswerForThemselvesAndOthersLiveInTheImage) {
  MemoryImage memory;
  BoardBus bus(memory);
  ASSERT_TRUE(bus.map().MapRegisters(0xFE00, 0x200));
  CountingRegister reg;
  ASSERT_TRUE(bus.map().AttachHook(0xFFB0, &reg));

  EXPECT_EQ(bus.ReadWord(0xFFB0), 0x1234);
  EXPECT_EQ(bus.ReadByte(0xFFB1), 0x12);
  EXPECT_EQ(bus.PeekWord(0xFFB0), 0x1234);
  EXPECT_EQ(reg.reads, 2) << "a peek is not a read";

  bus.WriteByte(0xFFB1, 0x80);  // the low byte keeps its value
  EXPECT_EQ(reg.value, 0x8034);
  EXPECT_EQ(reg.lastAddress, 0xFFB0);
  bus.WriteByte(0xFFB0, 0x11);
  EXPECT_EQ(reg.value, 0x8011);
  EXPECT_EQ(memory.GetByte(0xFFB0), 0x00) << "a hooked register is not stored in the image";

  bus.WriteWord(0xFE12, 0xFBFE);
  EXPECT_EQ(memory.GetByte(0xFE12), 0xFE);
  EXPECT_EQ(bus.ReadWord(0xFE12), 0xFBFE);
  bus.WriteByte(0xFE13, 0x12);
  EXPECT_EQ(bus.ReadWord(0xFE12), 0x12FE);
}

}  // namespace
}  // namespace velmora

namespace velmora {
namespace {

// RAM and ROM pages are served from the image's bytes once touched; a map changed after
// that must be obeyed, and a ROM page never takes a write through the shortcut.
TEST(BoardBusShortcuts, AChangedMapIsObeyedAfterPagesWereTouched) {
  MemoryImage memory;
  BoardBus bus(memory);
  bus.map().Map(0x010000, 0x200, PageKind::Ram);
  bus.map().Map(0x010200, 0x100, PageKind::Rom);
  memory.SetByte(0x010200, 0x5A);

  bus.WriteWord(0x010000, 0xA55A);
  EXPECT_EQ(bus.ReadWord(0x010000), 0xA55A);
  EXPECT_EQ(memory.GetByte(0x010001), 0xA5) << "the image holds what the processor wrote";
  EXPECT_EQ(bus.ReadByte(0x010200), 0x5A);
  bus.WriteByte(0x010200, 0x00);
  bus.WriteWord(0x010200, 0x0000);
  EXPECT_EQ(bus.ReadByte(0x010200), 0x5A) << "ROM stays as it is";

  bus.map().Map(0x010000, 0x100, PageKind::Unmapped);
  EXPECT_EQ(bus.ReadWord(0x010000), MemoryMap::kOpenBus);
  bus.WriteWord(0x010000, 0x1111);
  EXPECT_EQ(memory.GetByte(0x010000), 0x5A) << "a write to an unmapped page goes nowhere";
  bus.WriteWord(0x010100, 0x2222);
  EXPECT_EQ(bus.ReadWord(0x010100), 0x2222) << "the next page is still RAM";
}

}  // namespace
}  // namespace velmora
