// Faults a test arms on a virtual board: what goes wrong on the line or in the target.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora {

struct OutputFault {
  enum class Kind { Drop, Replace, Delay };
  size_t index;  // which byte the board sends, counted from 0 when the fault was armed
  Kind kind;
  uint8_t value = 0;                      // Replace: the byte sent instead
  std::chrono::milliseconds delay{0};     // Delay: extra time before the byte
};

class BoardFaults {
 public:
  // The nth byte sent from now on is lost, replaced or late.
  void DropOutput(size_t nth) { add({nth, OutputFault::Kind::Drop}); }
  void ReplaceOutput(size_t nth, uint8_t value) { add({nth, OutputFault::Kind::Replace, value}); }
  void DelayOutput(size_t nth, std::chrono::milliseconds delay) {
    add({nth, OutputFault::Kind::Delay, 0, delay});
  }
  // The board stops answering (and echoing) altogether, or answers again.
  void SetSilent(bool silent) { silent_ = silent; }
  // The next block read delivers this many bytes fewer than asked.
  void ShortenNextRead(size_t missing) { shortRead_ = missing; }
  // The next checksum answer is wrong.
  void CorruptNextChecksum() { badChecksum_ = true; }

  bool Silent() const { return silent_; }
  // Output faults armed and not yet reached.
  size_t Armed() const { return faults_.size(); }
  size_t TakeShortRead();
  bool TakeBadChecksum();
  // Applies the armed faults to the next byte sent; false when it is lost.
  bool Apply(uint8_t& byte, std::chrono::milliseconds& delay);

 private:
  void add(OutputFault fault);

  std::vector<OutputFault> faults_;
  size_t sent_ = 0;
  bool silent_ = false;
  size_t shortRead_ = 0;
  bool badChecksum_ = false;
};

}  // namespace velmora
