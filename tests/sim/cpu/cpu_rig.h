// A processor over a memory image with the shipped opcode table, and the rows the
// instruction tests are written in: the state before, the instruction bytes, the state
// after.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/memory_image.h"
#include "disasm/opcode_table.h"
#include "sim/cpu/cpu.h"
#include "sim/cpu/image_bus.h"

namespace velmora::test {

// The status word flags, as rows spell them.
inline constexpr uint16_t kN = 1, kC = 2, kV = 4, kZ = 8, kE = 16;
inline constexpr uint16_t kFlagMask = kN | kC | kV | kZ | kE;

// Where rows put their code: segment 0, away from the vectors, the registers and the stack.
inline constexpr int32_t kCodeAt = 0x2000;

const OpcodeTable& ShippedOpcodes();

class CpuRig {
 public:
  CpuRig() : bus_(memory_), cpu_(bus_, ShippedOpcodes()) {}

  Cpu& cpu() { return cpu_; }
  MemoryImage& memory() { return memory_; }

  void Bytes(int32_t address, const std::vector<uint8_t>& bytes);
  void Word(int32_t address, uint16_t value) { bus_.WriteWord(address, value); }
  uint16_t Word(int32_t address) { return bus_.ReadWord(address); }
  // Puts code at address and points CSP:IP at it.
  void Code(const std::vector<uint8_t>& bytes, int32_t address = kCodeAt);
  // Code, then one step.
  StepResult Run(const std::vector<uint8_t>& bytes, int32_t address = kCodeAt);
  // Steps count times; the kinds of the steps.
  std::vector<StepKind> Steps(int count);

 private:
  MemoryImage memory_;
  ImageBus bus_;
  Cpu cpu_;
};

using Words = std::vector<std::pair<int32_t, uint16_t>>;  // address (or GPR number), value

// One instruction's test: registers R0..R15 and memory words before and after, flags
// before and after (N C V Z E only).
struct InstructionRow {
  std::string name;
  std::vector<uint8_t> code;
  Words gprs;
  Words memory;
  uint16_t flags = 0;
  Words gprsAfter;
  Words memoryAfter;
  uint16_t flagsAfter = 0;
};

// Runs a row on a fresh processor and checks every expectation, naming the row on failure.
void CheckRow(const InstructionRow& row);

}  // namespace velmora::test
