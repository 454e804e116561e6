// The memory definition reader over any file, then the preferences writer over the units
// it read, as when a type is chosen and the preferences are saved.
#include "formats/memory_file.h"
#include "formats/preferences_file.h"
#include "fuzz_support.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteInput(data, size, "input.mem");
  Settings settings;
  MessageLog log;
  const MemoryFileResult result = LoadMemoryFile(path, settings.target.units, log);
  fuzz::Require(result.found, "the input file is found");
  fuzz::Require(settings.target.units.size() <= kMaxUnitsInMemoryFile, "at most 32 units");
  fuzz::Require(!PreferencesText(settings).empty(), "the units can be written");
  return 0;
}
