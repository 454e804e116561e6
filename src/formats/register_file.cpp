#include "formats/register_file.h"

#include <charconv>
#include <optional>

#include "core/hex_text.h"
#include "formats/text_lines.h"

namespace velmora {
namespace {

bool isBlank(char ch) { return ch == ' ' || ch == '\t'; }

std::string_view skipBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view trimEnd(std::string_view text) {
  while (!text.empty() && (isBlank(text.back()) || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

// Splits off the first word (up to a blank) and returns it; text keeps the rest.
std::string_view takeWord(std::string_view& text) {
  text = skipBlanks(text);
  size_t end = 0;
  while (end < text.size() && !isBlank(text[end])) ++end;
  const std::string_view word = text.substr(0, end);
  text = skipBlanks(text.substr(end));
  return word;
}

std::optional<int> decimal(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// "REG.n" into the register name and bit text.
bool splitRegisterBit(std::string_view token, std::string_view& reg, std::string_view& bit) {
  const auto dot = token.find('.');
  if (dot == std::string_view::npos) return false;
  reg = token.substr(0, dot);
  bit = token.substr(dot + 1);
  return true;
}

class RegisterFileParser {
 public:
  RegisterFileParser(RegisterTable& table, RegisterFileResult& result, MessageLog& log,
                     const std::string& path)
      : table_(table), result_(result), log_(log), path_(path) {}

  void Line(std::string_view line, long number) {
    number_ = number;
    const std::string upper = ToUpper(line);
    if (const auto at = upper.find("SFR"); at != std::string::npos) {
      sfr(line.substr(at + 3));
    } else if (const auto bfld = upper.find("BFLD"); bfld != std::string::npos) {
      fieldByRange(line.substr(bfld + 4));
    } else if (const auto bitfld = upper.find("BITFLD"); bitfld != std::string::npos) {
      fieldByWidth(line.substr(bitfld + 6));
    } else if (const auto bit = upper.find("BIT");
               bit != std::string::npos && upper.find('.') != std::string::npos) {
      singleBit(line.substr(bit + 3));
    } else if (!isComment(line)) {
      skip("no keyword");
    }
  }

 private:
  static bool isComment(std::string_view line) {
    line = skipBlanks(trimEnd(line));
    return line.empty() || line.front() == ';' || line.front() == '#' || line.substr(0, 2) == "//";
  }

  void skip(const std::string& reason) { result_.issues.push_back({number_, reason}); }

  void sfr(std::string_view rest) {
    const std::string_view word = takeWord(rest);
    const std::string_view name = trimEnd(rest);
    if (word.size() < 3 || name.empty()) return skip("register line without address or name");
    const int32_t address = HexVal(word.substr(2));
    if (address == kNoNumber) skip("register address is not hexadecimal");
    if (!table_.Add(RegisterDefinition(std::string(name), address))) {
      if (!full_) log_.WriteLine("*ERROR: More than 1025 registers in " + path_);
      full_ = true;
      skip("register table full");
    }
  }

  // Finds the register of a "REG.n" token; -1 (and the line noted) when there is none.
  int target(std::string_view token, std::string_view& bitText) {
    std::string_view reg;
    if (!splitRegisterBit(token, reg, bitText)) {
      skip("no register.bit");
      return -1;
    }
    const int index = table_.FindRegister(reg);
    if (index < 0) skip("register not defined before this line");
    return index;
  }

  void store(int index, int bit, std::string_view name, int width) {
    if (bit < 0 || bit > 15) {
      log_.WriteLine("*ERROR: Bit " + std::to_string(bit) + " of " + table_.At(index).name +
                     " beyond bit 15 in line " + std::to_string(number_) + " of " + path_);
      return skip("bit number outside 0 to 15");
    }
    if (width < 1 || width > 16) return skip("field width outside 1 to 16");
    auto& reg = table_.At(index);
    reg.bitNames[static_cast<size_t>(bit)] = std::string(name);
    reg.fieldWidths[static_cast<size_t>(bit)] = static_cast<uint8_t>(width);
  }

  // BFLD REG.low-high NAME: the name and width sit at the high bit.
  void fieldByRange(std::string_view rest) {
    std::string_view bits;
    const int index = target(takeWord(rest), bits);
    if (index < 0) return;
    const auto dash = bits.find('-');
    const auto low = decimal(bits.substr(0, dash));
    const auto high = dash == std::string_view::npos ? std::nullopt : decimal(bits.substr(dash + 1));
    if (!low || !high || *low < 0 || *low > *high) return skip("field bits are not low-high");
    store(index, *high, trimEnd(rest), *high - *low + 1);
  }

  // BITFLD REG.bit NAME,width: the name and width sit at the given bit.
  void fieldByWidth(std::string_view rest) {
    std::string_view bitText;
    const int index = target(takeWord(rest), bitText);
    if (index < 0) return;
    const auto bit = decimal(bitText);
    const auto comma = rest.find(',');
    std::optional<int> width = 1;
    if (comma != std::string_view::npos) width = decimal(trimEnd(skipBlanks(rest.substr(comma + 1))));
    if (!bit || !width) return skip("field bit or width is not decimal");
    store(index, *bit, trimEnd(rest.substr(0, comma)), *width);
  }

  // BIT REG.bit NAME[,anything]
  void singleBit(std::string_view rest) {
    std::string_view bitText;
    const int index = target(takeWord(rest), bitText);
    if (index < 0) return;
    const auto bit = decimal(bitText);
    if (!bit) return skip("bit number is not decimal");
    store(index, *bit, trimEnd(rest.substr(0, rest.find(','))), 1);
  }

  RegisterTable& table_;
  RegisterFileResult& result_;
  MessageLog& log_;
  const std::string& path_;
  long number_ = 0;
  bool full_ = false;
};

}  // namespace

RegisterFileResult LoadRegisterFile(const std::string& path, RegisterTable& table,
                                    MessageLog& log) {
  RegisterFileResult result;
  table.Clear();
  TextLineReader reader(path);
  if (!reader.IsOpen()) {
    log.WriteLine("*ERROR: File " + path + " not found");
    return result;
  }
  result.found = true;
  RegisterFileParser parser(table, result, log, path);
  std::string_view line;
  while (reader.Next(line)) parser.Line(line, reader.LineNumber());
  for (const auto& [name, address] : {std::pair{"ZEROS", 0xFF1C}, std::pair{"ONES", 0xFF1E}}) {
    if (table.FindRegister(name) < 0 && !table.Add(RegisterDefinition(name, address))) {
      result.issues.push_back({reader.LineNumber(), std::string("no room for ") + name});
    }
  }
  return result;
}

}  // namespace velmora
