#include "sim/devices/jedec_flash16.h"

#include <utility>

namespace velmora {

using namespace jedec;

JedecFlash16::JedecFlash16(MemoryImage& cells, const VirtualClock& clock, int32_t base,
                           std::vector<FlashSector> sectors, JedecIdentity identity,
                           JedecTiming timing)
    : cells_(cells),
      clock_(clock),
      base_(base),
      sectors_(std::move(sectors)),
      identity_(identity),
      timing_(timing) {}

uint16_t JedecFlash16::cellWord(int32_t at) const {
  return static_cast<uint16_t>(cells_.GetByte(at) | (cells_.GetByte(at + 1) << 8));
}

int JedecFlash16::sectorOf(int32_t address) const {
  for (size_t i = 0; i < sectors_.size(); ++i) {
    const auto& sector = sectors_[i];
    if (address >= sector.start && address < sector.start + sector.length) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

bool JedecFlash16::Busy() {
  finishIfDue();
  return state_ == State::Programming || state_ == State::Erasing;
}

// The operation's effect lands when its time is over: until then the array is not
// readable anyway, and the monitor's view of the image stays the old contents.
void JedecFlash16::finishIfDue() {
  if ((state_ != State::Programming && state_ != State::Erasing) || clock_.cycles < doneAt_) {
    return;
  }
  if (state_ == State::Programming) {
    const uint16_t result = cellWord(programAt_) & programValue_;
    cells_.SetByte(programAt_, static_cast<uint8_t>(result));
    cells_.SetByte(programAt_ + 1, static_cast<uint8_t>(result >> 8));
    state_ = failsOnCompletion_ ? State::Failed : State::Read;
    return;
  }
  for (const int index : erasing_) {
    const auto& sector = sectors_[static_cast<size_t>(index)];
    for (int32_t at = sector.start; at < sector.start + sector.length; ++at) {
      cells_.SetByte(at, 0xFF);
    }
  }
  erasing_.clear();
  state_ = State::Read;
}

void JedecFlash16::beginProgram(int32_t at, uint16_t value) {
  if (sectorOf(at) < 0) {
    state_ = State::Read;
    return;
  }
  programAt_ = at;
  programValue_ = value;
  // Programming only clears bits; a 1 asked over a 0 never verifies, and the chip gives
  // up at its time limit.
  failsOnCompletion_ = (value & ~cellWord(at)) != 0;
  doneAt_ = clock_.cycles + clock_.CyclesFromMicros(timing_.wordProgramMicros);
  state_ = State::Programming;
}

void JedecFlash16::beginErase(std::vector<int> sectors) {
  const uint64_t micros = sectors.size() == 1 ? timing_.sectorEraseMicros
                                              : timing_.chipEraseMicrosPerSector * sectors.size();
  erasing_ = std::move(sectors);
  doneAt_ = clock_.cycles + clock_.CyclesFromMicros(micros);
  state_ = State::Erasing;
}

void JedecFlash16::command(int32_t offset, uint16_t value) {
  const int32_t word = offset >> 1;
  const uint8_t code = static_cast<uint8_t>(value);
  switch (state_) {
    case State::Read:
    case State::Autoselect:
      state_ = word == kUnlockWord1 && code == kUnlock1        ? State::Unlocked1
               : state_ == State::Autoselect && code != kReset ? State::Autoselect
                                                               : State::Read;
      return;
    case State::Unlocked1:
      state_ = word == kUnlockWord2 && code == kUnlock2 ? State::Unlocked2 : State::Read;
      return;
    case State::Unlocked2:
      state_ = State::Read;
      if (word != kUnlockWord1 && code != kReset) return;
      if (code == kProgram) state_ = State::ProgramData;
      if (code == kEraseSetup) state_ = State::EraseSetup;
      if (code == kAutoselect) state_ = State::Autoselect;
      return;
    case State::ProgramData:
      beginProgram(base_ + offset, value);
      return;
    case State::EraseSetup:
      state_ = word == kUnlockWord1 && code == kUnlock1 ? State::EraseUnlocked1 : State::Read;
      return;
    case State::EraseUnlocked1:
      state_ = word == kUnlockWord2 && code == kUnlock2 ? State::EraseUnlocked2 : State::Read;
      return;
    case State::EraseUnlocked2:
      state_ = State::Read;
      if (code == kSectorErase) {
        if (const int sector = sectorOf(base_ + offset); sector >= 0) beginErase({sector});
      } else if (code == kChipErase && word == kUnlockWord1) {
        std::vector<int> all;
        for (size_t i = 0; i < sectors_.size(); ++i) all.push_back(static_cast<int>(i));
        beginErase(std::move(all));
      }
      return;
    case State::Failed:
      if (code == kReset) state_ = State::Read;
      return;
    case State::Programming:
    case State::Erasing:
      return;  // the embedded algorithm ignores the bus until it is done
  }
}

void JedecFlash16::WriteWord(int32_t address, uint16_t value) {
  finishIfDue();
  command((address & 0xFFFFFE) - base_, value);
}

uint16_t JedecFlash16::status(int32_t address, bool advance) {
  uint16_t bits = 0;
  if (state_ == State::Programming || state_ == State::Failed) {
    bits |= (~programValue_) & kDataPolling;
  } else {
    bits |= kEraseTimer;
    const int sector = sectorOf(address);
    for (const int index : erasing_) {
      if (index == sector && toggle2_) bits |= kToggle2;
    }
  }
  if (toggle6_) bits |= kToggle;
  if (state_ == State::Failed) bits |= kTimeLimit;
  if (advance) {
    toggle6_ = !toggle6_;
    if (state_ == State::Erasing && sectorOf(address) >= 0) {
      for (const int index : erasing_) {
        if (index == sectorOf(address)) toggle2_ = !toggle2_;
      }
    }
  }
  return bits;
}

uint16_t JedecFlash16::ReadWord(int32_t address) {
  finishIfDue();
  const int32_t at = address & 0xFFFFFE;
  switch (state_) {
    case State::Programming:
    case State::Erasing:
    case State::Failed:
      return status(at, true);
    case State::Autoselect:
      switch ((at - base_) >> 1) {
        case kMakerWord:
          return identity_.maker;
        case kDeviceWord:
          return identity_.device;
        case kProtectWord:
          return 0;
        default:
          return 0;
      }
    default:
      return cellWord(at);
  }
}

uint16_t JedecFlash16::PeekWord(int32_t address) {
  finishIfDue();
  const int32_t at = address & 0xFFFFFE;
  if (state_ == State::Programming || state_ == State::Erasing || state_ == State::Failed) {
    return status(at, false);
  }
  return ReadWord(at);  // array and autoselect reads change nothing
}

}  // namespace velmora
