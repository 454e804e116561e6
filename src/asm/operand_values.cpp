#include "asm/operand_values.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "asm/source_line.h"

namespace velmora::assembler {
namespace {

using K = OperandKind;
using S = OperandSyntax;

constexpr int32_t kSfrBase = 0xFE00;
constexpr int32_t kSfrEnd = 0xFFFE;
constexpr int32_t kEsfrBase = 0xF000;
constexpr int32_t kEsfrEnd = 0xF1FE;
constexpr int32_t kBitRam = 0xFD00;      // bit offsets 00..7F
constexpr int32_t kBitSfr = 0xFF00;      // bit offsets 80..EF
constexpr int32_t kBitEsfr = 0xF100;     // the same under EXTR
constexpr int32_t kBitWordsEach = 0x70;  // words of FF00.. and F100.. with bit offsets
constexpr uint32_t kFirstGpr = 0xF0;     // short numbers of R0..R15
constexpr int64_t kTopAddress = 0xFFFFFF;

struct Value {
  std::optional<int64_t> value;  // nullopt with an empty error: not known yet
  std::string error;
  int column = 0;
};

Value evaluate(const SourcePiece& piece, const EncodeContext& c) {
  const ExpressionResult r = Evaluate(piece.text, piece.column, c.address, c.lookup);
  if (!r.error.empty()) return {std::nullopt, r.error, r.errorColumn};
  if (!r.value && c.final)
    return {std::nullopt, "undefined name '" + r.unknownName + "'", r.unknownColumn};
  return {r.value, {}, piece.column};
}

OperandValue fail(std::string error, int column) {
  OperandValue v;
  v.shape = true;
  v.error = std::move(error);
  v.column = column;
  return v;
}

OperandValue fits(uint32_t value, uint32_t second = 0) {
  OperandValue v;
  v.shape = true;
  v.value = value;
  v.second = second;
  return v;
}

std::string hex(int64_t value) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  auto u = static_cast<uint64_t>(value);
  do {
    out.insert(out.begin(), kDigits[u & 15]);
    u >>= 4;
  } while (u != 0);
  return out + "h";
}

// An evaluated number that must lie in [low, high]; unknown values fit, to be checked on
// the last pass.
OperandValue ranged(const SourcePiece& piece, const EncodeContext& c, int64_t low, int64_t high,
                    std::string_view what) {
  const Value v = evaluate(piece, c);
  if (!v.error.empty()) return fail(v.error, v.column);
  if (!v.value) return fits(0);
  if (*v.value < low || *v.value > high) {
    return fail(std::string(what) + " " + (*v.value < 0 ? "-" + hex(-*v.value) : hex(*v.value)) +
                    " out of range " + hex(low < 0 ? 0 : low) + ".." + hex(high),
                piece.column);
  }
  return fits(static_cast<uint32_t>(*v.value));
}

// #data of n bits: unsigned, or for 8 and 16 bits negative down to the signed range, stored
// in n bits. The processor widens #data3 and #data4 with zeros, so a negative number there
// would not be the number written: it takes a wider form.
OperandValue immediate(const SourcePiece& piece, const EncodeContext& c, int bits) {
  const int64_t top = (int64_t{1} << bits) - 1;
  const int64_t lowest = bits >= 8 ? -(int64_t{1} << (bits - 1)) : 0;
  OperandValue v = ranged(piece, c, lowest, top, "value");
  v.value &= static_cast<uint32_t>(top);
  return v;
}

// A 16-bit offset in the instruction's segment: values above FFFF must lie in it.
OperandValue segmentOffset(const SourcePiece& piece, const EncodeContext& c) {
  const Value v = evaluate(piece, c);
  if (!v.error.empty()) return fail(v.error, v.column);
  if (!v.value) return fits(0);
  if (*v.value < 0 || *v.value > kTopAddress) return fail("address out of range", piece.column);
  if (*v.value > 0xFFFF && (*v.value & 0xFF0000) != (c.address & 0xFF0000))
    return fail("target " + hex(*v.value) + " lies in another segment", piece.column);
  return fits(static_cast<uint32_t>(*v.value & 0xFFFF));
}

OperandValue relative(const SourcePiece& piece, const EncodeContext& c, int32_t base) {
  const Value v = evaluate(piece, c);
  if (!v.error.empty()) return fail(v.error, v.column);
  if (!v.value) return fits(0);
  const OperandValue offset = segmentOffset(piece, c);
  if (!offset.error.empty()) return offset;
  const auto distance =
      static_cast<int16_t>(static_cast<uint16_t>(offset.value - static_cast<uint32_t>(base)));
  if ((distance & 1) != 0) return fail("jump target at an odd address", piece.column);
  if (distance < -256 || distance > 254)
    return fail("target " + hex(*v.value) + " out of reach of a relative jump", piece.column);
  return fits(static_cast<uint32_t>(distance / 2) & 0xFF);
}

// "DPPn:offset" as the listing shows a long address, a register's name, or a number.
OperandValue memory(const ParsedOperand& o, const EncodeContext& c) {
  const std::string& text = o.expr.text;
  if (text.size() > 5 && Upper(text.substr(0, 3)) == "DPP" && text[3] >= '0' && text[3] <= '3' &&
      text[4] == ':') {
    OperandValue v = ranged({text.substr(5), o.expr.column + 5}, c, 0, 0x3FFF, "page offset");
    v.value += static_cast<uint32_t>(text[3] - '0') * 0x4000;
    return v;
  }
  if (const auto address = c.registers.Address(text)) return fits(static_cast<uint32_t>(*address));
  const Value v = evaluate(o.expr, c);
  if (!v.error.empty()) return fail(v.error, v.column);
  if (!v.value) return fits(0);
  if (*v.value < 0 || *v.value > kTopAddress) return fail("address out of range", o.column);
  return fits(static_cast<uint32_t>(*v.value & 0xFFFF));
}

// A register by short number: a general purpose register of the right size, or a named
// register that a short number reaches.
OperandValue shortRegister(const ParsedOperand& o, const EncodeContext& c, bool byteSized) {
  if (o.syntax == (byteSized ? S::kByteRegister : S::kWordRegister))
    return fits(kFirstGpr + static_cast<uint32_t>(o.reg));
  if (o.syntax != S::kPlain) return {};
  const auto address = c.registers.Address(o.expr.text);
  if (!address || (*address & 1) != 0) return {};
  int32_t number = -1;
  if (*address >= kSfrBase && *address <= kSfrEnd) number = (*address - kSfrBase) / 2;
  if (*address >= kEsfrBase && *address <= kEsfrEnd) number = (*address - kEsfrBase) / 2;
  if (number < 0 || number >= static_cast<int32_t>(kFirstGpr)) return {};
  return fits(static_cast<uint32_t>(number));
}

bool hexWord(std::string_view text) {
  if (text.size() != 4) return false;
  for (const char ch : text) {
    if (std::isxdigit(static_cast<unsigned char>(ch)) == 0) return false;
  }
  return true;
}

OperandValue wordOffset(int64_t a, int column) {
  if ((a & 1) == 0) {
    if (a >= kBitRam && a < kBitRam + 0x100) return fits(static_cast<uint32_t>((a - kBitRam) / 2));
    for (const int32_t area : {kBitSfr, kBitEsfr}) {
      if (a >= area && a < area + 2 * kBitWordsEach)
        return fits(0x80 + static_cast<uint32_t>((a - area) / 2));
    }
  }
  return fail(hex(a) + " is not a bit-addressable word", column);
}

// The bit offset of a bit-addressable word: Rn, a register's name, the four hex digits
// the listing prints for the bit RAM, or an expression.
OperandValue bitOffset(const SourcePiece& base, const EncodeContext& c) {
  if (const auto n = RegisterNames::WordRegister(base.text))
    return fits(kFirstGpr + static_cast<uint32_t>(*n));
  std::optional<int64_t> address;
  if (const auto named = c.registers.Address(base.text)) {
    address = *named;
  } else if (hexWord(base.text) && !c.lookup(base.text)) {
    address = ParseNumber(base.text + "h");
  } else {
    const Value v = evaluate(base, c);
    if (!v.error.empty()) return fail(v.error, v.column);
    if (!v.value) return fits(0);
    address = v.value;
  }
  return wordOffset(*address, base.column);
}

OperandValue bit(const ParsedOperand& o, const EncodeContext& c, bool withBit) {
  if (o.syntax == S::kPlain && withBit) {
    const auto named = c.registers.Bit(o.expr.text);
    if (!named) return {};
    OperandValue v = wordOffset(named->address, o.column);
    v.second = static_cast<uint32_t>(named->bit);
    return v;
  }
  if (o.syntax == S::kBit && withBit) {
    OperandValue v = bitOffset(o.expr, c);
    if (!v.error.empty()) return v;
    const OperandValue b = ranged(o.bit, c, 0, 15, "bit number");
    if (!b.error.empty()) return b;
    v.second = b.value;
    return v;
  }
  if (!withBit && (o.syntax == S::kPlain || o.syntax == S::kWordRegister)) {
    const SourcePiece base =
        o.syntax == S::kPlain ? o.expr : SourcePiece{"R" + std::to_string(o.reg), o.column};
    return bitOffset(base, c);
  }
  return {};
}

// The digits of an immediate written as one hexadecimal number ("#04h": 2), else 0. A
// listing prints each immediate form with its own number of digits, so a number written
// wider than a form prints keeps to the wider forms and its line assembles back to the
// same encoding.
// A zero written only so that the number starts with a digit ("#0FFFFh") is not counted
// unless the number would then be shorter than any listing prints a value with a leading
// zero ("#0Ah" is the 8-bit form's).
size_t writtenDigits(std::string_view text) {
  if (text.size() < 2 || (text.back() != 'h' && text.back() != 'H')) return 0;
  text.remove_suffix(1);
  for (const char ch : text) {
    if (std::isxdigit(static_cast<unsigned char>(ch)) == 0) return 0;
  }
  const bool markerZero =
      text.size() > 2 && text[0] == '0' && std::isalpha(static_cast<unsigned char>(text[1])) != 0;
  return markerZero ? text.size() - 1 : text.size();
}

// The trap number as the listing prints it: hexadecimal digits without "h".
OperandValue trapNumber(const SourcePiece& piece, const EncodeContext& c) {
  const std::string& t = piece.text;
  if (!t.empty() && t.size() <= 2 && std::all_of(t.begin(), t.end(), [](char ch) {
        return std::isxdigit(static_cast<unsigned char>(ch)) != 0;
      })) {
    return fits(static_cast<uint32_t>(*ParseNumber(t + "h")) << 1);
  }
  OperandValue v = ranged(piece, c, 0, 0x7F, "trap number");
  v.value <<= 1;
  return v;
}

}  // namespace

