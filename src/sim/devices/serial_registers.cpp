#include "sim/devices/serial_registers.h"

#include <string>

namespace velmora {
namespace {

int32_t addressOf(const RegisterTable& registers, std::string_view channel, const char* name) {
  const int index = registers.FindRegister(std::string(channel) + name);
  return index >= 0 ? registers.At(index).address : -1;
}

}  // namespace

std::optional<SerialRegisters> SerialRegistersFrom(const RegisterTable& registers,
                                                   std::string_view channel) {
  SerialRegisters found;
  found.control = addressOf(registers, channel, "CON");
  found.reload = addressOf(registers, channel, "BG");
  found.fraction = addressOf(registers, channel, "FDV");
  found.transmit = addressOf(registers, channel, "TBUF");
  found.receive = addressOf(registers, channel, "RBUF");
  found.transmitIc = addressOf(registers, channel, "TIC");
  found.receiveIc = addressOf(registers, channel, "RIC");
  found.errorIc = addressOf(registers, channel, "EIC");
  found.bufferEmptyIc = addressOf(registers, channel, "TBIC");
  const int control = registers.FindRegister(std::string(channel) + "CON");
  found.hasRateSelect = control >= 0 && registers.BitName(control, 13) == std::string(channel) + "BRS";
  const int32_t required[] = {found.control,    found.reload,    found.transmit, found.receive,
                              found.transmitIc, found.receiveIc, found.errorIc};
  for (const int32_t address : required) {
    if (address < 0) return std::nullopt;
  }
  return found;
}

}  // namespace velmora
