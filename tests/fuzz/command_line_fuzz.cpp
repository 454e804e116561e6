// The command line over any text, one command per line as the main window's command line
// runs them (the unsafe ones left out): every line ends in a status, with no target
// connected.
#include "fuzz_session.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr int kMaxLines = 64;
  const std::string lines = fuzz::SafeLines(fuzz::AsText(data, size));
  fuzz::FuzzSession fuzzSession;
  std::string_view rest = lines;
  for (int i = 0; i < kMaxLines && !rest.empty() && fuzzSession.TimeLeft(); ++i) {
    const auto end = rest.find('\n');
    fuzzSession.interpreter().ExecuteCommand(rest.substr(0, end));
    rest.remove_prefix(end + 1);
  }
  for (int32_t value : fuzzSession.interpreter().variables()) {
    fuzz::Require(value >= 0, "script variables are never negative");
  }
  return 0;
}
