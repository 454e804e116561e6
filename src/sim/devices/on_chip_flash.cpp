#include "sim/devices/on_chip_flash.h"

#include <algorithm>
#include <utility>

namespace velmora {

using namespace onchip;

OnChipFlash::OnChipFlash(MemoryImage& cells, const VirtualClock& clock,
                         std::vector<FlashSector> sectors, OnChipFlashVariant variant,
                         std::vector<uint16_t> password, uint8_t blank)
    : cells_(cells),
      clock_(clock),
      sectors_(std::move(sectors)),
      variant_(variant),
      password_(std::move(password)),
      blank_(blank) {}

uint16_t OnChipFlash::cellWord(int32_t at) const {
  return static_cast<uint16_t>(cells_.GetByte(at) | (cells_.GetByte(at + 1) << 8));
}

int OnChipFlash::sectorOf(int32_t address) const {
  for (size_t i = 0; i < sectors_.size(); ++i) {
    if (address >= sectors_[i].start && address < sectors_[i].start + sectors_[i].length) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

void OnChipFlash::finishIfDue() {
  if ((status_ & variant_.busy) == 0 || clock_.cycles < doneAt_) return;
  status_ &= static_cast<uint16_t>(~variant_.busy);
  if (erasing_) {
    const auto& sector = sectors_[static_cast<size_t>(targetSector_)];
    for (int32_t at = sector.start; at < sector.start + sector.length; ++at) {
      cells_.SetByte(at, blank_);
    }
    return;
  }
  bool failed = false;
  for (int i = 0; i < pageWords_; ++i) {
    const int32_t at = pageStart_ + 2 * i;
    const uint16_t old = cellWord(at);
    const uint16_t wanted = page_[static_cast<size_t>(i)];
    // Programming only clears bits: a 1 over a 0 stays 0 and the verify fails.
    failed = failed || (wanted & ~old) != 0;
    const uint16_t result = old & wanted;
    cells_.SetByte(at, static_cast<uint8_t>(result));
    cells_.SetByte(at + 1, static_cast<uint8_t>(result >> 8));
  }
  if (failed) status_ |= variant_.programError | variant_.operationError;
}

bool OnChipFlash::Busy() {
  finishIfDue();
  return (status_ & variant_.busy) != 0;
}

uint16_t OnChipFlash::Status() {
  finishIfDue();
  uint16_t word = status_;
  if (protected_) word |= variant_.protectionInstalled | variant_.writeProtectionActive;
  return word;
}

void OnChipFlash::sequenceError() {
  status_ = static_cast<uint16_t>((status_ & ~variant_.pageMode) | variant_.sequenceError);
  step_ = Step::Idle;
  statusMode_ = true;
}

void OnChipFlash::setBlockNumber(int sector) {
  if (variant_.blockNumberShift < 0) return;
  const uint16_t mask =
      static_cast<uint16_t>(((1 << variant_.blockNumberWidth) - 1) << variant_.blockNumberShift);
  status_ =
      static_cast<uint16_t>((status_ & ~mask) | ((sector << variant_.blockNumberShift) & mask));
}

// A locked sector or the protected unit refuses to change; the cells stay as they were.
bool OnChipFlash::refuse(int sector) {
  const bool locked = sector >= 0 && sector < 16 && (locks_ & (1u << sector)) != 0;
  if (!locked && !protected_) return false;
  status_ |= variant_.protectionError | variant_.operationError;
  return true;
}

void OnChipFlash::startProgram() {
  const int sector = sectorOf(pageStart_);
  if (refuse(sector)) return;
  setBlockNumber(sector);
  if (supplyLow_) {
    status_ |= variant_.supplyLow | variant_.programError | variant_.operationError;
    return;
  }
  erasing_ = false;
  doneAt_ = clock_.cycles + clock_.CyclesFromMicros(variant_.programMicros);
  status_ |= variant_.busy;
}

void OnChipFlash::startErase(int sector) {
  if (refuse(sector)) return;
  setBlockNumber(sector);
  if (supplyLow_) {
    status_ |= variant_.supplyLow | variant_.eraseError | variant_.operationError;
    return;
  }
  erasing_ = true;
  targetSector_ = sector;
  const auto kb = static_cast<uint64_t>(sectors_[static_cast<size_t>(sector)].length) / 1024;
  doneAt_ = clock_.cycles +
            clock_.CyclesFromMicros(variant_.eraseMicrosBase + variant_.eraseMicrosPerKb * kb);
  status_ |= variant_.busy;
}

void OnChipFlash::command(int32_t at, uint16_t value) {
  step_ = Step::Idle;
  statusMode_ = true;
  const int sector = sectorOf(at);
  const bool locking = value == kLockSector || value == kUnlockSector;
  const bool protecting = value == kProtect || value == kUnprotect;
  if ((locking && !variant_.hasLocks) || (protecting && !variant_.hasProtection)) {
    sequenceError();
    return;
  }
  switch (value) {
    case kProgram:
      if (sector < 0) return sequenceError();
      pageWords_ = variant_.pageBytes / 2;
      pageStart_ = at - (at - sectors_[static_cast<size_t>(sector)].start) % variant_.pageBytes;
      page_.assign(static_cast<size_t>(pageWords_), 0xFFFF);
      pageFilled_.assign(static_cast<size_t>(pageWords_), false);
      status_ |= variant_.pageMode;
      step_ = Step::PageData;
      return;
    case kEraseSector:
      if (sector < 0) return sequenceError();
      return startErase(sector);
    case kLockSector:
      if (sector < 0 || sector >= 16) return sequenceError();
      locks_ = static_cast<uint16_t>(locks_ | (1u << sector));
      return;
    case kUnlockSector:
    case kUnprotect:
      if (value == kUnlockSector && (sector < 0 || sector >= 16)) return sequenceError();
      pending_ = value;
      targetSector_ = sector;
      passwordAt_ = 0;
      passwordGood_ = true;
      step_ = Step::Password;
      return;
    case kProtect:
      protected_ = true;
      return;
    case kClearStatus:
      status_ &= static_cast<uint16_t>(variant_.busy | variant_.pageMode);
      setBlockNumber(0);
      return;
    default:
      return sequenceError();
  }
}

void OnChipFlash::pageData(int32_t at, uint16_t value) {
  if (at < pageStart_ || at >= pageStart_ + variant_.pageBytes) return sequenceError();
  const auto index = static_cast<size_t>((at - pageStart_) / 2);
  page_[index] = value;
  pageFilled_[index] = true;
  if (std::count(pageFilled_.begin(), pageFilled_.end(), true) < pageWords_) return;
  status_ &= static_cast<uint16_t>(~variant_.pageMode);
  step_ = Step::Idle;
  startProgram();
}

void OnChipFlash::password(uint16_t value) {
  if (passwordAt_ >= password_.size() || value != password_[passwordAt_]) passwordGood_ = false;
  if (++passwordAt_ < password_.size()) return;
  step_ = Step::Idle;
  if (!passwordGood_) {
    status_ |= variant_.protectionError | variant_.operationError;
    return;
  }
  if (pending_ == kUnprotect) {
    protected_ = false;
  } else {
    locks_ = static_cast<uint16_t>(locks_ & ~(1u << targetSector_));
  }
}

void OnChipFlash::WriteWord(int32_t address, uint16_t value) {
  finishIfDue();
  const int32_t at = address & 0xFFFFFE;
  if ((status_ & variant_.busy) != 0) return sequenceError();
  switch (step_) {
    case Step::Idle:
      if (value == kReadArray) {
        statusMode_ = false;
      } else if (value == kKey1) {
        step_ = Step::Key1;
      } else {
        sequenceError();
      }
      return;
    case Step::Key1:
      if (value == kKey2) {
        step_ = Step::Key2;
      } else {
        sequenceError();
      }
      return;
    case Step::Key2:
      return command(at, value);
    case Step::PageData:
      return pageData(at, value);
    case Step::Password:
      return password(value);
  }
}

uint16_t OnChipFlash::ReadWord(int32_t address) {
  finishIfDue();
  const int32_t at = address & 0xFFFFFE;
  const bool busy = (status_ & variant_.busy) != 0;
  if (!busy && !statusMode_) return cellWord(at);
  return (at & 2) != 0 ? locks_ : Status();
}

uint16_t OnChipFlash::PeekWord(int32_t address) {
  return ReadWord(address);
}

}  // namespace velmora
