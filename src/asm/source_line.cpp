#include "asm/source_line.h"

#include <cctype>

namespace velmora::assembler {
namespace {

bool isNameStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '?' || c == '@';
}
bool isNameChar(char c) {
  return isNameStart(c) || std::isdigit(static_cast<unsigned char>(c)) != 0;
}
bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

// The line up to its comment; npos-free.
size_t codeEnd(std::string_view line, size_t& openQuote) {
  char quote = 0;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
      continue;
    }
    if (c == '"' || c == '\'') {
      quote = c;
      openQuote = i;
    } else if (c == ';') {
      openQuote = std::string_view::npos;
      return i;
    }
  }
  if (quote == 0) openQuote = std::string_view::npos;
  return line.size();
}

SourcePiece trimmed(std::string_view line, size_t begin, size_t end) {
  while (begin < end && isBlank(line[begin])) ++begin;
  while (end > begin && isBlank(line[end - 1])) --end;
  return {std::string(line.substr(begin, end - begin)), static_cast<int>(begin) + 1};
}

}  // namespace

std::string Upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

SourceLine SplitSourceLine(std::string_view line) {
  SourceLine out;
  size_t openQuote = std::string_view::npos;
  const size_t end = codeEnd(line, openQuote);
  if (openQuote != std::string_view::npos) {
    out.error = "missing closing quote";
    out.errorColumn = static_cast<int>(openQuote) + 1;
    return out;
  }
  size_t at = 0;
  auto skipBlanks = [&] {
    while (at < end && isBlank(line[at])) ++at;
  };
  auto word = [&]() -> SourcePiece {
    skipBlanks();
    const size_t begin = at;
    while (at < end && isNameChar(line[at])) ++at;
    return {std::string(line.substr(begin, at - begin)), static_cast<int>(begin) + 1};
  };

  skipBlanks();
  const size_t first = at;
  SourcePiece name = word();
  if (!name.text.empty() && at < end && line[at] == ':') {
    out.label = name;
    ++at;
    name = word();
  } else if (!name.text.empty()) {
    // "NAME EQU value": the name is a label when the next word is EQU.
    const size_t save = at;
    const SourcePiece next = word();
    if (Upper(next.text) == "EQU") {
      out.label = name;
      name = next;
    } else {
      at = save;
    }
  }
  if (name.text.empty() && at < end && !isNameStart(line[at])) {
    // Not a word where the operation should be: take what is there, to be refused.
    at = first;
    const SourcePiece rest = trimmed(line, at, end);
    out.operation = rest;
    return out;
  }
  out.operation = {Upper(name.text), name.column};
  if (!out.operation.text.empty() && at < end && !isBlank(line[at])) {
    // "MOV[" and the like: the operation runs into what follows.
    out.error = "expected a blank after the operation";
    out.errorColumn = static_cast<int>(at) + 1;
    return out;
  }

  // Operands: split at commas outside brackets, parentheses and quotes.
  skipBlanks();
  if (at >= end) return out;
  size_t begin = at;
  int depth = 0;
  char quote = 0;
  for (size_t i = at; i <= end; ++i) {
    const char c = i < end ? line[i] : ',';
    if (quote != 0) {
      if (c == quote) quote = 0;
      continue;
    }
    if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '(' || c == '[') {
      ++depth;
    } else if ((c == ')' || c == ']') && depth > 0) {
      --depth;
    } else if (c == ',' && (depth == 0 || i == end)) {
      out.operands.push_back(trimmed(line, begin, i));
      begin = i + 1;
    }
  }
  return out;
}

}  // namespace velmora::assembler
