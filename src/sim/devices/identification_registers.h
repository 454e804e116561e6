// The identification and reset configuration registers of the later types: read-only words
// on the bus. IDMANUF and IDMEM come from the type database's ID= line; the chip word,
// programming voltages, second memory word and reset configuration are what every board
// of this make reports, as the virtual board has always shown them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "formats/register_table.h"
#include "sim/devices/memory_map.h"
#include "sim/devices/register_hook.h"

namespace velmora {

struct FixedRegister {
  std::string name;
  int32_t address;
  uint16_t value;
};

class IdentificationRegisters : public RegisterHook {
 public:
  explicit IdentificationRegisters(std::vector<FixedRegister> registers)
      : registers_(std::move(registers)) {}

  bool Attach(MemoryMap& map);
  uint16_t Read(int32_t address) override;
  void Write(int32_t, uint16_t) override {}  // read-only: the write goes nowhere

  const std::vector<FixedRegister>& registers() const { return registers_; }

 private:
  std::vector<FixedRegister> registers_;
};

// The registers the type's definitions have; none for a type whose ID= line gives only the
// bootstrap byte (it has no identification registers).
std::vector<FixedRegister> IdentificationValuesFor(const RegisterTable& registers,
                                                   const std::vector<int32_t>& ids);

}  // namespace velmora
