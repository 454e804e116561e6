// The channel switch: the monitor gives the second serial channel the first one's rate and
// mode and serves there from then on. TOLVANE has no second asynchronous channel, so this
// board gets one at the addresses the monitor uses for it (those of the first-generation
// members); the line to it is driven here, a frame per byte.
#include <gtest/gtest.h>

#include "monitor_commands.h"
#include "sim/devices/serial_channel.h"
#include "target_host.h"

namespace velmora::test {
namespace {

SerialRegisters SecondChannel(bool rateSelect) {
  SerialRegisters at;
  at.control = 0xFFB8;
  at.reload = 0xFEBC;
  at.transmit = 0xFEB8;
  at.receive = 0xFEBA;
  at.transmitIc = 0xFF72;
  at.receiveIc = 0xFF74;
  at.errorIc = 0xFF76;
  at.hasRateSelect = rateSelect;
  return at;
}

class ChannelSwitch : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(host.Boot(kTwoWire).back(), kApplicationStarted);
    SerialChannel* attached = host.machine().AttachSecondChannel(
        SecondChannel(host.machine().serial().registers().hasRateSelect));
    ASSERT_NE(attached, nullptr);
    second = attached;
    second->OnTransmit([this](uint8_t byte, uint64_t) { heard.push_back(byte); });
  }
  // Bytes from the host on the second channel; what came back within `seconds`.
  Bytes onSecond(const Bytes& bytes, size_t count, double seconds = 0.2) {
    heard.clear();
    for (uint8_t byte : bytes) {
      second->Receive(byte);
      host.machine().Run(second->FrameCycles());
    }
    const double limit = host.Seconds() + seconds;
    while (heard.size() < count && host.Seconds() < limit) host.machine().Run(1000);
    return heard;
  }

  TargetHost host{false};
  SerialChannel* second = nullptr;
  Bytes heard;
};

TEST_F(ChannelSwitch, TheMonitorAnswersAndServesOnItsSecondChannel) {
  const Bytes acks{kAck1, kAck2};
  EXPECT_EQ(Plain(host, kSwitchChannel, 2), acks);
  EXPECT_TRUE(onSecond({0x7F}, 1).empty()) << "it waits for the zero byte";
  EXPECT_EQ(onSecond({0x00}, 2), (Bytes{0x55, 0xD5}));
  EXPECT_DOUBLE_EQ(second->BaudRate(), host.machine().serial().BaudRate());
  EXPECT_EQ(onSecond({kTestComm}, 2), acks);
  EXPECT_TRUE(host.Exchange({kTestComm}, 1, 0.05).empty()) << "the first channel is left";

  // A program loaded and started there breaks back into the monitor, which answers there.
  const TargetImage program = AssembleTargetText("ORG 0E00600h\nCALLS 0E0h,0024h");
  EXPECT_EQ(onSecond({kWriteBlock}, 1), Bytes{kAck1});
  const Bytes header = Concat({Address(program.address), Word(4)});
  EXPECT_EQ(onSecond(Concat({header, program.bytes}), 1), Bytes{kAck2});
  EXPECT_EQ(onSecond({kGo}, 1), Bytes{kAck1});
  EXPECT_EQ(onSecond(Address(program.address), 2), (Bytes{kAck2, kApplicationStarted}));
  EXPECT_TRUE(host.Listen(0.05).empty());
}

}  // namespace
}  // namespace velmora::test
