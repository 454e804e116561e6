#include "sim/devices/board_bus.h"

#include <algorithm>

namespace velmora {
namespace {

uint8_t laneOf(uint16_t word, int32_t address) {
  return static_cast<uint8_t>((address & 1) != 0 ? word >> 8 : word);
}

uint16_t withLane(uint16_t word, int32_t address, uint8_t value) {
  return (address & 1) != 0 ? static_cast<uint16_t>((word & 0x00FF) | (value << 8))
                            : static_cast<uint16_t>((word & 0xFF00) | value);
}

constexpr int32_t kInPage = MemoryMap::kPageSize - 1;

}  // namespace

uint8_t* BoardBus::shortcut(int32_t address) {
  const PageKind kind = map_.KindAt(address);
  if (kind != PageKind::Ram && kind != PageKind::Rom) return nullptr;
  uint8_t* segment = memory_.SegmentBytes(MemoryImage::SegmentOf(address & 0xFFFFFF));
  uint8_t* page = segment + (address & 0xFF00);
  const size_t index = pageOf(address);
  readPages_[index] = page;
  if (kind == PageKind::Ram) writePages_[index] = page;
  return page;
}

void BoardBus::dropShortcuts() {
  std::fill(readPages_.begin(), readPages_.end(), nullptr);
  std::fill(writePages_.begin(), writePages_.end(), nullptr);
}

uint16_t BoardBus::registerWord(int32_t at, bool peek) {
  RegisterHook* hook = map_.HookAt(at);
  if (hook == nullptr) return imageWord(at);
  return peek ? hook->Peek(at) : hook->Read(at);
}

uint8_t BoardBus::ReadByte(int32_t address) {
  address &= 0xFFFFFF;
  if (const uint8_t* page = readPage(address)) return page[address & kInPage];
  switch (map_.KindAt(address)) {
    case PageKind::Ram:
    case PageKind::Rom:
      return memory_.GetByte(address);
    case PageKind::Device:
      return map_.DeviceAt(address)->ReadByte(address);
    case PageKind::Registers:
      return laneOf(registerWord(address & ~1, false), address);
    case PageKind::Unmapped:
      break;
  }
  return static_cast<uint8_t>(MemoryMap::kOpenBus);
}

void BoardBus::WriteByte(int32_t address, uint8_t value) {
  address &= 0xFFFFFF;
  if (uint8_t* page = writePages_[pageOf(address)]) {
    page[address & kInPage] = value;
    return;
  }
  switch (map_.KindAt(address)) {
    case PageKind::Ram:
      memory_.SetByte(address, value);
      break;
    case PageKind::Device:
      map_.DeviceAt(address)->WriteByte(address, value);
      break;
    case PageKind::Registers:
      if (RegisterHook* hook = map_.HookAt(address); hook != nullptr) {
        // A peripheral register is a word: the other byte keeps the value it has now.
        hook->Write(address & ~1, withLane(hook->Peek(address & ~1), address, value));
      } else {
        memory_.SetByte(address, value);
      }
      break;
    case PageKind::Rom:
    case PageKind::Unmapped:
      break;
  }
}

uint16_t BoardBus::ReadWord(int32_t address) {
  const int32_t at = address & 0xFFFFFE;
  if (const uint8_t* page = readPage(at)) {
    const uint8_t* bytes = page + (at & kInPage);
    return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8));
  }
  switch (map_.KindAt(at)) {
    case PageKind::Ram:
    case PageKind::Rom:
      return imageWord(at);
    case PageKind::Device:
      return map_.DeviceAt(at)->ReadWord(at);
    case PageKind::Registers:
      return registerWord(at, false);
    case PageKind::Unmapped:
      break;
  }
  return MemoryMap::kOpenBus;
}

void BoardBus::WriteWord(int32_t address, uint16_t value) {
  const int32_t at = address & 0xFFFFFE;
  if (uint8_t* page = writePages_[pageOf(at)]) {
    page[at & kInPage] = static_cast<uint8_t>(value);
    page[(at & kInPage) + 1] = static_cast<uint8_t>(value >> 8);
    return;
  }
  switch (map_.KindAt(at)) {
    case PageKind::Ram:
      storeWord(at, value);
      break;
    case PageKind::Device:
      map_.DeviceAt(at)->WriteWord(at, value);
      break;
    case PageKind::Registers:
      if (RegisterHook* hook = map_.HookAt(at); hook != nullptr) {
        hook->Write(at, value);
      } else {
        storeWord(at, value);
      }
      break;
    case PageKind::Rom:
    case PageKind::Unmapped:
      break;
  }
}

uint16_t BoardBus::PeekWord(int32_t address) {
  const int32_t at = address & 0xFFFFFE;
  if (map_.KindAt(at) == PageKind::Registers) return registerWord(at, true);
  if (map_.KindAt(at) == PageKind::Device) return map_.DeviceAt(at)->PeekWord(at);
  return ReadWord(at);
}

}  // namespace velmora
