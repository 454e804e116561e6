// An external 16-bit flash chip of the common JEDEC command set, as the XFLASH16 unit has
// it: array reads; unlock cycles (AAh to word 555h, 55h to word 2AAh, both relative to the
// chip's base); word program (A0h), sector erase (80h, unlock, 30h to the sector), chip
// erase (80h, unlock, 10h), reset (F0h) and autoselect (90h). While an operation runs,
// every read returns the status: DQ7 data polling, DQ6 toggling on every read, DQ5 when
// the time limit is exceeded, DQ3 the erase timer, DQ2 toggling on reads of an erasing
// sector. Cells live in the board's memory image, so the monitor sees what the chip holds.
//
// Not modelled: sector protection (autoselect word 2 reads 0), erase suspend, queuing
// further sectors in the erase timer window, unlock bypass, and byte (x8) mode.
#pragma once

#include <cstdint>
#include <vector>

#include "core/memory_image.h"
#include "sim/devices/bus_device.h"
#include "sim/devices/flash_sectors.h"
#include "sim/devices/jedec_commands.h"
#include "sim/devices/virtual_clock.h"

namespace velmora {

struct JedecTiming {
  uint64_t wordProgramMicros = 10;
  uint64_t sectorEraseMicros = 500'000;
  uint64_t chipEraseMicrosPerSector = 400'000;
};

// Invented codes: the maker code has even parity, which no registered maker code has.
struct JedecIdentity {
  uint16_t maker = 0x003C;
  uint16_t device = 0x22C6;
};

class JedecFlash16 : public BusDevice {
 public:
  JedecFlash16(MemoryImage& cells, const VirtualClock& clock, int32_t base,
               std::vector<FlashSector> sectors, JedecIdentity identity = {},
               JedecTiming timing = {});

  uint16_t ReadWord(int32_t address) override;
  void WriteWord(int32_t address, uint16_t value) override;
  uint16_t PeekWord(int32_t address) override;

  bool Busy();
  int32_t base() const { return base_; }
  const std::vector<FlashSector>& sectors() const { return sectors_; }

 private:
  enum class State {
    Read,
    Unlocked1,    // AAh seen
    Unlocked2,    // 55h seen: a command comes next
    ProgramData,  // A0h seen: the next write is the word to program
    EraseSetup,   // 80h seen
    EraseUnlocked1,
    EraseUnlocked2,
    Autoselect,
    Programming,
    Erasing,
    Failed,  // DQ5: stays on status until a reset
  };

  void finishIfDue();
  void beginProgram(int32_t at, uint16_t value);
  void beginErase(std::vector<int> sectors);
  void command(int32_t offset, uint16_t value);
  uint16_t status(int32_t address, bool advance);
  int sectorOf(int32_t address) const;
  uint16_t cellWord(int32_t at) const;

  MemoryImage& cells_;
  const VirtualClock& clock_;
  int32_t base_;
  std::vector<FlashSector> sectors_;
  JedecIdentity identity_;
  JedecTiming timing_;

  State state_ = State::Read;
  uint64_t doneAt_ = 0;
  int32_t programAt_ = 0;
  uint16_t programValue_ = 0;
  bool failsOnCompletion_ = false;
  std::vector<int> erasing_;
  bool toggle6_ = false;
  bool toggle2_ = false;
};

}  // namespace velmora
