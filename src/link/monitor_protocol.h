// The commands the host sends to the monitor running in the target.
//
// Each returns 0 or a negative status; a later failure overwrites an earlier one, and the
// byte sequence of a command is always completed (except after the reply time-out of a
// call). Block commands mark the image bytes they could not confirm as not valid.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "config/monitor_bytes.h"
#include "core/memory_image.h"
#include "link/transport.h"

namespace velmora {

// Statuses of the monitor commands.
namespace monitor_status {
inline constexpr int16_t kOk = 0;
inline constexpr int16_t kNoAck1 = -1;       // also: the call's reply ended without A_ACK2
inline constexpr int16_t kNoAck2 = -2;       // also: no reply at all to a call
inline constexpr int16_t kChecksum = -3;     // block: checksum differs, or the read timed out
inline constexpr int16_t kNoChecksumAck2 = -4;
inline constexpr int16_t kNoChecksumAck1 = -5;
}  // namespace monitor_status

// R8 .. R15 of a call, in and out.
using CallRegisters = std::array<int32_t, 8>;

inline constexpr std::string_view kMissingReplyByteMessage = "Uje, ein Byte wurde nicht empfangen";

class MonitorProtocol {
 public:
  MonitorProtocol(Transport& transport, const MonitorBytes& bytes, MemoryImage& image);

  int16_t Cmd_Einit();
  int16_t Cmd_reconnect();
  int16_t Cmd_Swreset();
  int16_t Cmd_Jmp(int32_t address);
  int16_t Cmd_WriteWord(int32_t address, int32_t value);
  int16_t Cmd_Call(int32_t address, CallRegisters& registers);
  // Sends count image bytes from address; count 1 to FFFF.
  int16_t Cmd_Write(int32_t address, int32_t count);
  // Reads count bytes into the image at address; count 1 to 7FFF.
  int16_t Cmd_Read(int32_t address, int32_t count);

  Transport& transport() { return transport_; }

 private:
  // Sends the command byte; kOk or kNoAck1 after its first acknowledge.
  int16_t begin(int32_t command);
  // The second acknowledge closes the command: status, or kNoAck2 when it is missing.
  int16_t finish(int16_t status);
  // C_GETCHECKSUM after a block: the target's checksum and acknowledges.
  int16_t checksumExchange(uint8_t checksum, bool mismatchUnconfirms,
                           const std::function<void()>& unconfirmed, int16_t status);
  int16_t simple(int32_t command);
  void sendAddress(int32_t address);
  void sendWord(int32_t value);
  bool expect(int32_t ack);

  Transport& transport_;
  const MonitorBytes& bytes_;
  MemoryImage& image_;
};

}  // namespace velmora
