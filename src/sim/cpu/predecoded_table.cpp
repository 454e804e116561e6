#include "sim/cpu/predecoded_table.h"

#include "sim/cpu/cycle_table.h"

namespace velmora {
namespace {

constexpr int kCodeBits = 64;

// The cut of the index-th field of that width in the entry's field list; false when the
// entry has no such field.
bool cutOf(const OpcodeEntry& entry, FieldRef ref, FieldCut& out) {
  if (!ref.Used()) {
    out = {};
    return true;
  }
  int position = 0;
  int seen = 0;
  for (int i = 0; i < entry.fieldCount && i < OpcodeEntry::kMaxFields; ++i) {
    const int width = entry.fieldWidth[static_cast<size_t>(i)];
    if (width == ref.width && seen++ == ref.index) {
      if (position + width > kCodeBits) return false;
      if (width == 16) {
        out.lowShift = static_cast<uint8_t>(kCodeBits - position - 8);
        out.highShift = static_cast<uint8_t>(kCodeBits - position - 16);
      } else {
        out.lowShift = static_cast<uint8_t>(kCodeBits - position - width);
      }
      out.bits = static_cast<uint8_t>(width);
      return true;
    }
    position += width;
  }
  return false;
}

bool byteOperand(Operation operation, int index) {
  if (IsByteOperation(operation)) return true;
  // MOVBZ and MOVBS read a byte and write a word.
  return (operation == Operation::kMovbz || operation == Operation::kMovbs) && index == 1;
}

bool fillOperands(const OpcodeEntry& entry, const OperandLayout& layout, Predecoded& p) {
  p.operandCount = layout.operandCount;
  for (size_t i = 0; i < layout.operandCount; ++i) {
    const OperandSlot& slot = layout.operands[i];
    PredecodedOperand& operand = p.operands[i];
    operand.kind = slot.kind;
    operand.byteAccess = byteOperand(p.operation, static_cast<int>(i));
    if (!cutOf(entry, slot.field, operand.field) || !cutOf(entry, slot.second, operand.second)) {
      return false;
    }
  }
  return true;
}

bool fillPrefix(const OpcodeEntry& entry, OperandFormat format, Predecoded& p) {
  for (uint32_t form = 0; form < 4; ++form) {
    if (LayoutFor(format, form) != nullptr) p.validForms |= static_cast<uint8_t>(1U << form);
  }
  if (!cutOf(entry, Two(0), p.form) || !cutOf(entry, Two(1), p.count)) return false;
  // The page form carries the most: a page number with its high bits, or the register.
  const OperandLayout* layout = LayoutFor(format, 1);
  if (layout == nullptr) layout = LayoutFor(format, 0);
  return layout != nullptr && fillOperands(entry, *layout, p);
}

bool fillChecks(const OpcodeEntry& entry, uint8_t opcode, const OperandLayout& layout,
                Predecoded& p) {
  for (const FixedField& fixed : layout.Fixed()) {
    ProtectionCheck& check = p.checks[p.checkCount++];
    if (!cutOf(entry, fixed.field, check.field)) return false;
    check.expected = static_cast<uint8_t>(fixed.ValueFor(opcode));
  }
  return true;
}

Predecoded predecode(const OpcodeTable& opcodes, uint8_t opcode) {
  Predecoded p;
  const OpcodeEntry& entry = opcodes.At(opcode);
  const OperandFormat format = FormatOf(opcode);
  const auto layouts = LayoutsOf(format);
  if (!entry.Defined() || layouts.empty() || entry.length > 8) return p;
  p.format = format;
  p.length = static_cast<uint8_t>(entry.length);
  p.operation = IsPrefixFormat(format) ? Operation::kPrefix : OperationOf(entry.mnemonic);
  bool ok = p.operation != Operation::kUndefined;
  if (ok && IsPrefixFormat(format)) {
    ok = fillPrefix(entry, format, p);
  } else if (ok) {
    ok = fillOperands(entry, layouts.front(), p);
    if (ok && format == OperandFormat::kNoneProtected) {
      ok = fillChecks(entry, opcode, layouts.front(), p);
    }
  }
  if (!ok) return Predecoded{};
  p.operationClass = ClassOf(p.operation);
  p.cycles = static_cast<uint8_t>(BaseCycles(p.operation, p.length));
  return p;
}

}  // namespace

PredecodedTable BuildPredecodedTable(const OpcodeTable& opcodes) {
  PredecodedTable table;
  for (int opcode = 0; opcode < 256; ++opcode) {
    table[static_cast<size_t>(opcode)] = predecode(opcodes, static_cast<uint8_t>(opcode));
  }
  return table;
}

}  // namespace velmora
