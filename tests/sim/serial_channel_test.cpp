// The first serial channel: where its registers are per type, frame timing at two rates and
// with the types' dividers, transmit and receive flags, overrun, and access over the bus.
#include "sim/devices/serial_channel.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device_test_support.h"
#include "sim/devices/board_bus.h"

namespace velmora {
namespace {

using namespace s0con;

constexpr uint32_t kHz = 20'000'000;
constexpr uint16_t kAsync8 = 0x0001;

struct RegisterCase {
  const char* type;
  int32_t bufferEmptyIc;
  int32_t fraction;
  bool rateSelect;
};

TEST(SerialRegisters, EachTypeHasItsChannelWhereItsDefinitionsSay) {
  const RegisterCase cases[] = {
      {"KESSEL", -1, -1, false},
      {"MORVIK", 0xF19C, -1, true},
      {"TOLVANE", 0xF19C, 0xFEB6, true},
      {"BRASK", 0xF19C, 0xFEB6, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const auto found = SerialRegistersFrom(test::ShippedType(c.type).registers);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->control, 0xFFB0);
    EXPECT_EQ(found->reload, 0xFEB4);
    EXPECT_EQ(found->transmit, 0xFEB0);
    EXPECT_EQ(found->receive, 0xFEB2);
    EXPECT_EQ(found->transmitIc, 0xFF6C);
    EXPECT_EQ(found->receiveIc, 0xFF6E);
    EXPECT_EQ(found->errorIc, 0xFF70);
    EXPECT_EQ(found->bufferEmptyIc, c.bufferEmptyIc);
    EXPECT_EQ(found->fraction, c.fraction);
    EXPECT_EQ(found->hasRateSelect, c.rateSelect);
  }
  EXPECT_FALSE(SerialRegistersFrom(RegisterTable{}).has_value());
}

struct Sent {
  uint8_t byte;
  uint64_t cycle;
  friend bool operator==(const Sent&, const Sent&) = default;
};

class SerialChannelTest : public ::testing::Test {
 protected:
  void make(const char* typeName) {
    clock.cpuHz = kHz;
    registers = *SerialRegistersFrom(test::ShippedType(typeName).registers);
    requests = 0;
    channel = std::make_unique<SerialChannel>(clock, registers);
    channel->OnTransmit([this](uint8_t byte, uint64_t cycle) { sent.push_back({byte, cycle}); });
    channel->OnRequest([this] { ++requests; });
  }
  void start(uint16_t reload, uint16_t control = kRun | kReceiverEnable | kAsync8) {
    channel->Write(registers.reload, reload);
    channel->Write(registers.control, control);
  }
  void runTo(uint64_t cycle) {
    clock.cycles = cycle;
    channel->Update();
  }
  bool requested(int32_t ic) { return (channel->Peek(ic) & kInterruptRequest) != 0; }

