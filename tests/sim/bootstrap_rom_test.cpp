// The bootstrap loader's byte sequence: noise before the zero byte, the rate taken from the
// zero byte, the identification byte at that rate, exactly 32 bytes into RAM at FA40 and
// the start there.
#include "sim/devices/bootstrap_rom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "device_test_support.h"
#include "sim/devices/board_bus.h"

namespace velmora {
namespace {

class BootstrapRomTest : public ::testing::Test {
 protected:
  void make(const char* typeName, uint32_t hz) {
    const auto type = test::ShippedType(typeName);
    clock.cpuHz = hz;
    registers = *SerialRegistersFrom(type.registers);
    channel = std::make_unique<SerialChannel>(clock, registers);
    channel->OnTransmit([this](uint8_t byte, uint64_t) { sent.push_back(byte); });
    ASSERT_TRUE(bus.map().Map(0xF600, 0x800, PageKind::Ram));
    rom =
        std::make_unique<BootstrapRom>(bus, *channel, clock, static_cast<uint8_t>(type.ids.at(0)));
    rom->OnStart([this](int32_t at) { startedAt.push_back(at); });
  }
  void flush() {
    clock.cycles += 2 * channel->FrameCycles();
    channel->Update();
  }

  VirtualClock clock;
  MemoryImage memory;
  BoardBus bus{memory};
  SerialRegisters registers;
  std::unique_ptr<SerialChannel> channel;
  std::unique_ptr<BootstrapRom> rom;
  std::vector<uint8_t> sent;
  std::vector<int32_t> startedAt;
};

TEST_F(BootstrapRomTest, TheZeroByteSetsTheNearestReloadForTheHostsRate) {
  const struct {
    uint32_t hz;
    uint32_t baud;
  } cases[] = {{20'000'000, 9600},  {20'000'000, 57600}, {20'000'000, 115200},
               {16'000'000, 19200}, {40'000'000, 9600},  {5'000'000, 300}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.hz) + " Hz at " + std::to_string(c.baud));
    sent.clear();
    make("TOLVANE", c.hz);
    rom->Receive(0x00, c.baud);
    // baud = fCPU / (32 * (S0BG + 1)), solved for the nearest S0BG.
    const auto nearest = static_cast<uint16_t>(std::lround(c.hz / (32.0 * c.baud)) - 1);
    EXPECT_EQ(channel->Peek(registers.reload), nearest);
    EXPECT_EQ(rom->ReloadFor(c.baud), nearest);
    // No other reload comes closer to the host's rate.
    const auto rate = [&](int reload) { return c.hz / (32.0 * (reload + 1)); };
    const double miss = std::abs(channel->BaudRate() - c.baud);
    EXPECT_DOUBLE_EQ(channel->BaudRate(), rate(nearest));
    EXPECT_LE(miss, std::abs(rate(nearest + 1) - c.baud));
    if (nearest > 0) {
      EXPECT_LE(miss, std::abs(rate(nearest - 1) - c.baud));
    }
    EXPECT_EQ(channel->Peek(registers.control), BootstrapRom::kChannelControl);
  }
}

TEST_F(BootstrapRomTest, AnswersTheZeroByteWithTheTypesIdentificationByte) {
  const struct {
    const char* type;
    uint8_t id;
  } cases[] = {{"KESSEL", 0x55}, {"MORVIK", 0xC5}, {"BRASK", 0xD5}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    sent.clear();
    make(c.type, 20'000'000);
    for (const uint8_t noise : {0x55, 0xFF, 0x80}) rom->Receive(noise, 9600);
    flush();
    EXPECT_TRUE(sent.empty()) << "nothing but a zero byte wakes the loader";
    EXPECT_EQ(rom->state(), BootstrapRom::State::WaitZero);
    rom->Receive(0x00, 9600);
    flush();
    EXPECT_EQ(sent, std::vector<uint8_t>{c.id});
    EXPECT_EQ(rom->state(), BootstrapRom::State::Loading);
  }
}

TEST_F(BootstrapRomTest, TakesExactly32BytesToFA40AndStartsThere) {
  make("TOLVANE", 20'000'000);
  rom->Receive(0x00, 57600);
  std::vector<uint8_t> code;
  for (int i = 0; i < BootstrapRom::kLoadLength; ++i)
    code.push_back(static_cast<uint8_t>(i * 7 + 1));
  for (size_t i = 0; i < code.size(); ++i) {
    EXPECT_TRUE(startedAt.empty()) << i;
    rom->Receive(code[i], 57600);
    EXPECT_EQ(channel->Peek(registers.receiveIc) & kInterruptRequest, 0)
        << "the loader clears the request it polled";
  }
  EXPECT_EQ(startedAt, std::vector<int32_t>{0xFA40});
  EXPECT_EQ(rom->state(), BootstrapRom::State::Started);
  EXPECT_EQ(rom->loaded(), 32);
  std::vector<uint8_t> stored(code.size());
  memory.ReadBytes(0xFA40, stored);
  EXPECT_EQ(stored, code);

  rom->Receive(0xEE, 57600);
  rom->Receive(0x00, 57600);
  EXPECT_EQ(memory.GetByte(0xFA60), 0x00) << "the 33rd byte is the loaded code's business";
  EXPECT_EQ(memory.GetByte(0xFA3F), 0x00);
  EXPECT_EQ(startedAt.size(), 1u);
  flush();
  EXPECT_EQ(sent.size(), 1u) << "only the identification byte was sent";
}

}  // namespace
}  // namespace velmora
