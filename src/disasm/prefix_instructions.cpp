#include "disasm/prefix_instructions.h"

#include <array>
#include <string_view>

namespace velmora {
namespace {

// The forms of D7 and DC by their first 2-bit field, and of D1.
constexpr std::array<std::string_view, 4> kExtendForms = {"EXTS", "EXTP", "EXTSR", "EXTPR"};
constexpr std::array<std::string_view, 4> kRegisterForms = {"ATOMIC", "", "EXTR", ""};
constexpr int kMnemonicWidth = 8;

void mnemonic(std::string_view text, std::string& out) {
  out += text;
  if (text.size() < kMnemonicWidth) out.append(kMnemonicWidth - text.size(), ' ');
}

void count(int k, std::string& out) {
  out += ",#";
  out += static_cast<char>('0' + k);
}

}  // namespace

bool DecodePrefix(OperandFormat format, const InstructionFields& fields, std::string& out,
                  PrefixCounters& counters) {
  const uint32_t form = fields.Two(0);
  const int k = static_cast<int>(fields.Two(1)) + 1;  // instructions covered: 1 to 4

  if (format == OperandFormat::kExtendRegisters) {
    const std::string_view name = kRegisterForms[form & 3];
    if (name.empty()) return false;
    mnemonic(name, out);
    out += '#';
    out += static_cast<char>('0' + k);
    if (name == "EXTR") counters.extr = k + 1;
    return true;
  }

  mnemonic(kExtendForms[form & 3], out);
  const bool segment = (form & 1) == 0;   // EXTS, EXTSR
  const bool extended = (form & 2) != 0;  // EXTSR, EXTPR
  if (format == OperandFormat::kExtendRegister) {
    OperandNames::WordRegister(fields.Four(0), out);
  } else if (segment) {
    OperandNames::Immediate(fields.Eight(1), 2, out);
  } else {
    OperandNames::Immediate((fields.Two(3) << 8) + fields.Eight(1), 4, out);
  }
  count(k, out);
  (segment ? counters.exts : counters.extp) = k + 1;
  if (extended) counters.extr = k + 1;
  return true;
}

}  // namespace velmora
