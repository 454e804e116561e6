// The jobs of velmora-cli. Each runs its steps in order on the session's worker thread,
// stops at the first that fails, and leaves the outcome in the job's report.
#pragma once

#include "app/cli_job_context.h"

namespace velmora {

// Runs the job the options name; the report holds the steps, the board and the result.
void RunJob(JobContext& job);

void RunFlashJob(JobContext& job);
void RunVerifyJob(JobContext& job);
void RunReadJob(JobContext& job);
void RunEraseJob(JobContext& job);
void RunInfoJob(JobContext& job);

}  // namespace velmora
