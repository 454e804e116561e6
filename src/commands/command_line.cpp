#include "commands/command_line.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "core/hex_text.h"

namespace velmora {

namespace {

bool isBlank(char ch) {
  return ch == ' ' || ch == '\t';
}

// Where the parameter starting at `at` ends: the next comma, or for a quoted parameter
// the next comma after its closing quote.
size_t parameterEnd(std::string_view rest, size_t at, bool quoted) {
  size_t first = at;
  while (first < rest.size() && isBlank(rest[first])) ++first;
  if (quoted && first < rest.size() && rest[first] == '"') {
    const size_t closing = rest.find('"', first + 1);
    if (closing != std::string_view::npos) return rest.find(',', closing);
  }
  return rest.find(',', at);
}

// The text between the quotes, and whatever follows the closing one but blanks.
std::string unquoted(const std::string& parameter) {
  const size_t closing = parameter.find('"', 1);
  std::string text = parameter.substr(1, closing - 1);
  const std::string after = parameter.substr(closing + 1);
  if (after.find_first_not_of(" \t") != std::string::npos) text += after;
  return text;
}

}  // namespace

SplitLine SplitCommandLine(std::string_view line, bool quoted) {
  SplitLine split;
  const int wordEnd = WordEnd(line, false);
  split.word = std::string(line.substr(0, static_cast<size_t>(wordEnd)));
  const int restStart = WordEnd(line, true);
  if (restStart >= static_cast<int>(line.size())) return split;
  std::string rest(line.substr(static_cast<size_t>(restStart)));
  rest += ',';
  size_t at = 0;
  while (at < rest.size()) {
    const size_t comma = parameterEnd(rest, at, quoted);
    if (comma == std::string::npos) break;
    std::string parameter = rest.substr(at, comma - at);
    const size_t first = parameter.find_first_not_of(" \t");
    parameter.erase(0, first == std::string::npos ? parameter.size() : first);
    if (quoted && parameter.size() >= 2 && parameter.front() == '"' &&
        parameter.find('"', 1) != std::string::npos) {
      parameter = unquoted(parameter);
    }
    if (split.parameters.size() == kMaxParameters) {
      split.tooManyParameters = true;
      break;
    }
    split.parameters.push_back(std::move(parameter));
    at = comma + 1;
  }
  return split;
}

std::string CleanLine(std::string_view text, bool quoted) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && isBlank(text[begin])) ++begin;
  while (end > begin && isBlank(text[end - 1])) --end;
  // Which characters stand between a pair of double quotes (and are kept as they are).
  std::vector<bool> inQuotes(end, false);
  for (size_t open = text.find('"', begin); quoted && open < end; open = text.find('"', open + 1)) {
    const size_t closing = text.find('"', open + 1);
    if (closing >= end) break;
    std::fill(inQuotes.begin() + static_cast<long>(open) + 1,
              inQuotes.begin() + static_cast<long>(closing), true);
    open = closing;
  }
  std::string line;
  std::vector<bool> kept;
  for (size_t i = begin; i < end; ++i) {
    if (!inQuotes[i] && isBlank(text[i]) && i + 1 < end && isBlank(text[i + 1]) && !inQuotes[i + 1])
      continue;
    line.push_back(text[i] == '\t' && !inQuotes[i] ? ' ' : text[i]);
    kept.push_back(inQuotes[i]);
  }
  std::string cleaned;
  for (size_t i = 0; i < line.size(); ++i) {
    if (!kept[i] && line[i] == ' ' && i + 1 < line.size() && line[i + 1] == ',' && !kept[i + 1])
      continue;
    if (!kept[i] && line[i] == ' ' && i > 0 && line[i - 1] == ',' && !kept[i - 1]) continue;
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
