#include "asm/source_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace velmora::assembler {
namespace {

// The file name of an INCLUDE operand: quoted or bare.
std::string includeName(const SourcePiece& operand) {
  const std::string& text = operand.text;
  if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
      text.back() == text.front())
    return text.substr(1, text.size() - 2);
  return text;
}

// open: the files being gathered, outermost first.
void gather(const std::string& path, const std::string& text, std::vector<std::string>& open,
            const SourceReader& reader, FlatSource& out, std::vector<Message>& errors) {
  const int depth = static_cast<int>(open.size());
  open.push_back(std::filesystem::path(path).lexically_normal().string());
  const int file = static_cast<int>(out.files.size());
  out.files.push_back(path);
  std::istringstream stream(text);
  std::string line;
  int number = 0;
  while (std::getline(stream, line)) {
    ++number;
    if (out.lines.size() >= kMaxSourceLines) {
      errors.push_back(
          {path, number, 1,
           "more than " + std::to_string(kMaxSourceLines) + " lines with the included files"});
      open.pop_back();
      return;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    FlatLine flat{file, number, line, SplitSourceLine(line)};
    if (flat.parts.error.empty() && flat.parts.operation.text == "INCLUDE") {
      const SourceLine& parts = flat.parts;
      auto error = [&](int column, std::string message) {
        errors.push_back({path, number, column, std::move(message)});
      };
      if (parts.operands.size() != 1 || includeName(parts.operands[0]).empty()) {
        error(parts.operation.column, "INCLUDE needs one file name");
        continue;
      }
      const std::string name = includeName(parts.operands[0]);
      std::filesystem::path included(name);
      if (included.is_relative()) included = std::filesystem::path(path).parent_path() / included;
      included = included.lexically_normal();
      const std::string normal = included.lexically_normal().string();
      if (std::find(open.begin(), open.end(), normal) != open.end()) {
        error(parts.operands[0].column, "'" + name + "' includes itself");
        continue;
      }
      if (depth + 1 >= kMaxIncludeDepth) {
        error(parts.operands[0].column, "INCLUDE nested too deeply");
        continue;
      }
      const auto content = reader(included.string());
      if (!content) {
        error(parts.operands[0].column, "cannot read '" + name + "'");
        continue;
      }
      out.lines.push_back(std::move(flat));  // listed, holds no code
      gather(included.string(), *content, open, reader, out, errors);
      continue;
    }
    out.lines.push_back(std::move(flat));
  }
  open.pop_back();
}

}  // namespace

std::string Message::Format() const {
  return file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + text;
}

std::optional<std::string> ReadSourceFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::error_code error;
  if (!in || std::filesystem::is_directory(path, error)) return std::nullopt;
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) return std::nullopt;
  return text.str();
}

FlatSource GatherSource(const std::string& path, const SourceReader& reader,
                        std::vector<Message>& errors) {
  FlatSource out;
  const auto text = reader(path);
  if (!text) {
    errors.push_back({path, 1, 1, "cannot read the source file"});
    return out;
  }
  std::vector<std::string> open;
  gather(path, *text, open, reader, out, errors);
  return out;
}

}  // namespace velmora::assembler
