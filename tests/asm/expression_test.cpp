// Expressions: numbers in the forms the listings print, operators by precedence, names
// known and unknown, and where a malformed expression goes wrong.
#include "asm/expression.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace velmora::assembler {
namespace {

const NameLookup kNames = [](std::string_view name) -> std::optional<int64_t> {
  static const std::map<std::string, int64_t, std::less<>> names = {
      {"start", 0x1000}, {"len", 6}, {"Bh", 7}};
  const auto found = names.find(name);
  if (found == names.end()) return std::nullopt;
  return found->second;
};

TEST(Expressions, ValuesByPrecedence) {
  const std::pair<const char*, int64_t> cases[] = {
      {"12", 12},      {"12h", 0x12},          {"0FFh", 0xFF}, {"F0h", 0xF0},
      {"0x1F", 0x1F},  {"'A'", 0x41},          {"1+2*3", 7},   {"(1+2)*3", 9},
      {"10-4-3", 3},   {"100/7", 14},          {"-5+8", 3},    {"~0 & 0FFh", 0xFF},
      {"1<<4+1", 32},  {"80h>>3", 0x10},       {"1|2&3", 3},   {"start+len*2", 0x100C},
      {"$+4", 0x2004}, {"($-start)/2", 0x800}, {"Bh", 7},      {"Ch", 0xC},
      {"--3", 3},
  };
  for (const auto& [text, value] : cases) {
    const ExpressionResult r = Evaluate(text, 1, 0x2000, kNames);
    EXPECT_TRUE(r.Ok()) << text << ": " << r.error;
    EXPECT_EQ(r.value, value) << text;
  }
}

TEST(Expressions, UnknownNamesAreNotErrors) {
  const ExpressionResult r = Evaluate("start + later * 2", 10, 0, kNames);
  EXPECT_TRUE(r.error.empty());
  EXPECT_FALSE(r.value.has_value());
  EXPECT_EQ(r.unknownName, "later");
  EXPECT_EQ(r.unknownColumn, 18);
}

TEST(Expressions, ErrorsAndTheirColumns) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"1+", "expected a value", 3},
      {"(1+2", "missing ')'", 1},
      {"4/0", "division by zero", 2},
      {"1 2", "unexpected '2'", 3},
      {"12G", "malformed number '12G'", 1},
      {"1<<99", "shift count out of range", 2},
      {"'AB'", "a character is one letter between quotes", 1},
      {"3#", "unexpected '#'", 2},
  };
  for (const auto& [text, message, column] : cases) {
    const ExpressionResult r = Evaluate(text, 1, 0, kNames);
    EXPECT_EQ(r.error, message) << text;
    EXPECT_EQ(r.errorColumn, column) << text;
    EXPECT_FALSE(r.value.has_value()) << text;
  }
}

}  // namespace
}  // namespace velmora::assembler
