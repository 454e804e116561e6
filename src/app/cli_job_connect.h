// How a job reaches the board's monitor: a monitor that already answers the
// communication test is used as it is; otherwise the board is started through its
// bootstrap loader, with the zero byte sent a few times (or at a steady pace for as long
// as --wait allows) until the board answers it.
#pragma once

#include "app/cli_job_context.h"

namespace velmora {

// Tries of the zero byte without --wait, each waiting the configured time-out.
inline constexpr int kZeroByteTries = 3;
// With --wait: how long each zero byte waits for the identification byte.
inline constexpr std::chrono::milliseconds kWaitPace{500};
// The communication test of a monitor that may be running: it answers at once or not
// at all, so the configured time-out would only delay every fresh connection.
inline constexpr std::chrono::milliseconds kMonitorTestTimeout{300};

// The "connect" step's body; fills the report's board identity.
StepOutcome ConnectForJob(JobContext& job);

}  // namespace velmora
