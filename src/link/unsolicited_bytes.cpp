#include "link/unsolicited_bytes.h"

#include <string>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/link.h"

namespace velmora {
namespace {

void showTerminalByte(Link& link, uint8_t byte) {
  if (link.context().settings.communication.terminalMode == 1) {
    link.context().log.Text2Buffer(" " + HexN(byte, 2));
  } else {
    link.context().log.Text2Buffer(std::string(1, static_cast<char>(byte)));
  }
}

// The monitor's break entry left IP and CSP on the target stack; both are taken off.
void handleBreak(Link& link) {
  Exchange exchange(link.transport());
  RegisterAccess& registers = link.registerAccess();
  const int32_t ip = registers.cmd_pop(true);
  const int32_t csp = registers.cmd_pop(true);
  const int32_t breakAddress = csp * 65536 + (ip - 4);
  if (link.onBreak && link.onBreak(breakAddress)) return;
  link.currentAddress = breakAddress;
  auto& frontend = link.context().frontend;
  frontend.RequestRefresh(Change::All(RefreshTarget::Disassembly));
  frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
  link.SetState(TargetState::Ready);
}

}  // namespace

void HandleUnsolicitedBytes(Link& link) {
  SerialPort& port = link.port();
  if (!port.IsOpen() || port.BytesAvailable() == 0) return;
  const uint8_t byte = port.Read(1).at(0);
  const auto& bytes = link.context().settings.bytes;
  const auto state = link.state();

  if (byte == bytes.ack2 && state == TargetState::UserProgramRunning) {
    link.SetState(TargetState::Ready);
    link.context().log.Text2Buffer(std::string(NewLine()) + "*Call: Successful returned to monitor" +
                                   std::string(NewLine()));
    port.DiscardInput();
    return;
  }
  if (byte == bytes.applicationStarted && static_cast<int>(state) > 2) {
    handleBreak(link);
    return;
  }
  showTerminalByte(link, byte);
  while (port.BytesAvailable() > 0) showTerminalByte(link, port.Read(1).at(0));
}

}  // namespace velmora
