// Waits for the target sleep until the next byte is due. The operating system may wake a
// sleeper late by its timer slack (50 us by default on Linux), which on a line where a byte
// takes 87 us at 115200 baud costs a visible share of the transfer rate; the programs ask
// for a fine slack at start.
#pragma once

namespace velmora {

inline constexpr unsigned long kTimerSlackNanoseconds = 1000;

// Asks for fine wake-ups for this process; does nothing where that cannot be asked.
void UseFineTimerSlack();

}  // namespace velmora
