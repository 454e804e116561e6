// What every job works with, and the step that times and records one stage of a job.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "app/cli_exit_class.h"
#include "app/cli_job_output.h"
#include "app/cli_job_report.h"
#include "app/cli_options.h"

namespace velmora {

class Session;

struct JobContext {
  Session& session;
  const CliOptions& options;
  JobOutput& output;
  JobReport& report;
  std::function<JobClock::time_point()> now;
  // Ctrl-C: the job stops before its next step (and gives up waiting for the board).
  std::function<bool()> interrupted = [] { return false; };
};

struct StepOutcome {
  ExitClass result = ExitClass::Success;
  int64_t bytes = 0;
  std::string error = {};
};

inline StepOutcome StepFailure(ExitClass exitClass, std::string error) {
  return {exitClass, 0, std::move(error)};
}

// Runs body as the step `name` (progress follows the session's operation of that name),
// records it in the report and shows its line. False when it failed; the report then
// holds the class and the reason.
bool RunStep(JobContext& job, std::string_view name, std::string_view followedOperation,
             const std::function<StepOutcome()>& body);

}  // namespace velmora
