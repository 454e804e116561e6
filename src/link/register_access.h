// Reading the controller's working registers through the monitor: the register bank
// lies in target RAM at the context pointer CP, and the stack at SP.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/message_log.h"
#include "formats/register_table.h"
#include "link/monitor_protocol.h"

namespace velmora {

class RegisterAccess {
 public:
  RegisterAccess(MonitorProtocol& monitor, MemoryImage& image, const RegisterTable& registers,
                 MessageLog& log);

  // The address of a register by name; when the definitions lack it, the line
  // "*ERROR: Register NAME not defined" and nullopt.
  std::optional<int32_t> AddressOf(std::string_view name);

  // Rn, read at CP + 2n; -1 when CP is not defined.
  int32_t cmd_readgpr(int n);
  // The word at SP; with pop set, SP moves up by one word. -1 when SP is not defined.
  int32_t cmd_pop(bool pop);
  // The word at SP + 2; with pop set, SP moves up by one word.
  int32_t cmd_pop2nd(bool pop);

 private:
  // Reads the little-endian word at address through the monitor (status not examined).
  int32_t readWord(int32_t address);
  int32_t popAt(int32_t offset, bool pop);

  MonitorProtocol& monitor_;
  MemoryImage& image_;
  const RegisterTable& registers_;
  MessageLog& log_;
};

}  // namespace velmora
