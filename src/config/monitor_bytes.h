// The command and acknowledge bytes of the monitor protocol. They are settings, not
// constants, because a board's monitor may be built with other values. A value the
// preferences reader could not convert is kept as -1, as every other number is.
#pragma once

#include <cstdint>

namespace velmora {

struct MonitorBytes {
  int32_t loaderStarted = 0x01;       // A_LOADER_STARTED
  int32_t applicationStarted = 0x03;  // A_APPLICATION_STARTED
  int32_t writeBlock = 0x84;          // C_WRITE_BLOCK
  int32_t readBlock = 0x85;           // C_READ_BLOCK
  int32_t writeWord = 0x82;           // C_WRITE_WORD
  int32_t einit = 0x31;               // C_EINIT
  int32_t testComm = 0x93;            // C_TEST_COMM
  int32_t swReset = 0x32;             // C_SWRESET
  int32_t go = 0x41;                  // C_GO
  int32_t call = 0x9F;                // C_CALL
  int32_t getChecksum = 0x33;         // C_GETCHECKSUM
  int32_t ack1 = 0xAA;                // A_ACK1
  int32_t ack2 = 0xEA;                // A_ACK2

  friend bool operator==(const MonitorBytes&, const MonitorBytes&) = default;
};

}  // namespace velmora
