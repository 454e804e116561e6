#include "disasm/instruction_fields.h"

namespace velmora {
namespace {

int listOf(int widthBits) {
  switch (widthBits) {
    case 2:
      return 0;
    case 4:
      return 1;
    case 8:
      return 2;
    case 16:
      return 3;
    default:
      return -1;
  }
}

// Reads count bits (at most 8) from bit position start on, first bit most significant.
uint32_t readBits(std::span<const uint8_t> bytes, int start, int count) {
  uint32_t value = 0;
  for (int i = 0; i < count; ++i) {
    const int bit = start + i;
    const auto byteIndex = static_cast<size_t>(bit / 8);
    const uint32_t byte = byteIndex < bytes.size() ? bytes[byteIndex] : 0;
    value = (value << 1) | ((byte >> (7 - bit % 8)) & 1U);
  }
  return value;
}

void writeBits(std::span<uint8_t> bytes, int start, int count, uint32_t value) {
  for (int i = 0; i < count; ++i) {
    const int bit = start + i;
    const auto byteIndex = static_cast<size_t>(bit / 8);
    if (byteIndex >= bytes.size()) return;
    const auto mask = static_cast<uint8_t>(1U << (7 - bit % 8));
    const bool on = ((value >> (count - 1 - i)) & 1U) != 0;
    bytes[byteIndex] =
        static_cast<uint8_t>(on ? bytes[byteIndex] | mask : bytes[byteIndex] & ~mask);
  }
}

}  // namespace

bool StoreField(const OpcodeEntry& entry, int widthBits, int index, uint32_t value,
                std::span<uint8_t> bytes) {
  if (widthBits < 32 && (value >> widthBits) != 0) return false;
  int position = 0;
  int seen = 0;
  for (int i = 0; i < entry.fieldCount && i < OpcodeEntry::kMaxFields; ++i) {
    const int width = entry.fieldWidth[static_cast<size_t>(i)];
    if (width == widthBits && seen++ == index) {
      if (width == 16) {
        writeBits(bytes, position, 8, value & 0xFF);
        writeBits(bytes, position + 8, 8, value >> 8);
      } else {
        writeBits(bytes, position, width, value);
      }
      return true;
    }
    position += width;
  }
  return false;
}

void InstructionFields::Cut(const OpcodeEntry& entry, std::span<const uint8_t> bytes) {
  counts_.fill(0);
  int position = 0;
  for (int i = 0; i < entry.fieldCount && i < OpcodeEntry::kMaxFields; ++i) {
    const int width = entry.fieldWidth[static_cast<size_t>(i)];
    const int list = listOf(width);
    if (list < 0) return;  // the reader lets no other width through
    uint32_t field = 0;
    if (width == 16) {
      const uint32_t low = readBits(bytes, position, 8);
      field = low | (readBits(bytes, position + 8, 8) << 8);
    } else {
      field = readBits(bytes, position, width);
    }
    const auto l = static_cast<size_t>(list);
    values_[l][static_cast<size_t>(counts_[l])] = field;
    ++counts_[l];
    position += width;
  }
}

int InstructionFields::Count(int widthBits) const {
  const int list = listOf(widthBits);
  return list < 0 ? 0 : counts_[static_cast<size_t>(list)];
}

}  // namespace velmora
