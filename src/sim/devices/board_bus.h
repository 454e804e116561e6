// The processor's bus on the virtual board: the memory map over the board's sparse memory
// image. The board keeps its image (the monitor's block reads and writes use it); RAM and
// plain registers live there, devices and peripheral registers answer for themselves.
//
// Pages of RAM (and of ROM, for reads) are served straight from the image's segment bytes
// once touched, without the image's lock: the processor reads a word several times per
// instruction. Whoever takes the map to change it drops those shortcuts.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "core/memory_image.h"
#include "sim/cpu/bus.h"
#include "sim/devices/memory_map.h"

namespace velmora {

class BoardBus : public Bus {
 public:
  explicit BoardBus(MemoryImage& memory)
      : memory_(memory), readPages_(MemoryMap::kPageCount), writePages_(MemoryMap::kPageCount) {}

  uint8_t ReadByte(int32_t address) override;
  void WriteByte(int32_t address, uint8_t value) override;
  uint16_t ReadWord(int32_t address) override;
  void WriteWord(int32_t address, uint16_t value) override;
  // A read without side effects: hooks are peeked, devices read as they are.
  uint16_t PeekWord(int32_t address);

  MemoryMap& map() {
    dropShortcuts();
    return map_;
  }
  const MemoryMap& map() const { return map_; }
  MemoryImage& memory() { return memory_; }

 private:
  // One lock of the image for both bytes: the processor's accesses are mostly words.
  uint16_t imageWord(int32_t at) const {
    std::array<uint8_t, 2> bytes;
    memory_.ReadBytes(at, bytes);
    return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8));
  }
  void storeWord(int32_t at, uint16_t value) {
    memory_.SetByte(at, static_cast<uint8_t>(value));
    memory_.SetByte(at + 1, static_cast<uint8_t>(value >> 8));
  }
  uint16_t registerWord(int32_t at, bool peek);
  static size_t pageOf(int32_t address) {
    return static_cast<size_t>((address & 0xFFFFFF) >> MemoryMap::kPageBits);
  }
  // The page's bytes for a read (RAM or ROM) or a write (RAM), or null for the slow path.
  uint8_t* readPage(int32_t address) {
    uint8_t* page = readPages_[pageOf(address)];
    return page != nullptr ? page : shortcut(address);
  }
  uint8_t* shortcut(int32_t address);
  void dropShortcuts();

  MemoryImage& memory_;
  MemoryMap map_;
  std::vector<uint8_t*> readPages_;
  std::vector<uint8_t*> writePages_;
};

}  // namespace velmora
