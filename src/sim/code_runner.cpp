#include "sim/code_runner.h"

namespace velmora {
namespace {

// Opcodes of the flow instructions the board follows.
constexpr uint8_t kJmpa = 0xEA;        // EA c0 aaaa: jump absolute when c is cc_UC
constexpr uint8_t kCalla = 0xCA;       // CA c0 aaaa
constexpr uint8_t kJmps = 0xFA;        // FA ss aaaa: jump to segment ss
constexpr uint8_t kCalls = 0xDA;       // DA ss aaaa: far call (what a breakpoint plants)
constexpr uint8_t kCallr = 0xBB;       // BB rr: call relative
constexpr uint8_t kJmprAlways = 0x0D;  // 0D rr: JMPR cc_UC
constexpr uint8_t kUnconditional = 0x00;
constexpr int32_t kBreakCallLength = 4;

int32_t word(MemoryImage& memory, int32_t address) {
  return memory.GetByte(address) | (memory.GetByte(address + 1) << 8);
}

int32_t farTarget(MemoryImage& memory, int32_t at) {
  return (memory.GetByte(at + 1) << 16) | word(memory, at + 2);
}

int32_t relativeTarget(MemoryImage& memory, int32_t at) {
  const auto rel = static_cast<int8_t>(memory.GetByte(at + 1));
  return (at & 0xFF0000) | ((at + 2 + 2 * rel) & 0xFFFF);
}

bool breakCallAt(MemoryImage& memory, int32_t at, int32_t breakEntry) {
  return MemoryImage::InRange(at) && MemoryImage::InRange(at + kBreakCallLength - 1) &&
         memory.GetByte(at) == kCalls && farTarget(memory, at) == breakEntry;
}

// A planted call that begins inside the instruction at `at`, or ends inside it.
bool coveredInPart(MemoryImage& memory, int32_t at, int length, int32_t breakEntry) {
  for (int32_t start = at - kBreakCallLength + 1; start < at + length; ++start) {
    if (start != at && breakCallAt(memory, start, breakEntry)) return true;
  }
  return false;
}

}  // namespace

std::optional<int32_t> RunUntilBreak(MemoryImage& memory, const OpcodeTable& opcodes, int32_t start,
                                     int32_t breakEntry) {
  int32_t at = start;
  for (int step = 0; step < kMaxInstructionsPerRun; ++step) {
    if (!MemoryImage::InRange(at)) return std::nullopt;
    if (breakCallAt(memory, at, breakEntry)) return at;
    const uint8_t opcode = memory.GetByte(at);
    const OpcodeEntry& entry = opcodes.At(opcode);
    if (!entry.Defined()) return std::nullopt;  // the program runs off into data
    if (coveredInPart(memory, at, entry.length, breakEntry)) return std::nullopt;
    const int32_t segment = at & 0xFF0000;
    if (opcode == kCalls || opcode == kJmps) {
      at = farTarget(memory, at);
      continue;
    }
    if ((opcode == kJmpa || opcode == kCalla) && (memory.GetByte(at + 1) >> 4) == kUnconditional) {
      at = segment | word(memory, at + 2);
      continue;
    }
    if (opcode == kJmprAlways || opcode == kCallr) {
      at = relativeTarget(memory, at);
      continue;
    }
    at = segment | ((at + entry.length) & 0xFFFF);
  }
  return std::nullopt;
}

}  // namespace velmora
