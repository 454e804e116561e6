// The small expression language shared by _assign, IF and the message commands.
#include <charconv>
#include <cmath>
#include <limits>

#include "commands/interpreter.h"
#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/link.h"

namespace velmora {

int Interpreter::VariableIndex(std::string_view text) {
  if (text.empty() || text[0] != '%') return -1;
  int value = 0;
  const auto digits = text.substr(1);
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size() || value < 0 ||
      value >= kScriptVariables) {
    return -2;
  }
  return value;
}

int32_t Interpreter::ReadSfrWord(std::string_view name) {
  if (link().state() != TargetState::Ready) return -1;
  const auto& registers = link().context().registers;
  const int index = registers.FindRegister(name);
  if (index < 0 || registers.At(index).address < 0) return -3;
  const int32_t address = registers.At(index).address;
  if (link().monitor().Cmd_Read(address, 2) != 0) return -2;
  MemoryImage& image = link().context().image;
  return image.GetByte(address) | (image.GetByte(address + 1) << 8);
}

int64_t Interpreter::EvalOperand(std::string_view text, bool* registerReadFailed) {
  const int variable = VariableIndex(text);
  if (variable >= 0) return variables_[static_cast<size_t>(variable)];
  if (variable == -2) return -1;
  if (link().context().registers.FindRegister(text) >= 0) {
    const int32_t value = ReadSfrWord(text);
    if (value < 0 && registerReadFailed) *registerReadFailed = true;
    return value < 0 ? -1 : value;
  }
  return HexVal(text);
}

int32_t Interpreter::EvalExpression(std::string_view e) {
  const auto at = e.find_first_of("-+*/&|~");
  if (at == std::string_view::npos) {
    const int64_t value = EvalOperand(e);
    return value < 0 ? -1 : static_cast<int32_t>(value);
  }
  const char op = e[at];
  int64_t left = 0;
  if (op != '~') {
    left = EvalOperand(e.substr(0, at));
    if (left < 0) return -1;
  }
  const int64_t right = EvalOperand(e.substr(at + 1));
  if (right < 0) return -1;
  int64_t result = 0;
  switch (op) {
    case '+':
      result = left + right;
      break;
    case '-':
      result = left - right;
      break;
    case '*':
      result = left * right;
      break;
    case '/':
      if (right == 0) return -1;
      // Halves go to the even neighbour: 7/2 = 4, 5/2 = 2.
      result = static_cast<int64_t>(std::nearbyint(static_cast<double>(left) / static_cast<double>(right)));
      break;
    case '&':
      result = left & right;
      break;
    case '|':
      result = left | right;
      break;
    case '~':
      result = ~right & 0xFFFF;
      break;
    default:
      return -1;
  }
  // No negative script values, and nothing beyond 32 bits.
  if (result < 0 || result > std::numeric_limits<int32_t>::max()) return -1;
  return static_cast<int32_t>(result);
}

int16_t Interpreter::EvalCondition(std::string_view condition) {
  const std::string c = ToUpper(RemoveSpaces(condition));
  const auto at = c.find_first_of("=<>");
  if (at == std::string::npos) return -1;
  bool readFailed = false;
  const int64_t left = EvalOperand(std::string_view(c).substr(0, at), &readFailed);
  if (readFailed) return -2;
  if (left < 0) return -3;
  readFailed = false;
  const int64_t right = EvalOperand(std::string_view(c).substr(at + 1), &readFailed);
  if (readFailed) return -4;
  if (right < 0) return -5;
  switch (c[at]) {
    case '=':
      return left == right ? 1 : 0;
    case '<':
      return left < right ? 1 : 0;
    default:
      return left > right ? 1 : 0;
  }
}

int16_t Interpreter::AssignVariable(std::string_view assignment) {
  const std::string text = ToUpper(RemoveSpaces(assignment));
  const auto equals = text.find('=');
  if (equals == std::string::npos) return -1;
  const std::string target = text.substr(0, equals);
  const std::string_view expression = std::string_view(text).substr(equals + 1);
  const int variable = VariableIndex(target);
  if (variable >= 0) {
    const int32_t value = EvalExpression(expression);
    if (value < 0) return -1;
    variables_[static_cast<size_t>(variable)] = value;
    return 0;
  }
  const auto& registers = link().context().registers;
  const int index = registers.FindRegister(target);
  if (variable == -1 && index >= 0 && registers.At(index).address >= 0) {
    const int32_t value = EvalExpression(expression);
    if (value < 0) return -1;
    return link().monitor().Cmd_WriteWord(registers.At(index).address, value & 0xFFFF) == 0 ? 0 : -1;
  }
  return -1;
}

std::string Interpreter::MessageText(const std::vector<std::string>& parameters) {
  std::string text;
  for (const auto& parameter : parameters) {
    const bool isVariable = VariableIndex(parameter) >= 0;
    const bool isRegister = link().context().registers.FindRegister(parameter) >= 0;
    if (isVariable || isRegister) {
      const int64_t value = EvalOperand(parameter);
      if (value < 0) {
        link().context().frontend.MessageBox("Error reading SFR (maybe not connected)", BoxButtons::Ok,
                                             BoxIcon::Exclamation, {});
        continue;
      }
      text += " " + HexN(static_cast<int32_t>(value), 4);
      continue;
    }
    std::string_view piece = parameter;
    if (!piece.empty() && piece.front() == '"') piece.remove_prefix(1);
    if (!piece.empty() && piece.back() == '"') piece.remove_suffix(1);
    text += '\r';
    text += piece;
  }
  return text;
}

}  // namespace velmora
