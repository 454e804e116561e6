// The names the assembler takes from the register definitions of the controller type:
// special function registers by name, the named single bits of their bit-addressable
// ones, and the general purpose registers R0..R15, RL0..RH7. Names are taken in any case.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "formats/register_table.h"

namespace velmora::assembler {

struct NamedBit {
  int32_t address;  // of the register the bit belongs to
  int bit;
};

class RegisterNames {
 public:
  explicit RegisterNames(const RegisterTable& registers);

  std::optional<int32_t> Address(std::string_view name) const;
  std::optional<NamedBit> Bit(std::string_view name) const;
  // True for the names of registers and conditions, which labels may not take. Bit names
  // (N, C, ...) stay free; a bit operand reads a bit name before a label.
  bool Reserved(std::string_view name) const;

  // R0..R15 -> 0..15.
  static std::optional<int> WordRegister(std::string_view name);
  // RL0..RH7 -> 0..15 (RLn = 2n, RHn = 2n + 1).
  static std::optional<int> ByteRegister(std::string_view name);
  // cc_UC .. cc_ULE -> 0..15.
  static std::optional<int> Condition(std::string_view name);

 private:
  std::unordered_map<std::string, int32_t> addresses_;
  std::unordered_map<std::string, NamedBit> bits_;
};

}  // namespace velmora::assembler
