// The loader and the monitor core as the bootstrap ROM and the loader take them: sizes and
// places, and a start from the zero byte to the monitor's first answer on both lines.
#include <gtest/gtest.h>

#include "monitor_commands.h"
#include "target_host.h"

namespace velmora::test {
namespace {

constexpr uint8_t kIdentification = 0xD5;  // TOLVANE's bootstrap byte in the type database
constexpr int32_t kLoaderAddress = 0x00FA40;
constexpr size_t kLoaderLength = 32;

TEST(TargetImages, LoadersAndCoresHaveTheSizesTheirTakersCount) {
  struct Case {
    const char* file;
    int32_t address;
    size_t length;
  };
  const Case cases[] = {
      {kTwoWire.loader, kLoaderAddress, kLoaderLength},
      {kOneWire.loader, kLoaderAddress, kLoaderLength},
      {kTwoWire.monitor, kMonitorStart, kMonitorLength},
      {kOneWire.monitor, kMonitorStart, kMonitorLength},
  };
  for (const Case& c : cases) {
    const TargetImage image = AssembleTargetFile(c.file);
    EXPECT_EQ(image.address, c.address) << c.file;
    EXPECT_EQ(image.bytes.size(), c.length) << c.file;
  }
}

class Start : public ::testing::TestWithParam<LineForm> {};

TEST_P(Start, TheLoaderTakesTheCoreAndTheMonitorAnswers) {
  TargetHost host(GetParam().oneWire);
  const TargetImage core = AssembleTargetFile(GetParam().monitor);
  EXPECT_EQ(host.Boot(AssembleTargetFile(GetParam().loader), core),
            (Bytes{kIdentification, kLoaderStarted, kApplicationStarted}));
  Bytes inRam(core.bytes.size());
  host.memory().ReadBytes(kMonitorStart, inRam);
  EXPECT_EQ(inRam, core.bytes);
  if (GetParam().oneWire) {
    EXPECT_EQ(host.memory().GetByte(kMonitorStart - 1), kLoaderStarted)
        << "the echo of the loader's byte lands below the monitor";
  }
  EXPECT_EQ(Plain(host, kTestComm, 2), (Bytes{kAck1, kAck2}));
}

TEST_P(Start, TheLoaderIsSilentUntilTheCoreIsComplete) {
  TargetHost host(GetParam().oneWire);
  const TargetImage core = AssembleTargetFile(GetParam().monitor);
  ASSERT_EQ(host.Exchange({0x00}, 1), Bytes{kIdentification});
  ASSERT_EQ(host.Exchange(AssembleTargetFile(GetParam().loader).bytes, 1), Bytes{kLoaderStarted});
  const Bytes allButOne(core.bytes.begin(), core.bytes.end() - 1);
  EXPECT_TRUE(host.Exchange(allButOne, 1).empty());
  EXPECT_EQ(host.Exchange({core.bytes.back()}, 1), Bytes{kApplicationStarted});
}

INSTANTIATE_TEST_SUITE_P(Lines, Start, ::testing::Values(kTwoWire, kOneWire), LineFormName());

}  // namespace
}  // namespace velmora::test
