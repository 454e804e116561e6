// Pasting any clipboard text at any address: refused whole or written inside the address
// space, never a byte stored outside it.
#include "formats/clipboard_transfer.h"
#include "fuzz_support.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  // The first three bytes choose the paste address, so the end of the address space is
  // reached as often as its start.
  const int32_t start = (data[0] << 16) | (data[1] << 8) | data[2];
  MemoryImage image;
  MessageLog log;
  const PasteResult result = PasteClipboard(fuzz::AsText(data + 3, size - 3), start, image, log);
  fuzz::Require(image.RangeErrors() == 0, "nothing is stored outside the address space");
  fuzz::Require(result.status == PasteStatus::Ok || result.bytesPasted == 0,
                "a refused paste writes nothing");
  return 0;
}
