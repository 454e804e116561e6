// A board for running one flash driver from target/drivers: a type's memories laid out
// from the shipped memory file with the real flash devices on them, the processor, and a
// clock that follows the processor's cycles so the devices take their data-sheet time.
// The driver is assembled from its source and called the way the monitor calls it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "asm/assembler.h"
#include "core/memory_image.h"
#include "sim/cpu/cpu.h"
#include "sim/devices/board_bus.h"
#include "sim/devices/board_layout.h"
#include "sim/devices/virtual_clock.h"
#include "sim/program_run.h"

namespace velmora::test {

// The interface's registers R8..R15, in and out.
using DriverRegisters = std::array<uint16_t, 8>;

struct DriverCall {
  DriverRegisters out{};
  uint64_t cycles = 0;
  RunEnd end = RunEnd::kGone;
};

struct RigOptions {
  // The flash devices run on a clock of their own that never moves: an operation, once
  // started, never ends, as on a chip that hangs.
  bool frozenFlash = false;
  // MORVIK: sector 0 seen at its map address, with SYSCON.12 set as the program would.
  bool sector0Mapped = false;
  // A word of the flash whose bit 15 always reads 0 (a worn cell): the device takes every
  // command and reports success, and only a read back can tell. -1: none.
  int32_t weakWord = -1;
};

class DriverRig {
 public:
  // source: a file name in target/drivers.
  DriverRig(std::string_view typeName, std::string_view source, RigOptions options = {});

  bool ready() const { return ready_; }
  const assembler::Assembly& assembly() const { return assembly_; }
  const TypeDefinitions& type() const { return type_; }
  const MemoryUnit& unit() const { return *unit_; }
  int32_t entry() const { return entry_; }
  MemoryImage& memory() { return memory_; }
  BusDevice* device() { return device_; }

  DriverCall call(const DriverRegisters& in);

  // The burst is staged in the unit's driver buffer and programmed at address.
  DriverCall program(int32_t address, const std::vector<uint8_t>& bytes);
  DriverCall erase(int sector) { return call({0x01, 0, 0, 0, 0, 0, u16(sector), 0}); }
  // Status word n in out[0].
  DriverCall status(int word) { return call({0x06, 0, 0, 0, 0, 0, u16(word), 0}); }
  // Lock functions (10h, 11h, 20h, 21h); the password, when given, is staged in the buffer.
  DriverCall lockFunction(uint16_t function, int sector, const std::vector<uint8_t>& password);

  std::vector<uint8_t> cells(int32_t address, int32_t length);
  void fill(int32_t address, int32_t length, uint8_t value);

 private:
  static uint16_t u16(int value) { return static_cast<uint16_t>(value); }

  TypeDefinitions type_;
  const MemoryUnit* unit_ = nullptr;
  MemoryImage memory_;
  VirtualClock clock_;
  VirtualClock frozen_;
  BoardBus bus_{memory_};
  std::unique_ptr<Cpu> cpu_;
  std::vector<std::unique_ptr<BusDevice>> devices_;  // the last one may wrap another
  BusDevice* device_ = nullptr;                      // the flash the driver is for
  assembler::Assembly assembly_;
  int32_t entry_ = -1;
  bool ready_ = false;
};

// The password the board's on-chip flash takes, as the host stages it: "KORDA\0".
inline const std::vector<uint8_t> kBoardPassword = {'K', 'O', 'R', 'D', 'A', 0};

}  // namespace velmora::test
