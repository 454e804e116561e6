#include "sim/devices/identification_registers.h"

namespace velmora {
namespace {

// idIndex >= 0: the value is the ID= line's value at that index; -1: the fixed value.
struct IdentificationSource {
  const char* name;
  int idIndex;
  uint16_t value;
};

constexpr IdentificationSource kSources[] = {
    {"IDMANUF", 1, 0},      {"IDCHIP", -1, 0x0C02}, {"IDMEM", 2, 0},
    {"IDPROG", -1, 0x4040}, {"IDMEM2", -1, 0x6002}, {"RSTCFG", -1, 0x6600},
};

}  // namespace

bool IdentificationRegisters::Attach(MemoryMap& map) {
  bool all = true;
  for (const auto& reg : registers_) all = map.AttachHook(reg.address, this) && all;
  return all;
}

uint16_t IdentificationRegisters::Read(int32_t address) {
  for (const auto& reg : registers_) {
    if (reg.address == address) return reg.value;
  }
  return 0;
}

std::vector<FixedRegister> IdentificationValuesFor(const RegisterTable& registers,
                                                   const std::vector<int32_t>& ids) {
  std::vector<FixedRegister> result;
  if (ids.size() < 3) return result;
  for (const auto& source : kSources) {
    const int index = registers.FindRegister(source.name);
    if (index < 0) continue;
    const uint16_t value = source.idIndex >= 0
                               ? static_cast<uint16_t>(ids[static_cast<size_t>(source.idIndex)])
                               : source.value;
    result.push_back({source.name, registers.At(index).address, value});
  }
  return result;
}

}  // namespace velmora
