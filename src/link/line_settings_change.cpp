#include "link/line_settings_change.h"

#include <cfenv>
#include <cmath>

#include "core/frontend.h"
#include "link/link.h"

namespace velmora {

int32_t BaudRateReload(double clockHz, int32_t baudRate, int s0brs) {
  if (baudRate <= 0) return 0;
  const double reload = clockHz / ((s0brs + 2) * 16.0 * baudRate) - 1.0;
  // std::nearbyint rounds halves to even in the default rounding mode.
  std::fesetround(FE_TONEAREST);
  return static_cast<int32_t>(std::nearbyint(reload));
}

bool ApplyCommunicationSettings(Link& link) {
  auto& context = link.context();
  SerialPort& port = link.port();
  const LineSettings previous = port.IsOpen() ? link.currentLineSettings() : LineSettingsOf(context.settings.communication);
  link.ClosePort();
  if (!port.Open(context.settings.communication.DevicePath(), previous)) {
    context.frontend.MessageBox(kPortNotAvailableMessage, BoxButtons::Ok, BoxIcon::Exclamation, {});
    return false;
  }
  port.SetReceiveNotification(true);
  if (link.state() == TargetState::Ready) {
    RegisterAccess& registers = link.registerAccess();
    const auto s0con = registers.AddressOf("S0CON");
    const auto s0bg = registers.AddressOf("S0BG");
    if (s0con && s0bg) {
      link.monitor().Cmd_Read(*s0con, 2);
      const int32_t value = context.image.GetByte(*s0con) | (context.image.GetByte(*s0con + 1) << 8);
      const int s0brs = (value >> 13) & 1;
      link.monitor().Cmd_WriteWord(
          *s0bg, BaudRateReload(context.settings.target.clockRate, context.settings.communication.baudRate, s0brs));
    }
  }
  link.ClosePort();
  return link.EnsurePortOpen();
}

}  // namespace velmora
