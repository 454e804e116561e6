// Reaching a running monitor in another way: moving the conversation to the second
// serial channel, reconnecting to a monitor the host lost track of, and moving the
// monitor to another RAM address.
#pragma once

#include <cstdint>
#include <string_view>

#include "link/target_state.h"

namespace velmora {

class Link;

inline constexpr uint8_t kAsc1InitCommand = 0xCC;
inline constexpr uint8_t kAsc1CommunicationFlag = 0xD5;
inline constexpr std::string_view kAsc1Question = "Communication from ASC0 to ASC1 !";
inline constexpr std::string_view kMoveCableMessage = "Please change RS232 from ASC0 to ASC1 NOW!";

// 0, -1 cancelled, -2 no answer.
int16_t Asc02Asc1_pre(Link& link);
// 0, -1 not confirmed, -2 no answer, -3 wrong flag.
int16_t Asc02Asc1_ASC1Connection(Link& link);

// The whole channel switch as the main window runs it.
int16_t SwitchToAsc1(Link& link);
// _reconnect: 0 when the monitor answered.
int16_t ReconnectTarget(Link& link);

// A relocation the host refuses before it sends anything.
inline constexpr int16_t kMoveRefused = -101;

// _movemonitor: 0, or -100 when not connected. An area overlapping the current one or
// leaving the address space is refused with an error line (kMoveRefused).
int16_t MoveMonitor(Link& link, int32_t newStart);

}  // namespace velmora
