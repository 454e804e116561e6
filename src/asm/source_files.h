// The source of one assembly: the main file with every INCLUDE replaced by the lines of
// the file it names (relative to the including file's folder), as one list of lines that
// each remember their file and line number.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "asm/source_line.h"

namespace velmora::assembler {

struct Message {
  std::string file;
  int line = 0;
  int column = 0;
  std::string text;

  // "FILE:LINE:COLUMN: text"
  std::string Format() const;
};

struct FlatLine {
  int file = 0;  // index into FlatSource::files
  int number = 0;
  std::string text;
  SourceLine parts;
};

struct FlatSource {
  std::vector<std::string> files;
  std::vector<FlatLine> lines;
};

// Reads a whole file; nullopt when it cannot be read.
using SourceReader = std::function<std::optional<std::string>(const std::string& path)>;
std::optional<std::string> ReadSourceFile(const std::string& path);

inline constexpr int kMaxIncludeDepth = 16;
// All files together; a file that includes itself several times would otherwise grow
// without bound within the depth limit.
inline constexpr size_t kMaxSourceLines = 1000000;

// Gathers the lines of path and the files it includes; problems with an INCLUDE (a file
// that cannot be read, one that includes itself, nesting too deep) go to errors at the
// INCLUDE line.
FlatSource GatherSource(const std::string& path, const SourceReader& reader,
                        std::vector<Message>& errors);

}  // namespace velmora::assembler
