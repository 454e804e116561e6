// The expression language of _assign, IF and the messages over any text, with the shipped
// register names and no target connected: results stay in their documented ranges and no
// variable becomes negative.
#include "core/hex_text.h"
#include "fuzz_session.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static fuzz::FuzzSession fuzzSession;
  Interpreter& interpreter = fuzzSession.interpreter();
  // Variables with values at the edges, so that arithmetic can overflow.
  auto& variables = interpreter.variables();
  for (size_t i = 0; i < variables.size(); ++i) {
    variables[i] = static_cast<int32_t>(i * 0x0147AE14U % 0x7FFFFFFFU);
  }
  variables[99] = 0x7FFFFFFF;

  std::string_view rest = fuzz::AsText(data, size);
  while (!rest.empty()) {
    const auto end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    fuzz::Require(interpreter.EvalExpression(ToUpper(RemoveSpaces(line))) >= -1, "an expression is 0 or more, or -1");
    const int16_t condition = interpreter.EvalCondition(line);
    fuzz::Require(condition >= -5 && condition <= 1, "a condition is 1, 0 or -1 to -5");
    const int16_t assigned = interpreter.AssignVariable(line);
    fuzz::Require(assigned == 0 || assigned == -1, "an assignment is 0 or -1");
    interpreter.MessageText({std::string(line), std::string(line.substr(0, line.size() / 2))});
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
  for (int32_t value : variables) fuzz::Require(value >= 0, "script variables are never negative");
  return 0;
}
