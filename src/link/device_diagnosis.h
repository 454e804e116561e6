// What the operating system says about a serial device that would not open: whether it
// exists, what kind of file it is, whether this process may open it, and whether another
// process holds it.
#pragma once

#include <sys/types.h>

#include <string>

#include "link/port_fault.h"

namespace velmora {

// The fault an open that failed with osError (an errno value) stands for; group owns the
// device and is named when the permission was refused.
PortFault FaultOfOpenError(int osError, gid_t group);

// Looks at the device itself. None when the device shows nothing wrong, so that the
// caller's own reason (a lock of its serial library, say) stands.
PortFault DiagnoseDevice(const std::string& device);

}  // namespace velmora
