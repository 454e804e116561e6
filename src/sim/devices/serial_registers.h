// Where the first asynchronous serial channel's registers sit on a controller type, and the
// bits of its control register, from the type's register definitions.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "formats/register_table.h"

namespace velmora {

struct SerialRegisters {
  int32_t control = -1;        // S0CON
  int32_t reload = -1;         // S0BG
  int32_t fraction = -1;       // S0FDV, where the type has a fractional divider
  int32_t transmit = -1;       // S0TBUF
  int32_t receive = -1;        // S0RBUF
  int32_t transmitIc = -1;     // S0TIC
  int32_t receiveIc = -1;      // S0RIC
  int32_t errorIc = -1;        // S0EIC
  int32_t bufferEmptyIc = -1;  // S0TBIC, where the type has it
  bool hasRateSelect = false;  // S0CON.S0BRS: the extra divide by three halves
};

// The registers of channel "S0" (or "S1", ...): nullopt when the type lacks one of those
// every channel has.
std::optional<SerialRegisters> SerialRegistersFrom(const RegisterTable& registers,
                                                   std::string_view channel = "S0");

namespace s0con {
inline constexpr uint16_t kModeMask = 0x0007;
inline constexpr uint16_t kTwoStopBits = 1 << 3;
inline constexpr uint16_t kReceiverEnable = 1 << 4;
inline constexpr uint16_t kOverrunCheck = 1 << 7;
inline constexpr uint16_t kOverrunError = 1 << 10;
inline constexpr uint16_t kFractionalDivider = 1 << 11;
inline constexpr uint16_t kRateSelect = 1 << 13;
inline constexpr uint16_t kLoopBack = 1 << 14;
inline constexpr uint16_t kRun = 1 << 15;
}  // namespace s0con

// The request bit of an interrupt control register.
inline constexpr uint16_t kInterruptRequest = 1 << 7;

}  // namespace velmora
