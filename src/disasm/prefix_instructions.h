// The prefix instructions EXTS, EXTP, EXTSR, EXTPR, EXTR and ATOMIC, and the counters by
// which the decoder shows the instructions under a prefix in the address space it selects.
#pragma once

#include <cstdint>

#include "disasm/operand_formats.h"
#include "disasm/operand_names.h"

namespace velmora {

struct PrefixCounters {
  int32_t extr = 0;  // short register and bit addresses reach the extended register area
  int32_t extp = 0;  // long addresses are page addresses, shown without DPP
  int32_t exts = 0;  // long addresses are segment addresses, shown without DPP

  // Called once per decoded instruction, before it is decoded.
  void Step() {
    if (extr > 0) --extr;
    if (extp > 0) --extp;
    if (exts > 0) --exts;
  }
  PrefixScope Scope() const { return {extr > 0, extp > 0 || exts > 0}; }
};

// Starts the counters that a prefix of that format and form sets, so that the k
// instructions that follow it are decoded under it. ATOMIC sets none.
void StartPrefix(OperandFormat format, uint32_t form, int k, PrefixCounters& counters);

}  // namespace velmora
