// The preferences reader over any file, and the writer over whatever it read: the written
// text reads back to the same settings, so a second write gives the same text.
#include "formats/preferences_file.h"
#include "fuzz_support.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteInput(data, size, "input.ini");
  Settings settings;
  MessageLog log;
  const PreferencesReadResult result = ReadPreferences(path, settings, fuzz::ScratchFolder(), log);
  fuzz::Require(result.found, "the input file is found");

  const std::string written = PreferencesText(settings);
  const std::string again = fuzz::WriteInput(reinterpret_cast<const uint8_t*>(written.data()),
                                             written.size(), "written.ini");
  Settings reread;
  ReadPreferences(again, reread, fuzz::ScratchFolder(), log);
  fuzz::Require(PreferencesText(reread) == written, "written preferences read back the same");
  return 0;
}
