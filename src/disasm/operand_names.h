// How operands read in a listing: general purpose registers, registers by short number,
// memory addresses, bit addresses and conditions, named from the register definitions.
//
// The functions that can fail return false when the register definitions give no name
// for what the instruction addresses; the decoder then shows "Illegal Operand".
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "formats/register_table.h"

namespace velmora {

// What the prefixes in force change about names.
struct PrefixScope {
  bool extendedRegisters = false;  // EXTR, EXTSR, EXTPR: short addresses reach F000..F1FF
  bool plainAddresses = false;     // EXTP, EXTS, EXTPR, EXTSR: long addresses without DPP
};

class OperandNames {
 public:
  // Keeps a reference to registers and an index of it by address; call Reindex() after
  // the table changes.
  explicit OperandNames(const RegisterTable& registers);
  void Reindex();

  // Rn, n = 0..15.
  static void WordRegister(uint32_t n, std::string& out);
  // RLn for even n, RHn for odd n, n = 0..15.
  static void ByteRegister(uint32_t n, std::string& out);
  // An 8-bit register number: F0..FF a general purpose register (word or byte), below
  // that the register with the short number.
  bool Reg(uint32_t number, bool byteSized, PrefixScope scope, std::string& out) const;
  // A 16-bit memory address.
  bool Mem(uint32_t address, PrefixScope scope, std::string& out) const;
  // A bit address: bit offset q and bit b, or the word alone when bit is negative.
  bool BitOff(uint32_t q, int bit, PrefixScope scope, std::string& out) const;
  // cc_UC .. cc_ULE.
  static void Condition(uint32_t cc, std::string& out);
  // value as digits upper-case hexadecimal digits (more when it needs more).
  static void Hex(uint32_t value, int digits, std::string& out);
  // "#", value in hexadecimal, "h".
  static void Immediate(uint32_t value, int digits, std::string& out);
  // A 16-bit address in an instruction: four hex digits and "h".
  static void Address16(uint32_t value, std::string& out);
  // A jump target in the current segment: base plus rel (a signed byte) words, as Address16.
  static void RelTarget(int32_t base, uint32_t rel, std::string& out);
  // [Rn], [Rn+], [-Rn] and [Rn+#dddd h].
  static void Indirect(uint32_t n, std::string& out);
  static void PostIncrement(uint32_t n, std::string& out);
  static void PreDecrement(uint32_t n, std::string& out);
  static void Indexed(uint32_t n, uint32_t displacement, std::string& out);
  // The 4-bit operand m of opcodes 08 .. 79: 11ii [Rii+], 10ii [Rii], 0ddd #ddd.
  static void IndirectOrData3(uint32_t m, std::string& out);

 private:
  static constexpr int32_t kIndexBase = 0xF000;  // the extended area up to the SFRs
  static constexpr int32_t kIndexSize = 0x1000;

  int find(int32_t address) const;

  const RegisterTable& registers_;
  std::array<int16_t, kIndexSize> index_{};
};

}  // namespace velmora
