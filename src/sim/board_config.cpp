#include "sim/board_config.h"

#include "formats/register_table.h"

namespace velmora {
namespace {

// Values a board of the later generation shows after a reset into bootstrap mode.
struct ResetValue {
  const char* name;
  int32_t fallbackAddress;  // -1: only where the definitions have the register
  int32_t value;
};

constexpr ResetValue kResetValues[] = {
    {"IDMANUF", 0xF07E, 0x1820},  {"IDCHIP", 0xF07C, 0x0C02}, {"IDMEM", 0xF07A, 0x3020},
    {"IDPROG", 0xF078, 0x4040},   {"IDMEM2", 0xF076, 0x6002}, {"RSTCFG", -1, 0x6600},
    {"SYSSTAT", -1, 0xC000},      {"FCONCS0", -1, 0x0021},    {"TSTMOD", -1, 0x4000},
    {"RSTCON2", -1, 0x0200},      {"S0CON", -1, 0x8011},      {"S0BG", -1, 0x0081},
    {"PSW", -1, 0x0000},          {"DPP0", -1, 0x0000},       {"DPP1", -1, 0x0001},
    {"DPP2", -1, 0x0002},         {"DPP3", -1, 0x0003},
};

}  // namespace

BoardConfig BoardConfigFor(const RegisterTable& registers, const std::vector<int32_t>& ids) {
  BoardConfig config;
  if (!ids.empty() && ids[0] > 0) config.idByte = static_cast<uint8_t>(ids[0]);
  if (const int cp = registers.FindRegister("CP"); cp >= 0) config.cpAddress = registers.At(cp).address;
  if (const int sp = registers.FindRegister("SP"); sp >= 0) config.spAddress = registers.At(sp).address;
  for (const auto& reset : kResetValues) {
    const int index = registers.FindRegister(reset.name);
    const int32_t address = index >= 0 ? registers.At(index).address : reset.fallbackAddress;
    if (address < 0) continue;
    int32_t value = reset.value;
    if (std::string_view(reset.name) == "IDMANUF" && ids.size() > 1) value = ids[1];
    if (std::string_view(reset.name) == "IDMEM" && ids.size() > 2) value = ids[2];
    config.resetRegisters.push_back({reset.name, address, value});
  }
  return config;
}

}  // namespace velmora