OperandValue ResolveOperand(const OperandSlot& slot, const ParsedOperand& o, const EncodeContext& c,
                            int length) {
  const auto reg = static_cast<uint32_t>(o.reg);
  switch (slot.kind) {
    case K::kWordRegister:
      return o.syntax == S::kWordRegister ? fits(reg) : OperandValue{};
    case K::kByteRegister:
      return o.syntax == S::kByteRegister ? fits(reg) : OperandValue{};
    case K::kRegWord:
    case K::kRegByte:
      return shortRegister(o, c, slot.kind == K::kRegByte);
    case K::kMem:
      return o.syntax == S::kPlain ? memory(o, c) : OperandValue{};
    case K::kImmediate:
      if (o.syntax != S::kImmediate || writtenDigits(o.expr.text) > slot.digits) return {};
      return immediate(o.expr, c, slot.digits == 1 ? 4 : 4 * slot.digits);
    case K::kIndirect:
      return o.syntax == S::kIndirect ? fits(reg) : OperandValue{};
    case K::kPostIncrement:
      return o.syntax == S::kPostIncrement ? fits(reg) : OperandValue{};
    case K::kPreDecrement:
      return o.syntax == S::kPreDecrement ? fits(reg) : OperandValue{};
    case K::kIndexed: {
      if (o.syntax != S::kIndexed) return {};
      const OperandValue displacement = immediate(o.expr, c, 16);
      if (!displacement.error.empty()) return displacement;
      return fits(reg, displacement.value);
    }
    case K::kIndirectOrData3:
      // Only R0..R3 fit the two bits this form has for a register.
      if ((o.syntax == S::kIndirect || o.syntax == S::kPostIncrement) && o.reg < 4)
        return fits((o.syntax == S::kIndirect ? 8U : 12U) | reg);
      if (o.syntax == S::kImmediate && writtenDigits(o.expr.text) <= 1)
        return ranged(o.expr, c, 0, 7, "value");
      return {};
    case K::kBit:
    case K::kBitWord:
      return bit(o, c, slot.kind == K::kBit);
    case K::kCondition:
      return o.syntax == S::kCondition ? fits(reg) : OperandValue{};
    case K::kRelative:
    case K::kRelativeFromNext:
      if (o.syntax != S::kPlain) return {};
      return relative(o.expr, c, c.address + (slot.kind == K::kRelative ? 2 : length));
    case K::kCaddr:
      return o.syntax == S::kPlain ? segmentOffset(o.expr, c) : OperandValue{};
    case K::kSegment:
      return o.syntax == S::kPlain ? ranged(o.expr, c, 0, 0xFF, "segment") : OperandValue{};
    case K::kTrapNumber:
      return o.syntax == S::kImmediate ? trapNumber(o.expr, c) : OperandValue{};
    case K::kSegmentNumber:
      return o.syntax == S::kImmediate ? ranged(o.expr, c, 0, 0xFF, "segment") : OperandValue{};
    case K::kPageNumber: {
      if (o.syntax != S::kImmediate) return {};
      OperandValue v = ranged(o.expr, c, 0, 0x3FF, "page");
      v.second = v.value >> 8;
      v.value &= 0xFF;
      return v;
    }
    case K::kCount: {
      if (o.syntax != S::kImmediate) return {};
      OperandValue v = ranged(o.expr, c, 1, 4, "count");
      if (v.error.empty() && v.value > 0) v.value -= 1;
      return v;
    }
    case K::kNone:
      break;
  }
  return {};
}

}  // namespace velmora::assembler
