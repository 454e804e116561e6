// Why a serial port could not be opened or stopped working, and the message line that
// tells the user. The port-in-use box says only that something is wrong with the port;
// the line says what.
#pragma once

#include <string>
#include <vector>

namespace velmora {

enum class PortProblem {
  None,
  NoSuchDevice,      // nothing at that name, or the adapter is gone
  PermissionDenied,  // detail: the group that owns the device, when known
  NotSerialDevice,   // a folder, a plain file or another kind of device
  InUse,             // held or locked by another process
  HungUp,            // the device went away while open (adapter unplugged, far end closed)
  NotOpen,           // the port was closed when it was used
  Other,             // detail: the operating system's text
};

struct PortFault {
  PortProblem problem = PortProblem::None;
  std::string detail;
  friend bool operator==(const PortFault&, const PortFault&) = default;
};

// The message lines for a fault of the port named device, such as
// "*ERROR: Port /dev/ttyUSB0: no such device", and a second line with what to do where
// the user can do something about it.
std::vector<std::string> PortFaultLines(const std::string& device, const PortFault& fault);

}  // namespace velmora
