// A memory device on the board's bus (flash chips, on-chip flash): it answers word accesses
// at 24-bit physical addresses inside the range it is mapped on.
#pragma once

#include <cstdint>

namespace velmora {

class BusDevice {
 public:
  virtual ~BusDevice() = default;

  // Word accesses are at even addresses.
  virtual uint16_t ReadWord(int32_t address) = 0;
  virtual void WriteWord(int32_t address, uint16_t value) = 0;
  // What a read would give, without the side effects a read has on a busy flash chip.
  virtual uint16_t PeekWord(int32_t address) { return ReadWord(address); }

  // A byte read is half of a word read: these devices have a 16-bit data bus.
  virtual uint8_t ReadByte(int32_t address) {
    const uint16_t word = ReadWord(address & ~1);
    return static_cast<uint8_t>((address & 1) != 0 ? word >> 8 : word);
  }
  // A byte write drives only its lane; the other lane reads as 0 to the device, which is
  // what the command decoders of 16-bit memories see when a driver writes bytes.
  virtual void WriteByte(int32_t address, uint8_t value) {
    const uint16_t lane = (address & 1) != 0 ? static_cast<uint16_t>(value << 8) : value;
    WriteWord(address & ~1, lane);
  }
};

}  // namespace velmora
