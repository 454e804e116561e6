#include "app/cli_job_connect.h"

#include <algorithm>

#include "core/frontend.h"
#include "link/bootstrap.h"
#include "link/link.h"
#include "link/port_fault.h"
#include "session/session.h"

namespace velmora {
namespace {

// Sets the line's time-out for a while; the session keeps its own value afterwards
// (it is saved with the preferences).
class TimeoutOverride {
 public:
  TimeoutOverride(Session& session, std::chrono::milliseconds timeout)
      : timeout_(session.settings.communication.timeout), saved_(timeout_) {
    timeout_ = static_cast<int32_t>(std::min<int64_t>(timeout.count(), saved_));
  }
  ~TimeoutOverride() { timeout_ = saved_; }
  TimeoutOverride(const TimeoutOverride&) = delete;
  TimeoutOverride& operator=(const TimeoutOverride&) = delete;

 private:
  int32_t& timeout_;
  int32_t saved_;
};

std::string portProblemText(Link& link) {
  PortFault fault = link.port().Fault();
  if (fault.problem == PortProblem::None && !link.port().IsOpen())
    fault = {PortProblem::NotOpen, {}};
  const auto lines = PortFaultLines(link.context().settings.communication.DevicePath(), fault);
  return lines.empty() ? "the port failed" : lines.front();
}

bool monitorAnswers(JobContext& job) {
  Link& link = job.session.link();
  TimeoutOverride quick(job.session, kMonitorTestTimeout);
  if (link.monitor().Cmd_reconnect() != 0) return false;
  link.ForgetDrivers();
  link.SetState(TargetState::Ready);
  link.context().log.WriteLine("*Monitor ready");
  return true;
}

// Sends the zero byte until the identification byte comes: the configured tries, or at a
// steady pace until --wait runs out. The board's bootstrap loader takes a zero byte only
// once it runs, so repeating it before then is harmless.
int16_t zeroByteUntilAnswer(JobContext& job) {
  Link& link = job.session.link();
  Transport& transport = link.transport();
  const auto& wait = job.options.waitSeconds;
  std::optional<TimeoutOverride> pace;
  if (wait) pace.emplace(job.session, kWaitPace);
  const auto until = job.now() + std::chrono::seconds(wait.value_or(0));
  for (int tries = 1;; ++tries) {
    transport.Discard();
    transport.SSSend(0x00);
    const int16_t id = transport.SSReceive();
    if (id >= 1 || transport.PortFailed() || job.interrupted()) return id;
    if (wait) {
      const auto left = std::chrono::ceil<std::chrono::seconds>(until - job.now()).count();
      if (left <= 0) return id;
      job.output.Countdown(static_cast<int>(left));
    } else if (tries >= kZeroByteTries) {
      return id;
    }
  }
}

// The bootstrap connection as the connect command runs it, with the zero byte repeated
// until the board answers; the rest of the sequence is the link's own.
StepOutcome bootstrap(JobContext& job) {
  Link& link = job.session.link();
  auto& context = link.context();
  Exchange exchange(link.transport());
  link.transport().Discard();
  Loader_pre(link);
  Velmora_pre(link);
  link.ForgetDrivers();
  // The selections held the loader's and the monitor's ranges; the job's own come later.
  struct ClearSelections {
    SelectionList& selections;
    ~ClearSelections() { selections.ClearSelections(); }
  } clear{context.selections};
  if (context.frontend.MessageBox(kResetQuestion, BoxButtons::OkCancel, BoxIcon::None, {}) !=
      BoxAnswer::Ok) {
    return StepFailure(ExitClass::Other, "the reset of the board was not confirmed");
  }
  if (link.onResetConfirmed) link.onResetConfirmed();
  context.log.WriteLine("*send 0 Byte + Loader + VelmoraCore");
  link.boot.idByte = zeroByteUntilAnswer(job);
  job.report.board.idByte = link.boot.idByte >= 1 ? link.boot.idByte : -1;
  if (link.boot.idByte >= 1) {
    Loader_new(link);
    Velmora_new(link);
  } else {
    link.boot.loaderAck = link.boot.monitorAck = -1;
  }
  const bool started = Receive_ID_VelmoraACK(link) == connect_status::kOk;
  const ExitClass result = ClassOfBootstrap(
      {link.boot.idByte, link.boot.loaderAck, link.boot.monitorAck},
      {context.settings.bytes.loaderStarted, context.settings.bytes.applicationStarted},
      link.transport().PortFailed());
  if (result == ExitClass::Port) return StepFailure(result, portProblemText(link));
  if (result == ExitClass::NoAnswer) {
    return StepFailure(result, "no identification byte came back for the zero byte");
  }
  if (result != ExitClass::Success || !started) {
    return StepFailure(ExitClass::Protocol, "the loader or the monitor did not acknowledge");
  }
  context.log.WriteLine("*VelmoraKorda successfully launched");
  link.SetState(TargetState::Ready);
  if (link.afterConnection) link.afterConnection();
  link.SetState(TargetState::Ready);
  return {};
}

}  // namespace

StepOutcome ConnectForJob(JobContext& job) {
  Link& link = job.session.link();
  job.report.board.type = job.session.settings.target.mcType;
  if (!link.EnsurePortOpen()) return StepFailure(ExitClass::Port, portProblemText(link));
  if (monitorAnswers(job)) {
    job.report.board.monitorWasRunning = true;
    return {};
  }
  if (link.transport().PortFailed()) return StepFailure(ExitClass::Port, portProblemText(link));
  link.SetState(TargetState::NotConnected);
  return bootstrap(job);
}

}  // namespace velmora
