#include "disasm/instruction_decoder.h"

#include <array>

#include "disasm/operand_formats.h"

namespace velmora {
namespace {

constexpr size_t kMnemonicWidth = 8;

// Addresses outside the 24-bit space read as 0 without touching the image.
uint8_t byteAt(MemoryImage& image, int32_t address) {
  return MemoryImage::InRange(address) ? image.GetByte(address) : 0;
}

}  // namespace

InstructionDecoder::InstructionDecoder(const OpcodeTable& opcodes, const RegisterTable& registers)
    : opcodes_(opcodes), names_(registers) {}

int InstructionDecoder::LengthOf(uint8_t opcode) const {
  const OpcodeEntry& entry = opcodes_.At(opcode);
  return entry.Defined() ? entry.length : kUndefinedLength;
}

int InstructionDecoder::InstructionLength(MemoryImage& image, int32_t address) const {
  return LengthOf(byteAt(image, address));
}

std::string InstructionDecoder::Disassemble(MemoryImage& image, int32_t address) {
  counters_.Step();
  const uint8_t opcode = byteAt(image, address);
  const OpcodeEntry& entry = opcodes_.At(opcode);
  const OperandFormat format = FormatOf(opcode);
  if (!entry.Defined() || format == OperandFormat::kUndefined) {
    return std::string(kIllegalInstruction);
  }

  std::array<uint8_t, OpcodeTable::kMaxLength> bytes{};
  const auto length = static_cast<size_t>(entry.length);
  bytes[0] = opcode;
  for (size_t i = 1; i < length; ++i) {
    bytes[i] = byteAt(image, address + static_cast<int32_t>(i));
  }
  fields_.Cut(entry, std::span<const uint8_t>(bytes.data(), length));

  std::string line;
  line.reserve(40);
  if (IsPrefixFormat(format)) {
    if (!DecodePrefix(format, fields_, line, counters_)) return std::string(kIllegalInstruction);
    return line;
  }
  line = entry.mnemonic;
  if (line.size() < kMnemonicWidth) line.append(kMnemonicWidth - line.size(), ' ');
  const OperandContext context{fields_, names_, counters_.Scope(), address, entry.length};
  if (!AppendOperands(format, context, line)) return std::string(kIllegalOperand);
  return line;
}

}  // namespace velmora
