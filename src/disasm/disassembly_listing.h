// The disassembly of the selected code, as the disassembly window shows it: one row per
// decoded instruction of each selection (its address, its bytes and its text), a separator
// row after each selection, and the row of the debugger's current position. The text lines
// ("AAAAAA: text", a line of stars for a separator) are formatted from the rows for the
// headless runner and for printing; nothing reads them back.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/memory_image.h"
#include "core/selection_list.h"
#include "disasm/instruction_decoder.h"
#include "disasm/opcode_table.h"

namespace velmora {

inline constexpr std::string_view kListingSeparator = "*****************************";

enum class ListingRowKind : uint8_t { Instruction, Separator };

struct ListingRow {
  ListingRowKind kind = ListingRowKind::Separator;
  int32_t address = -1;  // -1 for a separator
  // The instruction's bytes as the image held them when the listing was made.
  std::array<uint8_t, OpcodeTable::kMaxLength> bytes{};
  uint8_t length = 0;
  std::string text;  // the decoded instruction; empty for a separator

  bool IsInstruction() const { return kind == ListingRowKind::Instruction; }
  std::span<const uint8_t> Bytes() const { return {bytes.data(), length}; }
};

struct DisassemblyListing {
  std::vector<ListingRow> rows;
  int selectedRow = -1;  // the row shown as the current position, or -1
};

// Fills the listing from the selections and the defined bytes of the image. The decoder's
// prefix counters start from 0. When the first row holds an instruction, its address
// becomes currentPosition and that row is selected; otherwise currentPosition stays.
void FillDisassembly(const SelectionList& selections, MemoryImage& image,
                     InstructionDecoder& decoder, DisassemblyListing& listing,
                     int32_t& currentPosition);

// "AAAAAA: text" for an instruction (six hex digits), the line of stars for a separator.
std::string ListingLine(const ListingRow& row);
std::vector<std::string> ListingLines(const DisassemblyListing& listing);

// The first row that lists the instruction at address, or -1.
int FindListingRow(const DisassemblyListing& listing, int32_t address);

}  // namespace velmora
