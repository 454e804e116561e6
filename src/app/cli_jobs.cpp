#include "app/cli_jobs.h"

#include "session/session.h"

namespace velmora {

void RunJob(JobContext& job) {
  Session& session = job.session;
  job.report.job = std::string(JobName(job.options.job.kind));
  job.report.port = session.settings.communication.PortText();
  job.report.board.type = session.settings.target.mcType;
  const int errorLinesBefore = session.log.ErrorLineCount();
  switch (job.options.job.kind) {
    case JobKind::Flash:
      RunFlashJob(job);
      break;
    case JobKind::Verify:
      RunVerifyJob(job);
      break;
    case JobKind::Read:
      RunReadJob(job);
      break;
    case JobKind::Erase:
      RunEraseJob(job);
      break;
    case JobKind::Info:
      RunInfoJob(job);
      break;
    case JobKind::None:
      job.report.Fail(ExitClass::Usage, "no job named");
      break;
  }
  // Every step succeeded by its own result, yet something said it went wrong: the job
  // does not claim a success it cannot vouch for.
  if (session.log.ErrorLineCount() > errorLinesBefore) {
    job.report.Fail(ExitClass::Other, "an *ERROR line was written during the job");
  }
}

}  // namespace velmora
