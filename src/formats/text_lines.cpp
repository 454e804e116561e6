#include "formats/text_lines.h"

#include <cstring>

namespace velmora {
namespace {
// Small files are the rule (definition files, scripts, preferences): a large first buffer
// would be cleared for every one of them. fill() doubles it for a longer line.
constexpr size_t kChunk = 1 << 16;
}

TextLineReader::TextLineReader(const std::string& path)
    : file_(std::fopen(path.c_str(), "rb")), buffer_(kChunk) {}

TextLineReader::~TextLineReader() {
  if (file_) std::fclose(file_);
}

// Moves the unread rest to the front and reads more behind it; grows the buffer when a
// single line fills it.
bool TextLineReader::fill() {
  if (eof_ || !file_) return false;
  if (begin_ > 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
  const size_t got = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_);
  end_ += got;
  if (got == 0) eof_ = true;
  return got > 0;
}

bool TextLineReader::Next(std::string_view& line) {
  size_t scan = begin_;
  for (;;) {
    const char* base = buffer_.data();
    for (size_t i = scan; i < end_; ++i) {
      const char ch = base[i];
      if (ch != '\n' && ch != '\r') continue;
      // A CR as the last byte of the buffer may be the first half of a CR LF pair.
      if (ch == '\r' && i + 1 == end_ && !eof_) break;
      line = std::string_view(base + begin_, i - begin_);
      begin_ = i + 1;
      if (ch == '\r' && begin_ < end_ && base[begin_] == '\n') ++begin_;
      ++lineNumber_;
      return true;
    }
    if (eof_ || !file_) break;
    scan = end_ - begin_;
    if (scan > 0 && buffer_[end_ - 1] == '\r') --scan;
    fill();
  }
  if (begin_ == end_) return false;
  line = std::string_view(buffer_.data() + begin_, end_ - begin_);
  begin_ = end_;
  ++lineNumber_;
  return true;
}

bool TextLineReader::OnlyBlanksLeft() {
  for (;;) {
    for (size_t i = begin_; i < end_; ++i) {
      const char ch = buffer_[i];
      if (ch != ' ' && ch != '\t' && ch != '\r' && ch != '\n' && ch != '\x1A') return false;
    }
    begin_ = end_;
    if (!fill()) return true;
  }
}

}  // namespace velmora
