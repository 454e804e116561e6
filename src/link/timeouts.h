// Waiting rules of the link.
#pragma once

#include <chrono>

namespace velmora {

// A routine called on the target may run for this many time-out periods before the
// host gives up waiting for its first reply byte.
inline constexpr int kCallReplyPeriods = 10;
// Longest single block inside a wait: a device that goes away is noticed within it.
inline constexpr std::chrono::milliseconds kWaitSlice{10};

}  // namespace velmora
