#include "sim/devices/serial_registers.h"

namespace velmora {
namespace {

int32_t addressOf(const RegisterTable& registers, const char* name) {
  const int index = registers.FindRegister(name);
  return index >= 0 ? registers.At(index).address : -1;
}

}  // namespace

std::optional<SerialRegisters> SerialRegistersFrom(const RegisterTable& registers) {
  SerialRegisters found;
  found.control = addressOf(registers, "S0CON");
  found.reload = addressOf(registers, "S0BG");
  found.fraction = addressOf(registers, "S0FDV");
  found.transmit = addressOf(registers, "S0TBUF");
  found.receive = addressOf(registers, "S0RBUF");
  found.transmitIc = addressOf(registers, "S0TIC");
  found.receiveIc = addressOf(registers, "S0RIC");
  found.errorIc = addressOf(registers, "S0EIC");
  found.bufferEmptyIc = addressOf(registers, "S0TBIC");
  const int control = registers.FindRegister("S0CON");
  found.hasRateSelect = control >= 0 && registers.BitName(control, 13) == "S0BRS";
  const int32_t required[] = {found.control,    found.reload,    found.transmit, found.receive,
                              found.transmitIc, found.receiveIc, found.errorIc};
  for (const int32_t address : required) {
    if (address < 0) return std::nullopt;
  }
  return found;
}

}  // namespace velmora
