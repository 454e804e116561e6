// Encodes one instruction: finds the forms of the mnemonic in the opcode table (through
// the operand layouts the decoder reads with), takes the first, shortest one whose
// operands fit, and writes the operand values into its fields.
//
// JMP and CALL stand for the relative, absolute or segment form of a jump or call,
// whichever reaches the target in the fewest bytes. JMPR, JMPA, CALLA, JMPI, CALLI, JMP
// and CALL without a condition jump always (cc_UC).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "asm/expression.h"
#include "asm/operand_syntax.h"
#include "asm/register_names.h"
#include "disasm/opcode_table.h"
#include "disasm/operand_layout.h"

namespace velmora::assembler {

struct EncodeContext {
  const RegisterNames& registers;
  const NameLookup& lookup;
  int32_t address;  // of the instruction
  bool final;       // an unknown name is an error rather than a value to be found later
};

struct Encoded {
  std::vector<uint8_t> bytes;  // empty on error
  std::string error;
  int errorColumn = 0;
};

class InstructionEncoder {
 public:
  explicit InstructionEncoder(const OpcodeTable& opcodes);

  bool Knows(std::string_view mnemonic) const;
  // Forms shorter than minLength are passed over, so that an instruction whose length was
  // settled in an earlier pass does not shrink again.
  Encoded Encode(const SourcePiece& mnemonic, const std::vector<SourcePiece>& operands,
                 const EncodeContext& context, int minLength = 0) const;

 private:
  struct Candidate {
    uint8_t opcode;
    const OperandLayout* layout;
    int length;
  };

  Encoded encodeForms(const SourcePiece& mnemonic, const std::vector<ParsedOperand>& operands,
                      const EncodeContext& context, int minLength) const;
  Encoded encodeFar(const SourcePiece& mnemonic, std::vector<ParsedOperand> operands,
                    const EncodeContext& context, int minLength) const;
  bool tryCandidate(const Candidate& candidate, const std::vector<ParsedOperand>& operands,
                    const EncodeContext& context, Encoded& out, bool& shapeMatched) const;

  const OpcodeTable& opcodes_;
  std::map<std::string, std::vector<Candidate>, std::less<>> forms_;
};

}  // namespace velmora::assembler
