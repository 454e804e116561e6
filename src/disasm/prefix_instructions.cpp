#include "disasm/prefix_instructions.h"

namespace velmora {
namespace {

constexpr uint32_t kExtrForm = 2;  // of D1; form 0 is ATOMIC

}  // namespace

void StartPrefix(OperandFormat format, uint32_t form, int k, PrefixCounters& counters) {
  // Every decoded instruction first counts down, so k instructions need k + 1.
  if (format == OperandFormat::kExtendRegisters) {
    if (form == kExtrForm) counters.extr = k + 1;
    return;
  }
  const bool segment = (form & 1) == 0;   // EXTS, EXTSR
  const bool extended = (form & 2) != 0;  // EXTSR, EXTPR
  (segment ? counters.exts : counters.extp) = k + 1;
  if (extended) counters.extr = k + 1;
}

}  // namespace velmora
