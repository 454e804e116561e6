// Expressions of the assembler: numbers (decimal, 1234h, 0x1234, 'c'), names, "$" for the
// address of the line, parentheses, unary + - ~, and the binary operators * / + - << >> &
// | from tightest to loosest. Values are 64-bit while they are worked out.
//
// A word of hexadecimal digits ending in "h" is a number even when it starts with a
// letter (F0h), as the listings print it; such words cannot be names.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::assembler {

// The value of a name, or nullopt when it is not known (yet).
using NameLookup = std::function<std::optional<int64_t>(std::string_view name)>;

struct ExpressionResult {
  std::optional<int64_t> value;  // nullopt: a name is unknown (see unknownName)
  std::string error;             // a malformed expression; value is then empty
  int errorColumn = 0;
  std::string unknownName;
  int unknownColumn = 0;

  bool Ok() const { return error.empty() && value.has_value(); }
};

// Evaluates text, which starts at column `column` of its line, with `here` as "$".
ExpressionResult Evaluate(std::string_view text, int column, int64_t here,
                          const NameLookup& lookup);

// A word made of hexadecimal digits and a final "h", or "0x" and digits, or decimal.
std::optional<int64_t> ParseNumber(std::string_view word);

}  // namespace velmora::assembler
