// Breakpoints and stepping on the target through the monitor.
//
// A breakpoint replaces four bytes of code, in the image and in the target, with a far
// call to the monitor's break entry; the monitor then reports the stop. Go and Step start
// the target at the current position; a breakpoint standing there is lifted first, and a
// temporary one behind it puts it back (Go) or ends the step (Step). Where an instruction
// can go two ways (a conditional jump), a step plants temporaries on both, so that it
// always stops.
//
// The calls never overlap: a breakpoint's bytes are put back before another is planted
// over them, and a user breakpoint within 3 bytes of another is refused. A run starts on
// the code's own bytes, so every breakpoint whose call covers the instruction at the
// current position is lifted first, and comes back only once the target has left the
// bytes it covers (Go stops at temporaries until then, unseen by the user).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "disasm/instruction_decoder.h"

namespace velmora {

class Link;

inline constexpr int kMaxBreakpoints = 256;
inline constexpr uint8_t kFarCallOpcode = 0xDA;  // CALLS seg,addr
inline constexpr int kBreakCallLength = 4;
inline constexpr std::string_view kTooManyBreakpointsLine = "*ERROR: At most 256 breakpoints";
inline constexpr std::string_view kOverlappingBreakpointLine =
    "*ERROR: Breakpoint overlaps the breakpoint at ";  // + the address as six hex digits

struct Breakpoint {
  int32_t address;
  std::array<uint8_t, kBreakCallLength> saved;  // the code bytes the far call replaced
  bool planted = false;
};

class Debugger {
 public:
  Debugger(Link& link, InstructionDecoder& decoder);

  int Find(int32_t address) const;
  bool Exists(int32_t address) const { return Find(address) >= 0; }
  // Appends and plants; false (with kTooManyBreakpointsLine) when the table is full, and
  // (with kOverlappingBreakpointLine) when the call would overlap one in the table.
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
  // The code byte at address as the program has it, under any planted call.
  uint8_t codeByte(int32_t address) const;
  int codeLength(int32_t address) const;
  void liftOverlapping(int32_t address, int length);
  void liftAround(int32_t position);
  std::vector<int32_t> temporaryPlaces(int32_t position);
  void plantTemporaries(int32_t position);
  // A stop there is at a temporary, not at a user breakpoint.
  bool atTemporary(int32_t address) const;
  void dropTemporaries();
  // Plants the lifted breakpoints again; with clearOf, only those whose call leaves the
  // instruction there alone.
  void replantLifted(std::optional<int32_t> clearOf = std::nullopt);

  Link& link_;
  InstructionDecoder& decoder_;
  std::vector<Breakpoint> table_;
  int temporaries_ = 0;          // how many of the last entries a Go or Step planted
  std::vector<int32_t> lifted_;  // user breakpoints lifted while the target runs
};

}  // namespace velmora
