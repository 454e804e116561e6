// The on-chip flash of the MORVIK, TOLVANE and BRASK types: a keyed command interface
// written into the flash range, a status register read back from it, page (or word)
// programming, sector erase, sector locks and a global write protection lifted with a
// password. data/MEMDEF/ONCHIP.TXT describes it for driver writers.
//
// Not modelled: read protection, error correction (its status bits stay 0), margin reads,
// and suspending an erase. A low programming supply can be injected for tests of drivers.
#pragma once

#include <cstdint>
#include <vector>

#include "core/memory_image.h"
#include "sim/devices/bus_device.h"
#include "sim/devices/flash_sectors.h"
#include "sim/devices/on_chip_flash_commands.h"
#include "sim/devices/on_chip_flash_variant.h"
#include "sim/devices/virtual_clock.h"

namespace velmora {

class OnChipFlash : public BusDevice {
 public:
  // Sectors at the addresses they are seen at (a mapped section at its map address).
  OnChipFlash(MemoryImage& cells, const VirtualClock& clock, std::vector<FlashSector> sectors,
              OnChipFlashVariant variant,
              std::vector<uint16_t> password = {onchip::kDefaultPassword.begin(),
                                                onchip::kDefaultPassword.end()},
              uint8_t blank = 0xFF);

  uint16_t ReadWord(int32_t address) override;
  void WriteWord(int32_t address, uint16_t value) override;
  uint16_t PeekWord(int32_t address) override;

  uint16_t Status();
  uint16_t LockBits() const { return locks_; }
  bool Protected() const { return protected_; }
  bool Busy();
  void SetSupplyLow(bool low) { supplyLow_ = low; }

 private:
  enum class Step { Idle, Key1, Key2, PageData, Password };

  void finishIfDue();
  void command(int32_t at, uint16_t value);
  void pageData(int32_t at, uint16_t value);
  void password(uint16_t value);
  void sequenceError();
  bool refuse(int sector);
  void startProgram();
  void startErase(int sector);
  void setBlockNumber(int sector);
  int sectorOf(int32_t address) const;
  uint16_t cellWord(int32_t at) const;

  MemoryImage& cells_;
  const VirtualClock& clock_;
  std::vector<FlashSector> sectors_;
  OnChipFlashVariant variant_;
  std::vector<uint16_t> password_;
  uint8_t blank_;

  Step step_ = Step::Idle;
  bool statusMode_ = false;
  uint16_t status_ = 0;
  uint16_t locks_ = 0;
  bool protected_ = false;
  bool supplyLow_ = false;

  // The operation that runs or is being set up.
  uint16_t pending_ = 0;  // the command that takes data or a password
  int32_t pageStart_ = 0;
  std::vector<uint16_t> page_;
  std::vector<bool> pageFilled_;
  int pageWords_ = 0;
  int targetSector_ = -1;
  size_t passwordAt_ = 0;
  bool passwordGood_ = true;
  bool erasing_ = false;
  uint64_t doneAt_ = 0;
};

}  // namespace velmora
