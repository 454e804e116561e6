// Hexadecimal and small text helpers shared by every layer.
//
// Every address, value and colour the program shows or reads is hexadecimal text
// without prefix; -1 stands for "no number" throughout.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

inline constexpr int32_t kNoNumber = -1;
inline constexpr int32_t kHighestAddress = 0xFFFFFF;

// The value of a hexadecimal text of at most 6 digits of either case; 0 for the empty
// text, -1 for anything else.
int32_t HexVal(std::string_view text);

// Upper-case hexadecimal image of value, padded on the left with "0" to digits; never
// shortened. Negative values give their 32-bit two's-complement image.
std::string HexN(int32_t value, int digits);

// The line separator of the program, CR LF.
std::string_view NewLine();

// 1-based position of the last occurrence of ch in text, 0 when there is none.
int LastPos(std::string_view text, char ch);

// Splits a line into a first word and a rest: with skipBlanks clear the first r
// characters are the first word; with it set the rest starts at position r + 1 (1-based).
int WordEnd(std::string_view text, bool skipBlanks);

// The text with every space removed (tabs stay).
std::string RemoveSpaces(std::string_view text);

// Value of a text of binary digits: each character doubles the value, "1" adds one and
// every other character counts as 0.
int32_t BinVal(std::string_view text);

// Upper-case copy (ASCII only: every file the program reads is ASCII).
std::string ToUpper(std::string_view text);

// Equality without regard to ASCII case.
bool EqualsNoCase(std::string_view a, std::string_view b);

}  // namespace velmora
