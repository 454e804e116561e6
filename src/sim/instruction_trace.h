// A line per instruction the board's processor runs, for debugging target code: the
// address, the bytes, the instruction as the disassembler shows it, and the registers the
// instruction changed with their new values, e.g.
//
//   E0040C  99 28        MOVB    RL1,[R8+]                  R1=0031 R8=C001
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string>

#include "core/memory_image.h"
#include "disasm/instruction_decoder.h"
#include "sim/cpu/cpu.h"

namespace velmora {

class InstructionTrace {
 public:
  InstructionTrace(std::ostream& out, const OpcodeTable& opcodes, const RegisterTable& registers);

  // Around each Cpu::Step: Before reads the instruction at IP and the registers, After
  // writes the line.
  void Before(Cpu& cpu, MemoryImage& memory);
  void After(Cpu& cpu, const StepResult& result);

 private:
  static constexpr int kTracedRegisters = 16 + 12;  // R0..R15, then the core registers
  using Snapshot = std::array<uint16_t, kTracedRegisters>;
  static Snapshot take(Cpu& cpu);

  std::ostream& out_;
  InstructionDecoder decoder_;
  std::string line_;
  Snapshot before_{};
};

}  // namespace velmora
