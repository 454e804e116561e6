// The registers the processor keeps inside itself: their short-address-area addresses,
// reset values and the bits of the processor status word, trap flag register and
// interrupt control registers. The processor answers these addresses itself; every other
// address goes to the bus.
#pragma once

#include <cstdint>

namespace velmora::core {

// Physical addresses (segment 0) of the core registers.
inline constexpr int32_t kDpp0 = 0xFE00;  // DPP1..DPP3 follow at +2, +4, +6
inline constexpr int32_t kCsp = 0xFE08;
inline constexpr int32_t kMdh = 0xFE0C;
inline constexpr int32_t kMdl = 0xFE0E;
inline constexpr int32_t kCp = 0xFE10;
inline constexpr int32_t kSp = 0xFE12;
inline constexpr int32_t kStkov = 0xFE14;
inline constexpr int32_t kStkun = 0xFE16;
inline constexpr int32_t kMdc = 0xFF0E;
inline constexpr int32_t kPsw = 0xFF10;
inline constexpr int32_t kSyscon = 0xFF12;
inline constexpr int32_t kZeros = 0xFF1C;
inline constexpr int32_t kOnes = 0xFF1E;
inline constexpr int32_t kTfr = 0xFFAC;

// The core registers sit among the words FE00..FFFE; the processor keeps that range as an
// array of 256 words, of which it answers only the core registers' slots.
constexpr int coreSlotOf(int32_t address) {
  return (address - 0xFE00) / 2;
}

// Where the short addresses point.
inline constexpr int32_t kSfrBase = 0xFE00;       // reg 00..EF: FE00 + 2n
inline constexpr int32_t kEsfrBase = 0xF000;      // reg 00..EF under EXTR: F000 + 2n
inline constexpr int32_t kBitRamBase = 0xFD00;    // bitoff 00..7F: FD00 + 2n
inline constexpr int32_t kBitSfrBase = 0xFF00;    // bitoff 80..EF: FF00 + 2(n - 80)
inline constexpr int32_t kBitEsfrBase = 0xF100;   // the same under EXTR
inline constexpr uint32_t kFirstGprShort = 0xF0;  // reg and bitoff F0..FF are R0..R15
inline constexpr uint32_t kFirstBitSfr = 0x80;

// Reset values.
inline constexpr uint16_t kResetCp = 0xFC00;
inline constexpr uint16_t kResetSp = 0xFC00;
inline constexpr uint16_t kResetStkov = 0xFA00;
inline constexpr uint16_t kResetStkun = 0xFC00;

// Processor status word.
inline constexpr uint16_t kPswN = 1U << 0;
inline constexpr uint16_t kPswC = 1U << 1;
inline constexpr uint16_t kPswV = 1U << 2;
inline constexpr uint16_t kPswZ = 1U << 3;
inline constexpr uint16_t kPswE = 1U << 4;
inline constexpr uint16_t kPswMulip = 1U << 5;
inline constexpr uint16_t kPswIen = 1U << 11;
inline constexpr uint16_t kPswFlags = kPswN | kPswC | kPswV | kPswZ | kPswE;
inline constexpr int kPswIlvlShift = 12;
inline constexpr uint16_t kPswIlvl = 0xF000;

// SYSCON: set, the processor runs unsegmented and calls and interrupts keep CSP off the
// stack.
inline constexpr uint16_t kSysconSgtdis = 1U << 11;

// MDC: MDRIU says the multiply/divide registers hold a result not yet read.
inline constexpr uint16_t kMdcMdriu = 1U << 4;

// Trap flag register.
inline constexpr uint16_t kTfrIllopa = 1U << 2;  // word access at an odd address
inline constexpr uint16_t kTfrIllina = 1U << 1;  // instruction fetch at an odd address
inline constexpr uint16_t kTfrPrtflt = 1U << 3;  // protected instruction with bad check bytes
inline constexpr uint16_t kTfrUndopc = 1U << 7;  // undefined opcode
inline constexpr uint16_t kTfrStkuf = 1U << 13;
inline constexpr uint16_t kTfrStkof = 1U << 14;
inline constexpr uint16_t kTfrNmi = 1U << 15;

// Trap numbers (vector = number * 4 in segment 0).
inline constexpr uint8_t kTrapNmi = 0x02;
inline constexpr uint8_t kTrapStackOverflow = 0x04;   // vector 10h
inline constexpr uint8_t kTrapStackUnderflow = 0x06;  // vector 18h
inline constexpr uint8_t kTrapClassB = 0x0A;          // vector 28h
inline constexpr int32_t kTrapVectorSize = 4;
inline constexpr int kHardwareTrapLevel = 15;

// Interrupt control registers (xxIC).
inline constexpr uint16_t kIcIr = 1U << 7;
inline constexpr uint16_t kIcIe = 1U << 6;
inline constexpr int kIcIlvlShift = 2;
inline constexpr uint16_t kIcIlvl = 0x3C;
inline constexpr uint16_t kIcGlvl = 0x03;

}  // namespace velmora::core
