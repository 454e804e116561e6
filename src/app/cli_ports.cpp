#include "app/cli_ports.h"

#include <QSerialPortInfo>
#include <cstdio>

namespace velmora {
namespace {

std::string hex4(uint16_t value) {
  char text[8];
  std::snprintf(text, sizeof text, "%04x", value);
  return text;
}

}  // namespace

std::vector<PortEntry> ListSerialPorts() {
  std::vector<PortEntry> ports;
  for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
    PortEntry entry;
    entry.device = info.systemLocation().toStdString();
    entry.description = info.description().toStdString();
    if (info.hasVendorIdentifier()) entry.vendorId = info.vendorIdentifier();
    if (info.hasProductIdentifier()) entry.productId = info.productIdentifier();
    entry.serialNumber = info.serialNumber().toStdString();
    ports.push_back(std::move(entry));
  }
  return ports;
}

std::vector<std::string> PortListLines(const std::vector<PortEntry>& ports) {
  std::vector<std::string> lines;
  for (const auto& port : ports) {
    std::string line = port.device;
    line += "  " + (port.description.empty() ? std::string("(no description)") : port.description);
    if (port.IsUsb()) {
      line +=
          "  USB " + hex4(*port.vendorId) + ":" + (port.productId ? hex4(*port.productId) : "????");
    }
    if (!port.serialNumber.empty()) line += "  serial " + port.serialNumber;
    lines.push_back(line);
  }
  return lines;
}

AutoPortChoice ChooseAutoPort(const std::vector<PortEntry>& ports) {
  std::vector<PortEntry> usb;
  for (const auto& port : ports) {
    if (port.IsUsb()) usb.push_back(port);
  }
  if (usb.size() == 1) return {usb.front().device, {}};
  if (usb.empty()) return {std::nullopt, "--port auto: no USB serial adapter is connected"};
  // Guessing among several could program the wrong board of a bench.
  std::string error = "--port auto: " + std::to_string(usb.size()) +
                      " USB serial adapters are connected; name one with --port:";
  for (const auto& line : PortListLines(usb)) error += "\n  " + line;
  return {std::nullopt, error};
}

}  // namespace velmora
