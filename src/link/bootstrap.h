// Bringing a target up through its bootstrap loader: a zero byte, the identification
// byte, the loader, then the monitor core, each stage acknowledged by the target.
#pragma once

#include <cstdint>
#include <string_view>

namespace velmora {

class Link;

inline constexpr std::string_view kResetQuestion = "Please reset your Hardware NOW !";

namespace connect_status {
inline constexpr int16_t kOk = 0;
inline constexpr int16_t kWrongMonitorAck = -1;  // also: the user cancelled at the reset
inline constexpr int16_t kNoMonitorAck = -2;
}  // namespace connect_status

// Read the loader (monitor core) file into the image and turn its blocks into the stream
// that is sent; the bytes count as the target's from then on.
void Loader_pre(Link& link);
void Velmora_pre(Link& link);
// Asks the user to reset the board, sends the zero byte and takes the identification
// byte; -1 when the user cancels (nothing sent).
int16_t Initiate(Link& link);
int16_t Loader_new(Link& link);
void Velmora_new(Link& link);
// Reports the three answers; the result follows the monitor's acknowledge.
int16_t Receive_ID_VelmoraACK(Link& link);

// The whole connection as the connect command runs it. 0 when the monitor runs.
int16_t ConnectTarget(Link& link);

}  // namespace velmora
