#include "link/general_registers.h"

#include <algorithm>

#include "core/frontend.h"
#include "link/link.h"

namespace velmora {
namespace {

int32_t addressOf(const RegisterTable& registers, std::string_view name) {
  const int index = registers.FindRegister(name);
  return index < 0 ? -1 : registers.At(index).address;
}

int32_t wordInImage(const MemoryImage& image, int32_t address) {
  if (address < 0 || !image.IsDefined(address) || !image.IsDefined(address + 1)) return -1;
  return image.GetByte(address) | (image.GetByte(address + 1) << 8);
}

// Reads count bytes from the target into the image and tells the memory view; false when
// the monitor did not confirm them.
bool readIntoImage(Link& link, int32_t address, int32_t count) {
  if (link.monitor().Cmd_Read(address, count) != monitor_status::kOk) return false;
  link.context().frontend.RequestRefresh(Change::Memory(address, address + count - 1));
  return true;
}

int32_t readWord(Link& link, int32_t address) {
  if (address < 0 || !readIntoImage(link, address, 2)) return -1;
  return wordInImage(link.context().image, address);
}

// Where register index lives: the bank at CP for R0 .. R15 (cp -1 when CP is not known).
int32_t registerAddress(const RegisterTable& registers, int index, int32_t cp) {
  if (index < kBankRegisters) return cp < 0 ? -1 : cp + 2 * index;
  return addressOf(registers, kDebugSfrNames[static_cast<size_t>(index - kBankRegisters)]);
}

}  // namespace

std::string GeneralRegisterName(int index) {
  if (index < kBankRegisters) return "R" + std::to_string(index);
  return std::string(kDebugSfrNames[static_cast<size_t>(index - kBankRegisters)]);
}

GeneralRegisters ReadGeneralRegisters(Link& link) {
  GeneralRegisters result;
  const RegisterTable& registers = link.context().registers;
  const MemoryImage& image = link.context().image;
  const bool live = link.state() == TargetState::Ready;
  result.fromTarget = live;

  for (int index = kBankRegisters; index < kGeneralRegisterCount; ++index) {
    const int32_t address = registerAddress(registers, index, -1);
    result.values[static_cast<size_t>(index)] =
        live ? readWord(link, address) : wordInImage(image, address);
  }
  int32_t cp = result.values[kCpIndex];
  if (addressOf(registers, "CP") < 0) {
    // Said once, by the lookup that names the missing register.
    (void)link.registerAccess().AddressOf("CP");
    cp = -1;
  }
  if (cp < 0) return result;
  // The whole bank in one block: sixteen words from CP.
  const bool bankRead = live && readIntoImage(link, cp, 2 * kBankRegisters);
  for (int n = 0; n < kBankRegisters; ++n) {
    result.values[static_cast<size_t>(n)] =
        (!live || bankRead) ? wordInImage(image, cp + 2 * n) : -1;
  }
  return result;
}

int32_t WriteGeneralRegister(Link& link, int index, uint16_t value) {
  if (index < 0 || index >= kGeneralRegisterCount) return -1;
  if (link.state() != TargetState::Ready) return -1;
  const RegisterTable& registers = link.context().registers;
  int32_t cp = -1;
  if (index < kBankRegisters) {
    const auto cpAddress = link.registerAccess().AddressOf("CP");
    if (!cpAddress) return -1;
    cp = readWord(link, *cpAddress);  // the bank in use now, not the one last shown
  }
  const int32_t address = registerAddress(registers, index, cp);
  if (address < 0) return -1;
  if (link.monitor().Cmd_WriteWord(address, value) != monitor_status::kOk) return -1;
  return readWord(link, address);
}

std::vector<RegisterField> RegisterFields(const RegisterTable& registers, std::string_view name,
                                          uint16_t value) {
  std::vector<RegisterField> fields;
  const int index = registers.FindRegister(name);
  if (index < 0) return fields;
  const RegisterDefinition& definition = registers.At(index);
  for (int bit = 0; bit < 16; ++bit) {
    const int width = definition.fieldWidths[static_cast<size_t>(bit)];
    const std::string& fieldName = definition.bitNames[static_cast<size_t>(bit)];
    if (width == 0 || fieldName.empty()) continue;
    // A field's name sits at its highest bit; the field reaches down from there.
    const int low = std::max(bit - width + 1, 0);
    const int mask = (1 << (bit - low + 1)) - 1;
    fields.push_back({fieldName, low, bit - low + 1, (value >> low) & mask});
  }
  return fields;
}

}  // namespace velmora
