// The Korda assembler: source lines to bytes at 24-bit addresses.
//
// Lines are "[label:] operation operands ; comment". Operations are the instructions of
// the opcode table (plus JMP and CALL, which pick the shortest reaching form) and the
// directives ORG, EQU, DB, DW, DS, ALIGN, INCLUDE and END. Passes over the source repeat
// until every label keeps its address and every instruction its length; instructions
// only ever grow between passes, so this ends. A last pass reports errors and places the
// bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "asm/source_files.h"
#include "disasm/opcode_table.h"
#include "formats/register_table.h"

namespace velmora::assembler {

struct Chunk {
  int32_t address;
  std::vector<uint8_t> bytes;
};

struct ListingRow {
  int file = 0;
  int line = 0;
  int32_t address = -1;  // -1: a line with no address (comment, EQU)
  std::vector<uint8_t> bytes;
  std::string text;
};

struct Assembly {
  std::vector<Message> errors;
  std::vector<Chunk> chunks;  // in source order
  std::vector<std::string> files;
  std::vector<ListingRow> listing;
  int passes = 0;

  bool Ok() const { return errors.empty(); }
};

inline constexpr int kMaxPasses = 64;

Assembly Assemble(const std::string& path, const OpcodeTable& opcodes,
                  const RegisterTable& registers, const SourceReader& reader = ReadSourceFile);

}  // namespace velmora::assembler
