#include "session/one_run_settings.h"

namespace velmora {

void OneRunSettings::Apply(CommunicationSettings& com, const std::string& port, int32_t baud) {
  fromFile_ = com;
  if (!port.empty()) {
    com.SetPort(port);
    givenPort_ = com.PortText();
  }
  if (baud > 0) {
    com.baudRate = baud;
    givenBaud_ = baud;
  }
}

CommunicationSettings OneRunSettings::ToSave(const CommunicationSettings& current) const {
  CommunicationSettings saved = current;
  if (!fromFile_) return saved;
  if (givenPort_ && current.PortText() == *givenPort_) {
    saved.portNumber = fromFile_->portNumber;
    saved.portName = fromFile_->portName;
  }
  if (givenBaud_ && current.baudRate == *givenBaud_) saved.baudRate = fromFile_->baudRate;
  return saved;
}

}  // namespace velmora
