#include "app/cli_job_context.h"

namespace velmora {

bool RunStep(JobContext& job, std::string_view name, std::string_view followedOperation,
             const std::function<StepOutcome()>& body) {
  if (job.interrupted()) {
    job.report.Fail(ExitClass::Other, "interrupted before " + std::string(name));
    return false;
  }
  job.output.StepBegins(name, followedOperation);
  const auto start = job.now();
  const StepOutcome outcome = body();
  JobStep step{std::string(name), outcome.bytes,
               std::chrono::duration_cast<std::chrono::milliseconds>(job.now() - start),
               outcome.result};
  job.report.steps.push_back(step);
  job.output.StepEnds(step);
  if (outcome.result == ExitClass::Success) return true;
  job.report.Fail(outcome.result, outcome.error);
  return false;
}

}  // namespace velmora
