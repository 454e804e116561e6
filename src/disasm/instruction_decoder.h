// Turns the bytes of the memory image at an address into a decoded instruction, and that
// into one line of assembler text.
//
// The decoder keeps the prefix counters between calls: after an EXTR, EXTP, EXTS, EXTPR or
// EXTSR with count k the k instructions decoded next are shown in the address space the
// prefix selects. Decode in address order (as a listing does) for the counters to follow
// the program.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/memory_image.h"
#include "disasm/decoded_instruction.h"
#include "disasm/instruction_fields.h"
#include "disasm/opcode_table.h"
#include "disasm/operand_names.h"
#include "disasm/prefix_instructions.h"
#include "formats/register_table.h"

namespace velmora {

class InstructionDecoder {
 public:
  // Bytes an opcode without a line in the table is stepped over by: one instruction word.
  static constexpr int kUndefinedLength = 2;

  // Both tables are kept by reference. After the register table is read again, call
  // RegistersChanged().
  InstructionDecoder(const OpcodeTable& opcodes, const RegisterTable& registers);
  void RegistersChanged() { names_.Reindex(); }

  // The text of the instruction at address: the mnemonic padded to 8 characters and the
  // operands separated by ","; "Illegal Instruction" for an opcode the table or the
  // formats do not know, "Illegal Operand" when an operand has no name.
  std::string Disassemble(MemoryImage& image, int32_t address);
  // The instruction at address as a structure; counts the prefixes down and starts them
  // exactly as Disassemble does.
  DecodedInstruction Decode(MemoryImage& image, int32_t address);

  // The length of the opcode's instruction; never 0, so that nothing steps in place.
  int LengthOf(uint8_t opcode) const;
  // The length of the instruction at address.
  int InstructionLength(MemoryImage& image, int32_t address) const;

  const PrefixCounters& Counters() const { return counters_; }
  void ResetCounters() { counters_ = PrefixCounters{}; }

 private:
  bool decodeOperands(const OperandLayout& layout, DecodedInstruction& out) const;

  const OpcodeTable& opcodes_;
  OperandNames names_;
  PrefixCounters counters_;
  InstructionFields fields_;
};

}  // namespace velmora
