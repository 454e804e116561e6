#include "disasm/decoded_instruction.h"

namespace velmora {
namespace {

constexpr size_t kMnemonicWidth = 8;

}  // namespace

std::string FormatInstruction(const DecodedInstruction& instruction) {
  switch (instruction.status) {
    case DecodeStatus::kUnknownInstruction:
      return std::string(kIllegalInstruction);
    case DecodeStatus::kUnnamedOperand:
      return std::string(kIllegalOperand);
    case DecodeStatus::kOk:
      break;
  }
  std::string line = instruction.mnemonic;
  line.reserve(40);
  if (line.size() < kMnemonicWidth) line.append(kMnemonicWidth - line.size(), ' ');
  for (size_t i = 0; i < instruction.operands.size(); ++i) {
    if (i > 0) line += ',';
    line += instruction.operands[i].text;
  }
  return line;
}

}  // namespace velmora
