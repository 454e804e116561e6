#include "asm/instruction_encoder.h"

#include <algorithm>
#include <array>

#include "asm/operand_values.h"
#include "asm/source_line.h"
#include "disasm/instruction_fields.h"
#include "disasm/operand_formats.h"

namespace velmora::assembler {
namespace {

// The pseudo mnemonics and the forms they choose from, shortest first.
struct FarForms {
  std::string_view pseudo, relative, absolute, segment;
};
constexpr std::array<FarForms, 2> kFarForms = {
    {{"JMP", "JMPR", "JMPA", "JMPS"}, {"CALL", "CALLR", "CALLA", "CALLS"}}};
// Mnemonics whose first operand is a condition that may be left out.
constexpr std::array<std::string_view, 7> kConditional = {"JMPR",  "JMPA", "CALLA", "JMPI",
                                                          "CALLI", "JMP",  "CALL"};

bool store(const OpcodeEntry& entry, FieldRef ref, uint32_t value, std::span<uint8_t> bytes) {
  return !ref.Used() || StoreField(entry, ref.width, ref.index, value, bytes);
}

ParsedOperand always(int column) {
  ParsedOperand cc;
  cc.syntax = OperandSyntax::kCondition;
  cc.reg = 0;
  cc.column = column;
  return cc;
}

}  // namespace

InstructionEncoder::InstructionEncoder(const OpcodeTable& opcodes) : opcodes_(opcodes) {
  for (int code = 0; code < 256; ++code) {
    const auto opcode = static_cast<uint8_t>(code);
    const OpcodeEntry& entry = opcodes.At(opcode);
    if (!entry.Defined()) continue;
    for (const OperandLayout& layout : LayoutsOf(FormatOf(opcode))) {
      const std::string name = Upper(layout.mnemonic.empty() ? entry.mnemonic : layout.mnemonic);
      std::vector<Candidate>& forms = forms_[name];
      // The columns whose opcode byte holds an operand (condition, bit number) list one
      // form sixteen times; the operand's nibble picks the opcode.
      const bool listed = std::any_of(forms.begin(), forms.end(), [&](const Candidate& c) {
        return c.layout == &layout && c.length == entry.length;
      });
      if (!listed) forms.push_back({opcode, &layout, entry.length});
    }
  }
  for (auto& [name, forms] : forms_) {
    std::stable_sort(forms.begin(), forms.end(),
                     [](const Candidate& a, const Candidate& b) { return a.length < b.length; });
  }
}

bool InstructionEncoder::Knows(std::string_view mnemonic) const {
  const std::string upper = Upper(mnemonic);
  for (const FarForms& far : kFarForms) {
    if (upper == far.pseudo) return true;
  }
  return forms_.find(upper) != forms_.end();
}

Encoded InstructionEncoder::Encode(const SourcePiece& mnemonic,
                                   const std::vector<SourcePiece>& operands,
                                   const EncodeContext& context, int minLength) const {
  const std::string name = Upper(mnemonic.text);
  std::vector<ParsedOperand> parsed;
  for (const SourcePiece& operand : operands) {
    parsed.push_back(ParseOperand(operand));
    if (!parsed.back().error.empty()) return {{}, parsed.back().error, operand.column};
  }
  if (std::find(kConditional.begin(), kConditional.end(), name) != kConditional.end() &&
      parsed.size() == 1 && parsed[0].syntax != OperandSyntax::kCondition) {
    parsed.insert(parsed.begin(), always(parsed[0].column));
  }
  for (const FarForms& far : kFarForms) {
    if (name == far.pseudo) return encodeFar(mnemonic, std::move(parsed), context, minLength);
  }
  return encodeForms(mnemonic, parsed, context, minLength);
}

Encoded InstructionEncoder::encodeForms(const SourcePiece& mnemonic,
                                        const std::vector<ParsedOperand>& operands,
                                        const EncodeContext& context, int minLength) const {
  const auto found = forms_.find(Upper(mnemonic.text));
  if (found == forms_.end())
    return {{}, "unknown instruction '" + mnemonic.text + "'", mnemonic.column};
  // Of the forms the operands are written for, the widest says best why none fits.
  Encoded valueError;
  for (const Candidate& candidate : found->second) {
    if (candidate.length < minLength) continue;
    Encoded out;
    bool shapeMatched = false;
    if (tryCandidate(candidate, operands, context, out, shapeMatched)) return out;
    if (shapeMatched) valueError = out;
  }
  if (!valueError.error.empty()) return valueError;
  return {{}, "no form of " + Upper(mnemonic.text) + " takes these operands", mnemonic.column};
}

// JMP and CALL: relative while the target is within reach, absolute within the segment,
// the segment form beyond it.
Encoded InstructionEncoder::encodeFar(const SourcePiece& mnemonic,
                                      std::vector<ParsedOperand> operands,
                                      const EncodeContext& context, int minLength) const {
  const FarForms& far = *std::find_if(kFarForms.begin(), kFarForms.end(), [&](const FarForms& f) {
    return f.pseudo == Upper(mnemonic.text);
  });
  if (operands.size() != 2 || operands[0].syntax != OperandSyntax::kCondition ||
      operands[1].syntax != OperandSyntax::kPlain) {
    return {{}, "expected " + std::string(far.pseudo) + " [cc,]target", mnemonic.column};
  }
  const bool always = operands[0].reg == 0;
  const bool call = far.pseudo == "CALL";
  auto named = [&](std::string_view form) {
    return SourcePiece{std::string(form), mnemonic.column};
  };
  // The target is a whole 24-bit address here (a label, mostly): one in another segment
  // takes the segment form at once.
  const ParsedOperand& target = operands[1];
  const ExpressionResult where =
      Evaluate(target.expr.text, target.expr.column, context.address, context.lookup);
  const bool elsewhere = where.Ok() && (*where.value & 0xFF0000) != (context.address & 0xFF0000);
  if (elsewhere && !always) {
    return {
        {}, "a conditional " + Upper(mnemonic.text) + " cannot leave the segment", target.column};
  }

  // CALLR has no condition.
  std::vector<ParsedOperand> relativeOperands = operands;
  if (call) relativeOperands.erase(relativeOperands.begin());
  if (!elsewhere && (!call || always)) {
    const Encoded relative = encodeForms(named(far.relative), relativeOperands, context, minLength);
    if (relative.error.empty()) return relative;
  }
  if (!elsewhere) {
    const Encoded absolute = encodeForms(named(far.absolute), operands, context, minLength);
    if (absolute.error.empty() || !always) return absolute;
  }

  // The segment form from one 24-bit target: its segment and its offset.
  ParsedOperand segment = target;
  segment.expr.text = "(" + target.expr.text + ")>>16";
  ParsedOperand offset = target;
  offset.expr.text = "(" + target.expr.text + ")&0FFFFh";
  // The parentheses move the text one column on.
  segment.expr.column = offset.expr.column = target.expr.column - 1;
  return encodeForms(named(far.segment), {segment, offset}, context, minLength);
}

bool InstructionEncoder::tryCandidate(const Candidate& candidate,
                                      const std::vector<ParsedOperand>& operands,
                                      const EncodeContext& context, Encoded& out,
                                      bool& shapeMatched) const {
  const OperandLayout& layout = *candidate.layout;
  if (operands.size() != layout.operandCount) return false;
  const OpcodeEntry& entry = opcodes_.At(candidate.opcode);
  std::array<uint8_t, OpcodeTable::kMaxLength> buffer{};
  const std::span<uint8_t> bytes(buffer.data(), static_cast<size_t>(candidate.length));
  bytes[0] = candidate.opcode;
  if (layout.form >= 0) store(entry, Two(0), static_cast<uint32_t>(layout.form), bytes);
  for (const FixedField& fixed : layout.Fixed()) {
    store(entry, fixed.field, fixed.ValueFor(candidate.opcode), bytes);
  }

  std::vector<OperandValue> values;
  for (size_t i = 0; i < operands.size(); ++i) {
    values.push_back(ResolveOperand(layout.operands[i], operands[i], context, candidate.length));
    if (!values.back().shape) return false;
  }
  shapeMatched = true;
  for (size_t i = 0; i < operands.size(); ++i) {
    const OperandValue& v = values[i];
    if (!v.error.empty()) {
      out.error = v.error;
      out.errorColumn = v.column != 0 ? v.column : operands[i].column;
      return false;
    }
    const OperandSlot& slot = layout.operands[i];
    if (!store(entry, slot.field, v.value, bytes) || !store(entry, slot.second, v.second, bytes) ||
        !store(entry, slot.copy, v.value, bytes)) {
      out.error = "the opcode table cuts " + entry.mnemonic + " without room for this operand";
      out.errorColumn = operands[i].column;
      return false;
    }
  }
  out.bytes.assign(bytes.begin(), bytes.end());
  return true;
}

}  // namespace velmora::assembler
