#include "sim/board_faults.h"

#include <algorithm>
#include <utility>

namespace velmora {

void BoardFaults::add(OutputFault fault) {
  fault.index += sent_;
  faults_.push_back(fault);
}

size_t BoardFaults::TakeShortRead() { return std::exchange(shortRead_, 0); }
bool BoardFaults::TakeBadChecksum() { return std::exchange(badChecksum_, false); }

bool BoardFaults::Apply(uint8_t& byte, std::chrono::milliseconds& delay) {
  const size_t index = sent_++;
  bool keep = true;
  for (const auto& fault : faults_) {
    if (fault.index != index) continue;
    switch (fault.kind) {
      case OutputFault::Kind::Drop:
        keep = false;
        break;
      case OutputFault::Kind::Replace:
        byte = fault.value;
        break;
      case OutputFault::Kind::Delay:
        delay += fault.delay;
        break;
    }
  }
  std::erase_if(faults_, [index](const OutputFault& f) { return f.index <= index; });
  return keep;
}

}  // namespace velmora
