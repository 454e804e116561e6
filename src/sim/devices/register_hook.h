// A peripheral's view of one of its registers in the SFR or ESFR area. The bus calls Read
// and Write for the processor's accesses; Peek is for the monitor and the tests, which
// must see a value without the side effects a read by the program has.
#pragma once

#include <cstdint>

namespace velmora {

class RegisterHook {
 public:
  virtual ~RegisterHook() = default;

  virtual uint16_t Read(int32_t address) = 0;
  virtual uint16_t Peek(int32_t address) { return Read(address); }
  // Byte writes reach here as the word with the other byte as Peek gives it.
  virtual void Write(int32_t address, uint16_t value) = 0;
};

}  // namespace velmora
