// The processor's general registers as the debugger shows them after a stop: R0 .. R15 of
// the register bank that CP points to, and PSW, SP, CP and DPP0 .. DPP3. The bank lies in
// internal RAM, the others are special function registers at the addresses the register
// definitions give; both are read through the monitor into the image, so the memory view
// and the debugger agree on what the target holds.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/register_table.h"

namespace velmora {

class Link;

inline constexpr int kBankRegisters = 16;
// R0 .. R15 come first, then the special function registers in this order.
inline constexpr std::array<std::string_view, 7> kDebugSfrNames = {"PSW",  "SP",   "CP",  "DPP0",
                                                                   "DPP1", "DPP2", "DPP3"};
inline constexpr int kGeneralRegisterCount =
    kBankRegisters + static_cast<int>(kDebugSfrNames.size());
inline constexpr int kPswIndex = kBankRegisters;
inline constexpr int kCpIndex = kBankRegisters + 2;

// "R0" .. "R15", "PSW", "SP", "CP", "DPP0" .. "DPP3".
std::string GeneralRegisterName(int index);

struct GeneralRegisters {
  std::array<int32_t, kGeneralRegisterCount> values;  // -1 where the value is not known
  bool fromTarget = false;  // read from the target just now, not only from the image

  GeneralRegisters() { values.fill(-1); }
};

// While the target waits in the monitor (state 1), reads every register from the target
// into the image and returns them; otherwise returns what the image holds. A missing CP
// definition writes "*ERROR: Register CP not defined" and leaves the bank unknown.
GeneralRegisters ReadGeneralRegisters(Link& link);

// Writes value to the register on the target (Rn at CP + 2n, the others at their own
// address) and reads it back into the image. Returns the value read back, or -1 when the
// target is not waiting in the monitor or the register cannot be reached.
int32_t WriteGeneralRegister(Link& link, int index, uint16_t value);

// A named bit or bit field of a register, as its definition names it.
struct RegisterField {
  std::string name;
  int bit;    // the lowest bit
  int width;  // 1 for a single bit
  int value;
};

// The named bits and fields of the register called name, lowest bit first, with their
// values in value; empty when the definitions lack the register.
std::vector<RegisterField> RegisterFields(const RegisterTable& registers, std::string_view name,
                                          uint16_t value);

}  // namespace velmora
