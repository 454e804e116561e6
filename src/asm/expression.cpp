#include "asm/expression.h"

#include <cctype>
#include <limits>
#include <utility>

namespace velmora::assembler {
namespace {

bool isNameChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '?' || c == '@';
}

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::optional<int64_t> digits(std::string_view text, int base) {
  if (text.empty() || text.size() > 16) return std::nullopt;
  int64_t value = 0;
  for (const char c : text) {
    const int d = digitValue(c);
    if (d < 0 || d >= base) return std::nullopt;
    value = value * base + d;
  }
  return value;
}

// A recursive descent over one expression; the first error stops it.
class Parser {
 public:
  Parser(std::string_view text, int column, int64_t here, const NameLookup& lookup,
         ExpressionResult& result)
      : text_(text), column_(column), here_(here), lookup_(lookup), result_(result) {}

  std::optional<int64_t> Whole() {
    const auto value = binary(0);
    skipBlanks();
    if (result_.error.empty() && at_ < text_.size())
      fail("unexpected '" + std::string(1, text_[at_]) + "'");
    return value;
  }

 private:
  // Levels from loosest: | & (<< >>) (+ -) (* /).
  std::optional<int64_t> binary(int level) {
    if (level == 5) return unary();
    auto left = binary(level + 1);
    while (result_.error.empty()) {
      skipBlanks();
      const std::string_view op = matchOperator(level);
      if (op.empty()) break;
      const int opColumn = column();
      at_ += op.size();
      const auto right = binary(level + 1);
      if (!result_.error.empty()) return std::nullopt;
      if (!left || !right) {
        left.reset();
        continue;
      }
      left = apply(op, *left, *right, opColumn);
    }
    return left;
  }

  std::string_view matchOperator(int level) const {
    const std::string_view rest = text_.substr(at_);
    auto starts = [&rest](std::string_view op) { return rest.substr(0, op.size()) == op; };
    switch (level) {
      case 0:
        return starts("|") ? "|" : "";
      case 1:
        return starts("&") ? "&" : "";
      case 2:
        return starts("<<") ? "<<" : starts(">>") ? ">>" : "";
      case 3:
        return starts("+") ? "+" : starts("-") ? "-" : "";
      default:
        return starts("*") ? "*" : starts("/") ? "/" : "";
    }
  }

  std::optional<int64_t> apply(std::string_view op, int64_t a, int64_t b, int opColumn) {
    if (op == "|") return a | b;
    if (op == "&") return a & b;
    if (op == "<<" || op == ">>") {
      if (b < 0 || b > 63) {
        failAt("shift count out of range", opColumn);
        return std::nullopt;
      }
      return op == "<<" ? static_cast<int64_t>(static_cast<uint64_t>(a) << b) : a >> b;
    }
    if (op == "+") return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
    if (op == "-") return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
    if (op == "*") return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
    if (b == 0) {
      failAt("division by zero", opColumn);
      return std::nullopt;
    }
    if (a == std::numeric_limits<int64_t>::min() && b == -1) return a;
    return a / b;
  }

  std::optional<int64_t> unary() {
    skipBlanks();
    if (at_ >= text_.size()) {
      fail("expected a value");
      return std::nullopt;
    }
    const char c = text_[at_];
    if (c == '-' || c == '+' || c == '~') {
      ++at_;
      const auto value = unary();
      if (!value) return value;
      if (c == '-') return static_cast<int64_t>(0 - static_cast<uint64_t>(*value));
      return c == '~' ? ~*value : *value;
    }
    if (c == '(') {
      const int open = column();
      ++at_;
      const auto value = binary(0);
      skipBlanks();
      if (!result_.error.empty()) return std::nullopt;
      if (at_ >= text_.size() || text_[at_] != ')') {
        failAt("missing ')'", open);
        return std::nullopt;
      }
      ++at_;
      return value;
    }
    if (c == '$') {
      ++at_;
      return here_;
    }
    if (c == '\'') return character();
    if (isNameChar(c)) return word();
    fail("unexpected '" + std::string(1, c) + "'");
    return std::nullopt;
  }

  std::optional<int64_t> character() {
    if (at_ + 2 < text_.size() && text_[at_ + 2] == '\'') {
      const auto value = static_cast<unsigned char>(text_[at_ + 1]);
      at_ += 3;
      return value;
    }
    fail("a character is one letter between quotes");
    return std::nullopt;
  }

  std::optional<int64_t> word() {
    const size_t begin = at_;
    const int wordColumn = column();
    while (at_ < text_.size() && isNameChar(text_[at_])) ++at_;
    const std::string_view w = text_.substr(begin, at_ - begin);
    if (std::isdigit(static_cast<unsigned char>(w[0])) != 0) {
      if (const auto number = ParseNumber(w)) return number;
      failAt("malformed number '" + std::string(w) + "'", wordColumn);
      return std::nullopt;
    }
    // A defined name wins over a word that reads as hexadecimal (a label called "Bh").
    if (const auto value = lookup_(w)) return value;
    if (const auto number = ParseNumber(w)) return number;
    if (result_.unknownName.empty()) {
      result_.unknownName = std::string(w);
      result_.unknownColumn = wordColumn;
    }
    return std::nullopt;
  }

  void skipBlanks() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t')) ++at_;
  }
  int column() const { return column_ + static_cast<int>(at_); }
  void fail(std::string message) { failAt(std::move(message), column()); }
  void failAt(std::string message, int at) {
    if (!result_.error.empty()) return;
    result_.error = std::move(message);
    result_.errorColumn = at;
  }

  std::string_view text_;
  int column_;
  int64_t here_;
  const NameLookup& lookup_;
  ExpressionResult& result_;
  size_t at_ = 0;
};

}  // namespace

std::optional<int64_t> ParseNumber(std::string_view w) {
  if (w.empty()) return std::nullopt;
  const char last = w.back();
  if ((last == 'h' || last == 'H') && w.size() > 1) return digits(w.substr(0, w.size() - 1), 16);
  if (w.size() > 2 && w[0] == '0' && (w[1] == 'x' || w[1] == 'X')) return digits(w.substr(2), 16);
  if (std::isdigit(static_cast<unsigned char>(w[0])) != 0) return digits(w, 10);
  return std::nullopt;
}

ExpressionResult Evaluate(std::string_view text, int column, int64_t here,
                          const NameLookup& lookup) {
  ExpressionResult result;
  Parser parser(text, column, here, lookup, result);
  const auto value = parser.Whole();
  if (result.error.empty()) result.value = value;
  return result;
}

}  // namespace velmora::assembler
