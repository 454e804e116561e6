// Splitting a command line into its command word and parameters, and cleaning script
// lines before they are run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmora {

inline constexpr size_t kMaxParameters = 16;

struct SplitLine {
  std::string word;                     // up to the first blank
  std::vector<std::string> parameters;  // at most kMaxParameters
  bool tooManyParameters = false;       // a 17th was cut off
};

// Parameters are the pieces of the text after the word and its blanks, cut at every ",",
// each without its leading blanks; trailing blanks stay. With quoted set, a parameter that
// begins with a double quote runs to the next one, commas and blanks included, and is
// taken without the two quotes; without a closing quote it is cut as any other.
SplitLine SplitCommandLine(std::string_view line, bool quoted = false);

// Blanks trimmed at both ends, runs of blanks made one, tabs made spaces, and the
// spaces on either side of a "," removed; with quoted set, text between double quotes
// is left as it stands.
std::string CleanLine(std::string_view text, bool quoted = false);

// A number as the language reads decimals: the front of the text, leading blanks
// skipped, a fraction rounded to the nearest whole number, no digits gives 0.
int64_t DecimalValue(std::string_view text);

}  // namespace velmora
