#include "link/link.h"

#include "core/frontend.h"

namespace velmora {

LineSettings LineSettingsOf(const CommunicationSettings& settings) {
  return {settings.baudRate, settings.parity, settings.dataBits, settings.stopBits};
}

Link::Link(SerialPort& port, LinkContext context)
    : port_(port),
      context_(std::move(context)),
      transport_(port, context_.settings.communication, context_.frontend, context_.log),
      monitor_(transport_, context_.settings.bytes, context_.image),
      registerAccess_(monitor_, context_.image, context_.registers, context_.log) {}

void Link::SetState(TargetState state) {
  state_ = state;
  context_.frontend.RequestRefresh(Change::State(static_cast<int32_t>(state)));
}

bool Link::EnsurePortOpen() {
  if (port_.IsOpen()) return true;
  const auto& com = context_.settings.communication;
  lineSettings_ = LineSettingsOf(com);
  if (port_.Open(com.DevicePath(), lineSettings_)) {
    port_.SetReceiveNotification(true);
    return true;
  }
  for (const auto& line : PortFaultLines(com.DevicePath(), port_.Fault())) {
    context_.log.WriteLine(line);
  }
  context_.frontend.MessageBox(kPortInUseMessage, BoxButtons::Ok, BoxIcon::Exclamation, {});
  return false;
}

void Link::ClosePort() {
  if (port_.IsOpen()) port_.Close();
}

bool Link::ApplyLineSettings() {
  lineSettings_ = LineSettingsOf(context_.settings.communication);
  return port_.IsOpen() && port_.Configure(lineSettings_);
}

void Link::ServeUnsolicited(std::chrono::milliseconds maxWait) {
  if (!port_.IsOpen() || transport_.InExchange()) return;
  if (maxWait.count() > 0 && port_.BytesAvailable() == 0) port_.WaitForInput(maxWait);
  // A port with an event loop of its own has already notified from inside the wait.
  port_.Poll();
}

void Link::ForgetDrivers() {
  for (auto& unit : context_.settings.target.units) unit.driverLoaded = false;
}

}  // namespace velmora
