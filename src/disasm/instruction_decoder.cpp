#include "disasm/instruction_decoder.h"

#include <array>

#include "disasm/instruction_flow.h"
#include "disasm/operand_formats.h"

namespace velmora {
namespace {

// Addresses outside the 24-bit space read as 0 without touching the image.
uint8_t byteAt(MemoryImage& image, int32_t address) {
  return MemoryImage::InRange(address) ? image.GetByte(address) : 0;
}

uint32_t read(const InstructionFields& fields, FieldRef ref) {
  switch (ref.width) {
    case 2:
      return fields.Two(ref.index);
    case 4:
      return fields.Four(ref.index);
    case 8:
      return fields.Eight(ref.index);
    case 16:
      return fields.Sixteen(ref.index);
    default:
      return 0;
  }
}

// The operand's value as DecodedOperand keeps it, from its raw field.
uint32_t operandValue(const OperandSlot& slot, uint32_t raw, uint32_t second, int32_t address,
                      int length) {
  const int32_t rel = static_cast<int8_t>(static_cast<uint8_t>(raw));
  switch (slot.kind) {
    case OperandKind::kRelative:
      return static_cast<uint32_t>(address + 2 + 2 * rel) & 0xFFFF;
    case OperandKind::kRelativeFromNext:
      return static_cast<uint32_t>(address + length + 2 * rel) & 0xFFFF;
    case OperandKind::kTrapNumber:
      return raw >> 1;
    case OperandKind::kPageNumber:
      return (second << 8) + raw;
    case OperandKind::kCount:
      return raw + 1;
    default:
      return raw;
  }
}

bool render(const DecodedOperand& o, const OperandSlot& slot, const OperandNames& names,
            PrefixScope scope, std::string& out) {
  switch (o.kind) {
    case OperandKind::kWordRegister:
      OperandNames::WordRegister(o.value, out);
      return true;
    case OperandKind::kByteRegister:
      OperandNames::ByteRegister(o.value, out);
      return true;
    case OperandKind::kRegWord:
    case OperandKind::kRegByte:
      return names.Reg(o.value, o.kind == OperandKind::kRegByte, scope, out);
    case OperandKind::kMem:
      return names.Mem(o.value, scope, out);
    case OperandKind::kImmediate:
    case OperandKind::kSegmentNumber:
    case OperandKind::kPageNumber:
      OperandNames::Immediate(o.value,
                              slot.digits != 0                     ? slot.digits
                              : o.kind == OperandKind::kPageNumber ? 4
                                                                   : 2,
                              out);
      return true;
    case OperandKind::kIndirect:
      OperandNames::Indirect(o.value, out);
      return true;
    case OperandKind::kPostIncrement:
      OperandNames::PostIncrement(o.value, out);
      return true;
    case OperandKind::kPreDecrement:
      OperandNames::PreDecrement(o.value, out);
      return true;
    case OperandKind::kIndexed:
      OperandNames::Indexed(o.value, o.second, out);
      return true;
    case OperandKind::kIndirectOrData3:
      OperandNames::IndirectOrData3(o.value, out);
      return true;
    case OperandKind::kBit:
      return names.BitOff(o.value, static_cast<int>(o.second), scope, out);
    case OperandKind::kBitWord:
      return names.BitOff(o.value, -1, scope, out);
    case OperandKind::kCondition:
      OperandNames::Condition(o.value, out);
      return true;
    case OperandKind::kRelative:
    case OperandKind::kRelativeFromNext:
    case OperandKind::kCaddr:
      OperandNames::Address16(o.value, out);
      return true;
    case OperandKind::kSegment:
      OperandNames::Hex(o.value, 2, out);
      out += 'h';
      return true;
    case OperandKind::kTrapNumber:
      out += '#';
      OperandNames::Hex(o.value, 2, out);
      return true;
    case OperandKind::kCount:
      out += '#';
      out += std::to_string(o.value);
      return true;
    case OperandKind::kNone:
      break;
  }
  return false;
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
  return FormatInstruction(Decode(image, address));
}

DecodedInstruction InstructionDecoder::Decode(MemoryImage& image, int32_t address) {
  counters_.Step();
  DecodedInstruction out;
  out.address = address;
  out.opcode = byteAt(image, address);
  out.length = LengthOf(out.opcode);
  out.format = FormatOf(out.opcode);
  const OpcodeEntry& entry = opcodes_.At(out.opcode);
  if (!entry.Defined() || out.format == OperandFormat::kUndefined) {
    out.status = DecodeStatus::kUnknownInstruction;
    return out;
  }

  std::array<uint8_t, OpcodeTable::kMaxLength> bytes{};
  const auto length = static_cast<size_t>(entry.length);
  bytes[0] = out.opcode;
  for (size_t i = 1; i < length; ++i) {
    bytes[i] = byteAt(image, address + static_cast<int32_t>(i));
  }
  fields_.Cut(entry, std::span<const uint8_t>(bytes.data(), length));

  const uint32_t form = fields_.Two(0);
  const OperandLayout* layout = LayoutFor(out.format, form);
  if (layout == nullptr) {
    out.status = DecodeStatus::kUnknownInstruction;
    return out;
  }
  out.mnemonic = layout->mnemonic.empty() ? entry.mnemonic : std::string(layout->mnemonic);
  out.flow = FlowOf(out.opcode, out.format, fields_, address, out.length);
  if (!decodeOperands(*layout, out)) out.status = DecodeStatus::kUnnamedOperand;
  if (IsPrefixFormat(out.format)) StartPrefix(out.format, form, out.flow.prefixCount, counters_);
  return out;
}

bool InstructionDecoder::decodeOperands(const OperandLayout& layout,
                                        DecodedInstruction& out) const {
  const PrefixScope scope = counters_.Scope();
  out.operands.resize(layout.operandCount);
  for (size_t i = 0; i < layout.operandCount; ++i) {
    const OperandSlot& slot = layout.operands[i];
    DecodedOperand& operand = out.operands[i];
    operand.kind = slot.kind;
    const uint32_t second = read(fields_, slot.second);
    operand.value = operandValue(slot, read(fields_, slot.field), second, out.address, out.length);
    if (slot.kind != OperandKind::kPageNumber) operand.second = second;
    if (!render(operand, slot, names_, scope, operand.text)) return false;
  }
  return true;
}

}  // namespace velmora
