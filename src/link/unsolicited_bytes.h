// Bytes that arrive while no exchange runs: the return of a started program, the monitor
// regaining control at a break, or terminal output of the target program.
#pragma once

namespace velmora {

class Link;

// Handles whatever has arrived; call it from the port's received-byte notification.
void HandleUnsolicitedBytes(Link& link);

}  // namespace velmora
