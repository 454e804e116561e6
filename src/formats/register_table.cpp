#include "formats/register_table.h"

#include "core/hex_text.h"

namespace velmora {

RegisterDefinition::RegisterDefinition(std::string registerName, int32_t registerAddress)
    : name(std::move(registerName)),
      address(registerAddress),
      shortNumber((registerAddress / 2) & 0xFF),
      extended(registerAddress < RegisterTable::kSfrBase) {}

bool RegisterTable::Add(RegisterDefinition reg) {
  if (Count() >= kCapacity) return false;
  registers_.push_back(std::move(reg));
  return true;
}

int RegisterTable::FindRegister(std::string_view name) const {
  for (int i = 0; i < Count(); ++i) {
    if (EqualsNoCase(At(i).name, name)) return i;
  }
  return -1;
}

int RegisterTable::FindByAddress(int32_t address) const {
  for (int i = 0; i < Count(); ++i) {
    if (At(i).address == address) return i;
  }
  return -1;
}

int RegisterTable::FindByShortNumber(int number, bool extendedArea) const {
  return FindByAddress((extendedArea ? kEsfrBase : kSfrBase) + 2 * (number & 0xFF));
}

std::string RegisterTable::BitName(int index, int bit) const {
  if (index < 0 || index >= Count() || bit < 0 || bit > 15) return {};
  return At(index).bitNames[static_cast<size_t>(bit)];
}

}  // namespace velmora
