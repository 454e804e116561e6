// How far the virtual board follows code to a planted breakpoint: jumps and calls whose
// target is in the instruction, as the decoder's flow gives them; conditional branches
// and everything else run on in a straight line.
#include "sim/code_runner.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "decoder_fixture.h"

namespace velmora {
namespace {

constexpr int32_t kBreakEntry = 0x00F600;
const std::vector<uint8_t> kBreakCall = {0xDA, 0x00, 0x00, 0xF6};  // CALLS 00h,F600h

struct RunCase {
  std::string what;
  std::vector<uint8_t> code;  // at 012000h
  int32_t breakAt;            // where the planted call stands
  std::optional<int32_t> stop;
};

TEST(CodeRunner, FollowsUnconditionalFlowToTheBreakpoint) {
  const RunCase cases[] = {
      {"straight on", {0x00, 0x12, 0xCC, 0x00}, 0x012004, 0x012004},
      {"JMPR cc_UC", {0x0D, 0x02}, 0x012006, 0x012006},
      {"JMPR cc_Z is not taken", {0x2D, 0x02, 0xCC, 0x00}, 0x012004, 0x012004},
      {"JMPA cc_UC stays in the segment", {0xEA, 0x00, 0x00, 0x30}, 0x013000, 0x013000},
      {"JMPA cc_C is not taken", {0xEA, 0x80, 0x00, 0x30}, 0x012004, 0x012004},
      {"CALLA cc_UC", {0xCA, 0x00, 0x10, 0x30}, 0x013010, 0x013010},
      {"CALLR", {0xBB, 0x7F}, 0x012100, 0x012100},
      {"JMPS leaves the segment", {0xFA, 0x04, 0x00, 0x10}, 0x041000, 0x041000},
      {"PCALL", {0xE2, 0xF2, 0x00, 0x28}, 0x012800, 0x012800},
      {"JB is not taken", {0x8A, 0x88, 0x10, 0xB0}, 0x012004, 0x012004},
      {"into data: undefined opcode", {0x00, 0x12, 0xC1, 0x00}, 0x012010, std::nullopt},
  };
  for (const auto& c : cases) {
    MemoryImage memory;
    memory.StoreLoaded(0x012000, c.code);
    memory.StoreLoaded(c.breakAt, kBreakCall);
    EXPECT_EQ(RunUntilBreak(memory, test::Shipped().opcodes, 0x012000, kBreakEntry), c.stop)
        << c.what;
  }
}

TEST(CodeRunner, AJumpToItselfNeverComesBack) {
  MemoryImage memory;
  memory.StoreLoaded(0x012000, std::vector<uint8_t>{0x0D, 0xFF});  // JMPR cc_UC,$
  EXPECT_EQ(RunUntilBreak(memory, test::Shipped().opcodes, 0x012000, kBreakEntry), std::nullopt);
}

}  // namespace
}  // namespace velmora
