#include "ui/print_lines.h"

#include <algorithm>

#include "core/hex_text.h"

namespace velmora {
namespace {

constexpr std::string_view kAddressIndent = "      ";
constexpr std::string_view kHexHeader =
    "               00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F";

// The part of a selection that lies in the address space; empty (end < start) for a
// reversed pair, which selects nothing.
Selection clampedToSpace(const Selection& selection) {
  return {std::max(selection.start, 0), std::min(selection.end, kHighestAddress)};
}

std::string addressPrefix(int32_t address) {
  return std::string(kAddressIndent) + HexN(address, 6) + " : ";
}

void hexadecimalLines(const Selection& range, const MemoryImage& image,
                      std::vector<std::string>& lines) {
  lines.emplace_back(kHexHeader);
  for (int32_t line = range.start; line <= range.end; line += kPrintBytesPerLine) {
    std::string text = addressPrefix(line);
    const int32_t last = std::min(range.end, line + kPrintBytesPerLine - 1);
    for (int32_t address = line; address <= last; ++address) {
      text += HexN(image.GetByte(address), 2);
      text += ' ';
    }
    lines.push_back(std::move(text));
  }
}

void textLines(const Selection& range, const MemoryImage& image, std::vector<std::string>& lines) {
  for (int32_t line = range.start; line <= range.end; line += kPrintBytesPerLine) {
    std::string text;
    const int32_t last = std::min(range.end, line + kPrintBytesPerLine - 1);
    for (int32_t address = line; address <= last; ++address) {
      const uint8_t value = image.GetByte(address);
      text += value >= 0x20 ? static_cast<char>(value) : '.';
    }
    lines.push_back(std::move(text));
  }
}

void assemblerLines(const Selection& range, const MemoryImage& image, InstructionDecoder& decoder,
                    std::vector<std::string>& lines) {
  // The decoder reads through a non-const reference for historical reasons but only ever
  // calls the image's const reads, so the printout cannot change the image.
  MemoryImage& readable = const_cast<MemoryImage&>(image);
  for (int32_t address = range.start; address <= range.end;) {
    std::string text = decoder.Disassemble(readable, address);
    int step = decoder.InstructionLength(readable, address);
    // An undecodable word is stepped over, never stood on.
    if (text.rfind("Illegal", 0) == 0) step = std::max(step, InstructionDecoder::kUndefinedLength);
    lines.push_back(addressPrefix(address) + text);
    address += std::max(step, 1);
  }
}

}  // namespace

std::vector<std::string> PrintLines(const SelectionList& selections, const MemoryImage& image,
                                    InstructionDecoder& decoder, PrintStyle style) {
  std::vector<std::string> lines;
  if (style == PrintStyle::Assembler) {
    decoder.RegistersChanged();
    decoder.ResetCounters();
  }
  for (int i = 0; i < selections.Count(); ++i) {
    const Selection range = clampedToSpace(selections.At(i));
    switch (style) {
      case PrintStyle::Hexadecimal:
        hexadecimalLines(range, image, lines);
        break;
      case PrintStyle::Text:
        textLines(range, image, lines);
        break;
      case PrintStyle::Assembler:
        assemblerLines(range, image, decoder, lines);
        break;
    }
    lines.emplace_back();
    lines.emplace_back(kPrintSeparatorWidth, '*');
    lines.emplace_back();
  }
  return lines;
}

}  // namespace velmora
