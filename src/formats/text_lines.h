// Reads a text file line by line in large chunks, for files of tens of megabytes.
// Lines end at LF, CR LF or a lone CR; the line end is not part of the line.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

class TextLineReader {
 public:
  explicit TextLineReader(const std::string& path);
  ~TextLineReader();
  TextLineReader(const TextLineReader&) = delete;
  TextLineReader& operator=(const TextLineReader&) = delete;

  bool IsOpen() const { return file_ != nullptr; }
  // The next line, valid until the following call; false at the end of the file.
  bool Next(std::string_view& line);
  long LineNumber() const { return lineNumber_; }
  // True when nothing but blanks, line ends and end-of-file marks (Ctrl-Z) is left.
  bool OnlyBlanksLeft();

 private:
  bool fill();

  std::FILE* file_ = nullptr;
  std::vector<char> buffer_;
  size_t begin_ = 0;
  size_t end_ = 0;
  bool eof_ = false;
  long lineNumber_ = 0;
};

}  // namespace velmora
