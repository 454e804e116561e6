// Breakpoints and stepping on the target through the monitor.
//
// A breakpoint replaces four bytes of code, in the image and in the target, with a far
// call to the monitor's break entry; the monitor then reports the stop. Go and Step start
// the target at the current position; a breakpoint standing there is lifted first, and a
// temporary one behind it puts it back (Go) or ends the step (Step). Where an instruction
// can go two ways (a conditional jump), a step plants temporaries on both, so that it
// always stops.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "disasm/instruction_decoder.h"

namespace velmora {

class Link;

inline constexpr int kMaxBreakpoints = 256;
inline constexpr uint8_t kFarCallOpcode = 0xDA;  // CALLS seg,addr
inline constexpr std::string_view kTooManyBreakpointsLine = "*ERROR: At most 256 breakpoints";

struct Breakpoint {
  int32_t address;
  std::array<uint8_t, 4> saved;  // the code bytes the far call replaced
};

class Debugger {
 public:
  Debugger(Link& link, InstructionDecoder& decoder);

  int Find(int32_t address) const;
  bool Exists(int32_t address) const { return Find(address) >= 0; }
  // Appends and plants; false (with kTooManyBreakpointsLine) when the table is full.
  bool Add(int32_t address);
  // Restores it, drops it, and plants the later ones again at their new places.
  bool Remove(int32_t address);
  // Closing the debugger: every breakpoint goes, the target's code is as it was.
  void RemoveAll();
  // A click beside a line: only while the target is connected and idle.
  bool Toggle(int32_t address);
  const std::vector<Breakpoint>& Breakpoints() const { return table_; }

  // Where the target will be after the instruction at position: one address, or two for
  // an instruction that may branch.
  std::vector<int32_t> NextPositions(int32_t position);

  int16_t Go();
  int16_t Step();
  // The monitor regained control at a breakpoint (wired to the link's break hook).
  bool OnBreak(int32_t stopAddress);

  int32_t currentPosition = -1;

 private:
  void plant(size_t index);
  void restore(size_t index);
  void plantTemporaries(int32_t position);
  void dropTemporaries();

  Link& link_;
  InstructionDecoder& decoder_;
  std::vector<Breakpoint> table_;
  int temporaries_ = 0;  // how many of the last entries a Go or Step planted
};

}  // namespace velmora
