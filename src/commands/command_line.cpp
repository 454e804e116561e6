#include "commands/command_line.h"

#include <cctype>
#include <cmath>

#include "core/hex_text.h"

namespace velmora {

SplitLine SplitCommandLine(std::string_view line) {
  SplitLine split;
  const int wordEnd = WordEnd(line, false);
  split.word = std::string(line.substr(0, static_cast<size_t>(wordEnd)));
  const int restStart = WordEnd(line, true);
  if (restStart >= static_cast<int>(line.size())) return split;
  std::string rest(line.substr(static_cast<size_t>(restStart)));
  rest += ',';
  size_t at = 0;
  while (at < rest.size()) {
    const size_t comma = rest.find(',', at);
    if (comma == std::string::npos) break;
    std::string parameter = rest.substr(at, comma - at);
    const size_t first = parameter.find_first_not_of(" \t");
    parameter.erase(0, first == std::string::npos ? parameter.size() : first);
    if (split.parameters.size() == kMaxParameters) {
      split.tooManyParameters = true;
      break;
    }
    split.parameters.push_back(std::move(parameter));
    at = comma + 1;
  }
  return split;
}

std::string CleanLine(std::string_view text) {
  const auto isBlank = [](char ch) { return ch == ' ' || ch == '\t'; };
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && isBlank(text[begin])) ++begin;
  while (end > begin && isBlank(text[end - 1])) --end;
  std::string line;
  for (size_t i = begin; i < end; ++i) {
    if (isBlank(text[i]) && i + 1 < end && isBlank(text[i + 1])) continue;
    line.push_back(text[i] == '\t' ? ' ' : text[i]);
  }
  std::string cleaned;
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == ' ' && i + 1 < line.size() && line[i + 1] == ',') continue;
    if (line[i] == ' ' && i > 0 && line[i - 1] == ',') continue;
    cleaned.push_back(line[i]);
  }
  return cleaned;
}

int64_t DecimalValue(std::string_view text) {
  size_t at = 0;
  while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) negative = text[at++] == '-';
  double value = 0;
  bool digits = false;
  for (; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])); ++at) {
    value = value * 10 + (text[at] - '0');
    digits = true;
  }
  if (at < text.size() && text[at] == '.') {
    double scale = 0.1;
    for (++at; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])); ++at) {
      value += (text[at] - '0') * scale;
      scale /= 10;
      digits = true;
    }
  }
  if (!digits || value > 9.0e18) return 0;
  // Halves go to the even neighbour, as the language has always rounded.
  const auto rounded = static_cast<int64_t>(std::nearbyint(value));
  return negative ? -rounded : rounded;
}

}  // namespace velmora
