// A line typed on the command line: "_" runs a command, ":" sends hexadecimal bytes and
// any other text its characters, raw, to a running target program.
#pragma once

#include <cstdint>
#include <string_view>

namespace velmora {

class Session;

// The command's status for "_" lines; 0 for raw sends.
int16_t EnterCommandLine(Session& session, std::string_view text);

}  // namespace velmora
