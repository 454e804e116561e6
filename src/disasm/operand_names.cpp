#include "disasm/operand_names.h"

#include <array>
#include <string_view>

namespace velmora {
namespace {

constexpr int32_t kSfrStart = 0xFE00;
constexpr int32_t kBitAreaStart = 0xFD00;   // bit offsets 00..7F: FD00..FDFE
constexpr int32_t kBitSfrStart = 0xFF00;    // bit offsets 80..EF: FF00..FFDE
constexpr int32_t kBitEsfrStart = 0xF100;   // the same offsets under EXTR: F100..F1DE
constexpr uint32_t kFirstGprNumber = 0xF0;  // short numbers F0..FF are R0..R15
constexpr int32_t kEsfrStart = 0xF000;
constexpr int32_t kEsfrEnd = 0xF1FF;

constexpr std::array<std::string_view, 16> kConditions = {
    "cc_UC", "cc_NET", "cc_Z",   "cc_NZ",  "cc_V",   "cc_NV",  "cc_N",   "cc_NN",
    "cc_C",  "cc_NC",  "cc_SGT", "cc_SLE", "cc_SLT", "cc_SGE", "cc_UGT", "cc_ULE"};

void appendDecimal(uint32_t value, std::string& out) {
  out += std::to_string(value);
}

}  // namespace

OperandNames::OperandNames(const RegisterTable& registers) : registers_(registers) {
  Reindex();
}

void OperandNames::Reindex() {
  index_.fill(-1);
  // From the back, so that the first register at an address wins, as FindByAddress does.
  for (int i = registers_.Count() - 1; i >= 0; --i) {
    const int32_t offset = registers_.At(i).address - kIndexBase;
    if (offset >= 0 && offset < kIndexSize)
      index_[static_cast<size_t>(offset)] = static_cast<int16_t>(i);
  }
}

int OperandNames::find(int32_t address) const {
  const int32_t offset = address - kIndexBase;
  if (offset >= 0 && offset < kIndexSize) return index_[static_cast<size_t>(offset)];
  return registers_.FindByAddress(address);
}

void OperandNames::WordRegister(uint32_t n, std::string& out) {
  out += 'R';
  appendDecimal(n & 15, out);
}

void OperandNames::ByteRegister(uint32_t n, std::string& out) {
  out += (n & 1) ? "RH" : "RL";
  appendDecimal((n & 15) >> 1, out);
}

bool OperandNames::Reg(uint32_t number, bool byteSized, PrefixScope scope, std::string& out) const {
  number &= 0xFF;
  if (number >= kFirstGprNumber) {
    if (byteSized) {
      ByteRegister(number & 15, out);
    } else {
      WordRegister(number & 15, out);
    }
    return true;
  }
  const int32_t base = scope.extendedRegisters ? kEsfrStart : kSfrStart;
  const int index = find(base + 2 * static_cast<int32_t>(number));
  if (index < 0) return false;
  out += registers_.At(index).name;
  return true;
}

bool OperandNames::Mem(uint32_t address, PrefixScope scope, std::string& out) const {
  const auto a = static_cast<int32_t>(address & 0xFFFF);
  if (a >= kSfrStart) {
    const int index = find(a);
    if (index < 0) return false;
    out += registers_.At(index).name;
    return true;
  }
  if (scope.extendedRegisters) {
    // Under EXTR a long address is a register when the definitions know one there; the
    // extended register area itself must be named, elsewhere the address stays a number.
    const int index = find(a);
    if (index >= 0) {
      out += registers_.At(index).name;
      return true;
    }
    if (a >= kEsfrStart && a <= kEsfrEnd) return false;
  }
  if (scope.plainAddresses) {
    Hex(address & 0xFFFF, 4, out);
    out += 'h';
    return true;
  }
  out += "DPP";
  appendDecimal(static_cast<uint32_t>(a) / 0x4000, out);
  out += ':';
  Hex(static_cast<uint32_t>(a) & 0x3FFF, 4, out);
  out += 'h';
  return true;
}

bool OperandNames::BitOff(uint32_t q, int bit, PrefixScope scope, std::string& out) const {
  q &= 0xFF;
  if (q < 0x80) {
    Hex(static_cast<uint32_t>(kBitAreaStart) + 2 * q, 4, out);
  } else {
    const int32_t base = scope.extendedRegisters ? kBitEsfrStart : kBitSfrStart;
    const int index = find(base + 2 * static_cast<int32_t>(q - 0x80));
    if (index >= 0) {
      const RegisterDefinition& reg = registers_.At(index);
      if (bit >= 0 && reg.fieldWidths[static_cast<size_t>(bit & 15)] == 1 &&
          !reg.bitNames[static_cast<size_t>(bit & 15)].empty()) {
        out += reg.bitNames[static_cast<size_t>(bit & 15)];
        return true;
      }
      out += reg.name;
    } else if (q >= kFirstGprNumber) {
      WordRegister(q - kFirstGprNumber, out);
    } else {
      return false;
    }
  }
  if (bit >= 0) {
    out += '.';
    appendDecimal(static_cast<uint32_t>(bit & 15), out);
  }
  return true;
}

void OperandNames::Condition(uint32_t cc, std::string& out) {
  out += kConditions[cc & 15];
}

void OperandNames::Hex(uint32_t value, int digits, std::string& out) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  int needed = 1;
  while (needed < 8 && (value >> (4 * needed)) != 0) ++needed;
  if (needed < digits) needed = digits;
  for (int shift = 4 * (needed - 1); shift >= 0; shift -= 4) out += kDigits[(value >> shift) & 15];
}

void OperandNames::Immediate(uint32_t value, int digits, std::string& out) {
  out += '#';
  Hex(value, digits, out);
  out += 'h';
}

void OperandNames::Address16(uint32_t value, std::string& out) {
  Hex(value & 0xFFFF, 4, out);
  out += 'h';
}

void OperandNames::RelTarget(int32_t base, uint32_t rel, std::string& out) {
  const int32_t words = static_cast<int8_t>(static_cast<uint8_t>(rel));
  Address16(static_cast<uint32_t>(base + 2 * words), out);
}

void OperandNames::Indirect(uint32_t n, std::string& out) {
  out += '[';
  WordRegister(n, out);
  out += ']';
}

void OperandNames::PostIncrement(uint32_t n, std::string& out) {
  out += '[';
  WordRegister(n, out);
  out += "+]";
}

void OperandNames::PreDecrement(uint32_t n, std::string& out) {
  out += "[-";
  WordRegister(n, out);
  out += ']';
}

void OperandNames::Indexed(uint32_t n, uint32_t displacement, std::string& out) {
  out += '[';
  WordRegister(n, out);
  out += "+#";
  Hex(displacement, 4, out);
  out += "h]";
}

void OperandNames::IndirectOrData3(uint32_t m, std::string& out) {
  if ((m & 12) == 12) {
    PostIncrement(m & 3, out);
  } else if ((m & 8) == 8) {
    Indirect(m & 3, out);
  } else {
    Immediate(m & 7, 1, out);
  }
}

}  // namespace velmora
