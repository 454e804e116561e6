#include "link/port_fault.h"

namespace velmora {

namespace {

// Short enough that the line stays whole in the message log with a usual device name.
std::string causeText(const PortFault& fault) {
  switch (fault.problem) {
    case PortProblem::None:
      break;
    case PortProblem::NoSuchDevice:
      return "no such device";
    case PortProblem::PermissionDenied:
      return "permission denied";
    case PortProblem::NotSerialDevice:
      return "not a serial device";
    case PortProblem::InUse:
      return "in use, locked by another process";
    case PortProblem::HungUp:
      return "hung up, the device went away";
    case PortProblem::NotOpen:
      return "not open";
    case PortProblem::Other:
      return fault.detail;
  }
  return "failed";
}

}  // namespace

std::vector<std::string> PortFaultLines(const std::string& device, const PortFault& fault) {
  std::vector<std::string> lines = {"*ERROR: Port " + device + ": " + causeText(fault)};
  if (fault.problem == PortProblem::PermissionDenied && !fault.detail.empty()) {
    lines.push_back("*Join the group " + fault.detail + " that owns the device, then log in again");
  }
  return lines;
}

}  // namespace velmora
