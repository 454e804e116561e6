#include "link/register_access.h"

#include <string>

namespace velmora {

RegisterAccess::RegisterAccess(MonitorProtocol& monitor, MemoryImage& image,
                               const RegisterTable& registers, MessageLog& log)
    : monitor_(monitor), image_(image), registers_(registers), log_(log) {}

std::optional<int32_t> RegisterAccess::AddressOf(std::string_view name) {
  const int index = registers_.FindRegister(name);
  if (index < 0 || registers_.At(index).address < 0) {
    log_.WriteLine("*ERROR: Register " + std::string(name) + " not defined");
    return std::nullopt;
  }
  return registers_.At(index).address;
}

int32_t RegisterAccess::readWord(int32_t address) {
  monitor_.Cmd_Read(address, 2);
  return image_.GetByte(address) | (image_.GetByte(address + 1) << 8);
}

int32_t RegisterAccess::cmd_readgpr(int n) {
  const auto cp = AddressOf("CP");
  if (!cp) return -1;
  return readWord(readWord(*cp) + 2 * n);
}

int32_t RegisterAccess::popAt(int32_t offset, bool pop) {
  const auto sp = AddressOf("SP");
  if (!sp) return -1;
  const int32_t stack = readWord(*sp);
  const int32_t word = readWord(stack + offset);
  if (pop) monitor_.Cmd_WriteWord(*sp, stack + 2);
  return word;
}

int32_t RegisterAccess::cmd_pop(bool pop) { return popAt(0, pop); }
int32_t RegisterAccess::cmd_pop2nd(bool pop) { return popAt(2, pop); }

}  // namespace velmora
