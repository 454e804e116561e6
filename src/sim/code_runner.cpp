#include "sim/code_runner.h"

#include <array>
#include <span>

#include "disasm/instruction_fields.h"
#include "disasm/instruction_flow.h"
#include "disasm/operand_formats.h"

namespace velmora {
namespace {

constexpr uint8_t kCalls = 0xDA;  // CALLS seg,addr: what a breakpoint plants
constexpr int32_t kBreakCallLength = 4;

int32_t word(MemoryImage& memory, int32_t address) {
  return memory.GetByte(address) | (memory.GetByte(address + 1) << 8);
}

int32_t farTarget(MemoryImage& memory, int32_t at) {
  return (memory.GetByte(at + 1) << 16) | word(memory, at + 2);
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
  InstructionFields fields;
  int32_t at = start;
  for (int step = 0; step < kMaxInstructionsPerRun; ++step) {
    if (!MemoryImage::InRange(at)) return std::nullopt;
    if (breakCallAt(memory, at, breakEntry)) return at;
    const uint8_t opcode = memory.GetByte(at);
    const OpcodeEntry& entry = opcodes.At(opcode);
    if (!entry.Defined()) return std::nullopt;  // the program runs off into data
    if (coveredInPart(memory, at, entry.length, breakEntry)) return std::nullopt;
    std::array<uint8_t, OpcodeTable::kMaxLength> bytes{};
    memory.ReadBytes(at, std::span<uint8_t>(bytes.data(), static_cast<size_t>(entry.length)));
    fields.Cut(entry, std::span<const uint8_t>(bytes.data(), static_cast<size_t>(entry.length)));
    const Flow flow = FlowOf(opcode, FormatOf(opcode), fields, at, entry.length);
    const bool followed = flow.kind == FlowKind::kJump || flow.kind == FlowKind::kCall;
    if (followed && flow.target) {
      at = *flow.target;
      continue;
    }
    at = (at & 0xFF0000) | ((at + entry.length) & 0xFFFF);
  }
  return std::nullopt;
}

}  // namespace velmora
