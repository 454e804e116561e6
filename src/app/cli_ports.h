// Finding the board's serial port: the ports the system offers, and the choice that
// --port auto makes among them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

struct PortEntry {
  std::string device;  // the path to open, such as /dev/ttyUSB0
  std::string description;
  std::optional<uint16_t> vendorId;  // set for USB adapters only
  std::optional<uint16_t> productId;
  std::string serialNumber;

  bool IsUsb() const { return vendorId.has_value(); }
};

// The serial ports the system lists now.
std::vector<PortEntry> ListSerialPorts();

// One line per port: device, description, USB vendor:product, serial number.
std::vector<std::string> PortListLines(const std::vector<PortEntry>& ports);

// --port auto: the only USB serial adapter. Otherwise no device and the reason, which
// lists the candidates when there are several.
struct AutoPortChoice {
  std::optional<std::string> device;
  std::string error;
};
AutoPortChoice ChooseAutoPort(const std::vector<PortEntry>& ports);

}  // namespace velmora
