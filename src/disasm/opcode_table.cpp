#include "disasm/opcode_table.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "core/hex_text.h"
#include "formats/text_lines.h"

namespace velmora {
namespace {

std::string_view trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  return text;
}

std::vector<std::string_view> splitFields(std::string_view line) {
  std::vector<std::string_view> fields;
  for (;;) {
    const auto comma = line.find(',');
    fields.push_back(trim(line.substr(0, comma)));
    if (comma == std::string_view::npos) return fields;
    line.remove_prefix(comma + 1);
  }
}

std::optional<int> decimal(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

bool isFieldWidth(int width) {
  return width == 2 || width == 4 || width == 8 || width == 16;
}

// The entry a line describes, or the reason it describes none.
struct ParsedLine {
  int opcode = -1;
  OpcodeEntry entry;
  std::string problem;
};

ParsedLine parseLine(std::string_view line) {
  ParsedLine parsed;
  const auto fields = splitFields(line);
  if (fields.size() < 3) {
    parsed.problem = "fewer than three fields";
    return parsed;
  }
  const int32_t opcode = fields[0].size() <= 2 ? HexVal(fields[0]) : kNoNumber;
  if (fields[0].empty() || opcode < 0 || opcode > 0xFF) {
    parsed.problem = "opcode is not a hexadecimal byte";
    return parsed;
  }
  if (fields[1].empty()) {
    parsed.problem = "no mnemonic";
    return parsed;
  }
  const auto length = decimal(fields[2]);
  if (!length || *length < 1 || *length > OpcodeTable::kMaxLength) {
    parsed.problem = "length is not 1 to " + std::to_string(OpcodeTable::kMaxLength);
    return parsed;
  }
  const size_t widthCount = fields.size() - 3;
  if (widthCount > OpcodeEntry::kMaxFields) {
    parsed.problem = "more than nine field widths";
    return parsed;
  }
  OpcodeEntry& entry = parsed.entry;
  int bits = 0;
  for (size_t i = 0; i < widthCount; ++i) {
    const auto width = decimal(fields[3 + i]);
    if (!width || !isFieldWidth(*width)) {
      parsed.problem = "field width is not 2, 4, 8 or 16";
      return parsed;
    }
    entry.fieldWidth[i] = static_cast<int16_t>(*width);
    bits += *width;
  }
  if (bits != 8 * *length) {
    parsed.problem = "field widths add up to " + std::to_string(bits) + " bits, not " +
                     std::to_string(8 * *length);
    return parsed;
  }
  entry.mnemonic = std::string(fields[1]);
  entry.length = static_cast<int16_t>(*length);
  entry.fieldCount = static_cast<int16_t>(widthCount);
  parsed.opcode = opcode;
  return parsed;
}

bool isComment(std::string_view line) {
  line = trim(line);
  return line.empty() || line.front() == ';';
}

}  // namespace

int OpcodeTable::DefinedCount() const {
  int count = 0;
  for (const auto& entry : entries_) count += entry.Defined() ? 1 : 0;
  return count;
}

OpcodeTableResult LoadOpcodeTable(const std::string& path, OpcodeTable& table, MessageLog& log) {
  OpcodeTableResult result;
  table.Clear();
  TextLineReader reader(path);
  if (!reader.IsOpen()) {
    log.WriteLine("*ERROR: File " + path + " not found");
    return result;
  }
  result.found = true;
  std::string_view line;
  while (reader.Next(line)) {
    if (isComment(line)) continue;
    ParsedLine parsed = parseLine(line);
    if (parsed.opcode < 0) {
      result.issues.push_back({reader.LineNumber(), parsed.problem});
      continue;
    }
    OpcodeEntry& entry = table.At(static_cast<uint8_t>(parsed.opcode));
    if (entry.Defined()) {
      result.issues.push_back({reader.LineNumber(), "opcode " + HexN(parsed.opcode, 2) +
                                                        " defined again; this line replaces it"});
    }
    entry = std::move(parsed.entry);
  }
  return result;
}

}  // namespace velmora
