// The opcode table of the disassembler: for each of the 256 opcode bytes its mnemonic,
// its length in bytes and the widths of the fields it is cut into, as read from the
// opcode definition file (CMDDEF\command.cmd).
//
// File lines are "opcode,mnemonic,length,width,width,...": the opcode in hexadecimal, the
// length in bytes, then up to nine field widths in bits (2, 4, 8 or 16) from the first bit
// of the instruction on, adding up to eight times the length. Blank lines and lines that
// begin with ";" are comments; every other line the reader cannot take is reported.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "core/message_log.h"
#include "formats/line_issue.h"

namespace velmora {

struct OpcodeEntry {
  static constexpr int kMaxFields = 9;

  std::string mnemonic;  // empty for an opcode the file has no line for
  int16_t length = 0;    // in bytes; 0 for an opcode the file has no line for
  std::array<int16_t, kMaxFields> fieldWidth{};
  int16_t fieldCount = 0;

  bool Defined() const { return length > 0; }
};

class OpcodeTable {
 public:
  // The longest instruction the file may describe.
  static constexpr int kMaxLength = 8;

  const OpcodeEntry& At(uint8_t opcode) const { return entries_[opcode]; }
  OpcodeEntry& At(uint8_t opcode) { return entries_[opcode]; }
  void Clear() { entries_.fill(OpcodeEntry{}); }
  int DefinedCount() const;

 private:
  std::array<OpcodeEntry, 256> entries_;
};

struct OpcodeTableResult {
  bool found = false;
  LineIssues issues;
};

// Empties the table and fills it from the file. A missing file leaves the table empty and
// writes "*ERROR: File <path> not found". A later line for the same opcode replaces the
// earlier one (and is reported).
OpcodeTableResult LoadOpcodeTable(const std::string& path, OpcodeTable& table, MessageLog& log);

}  // namespace velmora
