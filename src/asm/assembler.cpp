#include "asm/assembler.h"

#include <cstdio>
#include <limits>
#include <optional>
#include <set>
#include <unordered_map>

#include "asm/expression.h"
#include "asm/instruction_encoder.h"
#include "asm/register_names.h"

namespace velmora::assembler {
namespace {

constexpr int64_t kAddressSpace = 0x1000000;

// The directives and what they do with their operands.
enum class Directive { kNone, kOrg, kEqu, kDb, kDw, kDs, kAlign, kInclude, kEnd };

Directive directiveOf(const std::string& operation) {
  static const std::unordered_map<std::string, Directive> kDirectives = {
      {"ORG", Directive::kOrg},         {"EQU", Directive::kEqu}, {"DB", Directive::kDb},
      {"DW", Directive::kDw},           {"DS", Directive::kDs},   {"ALIGN", Directive::kAlign},
      {"INCLUDE", Directive::kInclude}, {"END", Directive::kEnd}};
  const auto found = kDirectives.find(operation);
  return found == kDirectives.end() ? Directive::kNone : found->second;
}

bool quoted(const std::string& text) {
  return text.size() >= 2 && text.front() == '"' && text.back() == '"';
}

class Run {
 public:
  Run(const FlatSource& source, const OpcodeTable& opcodes, const RegisterTable& registers)
      : source_(source),
        encoder_(opcodes),
        registers_(registers),
        lengths_(source.lines.size(), 0) {
    lookup_ = [this](std::string_view name) -> std::optional<int64_t> {
      const auto found = symbols_.find(Upper(name));
      if (found != symbols_.end()) return found->second;
      if (const auto address = registers_.Address(name)) return *address;
      return std::nullopt;
    };
  }

  // One pass; true when a label or a length changed from the one before.
  bool Pass(bool final, Assembly* out) {
    final_ = final;
    out_ = out;
    changed_ = false;
    address_ = 0;
    definedThisPass_.clear();
    for (size_t i = 0; i < source_.lines.size(); ++i) {
      line_ = &source_.lines[i];
      index_ = i;
      if (!line(source_.lines[i])) break;  // END
    }
    return changed_;
  }

 private:
  // False after END.
  bool line(const FlatLine& flat) {
    const SourceLine& parts = flat.parts;
    const int32_t here = static_cast<int32_t>(address_);
    std::vector<uint8_t> bytes;
    bool placed = false;  // the line has an address in the listing
    if (!parts.error.empty()) {
      error(parts.errorColumn, parts.error);
      list(-1, {});
      return true;
    }
    const Directive directive = directiveOf(parts.operation.text);
    if (!parts.label.text.empty()) {
      placed = true;
      if (directive == Directive::kEqu) {
        equ(parts);
      } else {
        define(parts.label, address_);
      }
    }
    switch (directive) {
      case Directive::kEqu:
        if (parts.label.text.empty()) error(parts.operation.column, "EQU needs a name before it");
        list(-1, {});
        return true;
      case Directive::kInclude:
        list(-1, {});
        return true;
      case Directive::kEnd:
        list(here, {});
        return false;
      case Directive::kOrg:
        org(parts);
        list(static_cast<int32_t>(address_), {});
        return true;
      case Directive::kDs:
      case Directive::kAlign:
        reserve(parts, directive == Directive::kAlign);
        list(here, {});
        return true;
      case Directive::kDb:
      case Directive::kDw:
        bytes = data(parts, directive == Directive::kDw ? 2 : 1);
        placed = true;
        break;
      case Directive::kNone:
        if (!parts.operation.text.empty()) {
          bytes = instruction(parts);
          placed = true;
        }
        break;
    }
    emit(here, bytes);
    list(placed ? here : -1, bytes);
    return true;
  }

  std::optional<int64_t> value(const SourcePiece& piece, int64_t low, int64_t high,
                               std::string_view what) {
    const ExpressionResult r = Evaluate(piece.text, piece.column, address_, lookup_);
    if (!r.error.empty()) {
      error(r.errorColumn, r.error);
      return std::nullopt;
    }
    if (!r.value) {
      error(r.unknownColumn, "undefined name '" + r.unknownName + "'");
      return std::nullopt;
    }
    if (*r.value < low || *r.value > high) {
      error(piece.column, std::string(what) + " out of range");
      return std::nullopt;
    }
    return r.value;
  }

  bool oneOperand(const SourceLine& parts) {
    if (parts.operands.size() == 1) return true;
    error(parts.operation.column, parts.operation.text + " takes one operand");
    return false;
  }

  void define(const SourcePiece& label, int64_t value) {
    const std::string name = Upper(label.text);
    if (registers_.Reserved(name)) {
      error(label.column, "'" + label.text + "' is the name of a register or condition");
      return;
    }
    if (!definedThisPass_.insert(name).second) {
      error(label.column, "'" + label.text + "' is defined twice");
      return;
    }
    const auto found = symbols_.find(name);
    if (found == symbols_.end() || found->second != value) {
      changed_ = true;
      if (final_) error(label.column, "the value of '" + label.text + "' does not settle");
      symbols_[name] = value;
    }
  }

