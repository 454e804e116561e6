#include "sim/devices/memory_map.h"

namespace velmora {

MemoryMap::MemoryMap()
    : kinds_(static_cast<size_t>(kPageCount), PageKind::Unmapped),
      devices_(static_cast<size_t>(kPageCount), nullptr) {}

bool MemoryMap::Map(int32_t start, int32_t length, PageKind kind, BusDevice* device) {
  const bool aligned = start % kPageSize == 0 && length % kPageSize == 0;
  if (!aligned || start < 0 || length <= 0 || start + length > 0x1000000) return false;
  if ((kind == PageKind::Device) != (device != nullptr)) return false;
  for (int32_t at = start; at < start + length; at += kPageSize) {
    kinds_[page(at)] = kind;
    devices_[page(at)] = device;
  }
  return true;
}

bool MemoryMap::AttachHook(int32_t address, RegisterHook* hook) {
  if (address < kRegisterWindow || address > 0xFFFF || KindAt(address) != PageKind::Registers) {
    return false;
  }
  hooks_[static_cast<size_t>((address - kRegisterWindow) >> 1)] = hook;
  return true;
}

}  // namespace velmora
