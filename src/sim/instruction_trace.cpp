#include "sim/instruction_trace.h"

#include <cstdio>
#include <string_view>

#include "disasm/decoded_instruction.h"

namespace velmora {
namespace {

struct TracedRegister {
  std::string_view name;
  int32_t address;
};

// The core registers after R0..R15, in the order the trace names them.
constexpr std::array<TracedRegister, 12> kCoreRegisters{{
    {"PSW", 0xFF10},
    {"SP", 0xFE12},
    {"CP", 0xFE10},
    {"DPP0", 0xFE00},
    {"DPP1", 0xFE02},
    {"DPP2", 0xFE04},
    {"DPP3", 0xFE06},
    {"MDH", 0xFE0C},
    {"MDL", 0xFE0E},
    {"MDC", 0xFF0E},
    {"STKOV", 0xFE14},
    {"STKUN", 0xFE16},
}};

std::string hex(uint32_t value, int digits) {
  char text[12];
  std::snprintf(text, sizeof text, "%0*X", digits, value);
  return text;
}

}  // namespace

InstructionTrace::InstructionTrace(std::ostream& out, const OpcodeTable& opcodes,
                                   const RegisterTable& registers)
    : out_(out), decoder_(opcodes, registers) {}

InstructionTrace::Snapshot InstructionTrace::take(Cpu& cpu) {
  Snapshot snapshot{};
  for (int n = 0; n < 16; ++n) snapshot[static_cast<size_t>(n)] = cpu.Gpr(n);
  for (size_t k = 0; k < kCoreRegisters.size(); ++k)
    snapshot[16 + k] = cpu.PeekWord(kCoreRegisters[k].address);
  return snapshot;
}

void InstructionTrace::Before(Cpu& cpu, MemoryImage& memory) {
  const DecodedInstruction instruction = decoder_.Decode(memory, cpu.Ip());
  std::string bytes;
  for (int i = 0; i < instruction.length; ++i) {
    if (i > 0) bytes += ' ';
    bytes += hex(memory.GetByte(instruction.address + i), 2);
  }
  line_ = hex(static_cast<uint32_t>(instruction.address), 6) + "  " + bytes;
  line_.resize(6 + 2 + 11 + 2, ' ');
  line_ += FormatInstruction(instruction);
  before_ = take(cpu);
}

void InstructionTrace::After(Cpu& cpu, const StepResult& result) {
  const Snapshot after = take(cpu);
  std::string changes;
  for (size_t k = 0; k < after.size(); ++k) {
    if (after[k] == before_[k]) continue;
    const std::string name =
        k < 16 ? "R" + std::to_string(k) : std::string(kCoreRegisters[k - 16].name);
    changes += ' ' + name + '=' + hex(after[k], 4);
  }
  if (result.kind == StepKind::kTrapEntered) changes += " (trap)";
  if (result.kind == StepKind::kInterruptEntered) changes += " (interrupt)";
  if (!changes.empty()) {
    if (line_.size() < 62) line_.resize(62, ' ');
    line_ += changes;
  }
  out_ << line_ << '\n';
}

}  // namespace velmora
