// The console frontend of a job: message boxes as in every run, and the session's
// progress reports handed to the job's output.
#pragma once

#include "app/cli_job_output.h"
#include "app/console_frontend.h"

namespace velmora {

class JobFrontend : public ConsoleFrontend {
 public:
  JobFrontend(ConsolePolicy policy, JobOutput& output) : ConsoleFrontend(policy), output_(output) {}

  void ShowProgress(const Progress& progress) override {
    output_.Progress(progress.operation, progress.done, progress.total);
  }

 private:
  JobOutput& output_;
};

}  // namespace velmora
