#include "asm/register_names.h"

#include <array>
#include <charconv>

#include "asm/source_line.h"

namespace velmora::assembler {
namespace {

constexpr std::array<std::string_view, 16> kConditions = {
    "CC_UC", "CC_NET", "CC_Z",   "CC_NZ",  "CC_V",   "CC_NV",  "CC_N",   "CC_NN",
    "CC_C",  "CC_NC",  "CC_SGT", "CC_SLE", "CC_SLT", "CC_SGE", "CC_UGT", "CC_ULE"};
// The processor also names two conditions twice.
constexpr std::array<std::pair<std::string_view, int>, 4> kConditionAliases = {
    {{"CC_EQ", 2}, {"CC_NE", 3}, {"CC_ULT", 8}, {"CC_UGE", 9}}};

std::optional<int> number(std::string_view digits, int limit) {
  int value = 0;
  if (digits.empty() || digits.size() > 2 || (digits.size() == 2 && digits[0] == '0'))
    return std::nullopt;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size() || value > limit)
    return std::nullopt;
  return value;
}

}  // namespace

RegisterNames::RegisterNames(const RegisterTable& registers) {
  // The first definition of a name wins, as the register table's own lookup has it.
  for (int i = 0; i < registers.Count(); ++i) {
    const RegisterDefinition& reg = registers.At(i);
    addresses_.emplace(Upper(reg.name), reg.address);
    for (int bit = 0; bit < 16; ++bit) {
      const auto b = static_cast<size_t>(bit);
      if (reg.fieldWidths[b] == 1 && !reg.bitNames[b].empty())
        bits_.emplace(Upper(reg.bitNames[b]), NamedBit{reg.address, bit});
    }
  }
}

std::optional<int32_t> RegisterNames::Address(std::string_view name) const {
  const auto found = addresses_.find(Upper(name));
  if (found == addresses_.end()) return std::nullopt;
  return found->second;
}

std::optional<NamedBit> RegisterNames::Bit(std::string_view name) const {
  const auto found = bits_.find(Upper(name));
  if (found == bits_.end()) return std::nullopt;
  return found->second;
}

bool RegisterNames::Reserved(std::string_view name) const {
  return Address(name) || WordRegister(name) || ByteRegister(name) || Condition(name);
}

std::optional<int> RegisterNames::WordRegister(std::string_view name) {
  if (name.size() < 2 || (name[0] != 'R' && name[0] != 'r')) return std::nullopt;
  return number(name.substr(1), 15);
}

std::optional<int> RegisterNames::ByteRegister(std::string_view name) {
  if (name.size() < 3 || (name[0] != 'R' && name[0] != 'r')) return std::nullopt;
  const char half = static_cast<char>(name[1] & ~0x20);
  if (half != 'L' && half != 'H') return std::nullopt;
  const auto n = number(name.substr(2), 7);
  if (!n) return std::nullopt;
  return 2 * *n + (half == 'H' ? 1 : 0);
}

std::optional<int> RegisterNames::Condition(std::string_view name) {
  const std::string upper = Upper(name);
  for (size_t i = 0; i < kConditions.size(); ++i) {
    if (upper == kConditions[i]) return static_cast<int>(i);
  }
  for (const auto& [alias, value] : kConditionAliases) {
    if (upper == alias) return value;
  }
  return std::nullopt;
}

}  // namespace velmora::assembler
