// A bus that is nothing but memory: every address reads and writes the sparse 16 MB image.
// Tests of the processor use it, and so does the board for code it runs outside its
// memory map.
#pragma once

#include "core/memory_image.h"
#include "sim/cpu/bus.h"

namespace velmora {

class ImageBus : public Bus {
 public:
  explicit ImageBus(MemoryImage& memory) : memory_(memory) {}

  uint8_t ReadByte(int32_t address) override { return memory_.GetByte(address & 0xFFFFFF); }
  void WriteByte(int32_t address, uint8_t value) override {
    memory_.SetByte(address & 0xFFFFFF, value);
  }
  uint16_t ReadWord(int32_t address) override;
  void WriteWord(int32_t address, uint16_t value) override;

  MemoryImage& memory() { return memory_; }

 private:
  MemoryImage& memory_;
};

}  // namespace velmora
