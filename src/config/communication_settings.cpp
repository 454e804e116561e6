#include "config/communication_settings.h"

#include <cctype>

#include "core/hex_text.h"

namespace velmora {
namespace {

// The number n of a name COMn (n of one or more decimal digits), or 0.
int32_t comNumber(const std::string& name) {
  if (name.size() < 4 || !EqualsNoCase(name.substr(0, 3), "COM")) return 0;
  int32_t number = 0;
  for (size_t i = 3; i < name.size(); ++i) {
    if (!std::isdigit(static_cast<unsigned char>(name[i])) || number > 9999) return 0;
    number = number * 10 + (name[i] - '0');
  }
  return number;
}

}  // namespace

std::string CommunicationSettings::PortText() const {
  return portNumber > 0 ? "COM" + std::to_string(portNumber) : portName;
}

std::string CommunicationSettings::DevicePath() const {
  return portNumber > 0 ? "/dev/ttyS" + std::to_string(portNumber - 1) : portName;
}

void CommunicationSettings::SetPort(const std::string& name) {
  if (const int32_t number = comNumber(name); number > 0) {
    portNumber = number;
    portName.clear();
  } else {
    portNumber = 0;
    portName = name;
  }
}

std::string CSettings(const CommunicationSettings& settings) {
  static constexpr std::string_view kParityLetters[] = {"n", "o", "e"};
  std::string text = std::to_string(settings.baudRate);
  text += ',';
  if (settings.parity >= 0 && settings.parity <= 2) text += kParityLetters[settings.parity];
  text += ',';
  text += std::to_string(settings.dataBits);
  text += ',';
  text += std::to_string(settings.stopBits);
  return text;
}

}  // namespace velmora
