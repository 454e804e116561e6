// The routines in target/routines, assembled from their sources and called on the
// processor the way the monitor calls them: the results in R8..R15 against the same
// arithmetic done here.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "asm/assembler.h"
#include "core/memory_image.h"
#include "decoder_fixture.h"
#include "sim/cpu/cpu.h"
#include "sim/cpu/image_bus.h"
#include "sim/program_run.h"

namespace velmora {
namespace {

constexpr MonitorExits kMonitor{0xE00028, 0xE00024};
constexpr int32_t kCrc16 = 0xE00400;
constexpr int32_t kBlockCopy = 0xE00480;
constexpr int32_t kDivide32 = 0xE00500;

class TargetRoutines : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"crc16", "block_copy", "divide32"}) {
      const auto assembly = assembler::Assemble(std::string(VELMORA_TARGET_DIR) + "/routines/" +
                                                    name + ".asm",
                                                test::Shipped().opcodes, test::Shipped().registers);
      ASSERT_TRUE(assembly.Ok()) << assembly.errors.front().Format();
      for (const auto& chunk : assembly.chunks) memory.StoreLoaded(chunk.address, chunk.bytes);
    }
    cpu.Reset();
  }

  // R8.. in, R8..R15 out.
  std::vector<uint16_t> call(int32_t routine, std::vector<uint16_t> in) {
    for (size_t k = 0; k < in.size(); ++k) cpu.SetGpr(8 + static_cast<int>(k), in[k]);
    const uint16_t sp = cpu.PeekWord(0xFE12);
    const RunOutcome outcome = CallOnProcessor(cpu, routine, kMonitor, 1 << 24);
    EXPECT_EQ(outcome.end, RunEnd::kReturned);
    EXPECT_EQ(cpu.PeekWord(0xFE12), sp) << "the stack is left as it was";
    std::vector<uint16_t> out;
    for (int n = 8; n < 16; ++n) out.push_back(cpu.Gpr(n));
    return out;
  }

  MemoryImage memory;
  ImageBus bus{memory};
  Cpu cpu{bus, test::Shipped().opcodes};
};

uint16_t Crc16(const std::vector<uint8_t>& bytes) {
  uint16_t crc = 0xFFFF;
  for (uint8_t byte : bytes) {
    crc ^= static_cast<uint16_t>(byte << 8);
    for (int bit = 0; bit < 8; ++bit)
      crc = static_cast<uint16_t>((crc & 0x8000) ? (crc << 1) ^ 0x1021 : crc << 1);
  }
  return crc;
}

TEST_F(TargetRoutines, Crc16OverBlocksInAnySegment) {
  const std::string check = "123456789";
  memory.StoreLoaded(0x00C000, std::vector<uint8_t>(check.begin(), check.end()));
  EXPECT_EQ(call(kCrc16, {0xC000, 0x0000, 9})[0], 0x29B1);
  EXPECT_EQ(call(kCrc16, {0xC000, 0x0000, 0})[0], 0xFFFF);

  // 300 bytes that start 100 bytes before the end of segment 3 go on in segment 4.
  std::vector<uint8_t> block(300);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<uint8_t>(i * 7 + 3);
  memory.StoreLoaded(0x03FF9C, block);
  const auto out = call(kCrc16, {0xFF9C, 0x0003, 300});
  EXPECT_EQ(out[0], Crc16(block));
  EXPECT_EQ(out[1], 0x0004);
  EXPECT_EQ(out[2], 0);
}

TEST_F(TargetRoutines, BlockCopyCrossesSegments) {
  std::vector<uint8_t> source(2 * 200);
  for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i ^ 0x5A);
  memory.StoreLoaded(0x01FF00, source);  // runs into segment 2
  const auto out = call(kBlockCopy, {0xFF00, 0x0001, 0xFFC0, 0x00E0, 200});
  std::vector<uint8_t> copied(source.size());
  memory.ReadBytes(0xE0FFC0, copied);  // runs into segment E1
  EXPECT_EQ(copied, source);
  EXPECT_EQ(out[0], 0x0090);  // 01FF00 + 400 = 020090
  EXPECT_EQ(out[1], 0x0002);
  EXPECT_EQ(out[2], 0x0150);  // E0FFC0 + 400 = E10150
  EXPECT_EQ(out[3], 0x00E1);
  EXPECT_EQ(out[4], 0);
  EXPECT_EQ(memory.GetByte(0xE10150), 0) << "nothing written beyond the block";
}

TEST_F(TargetRoutines, Divide32AgreesWithTheHost) {
  const uint32_t cases[][2] = {
      {100, 7},          {0xFFFFFFFF, 1},          {0xFFFFFFFF, 0xFFFFFFFF}, {0x12345678, 0x10000},
      {0x80000000, 3},   {0xFFFFFFFE, 0x80000001}, {5, 0x12345678},          {0, 9},
      {0xDEADBEEF, 0xBEEF}, {1000000000, 999999999},
  };
  for (const auto& [dividend, divisor] : cases) {
    const auto out = call(kDivide32, {static_cast<uint16_t>(dividend), static_cast<uint16_t>(dividend >> 16),
                                      static_cast<uint16_t>(divisor), static_cast<uint16_t>(divisor >> 16)});
    const uint32_t quotient = out[0] | (uint32_t{out[1]} << 16);
    const uint32_t remainder = out[2] | (uint32_t{out[3]} << 16);
    EXPECT_EQ(quotient, dividend / divisor) << dividend << " / " << divisor;
    EXPECT_EQ(remainder, dividend % divisor) << dividend << " % " << divisor;
  }
  // By zero: every round subtracts nothing.
  const auto out = call(kDivide32, {0x5678, 0x1234, 0, 0});
  EXPECT_EQ(out[0], 0xFFFF);
  EXPECT_EQ(out[1], 0xFFFF);
  EXPECT_EQ(out[2], 0x5678);
  EXPECT_EQ(out[3], 0x1234);
}

}  // namespace
}  // namespace velmora
