#include "asm/operand_syntax.h"

#include "asm/register_names.h"

namespace velmora::assembler {
namespace {

std::string_view trim(std::string_view text, int& column) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
    text.remove_prefix(1);
    ++column;
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

SourcePiece piece(std::string_view text, int column) {
  const std::string_view t = trim(text, column);
  return {std::string(t), column};
}

// [Rn], [Rn+], [-Rn], [Rn+#expr].
void bracket(std::string_view inner, int column, ParsedOperand& out) {
  int innerColumn = column + 1;
  inner = trim(inner, innerColumn);
  auto wordRegister = [&](std::string_view text, int at) {
    int c = at;
    const auto n = RegisterNames::WordRegister(trim(text, c));
    if (!n) out.error = "expected a word register R0..R15";
    out.reg = n.value_or(-1);
  };
  if (!inner.empty() && inner.front() == '-') {
    out.syntax = OperandSyntax::kPreDecrement;
    wordRegister(inner.substr(1), innerColumn + 1);
    return;
  }
  const auto plus = inner.find('+');
  if (plus == std::string_view::npos) {
    out.syntax = OperandSyntax::kIndirect;
    wordRegister(inner, innerColumn);
    return;
  }
  wordRegister(inner.substr(0, plus), innerColumn);
  int restColumn = innerColumn + static_cast<int>(plus) + 1;
  const std::string_view rest = trim(inner.substr(plus + 1), restColumn);
  if (rest.empty()) {
    out.syntax = OperandSyntax::kPostIncrement;
  } else if (rest.front() == '#') {
    out.syntax = OperandSyntax::kIndexed;
    out.expr = piece(rest.substr(1), restColumn + 1);
    if (out.expr.text.empty()) out.error = "expected a displacement after '#'";
  } else {
    out.error = "expected '#' and a displacement";
  }
}

}  // namespace

ParsedOperand ParseOperand(const SourcePiece& operand) {
  ParsedOperand out;
  out.column = operand.column;
  const std::string_view text = operand.text;
  if (text.empty()) {
    out.error = "missing operand";
    return out;
  }
  if (text.front() == '[') {
    if (text.back() != ']') {
      out.error = "missing ']'";
      return out;
    }
    bracket(text.substr(1, text.size() - 2), operand.column, out);
    return out;
  }
  if (text.front() == '#') {
    out.syntax = OperandSyntax::kImmediate;
    out.expr = piece(text.substr(1), operand.column + 1);
    if (out.expr.text.empty()) out.error = "expected a value after '#'";
    return out;
  }
  if (const auto n = RegisterNames::WordRegister(text)) {
    out.syntax = OperandSyntax::kWordRegister;
    out.reg = *n;
    return out;
  }
  if (const auto n = RegisterNames::ByteRegister(text)) {
    out.syntax = OperandSyntax::kByteRegister;
    out.reg = *n;
    return out;
  }
  if (const auto cc = RegisterNames::Condition(text)) {
    out.syntax = OperandSyntax::kCondition;
    out.reg = *cc;
    return out;
  }
  // Expressions have no ".", so one outside quotes makes a bit address.
  const auto dot = text.find('.');
  if (dot != std::string_view::npos && text.find('\'') == std::string_view::npos) {
    out.syntax = OperandSyntax::kBit;
    out.expr = piece(text.substr(0, dot), operand.column);
    out.bit = piece(text.substr(dot + 1), operand.column + static_cast<int>(dot) + 1);
    if (out.expr.text.empty() || out.bit.text.empty()) out.error = "expected 'word.bit'";
    return out;
  }
  out.expr = {std::string(text), operand.column};
  return out;
}

}  // namespace velmora::assembler
