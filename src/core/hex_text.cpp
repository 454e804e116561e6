#include "core/hex_text.h"

#include <algorithm>
#include <cctype>

namespace velmora {

int32_t HexVal(std::string_view text) {
  if (text.size() > 6) return kNoNumber;
  int32_t value = 0;
  bool error = false;
  for (char ch : text) {
    value *= 16;
    if (ch >= '0' && ch <= '9') {
      value += ch - '0';
    } else if (ch >= 'A' && ch <= 'F') {
      value += ch - 'A' + 10;
    } else if (ch >= 'a' && ch <= 'f') {
      value += ch - 'a' + 10;
    } else {
      error = true;
    }
  }
  return error ? kNoNumber : value;
}

std::string HexN(int32_t value, int digits) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  auto bits = static_cast<uint32_t>(value);
  std::string text;
  do {
    text.push_back(kDigits[bits & 0xF]);
    bits >>= 4;
  } while (bits != 0);
  while (static_cast<int>(text.size()) < digits) text.push_back('0');
  std::reverse(text.begin(), text.end());
  return text;
}

std::string_view NewLine() { return "\r\n"; }

int LastPos(std::string_view text, char ch) {
  const auto pos = text.rfind(ch);
  return pos == std::string_view::npos ? 0 : static_cast<int>(pos) + 1;
}

int WordEnd(std::string_view text, bool skipBlanks) {
  const auto isBlank = [](char ch) { return ch == ' ' || ch == '\t'; };
  const int length = static_cast<int>(text.size());
  int position = 1;
  while (position <= length && !isBlank(text[position - 1])) ++position;
  if (skipBlanks) {
    while (position <= length && isBlank(text[position - 1])) ++position;
  }
  return position > length ? length + 1 : position - 1;
}

std::string RemoveSpaces(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (char ch : text) {
    if (ch != ' ') result.push_back(ch);
  }
  return result;
}

int32_t BinVal(std::string_view text) {
  uint32_t value = 0;
  for (char ch : text) value = value * 2 + (ch == '1' ? 1U : 0U);
  return static_cast<int32_t>(value);
}

std::string ToUpper(std::string_view text) {
  std::string result(text);
  for (char& ch : result) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return result;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::toupper(static_cast<unsigned char>(x)) ==
                  std::toupper(static_cast<unsigned char>(y));
         });
}

}  // namespace velmora
