#include "commands/block_walk.h"

#include <string>

namespace velmora {

bool WalkBlocks(const SelectionList& selections,
                const std::function<bool(int32_t, int32_t, int64_t)>& transfer) {
  int64_t total = 0;
  for (int i = 0; i < selections.Count(); ++i) {
    const Selection s = selections.At(i);
    int32_t length = kTransferBlock;
    for (int64_t address = s.start; address <= s.end;) {
      if (address + length >= s.end) length = static_cast<int32_t>(s.end - address + 1);
      total += length;
      if (!transfer(static_cast<int32_t>(address), length, total)) return false;
      address += length;
    }
  }
  return true;
}

std::string SignedDecimal(int64_t value) {
  return (value < 0 ? "-" : " ") + std::to_string(value < 0 ? -value : value);
}

}  // namespace velmora
