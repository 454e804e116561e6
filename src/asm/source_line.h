// One line of assembler source cut into its parts: an optional label ("NAME:"), the
// operation (mnemonic or directive) and its operands, each with the column it starts at,
// so that messages can point at it. A ";" outside quotes starts a comment. "NAME EQU x"
// names a value without a colon.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmora::assembler {

struct SourcePiece {
  std::string text;
  int column = 0;  // 1-based
};

struct SourceLine {
  SourcePiece label;      // empty text when the line has none
  SourcePiece operation;  // upper case
  std::vector<SourcePiece> operands;
  std::string error;  // what made the line unreadable (an open quote)
  int errorColumn = 0;
};

SourceLine SplitSourceLine(std::string_view line);

// Upper case of ASCII letters.
std::string Upper(std::string_view text);

}  // namespace velmora::assembler
