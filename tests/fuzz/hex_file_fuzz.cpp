// The Intel HEX reader over any file: it stops with an error line or loads, and what it
// selected is sorted, disjoint, not touching, and holds loaded bytes at both ends.
#include "formats/hex_reader.h"
#include "fuzz_support.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteInput(data, size, "input.hex");
  MemoryImage image;
  SelectionList selections;
  MessageLog log;
  const HexReadResult result = HexRead(path, image, selections, log);
  fuzz::Require(result.status != HexReadStatus::CannotOpen, "the input file opens");
  fuzz::Require(image.RangeErrors() == 0, "nothing is stored outside the address space");
  for (int i = 0; i < selections.Count(); ++i) {
    const Selection range = selections.At(i);
    fuzz::Require(MemoryImage::InRange(range.start) && range.start <= range.end &&
                      MemoryImage::InRange(range.end),
                  "a selection lies inside the address space");
    fuzz::Require(i == 0 || range.start > selections.At(i - 1).end + 1,
                  "selections are sorted, disjoint and not touching");
    fuzz::Require(image.IsDefined(range.start) && image.IsDefined(range.end),
                  "a selection begins and ends at loaded bytes");
  }
  return 0;
}
