#include "sim/cpu/image_bus.h"

namespace velmora {

uint16_t ImageBus::ReadWord(int32_t address) {
  const int32_t at = address & 0xFFFFFE;
  return static_cast<uint16_t>(memory_.GetByte(at) | (memory_.GetByte(at + 1) << 8));
}

void ImageBus::WriteWord(int32_t address, uint16_t value) {
  const int32_t at = address & 0xFFFFFE;
  memory_.SetByte(at, static_cast<uint8_t>(value));
  memory_.SetByte(at + 1, static_cast<uint8_t>(value >> 8));
}

}  // namespace velmora
