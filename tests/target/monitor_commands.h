// The monitor's commands as a host performs them: the command byte, then, once A_ACK1 is
// back, the parameters. Each returns every byte the target answered, acknowledges
// included, so that a test compares the whole answer with what the protocol says.
#pragma once

#include <array>
#include <cstdint>

#include "target_host.h"

namespace velmora::test {

inline constexpr uint8_t kWriteBlock = 0x84;
inline constexpr uint8_t kReadBlock = 0x85;
inline constexpr uint8_t kWriteWord = 0x82;
inline constexpr uint8_t kEinit = 0x31;
inline constexpr uint8_t kTestComm = 0x93;
inline constexpr uint8_t kSwReset = 0x32;
inline constexpr uint8_t kGo = 0x41;
inline constexpr uint8_t kCall = 0x9F;
inline constexpr uint8_t kGetChecksum = 0x33;
inline constexpr uint8_t kSwitchChannel = 0xCC;
inline constexpr uint8_t kAck1 = 0xAA;
inline constexpr uint8_t kAck2 = 0xEA;
inline constexpr uint8_t kLoaderStarted = 0x01;
inline constexpr uint8_t kApplicationStarted = 0x03;

// Where the loader puts the monitor core, and its two entries.
inline constexpr int32_t kMonitorStart = 0xE00024;
inline constexpr int32_t kMonitorLength = 0x2C4;
inline constexpr int32_t kReturnEntry = kMonitorStart + 4;

using Registers = std::array<uint16_t, 8>;  // R8..R15

Bytes WriteBlock(TargetHost& host, int32_t address, const Bytes& data);
Bytes ReadBlock(TargetHost& host, int32_t address, uint16_t count);
Bytes WriteWord(TargetHost& host, int32_t address, uint16_t word);
// A command without parameters: test, EINIT, reset, checksum, channel switch.
Bytes Plain(TargetHost& host, uint8_t command, size_t answers);
// Go: A_ACK1, A_ACK2, and `more` bytes the started program leads to within `seconds`.
Bytes Go(TargetHost& host, int32_t address, size_t more = 0, double seconds = 0.5);
Bytes Call(TargetHost& host, int32_t address, const Registers& in, double seconds = 0.5);

// The registers in an answer of Call (after A_ACK1).
Registers RegistersIn(const Bytes& answer);
// What the host reads as a word; a failed read fails the test and gives 0.
uint16_t ReadWord(TargetHost& host, int32_t address);

}  // namespace velmora::test