  void equ(const SourceLine& parts) {
    if (!oneOperand(parts)) return;
    if (const auto v = value(parts.operands[0], std::numeric_limits<int32_t>::min(),
                             std::numeric_limits<int32_t>::max(), "value")) {
      define(parts.label, *v);
    } else {
      definedThisPass_.insert(Upper(parts.label.text));
    }
  }

  void org(const SourceLine& parts) {
    if (!oneOperand(parts)) return;
    if (const auto v = value(parts.operands[0], 0, kAddressSpace - 1, "address")) address_ = *v;
  }

  void reserve(const SourceLine& parts, bool align) {
    if (!oneOperand(parts)) return;
    const auto v =
        value(parts.operands[0], align ? 1 : 0, kAddressSpace, align ? "alignment" : "size");
    if (!v) return;
    address_ = align ? (address_ + *v - 1) / *v * *v : address_ + *v;
    if (address_ > kAddressSpace) error(parts.operands[0].column, "beyond the address space");
  }

  std::vector<uint8_t> data(const SourceLine& parts, int width) {
    std::vector<uint8_t> bytes;
    if (parts.operands.empty())
      error(parts.operation.column, parts.operation.text + " needs a value");
    const int64_t top = width == 1 ? 0xFF : 0xFFFF;
    for (const SourcePiece& operand : parts.operands) {
      if (width == 1 && quoted(operand.text)) {
        for (size_t i = 1; i + 1 < operand.text.size(); ++i)
          bytes.push_back(static_cast<uint8_t>(operand.text[i]));
        continue;
      }
      const auto v = value(operand, -(top + 1) / 2, top, "value");
      const auto word = static_cast<uint32_t>(v.value_or(0));
      bytes.push_back(static_cast<uint8_t>(word));
      if (width == 2) bytes.push_back(static_cast<uint8_t>(word >> 8));  // low byte first
    }
    return bytes;
  }

  std::vector<uint8_t> instruction(const SourceLine& parts) {
    const EncodeContext context{registers_, lookup_, static_cast<int32_t>(address_), final_};
    int& length = lengths_[index_];
    const Encoded encoded = encoder_.Encode(parts.operation, parts.operands, context, length);
    if (!encoded.error.empty()) {
      error(encoded.errorColumn, encoded.error);
      return std::vector<uint8_t>(static_cast<size_t>(length), 0);
    }
    if (static_cast<int>(encoded.bytes.size()) != length) {
      if (final_) error(parts.operation.column, "the length of this instruction does not settle");
      length = static_cast<int>(encoded.bytes.size());
      changed_ = true;
    }
    return encoded.bytes;
  }

  void emit(int32_t here, const std::vector<uint8_t>& bytes) {
    address_ += static_cast<int64_t>(bytes.size());
    if (!final_ || bytes.empty()) return;
    if (address_ > kAddressSpace) {
      error(1, "beyond the address space");
      return;
    }
    for (size_t i = 0; i < bytes.size(); ++i) {
      if (!written_.insert(here + static_cast<int32_t>(i)).second) {
        char at[8];
        std::snprintf(at, sizeof at, "%06X",
                      static_cast<unsigned>(here) + static_cast<unsigned>(i));
        error(1, std::string("overwrites the byte placed before at ") + at);
        return;
      }
    }
    out_->chunks.push_back({here, bytes});
  }

  void list(int32_t address, const std::vector<uint8_t>& bytes) {
    if (final_) out_->listing.push_back({line_->file, line_->number, address, bytes, line_->text});
  }

  void error(int column, std::string text) {
    if (final_)
      out_->errors.push_back({source_.files[static_cast<size_t>(line_->file)], line_->number,
                              column, std::move(text)});
  }

  const FlatSource& source_;
  InstructionEncoder encoder_;
  RegisterNames registers_;
  NameLookup lookup_;
  std::unordered_map<std::string, int64_t> symbols_;
  std::set<std::string> definedThisPass_;
  std::set<int32_t> written_;
  std::vector<int> lengths_;
  const FlatLine* line_ = nullptr;
  size_t index_ = 0;
  int64_t address_ = 0;
  bool final_ = false;
  bool changed_ = false;
  Assembly* out_ = nullptr;
};

}  // namespace

Assembly Assemble(const std::string& path, const OpcodeTable& opcodes,
                  const RegisterTable& registers, const SourceReader& reader) {
  Assembly out;
  const FlatSource source = GatherSource(path, reader, out.errors);
  out.files = source.files;
  if (!out.errors.empty()) return out;
  Run run(source, opcodes, registers);
  bool changed = true;
  while (changed && out.passes < kMaxPasses) {
    changed = run.Pass(false, nullptr);
    ++out.passes;
  }
  run.Pass(true, &out);
  ++out.passes;
  if (!out.errors.empty()) out.chunks.clear();
  return out;
}

}  // namespace velmora::assembler
