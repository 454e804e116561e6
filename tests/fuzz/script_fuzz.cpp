// The script engine over any script file (the unsafe lines left out): loops, conditions,
// sub-scripts and commands with no target connected end in one of the outcomes, and the
// variables stay 0 or more.
#include "fuzz_session.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string script = fuzz::SafeLines(fuzz::AsText(data, size));
  const auto path = fuzz::FuzzProgramFolder() / "input.scm";
  fuzz::WriteInput(reinterpret_cast<const uint8_t*>(script.data()), script.size(), "home/input.scm");
  fuzz::FuzzSession fuzzSession;
  fuzzSession.interpreter().ExecuteScript(path.string());
  for (int32_t value : fuzzSession.interpreter().variables()) {
    fuzz::Require(value >= 0, "script variables are never negative");
  }
  return 0;
}
