// What the processor sees of the board: byte and word accesses at 24-bit physical
// addresses. The processor keeps its own core registers (PSW, SP, CP, the DPPs, the
// multiply/divide registers, the stack limits) and answers their addresses itself; every
// other access, including the other special function registers, reaches the bus.
#pragma once

#include <cstdint>

namespace velmora {

class Bus {
 public:
  virtual ~Bus() = default;

  virtual uint8_t ReadByte(int32_t address) = 0;
  virtual void WriteByte(int32_t address, uint8_t value) = 0;
  // Word accesses are at even addresses: the processor clears bit 0 before it asks.
  virtual uint16_t ReadWord(int32_t address) = 0;
  virtual void WriteWord(int32_t address, uint16_t value) = 0;
};

}  // namespace velmora
