// The special function registers of the current controller type: names, addresses,
// short numbers and the names and widths of their bits and bit fields.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

struct RegisterDefinition {
  std::string name;
  int32_t address = 0;
  int32_t shortNumber = 0;  // (address / 2) AND FF: the number used by short addressing
  bool extended = false;    // below FE00: reached through the extended register area
  std::array<std::string, 16> bitNames;  // by bit number; a field's name sits at its index
  std::array<uint8_t, 16> fieldWidths{}; // 0 unnamed, 1 a single bit, n a field of n bits

  RegisterDefinition() = default;
  RegisterDefinition(std::string registerName, int32_t registerAddress);
};

class RegisterTable {
 public:
  static constexpr int kCapacity = 1025;
  static constexpr int32_t kSfrBase = 0xFE00;
  static constexpr int32_t kEsfrBase = 0xF000;

  int Count() const { return static_cast<int>(registers_.size()); }
  const RegisterDefinition& At(int index) const { return registers_[static_cast<size_t>(index)]; }
  RegisterDefinition& At(int index) { return registers_[static_cast<size_t>(index)]; }
  void Clear() { registers_.clear(); }
  // False when the table is full.
  bool Add(RegisterDefinition reg);

  // Index of the first register with this name (any case), or -1.
  int FindRegister(std::string_view name) const;
  // Index of the first register at this address, or -1.
  int FindByAddress(int32_t address) const;
  // The register a short number names: FE00 + 2n, or F000 + 2n in the extended area.
  int FindByShortNumber(int number, bool extendedArea) const;
  // The name of a bit or field, empty when the register or the bit has none.
  std::string BitName(int index, int bit) const;

 private:
  std::vector<RegisterDefinition> registers_;
};

}  // namespace velmora
