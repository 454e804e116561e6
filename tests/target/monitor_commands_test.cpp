// Every command of the monitor on both lines, byte for byte as the protocol gives them.
#include <gtest/gtest.h>

#include "monitor_commands.h"
#include "sim/devices/memory_map.h"
#include "target_host.h"

namespace velmora::test {
namespace {

constexpr int32_t kInternalRam = 0x00F600;
constexpr int32_t kExternalRam = 0xE08000;
constexpr int32_t kDataRam = 0x00C000;
constexpr int32_t kProgram = 0xE00600;

uint8_t Xor(const Bytes& bytes) {
  uint8_t sum = 0;
  for (uint8_t byte : bytes) sum ^= byte;
  return sum;
}

Bytes Pattern(size_t count, uint8_t seed) {
  Bytes out(count);
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(seed + i * 37 + (i >> 3));
  return out;
}

class Commands : public ::testing::TestWithParam<LineForm> {
 protected:
  void SetUp() override { ASSERT_EQ(host.Boot(GetParam()).back(), kApplicationStarted); }
  Bytes inMemory(int32_t address, size_t count) {
    Bytes out(count);
    host.memory().ReadBytes(address, out);
    return out;
  }

  TargetHost host{GetParam().oneWire};
};

TEST_P(Commands, PlainCommandsAnswerBothAcknowledges) {
  for (uint8_t command : {kTestComm, kEinit, kTestComm}) {
    EXPECT_EQ(Plain(host, command, 2), (Bytes{kAck1, kAck2})) << int{command};
  }
  EXPECT_TRUE(host.machine().cpu().initDone()) << "EINIT ran";
}

TEST_P(Commands, UnknownBytesGetNoAnswer) {
  for (uint8_t noise : {0x00, 0x01, 0x55, 0x83, 0x86, 0xFF, 0x8A, 0x03}) {
    EXPECT_TRUE(host.Exchange({noise}, 1, 0.05).empty()) << int{noise};
  }
  EXPECT_EQ(Plain(host, kTestComm, 2), (Bytes{kAck1, kAck2}));
}

TEST_P(Commands, BlockWriteStoresAndTheChecksumIsItsXor) {
  struct Case {
    int32_t address;
    size_t count;
  };
  const Case cases[] = {{kInternalRam, 1}, {kExternalRam, 300}, {kDataRam + 0x101, 7}};
  for (const Case& c : cases) {
    const Bytes data = Pattern(c.count, static_cast<uint8_t>(c.address));
    EXPECT_EQ(WriteBlock(host, c.address, data), (Bytes{kAck1, kAck2}));
    EXPECT_EQ(inMemory(c.address, c.count), data) << std::hex << c.address;
    EXPECT_EQ(Plain(host, kGetChecksum, 3), (Bytes{kAck1, Xor(data), kAck2}));
  }
}

TEST_P(Commands, BlockReadAnswersTheBytesAndTheirXor) {
  for (const int32_t address : {kInternalRam + 0x40, kExternalRam + 3}) {
    const Bytes data = Pattern(40, 0x5A);
    host.memory().StoreLoaded(address, data);
    EXPECT_EQ(ReadBlock(host, address, 40), Concat({{kAck1}, data, {kAck2}}));
    EXPECT_EQ(Plain(host, kGetChecksum, 3), (Bytes{kAck1, Xor(data), kAck2}))
        << "the checksum follows the last block read as well";
  }
}

TEST_P(Commands, BlocksGoOnInTheNextSegment) {
  host.machine().bus().map().Map(0xE10000, MemoryMap::kPageSize, PageKind::Ram);
  const Bytes data = Pattern(24, 0x11);
  EXPECT_EQ(WriteBlock(host, 0xE0FFF4, data), (Bytes{kAck1, kAck2}));
  EXPECT_EQ(inMemory(0xE0FFF4, 24), data);
  EXPECT_EQ(inMemory(0xE10000, 12), Bytes(data.begin() + 12, data.end())) << "not back in E00000";
  EXPECT_EQ(ReadBlock(host, 0xE0FFF4, 24), Concat({{kAck1}, data, {kAck2}}));
}

TEST_P(Commands, WordWriteStoresAWord) {
  EXPECT_EQ(WriteWord(host, kInternalRam + 0x20, 0xBEEF), (Bytes{kAck1, kAck2}));
  EXPECT_EQ(inMemory(kInternalRam + 0x20, 2), (Bytes{0xEF, 0xBE}));
  EXPECT_EQ(WriteWord(host, kExternalRam + 0x100, 0x1234), (Bytes{kAck1, kAck2}));
  EXPECT_EQ(inMemory(kExternalRam + 0x100, 2), (Bytes{0x34, 0x12}));
  // The stack pointer is the live one: the host pops a break's frame this way.
  EXPECT_EQ(WriteWord(host, 0x00FE12, 0xFB80), (Bytes{kAck1, kAck2}));
  EXPECT_EQ(host.machine().cpu().Registers().sp, 0xFB80);
}

TEST_P(Commands, CallRunsARoutineOnTheUsersBank) {
  const TargetImage crc = AssembleTargetFile("routines/crc16.asm");
  ASSERT_EQ(WriteBlock(host, crc.address, crc.bytes), (Bytes{kAck1, kAck2}));
  const uint16_t sp = ReadWord(host, 0x00FE12);
  const std::string text = "123456789";
  const Bytes check(text.begin(), text.end());
  ASSERT_EQ(WriteBlock(host, kDataRam, check), (Bytes{kAck1, kAck2}));

  const Registers in = {kDataRam, 0x0000, 9, 0x1111, 0x2222, 0x3333, 0x4444, 0x5555};
  const Bytes answer = Call(host, crc.address, in);
  ASSERT_EQ(answer.size(), 18u);
  EXPECT_EQ(answer.front(), kAck1);
  EXPECT_EQ(answer.back(), kAck2);
  // R8 = the CRC, R9 = the segment after the block, R10 = 0; R11 and R12 are the routine's
  // working registers (the CRC and the bit count); R13..R15 as they were sent.
  EXPECT_EQ(RegistersIn(answer), (Registers{0x29B1, 0x0000, 0, 0x29B1, 0, 0x3333, 0x4444, 0x5555}));
  EXPECT_EQ(Plain(host, kGetChecksum, 3), (Bytes{kAck1, Xor(check), kAck2}))
      << "a call's registers are no block: the checksum is still the last block's";
  EXPECT_EQ(ReadWord(host, 0x00FE12), sp) << "the stack is as it was";
}

TEST_P(Commands, GoStartsAProgramThatGivesTheLineBack) {
  const TargetImage program = AssembleTargetText(R"(
        ORG   0E00600h
        MOV   R5,#0A5A5h
        EXTS  #0,#1
        MOV   0F700h,R5
        JMPS  0E0h,0028h          ; the monitor's return entry
)");
  ASSERT_EQ(WriteBlock(host, program.address, program.bytes), (Bytes{kAck1, kAck2}));
  const uint16_t sp = ReadWord(host, 0x00FE12);
  EXPECT_EQ(Go(host, program.address, 1), (Bytes{kAck1, kAck2, kAck2}));
  EXPECT_EQ(inMemory(0x00F700, 2), (Bytes{0xA5, 0xA5}));
  const uint16_t cp = ReadWord(host, 0x00FE10);
  EXPECT_EQ(ReadWord(host, cp + 2 * 5), 0xA5A5) << "R5 of the user's bank";
  EXPECT_EQ(ReadWord(host, 0x00FE12), sp) << "Go pushes nothing";
  EXPECT_EQ(Plain(host, kTestComm, 2), (Bytes{kAck1, kAck2}));
}

TEST_P(Commands, SoftwareResetAnswersThenRestartsTheController) {
  EXPECT_EQ(Plain(host, kSwReset, 2), (Bytes{kAck1, kAck2}));
  bool reset = false;
  for (int step = 0; step < 1000 && !reset; ++step)
    reset = host.machine().Step().kind == StepKind::kSoftwareReset;
  EXPECT_TRUE(reset);
  EXPECT_TRUE(host.Exchange({kTestComm}, 1, 0.05).empty()) << "no monitor after the reset";
}

INSTANTIATE_TEST_SUITE_P(Lines, Commands, ::testing::Values(kTwoWire, kOneWire), LineFormName());

}  // namespace
}  // namespace velmora::test
