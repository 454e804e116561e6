#include "sim/devices/board_bus.h"

namespace velmora {
namespace {

uint8_t laneOf(uint16_t word, int32_t address) {
  return static_cast<uint8_t>((address & 1) != 0 ? word >> 8 : word);
}

uint16_t withLane(uint16_t word, int32_t address, uint8_t value) {
  return (address & 1) != 0 ? static_cast<uint16_t>((word & 0x00FF) | (value << 8))
                            : static_cast<uint16_t>((word & 0xFF00) | value);
}

}  // namespace

uint16_t BoardBus::registerWord(int32_t at, bool peek) {
  RegisterHook* hook = map_.HookAt(at);
  if (hook == nullptr) return imageWord(at);
  return peek ? hook->Peek(at) : hook->Read(at);
}

uint8_t BoardBus::ReadByte(int32_t address) {
  address &= 0xFFFFFF;
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