  VirtualClock clock;
  SerialRegisters registers;
  std::unique_ptr<SerialChannel> channel;
  std::vector<Sent> sent;
  int requests = 0;
};

// Cycles per frame from the rate formula: baud = fCPU / (prescale * 16 * (S0BG + 1)).
uint64_t frameCycles(int bits, uint64_t prescale, uint16_t reload) {
  const double baud = static_cast<double>(kHz) / (prescale * 16.0 * (reload + 1));
  return static_cast<uint64_t>(bits * kHz / baud + 0.5);
}

TEST_F(SerialChannelTest, AFrameLeavesThePinTenBitTimesAfterTheWrite) {
  make("TOLVANE");
  const struct {
    uint16_t reload;
    double baud;  // nominal rate the reload gives at 20 MHz
  } rates[] = {{64, 9615.4}, {10, 56818.2}};
  for (const auto& rate : rates) {
    SCOPED_TRACE(rate.reload);
    sent.clear();
    start(rate.reload);
    EXPECT_NEAR(channel->BaudRate(), rate.baud, 0.1);
    const uint64_t began = clock.cycles;
    const uint64_t frame = frameCycles(10, 2, rate.reload);
    channel->Write(registers.transmit, 0x5A);
    runTo(began + frame - 1);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(channel->NextEventAt(), began + frame);
    runTo(began + frame + 5);
    EXPECT_EQ(sent, (std::vector<Sent>{{0x5A, began + frame}}));
    EXPECT_EQ(channel->NextEventAt(), UINT64_MAX);
  }
}

TEST_F(SerialChannelTest, FrameLengthFollowsModeStopBitsAndDividers) {
  make("BRASK");
  const struct {
    std::string what;
    uint16_t control;
    uint16_t fraction;
    uint64_t cycles;
  } cases[] = {
      {"8N1", kAsync8, 0, frameCycles(10, 2, 20)},
      {"8N2", kAsync8 | kTwoStopBits, 0, frameCycles(11, 2, 20)},
      {"9-bit, two stops", 0x0004 | kTwoStopBits, 0, frameCycles(12, 2, 20)},
      {"7 bits and parity", 0x0003, 0, frameCycles(10, 2, 20)},
      {"rate select divides by three", kAsync8 | kRateSelect, 0, frameCycles(10, 3, 20)},
      {"fraction 256/512 halves the 16x clock", kAsync8 | kFractionalDivider, 256,
       frameCycles(10, 2, 20)},
      {"fraction 128/512", kAsync8 | kFractionalDivider, 128, frameCycles(10, 4, 20)},
      {"fraction without its enable bit", kAsync8, 128, frameCycles(10, 2, 20)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    channel->Write(registers.fraction, c.fraction);
    start(20, static_cast<uint16_t>(kRun | c.control));
    EXPECT_EQ(channel->FrameCycles(), c.cycles);
  }
}

TEST_F(SerialChannelTest, KesselIgnoresTheLaterTypesDividerBits) {
  make("KESSEL");
  start(20, kRun | kAsync8 | kRateSelect | kFractionalDivider);
  EXPECT_EQ(channel->FrameCycles(), frameCycles(10, 2, 20));
}

TEST_F(SerialChannelTest, TransmitFlagsSayBufferFreeAndFrameDonePerType) {
  const struct {
    const char* type;
    bool bufferFlagOwn;  // the type has S0TBIC
    int requests;        // buffer free twice, and frame done twice where that has a flag
  } cases[] = {{"KESSEL", false, 2}, {"TOLVANE", true, 4}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    make(c.type);
    start(10);
    const uint64_t frame = channel->FrameCycles();
    channel->Write(registers.transmit, 0x31);
    if (c.bufferFlagOwn) {
      EXPECT_TRUE(requested(registers.bufferEmptyIc));
      EXPECT_FALSE(requested(registers.transmitIc));
    } else {
      EXPECT_TRUE(requested(registers.transmitIc));
    }
    // A second byte waits for the shift register and follows the first back to back.
    channel->Write(registers.transmitIc, 0);
    if (c.bufferFlagOwn) channel->Write(registers.bufferEmptyIc, 0);
    channel->Write(registers.transmit, 0x32);
    runTo(frame);
    EXPECT_TRUE(requested(registers.transmitIc));
    if (c.bufferFlagOwn) {
      EXPECT_TRUE(requested(registers.bufferEmptyIc));
    }
    runTo(3 * frame);
    EXPECT_EQ(sent, (std::vector<Sent>{{0x31, frame}, {0x32, 2 * frame}}));
    EXPECT_EQ(requests, c.requests);
    sent.clear();
    clock.cycles = 0;
  }
}

TEST_F(SerialChannelTest, NothingLeavesUntilTheRunBitIsSet) {
  make("TOLVANE");
  start(10, kAsync8);
  clock.cycles = 1000;
  channel->Write(registers.transmit, 0x77);
  runTo(100000);
  EXPECT_TRUE(sent.empty());
  channel->Write(registers.control, kRun | kAsync8);
  runTo(100000 + channel->FrameCycles());
  EXPECT_EQ(sent, (std::vector<Sent>{{0x77, 100000 + channel->FrameCycles()}}));
}

TEST_F(SerialChannelTest, ReceivedBytesLandInTheBufferAndAnUnreadOneOverruns) {
  make("TOLVANE");
  const struct {
    std::string what;
    uint16_t control;
    bool readBetween;
    bool taken;
    bool overrun;
  } cases[] = {
      {"receiver off", kRun | kAsync8, false, false, false},
      {"channel stopped", kReceiverEnable | kAsync8, false, false, false},
      {"read in between", kRun | kReceiverEnable | kOverrunCheck | kAsync8, true, true, false},
      {"unread, overrun checked", kRun | kReceiverEnable | kOverrunCheck | kAsync8, false, true,
       true},
      {"unread, no overrun check", kRun | kReceiverEnable | kAsync8, false, true, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    channel->Read(registers.receive);
    channel->Write(registers.receiveIc, 0);
    channel->Write(registers.errorIc, 0);
    start(10, c.control);
    const int before = requests;
    EXPECT_EQ(channel->Receive(0x41), c.taken);
    EXPECT_EQ(requested(registers.receiveIc), c.taken);
    if (c.readBetween) {
      EXPECT_EQ(channel->Read(registers.receive), 0x41);
    }
    EXPECT_EQ(channel->Receive(0x42), c.taken);
    EXPECT_EQ(channel->Peek(registers.receive), c.taken ? 0x42 : 0x00);
    EXPECT_EQ((channel->Peek(registers.control) & kOverrunError) != 0, c.overrun);
    EXPECT_EQ(requested(registers.errorIc), c.overrun);
    EXPECT_EQ(requests - before, (c.taken ? 2 : 0) + (c.overrun ? 1 : 0));
    channel->Write(registers.receive, 0x99);
    EXPECT_EQ(channel->Peek(registers.receive), c.taken ? 0x42 : 0x00) << "read-only";
  }
}

TEST_F(SerialChannelTest, LoopBackReceivesWhatItSends) {
  make("MORVIK");
  start(10, kRun | kReceiverEnable | kLoopBack | kAsync8);
  channel->Write(registers.transmit, 0xC3);
  runTo(channel->FrameCycles());
  EXPECT_EQ(channel->Read(registers.receive), 0xC3);
  EXPECT_TRUE(requested(registers.receiveIc));
}

TEST_F(SerialChannelTest, TheProcessorReachesTheChannelOverTheBus) {
  make("TOLVANE");
  MemoryImage memory;
  BoardBus bus(memory);
  MapRegisterAreas(test::ShippedType("TOLVANE").registers, bus.map());
  ASSERT_TRUE(channel->Attach(bus.map()));
  bus.WriteWord(registers.reload, 10);
  bus.WriteByte(registers.control, 0x11);      // mode and receiver enable
  bus.WriteByte(registers.control + 1, 0x80);  // then the run bit alone
  EXPECT_EQ(bus.ReadWord(registers.control), 0x8011);
  bus.WriteWord(registers.transmit, 0x0048);
  runTo(channel->FrameCycles());
  EXPECT_EQ(sent, (std::vector<Sent>{{0x48, channel->FrameCycles()}}));
  channel->Receive(0x69);
  EXPECT_EQ(bus.ReadByte(registers.receiveIc) & kInterruptRequest, kInterruptRequest);
  EXPECT_EQ(bus.ReadWord(registers.receive), 0x69);
  EXPECT_EQ(memory.AllocatedSegmentCount(), 0) << "the channel's registers are its own";
}

}  // namespace
}  // namespace velmora
