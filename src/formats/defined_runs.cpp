#include "formats/defined_runs.h"

#include <algorithm>
#include <vector>

namespace velmora {

bool ForEachDefinedRun(MemoryImage& image, const SelectionList& selections, int maxLength,
                       const std::function<bool(int32_t, std::span<const uint8_t>)>& visit) {
  std::vector<uint8_t> data(MemoryImage::kSegmentSize);
  std::vector<uint8_t> flags(MemoryImage::kSegmentSize);
  for (int i = 0; i < selections.Count(); ++i) {
    const Selection s = selections.At(i);
    const int32_t first = std::max(s.start, 0);
    const int32_t last = std::min(s.end, 0xFFFFFF);
    // One segment piece at a time, so that a record never crosses a 64 KB boundary.
    for (int32_t piece = first; piece <= last;) {
      const int32_t pieceEnd = std::min(last, piece | 0xFFFF);
      const auto length = static_cast<size_t>(pieceEnd - piece + 1);
      image.ReadBytes(piece, std::span(data.data(), length));
      image.ReadFlags(piece, std::span(flags.data(), length));
      size_t at = 0;
      while (at < length) {
        if ((flags[at] & kDefined) == 0) {
          ++at;
          continue;
        }
        size_t n = 0;
        while (at + n < length && (flags[at + n] & kDefined) != 0 &&
               n < static_cast<size_t>(maxLength)) {
          ++n;
        }
        if (!visit(piece + static_cast<int32_t>(at), std::span(data.data() + at, n))) return false;
        at += n;
      }
      piece = pieceEnd + 1;
    }
  }
  return true;
}

}  // namespace velmora
