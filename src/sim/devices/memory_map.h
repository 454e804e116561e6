// What on the board answers an address: a table of 256-byte pages over the 16 MB
// space, so that the processor's accesses cost one index and one switch. Pages of RAM are
// served from the board's memory image directly; devices get a pointer; in the register
// areas each word can have a peripheral's hook.
//
// A page that nothing was mapped on is Unmapped. The board's external bus has pull-ups on
// its data lines, so a read where no memory answers sees FFFFh, and a write goes nowhere;
// that is also what a program running away into empty space sees on a real board, so a
// test of such a fault reads the same values the hardware would give.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "sim/devices/bus_device.h"
#include "sim/devices/register_hook.h"

namespace velmora {

enum class PageKind : uint8_t {
  Unmapped,   // reads FFFFh, writes are dropped
  Ram,        // the memory image, read and write
  Rom,        // the memory image, writes are dropped
  Device,     // a BusDevice
  Registers,  // SFR or ESFR words: a hook where one is attached, else the image
};

class MemoryMap {
 public:
  static constexpr int kPageBits = 8;
  static constexpr int32_t kPageSize = 1 << kPageBits;
  static constexpr int kPageCount = 1 << (24 - kPageBits);
  static constexpr int32_t kRegisterWindow = 0xF000;  // hooks live in F000..FFFF
  static constexpr uint16_t kOpenBus = 0xFFFF;

  MemoryMap();

  // Ranges must start and end on page boundaries; false (and nothing mapped) otherwise.
  // A later mapping replaces an earlier one page by page.
  bool Map(int32_t start, int32_t length, PageKind kind, BusDevice* device = nullptr);
  // A register area: F000..F1FF (ESFR) or FE00..FFFF (SFR) on these controllers.
  // Register areas lie in F000..FFFF, where the hooks are kept.
  bool MapRegisters(int32_t start, int32_t length) {
    return start >= kRegisterWindow && start + length <= 0x10000 &&
           Map(start, length, PageKind::Registers);
  }
  // False when the address is not in a register area.
  bool AttachHook(int32_t address, RegisterHook* hook);

  PageKind KindAt(int32_t address) const { return kinds_[page(address)]; }
  BusDevice* DeviceAt(int32_t address) const { return devices_[page(address)]; }
  RegisterHook* HookAt(int32_t address) const {
    return hooks_[static_cast<size_t>(((address & 0xFFFF) - kRegisterWindow) >> 1)];
  }

 private:
  static size_t page(int32_t address) {
    return static_cast<size_t>((address & 0xFFFFFF) >> kPageBits);
  }

  std::vector<PageKind> kinds_;
  std::vector<BusDevice*> devices_;
  std::array<RegisterHook*, (0x10000 - kRegisterWindow) / 2> hooks_{};
};

}  // namespace velmora
