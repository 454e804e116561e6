// The settings of the serial line to the target.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace velmora {

inline constexpr std::array<int32_t, 11> kBaudRates = {300,   600,   1200,  2400,  4800,  9600,
                                                       19200, 28800, 38400, 57600, 115200};

struct CommunicationSettings {
  int32_t portNumber = 1;    // COM1..COM4; 0 when the port is named otherwise
  std::string portName;      // a device path or "virtual" when not a COM number
  int32_t baudRate = 9600;
  int32_t parity = 0;        // 0 none, 1 odd, 2 even
  int32_t dataBits = 8;
  int32_t stopBits = 1;
  int32_t timeout = 2000;    // milliseconds
  int32_t kline = 0;         // 1: K-line, every sent byte comes back as an echo
  int32_t terminalMode = 0;  // 1: terminal output shown in hexadecimal

  // The port as the user names it: "COM2", "/dev/ttyUSB0" or "virtual".
  std::string PortText() const;
  // The device to open: COMn is /dev/ttyS(n-1); other names as they are.
  std::string DevicePath() const;
  // Takes a name typed by the user or read from a file; COMn (any case) becomes a number.
  void SetPort(const std::string& name);
};

// The line settings text: baud rate, parity letter, data bits and stop bits, as 9600,n,8,1.
std::string CSettings(const CommunicationSettings& settings);

}  // namespace velmora
