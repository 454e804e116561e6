// flash and verify: the files against the board's flash memory.
#include <vector>

#include "app/cli_job_connect.h"
#include "app/cli_job_files.h"
#include "app/cli_job_memory_map.h"
#include "app/cli_jobs.h"
#include "commands/flash_operations.h"
#include "core/hex_text.h"
#include "link/link.h"
#include "session/session.h"

namespace velmora {
namespace {

int64_t sectionBytes(const MemorySection& section) {
  int64_t bytes = 0;
  for (const auto& region : section.regions) bytes += region.length;
  return bytes;
}

// What flash will do beyond programming, checked before the board is touched.
StepOutcome checkFlashOptions(JobContext& job, const JobFiles& files) {
  const auto& units = job.session.settings.target.units;
  const JobRequest& request = job.options.job;
  if (request.runAddress) {
    SelectionList start;
    (void)start.AddSelection(*request.runAddress, *request.runAddress);
    if (FirstGap(units, start, false)) {
      return StepFailure(ExitClass::Usage, "--run " + HexN(*request.runAddress, 6) +
                                               ": no memory unit holds that address");
    }
  }
  if (request.eraseAll) {
    for (int unit : UnitsTouched(units, files.ranges)) {
      if (!units[static_cast<size_t>(unit)].HasFeature("ERASE")) {
        return StepFailure(ExitClass::Driver, "--erase-all: the driver of " +
                                                  units[static_cast<size_t>(unit)].name +
                                                  " cannot erase");
      }
    }
  }
  return {};
}

StepOutcome eraseTouchedUnits(JobContext& job, const JobFiles& files) {
  Link& link = job.session.link();
  const auto& units = job.session.settings.target.units;
  int64_t bytes = 0;
  for (int unit : UnitsTouched(units, files.ranges)) {
    const auto& sections = units[static_cast<size_t>(unit)].sections;
    for (size_t s = 0; s < sections.size(); ++s) {
      const int16_t status = EraseSector(link, unit, static_cast<int>(s));
      const ExitClass result = ClassOfDriverCall(status, link.transport().PortFailed());
      if (result != ExitClass::Success) {
        return StepFailure(result, "sector " + std::to_string(s) + " of " +
                                       units[static_cast<size_t>(unit)].name + " was not erased");
      }
      bytes += sectionBytes(sections[s]);
    }
  }
  return {ExitClass::Success, bytes};
}

StepOutcome program(JobContext& job, bool intelligent) {
  Link& link = job.session.link();
  const int64_t bytes = job.session.selections.ByteCount();
  // The operations do nothing without a running monitor and say it went well.
  if (link.state() != TargetState::Ready)
    return StepFailure(ExitClass::Protocol, "the monitor is not ready");
  if (bytes == 0) return StepFailure(ExitClass::File, "there is nothing to program");
  const int16_t status = ProgramSelections(link, intelligent);
  const ExitClass result = ClassOfDriverCall(status, link.transport().PortFailed());
  if (result != ExitClass::Success) return StepFailure(result, "programming did not succeed");
  return {ExitClass::Success, bytes};
}

StepOutcome run(JobContext& job, int32_t address) {
  Link& link = job.session.link();
  const int16_t status = link.monitor().Cmd_Jmp(address);
  const ExitClass result = ClassOfTransfer(status, link.transport().PortFailed());
  if (result != ExitClass::Success) {
    return StepFailure(result, "the monitor did not acknowledge the start at " + HexN(address, 6));
  }
  link.SetState(TargetState::UserProgramRunning);
  job.session.log.WriteLine("*Run: program started at " + HexN(address, 6));
  return {};
}

}  // namespace

void RunFlashJob(JobContext& job) {
  const JobRequest& request = job.options.job;
  JobFiles files;
  if (!RunStep(job, "files", "", [&] {
        StepOutcome read = ReadJobFiles(job, files, true);
        if (read.result != ExitClass::Success) return read;
        StepOutcome options = checkFlashOptions(job, files);
        return options.result == ExitClass::Success ? read : options;
      })) {
    return;
  }
  if (!RunStep(job, "connect", "", [&] { return ConnectForJob(job); })) return;
  PlaceJobFiles(files, job.session);
  // After every sector has been erased, erasing again before each first burst would only
  // cost time.
  if (request.eraseAll &&
      !RunStep(job, "erase", "", [&] { return eraseTouchedUnits(job, files); })) {
    return;
  }
  if (!RunStep(job, "program", "Program", [&] { return program(job, !request.eraseAll); })) return;
  if (!RunStep(job, "verify", "Compare", [&] { return CompareWithTarget(job); })) return;
  if (request.runAddress) RunStep(job, "run", "", [&] { return run(job, *request.runAddress); });
}

void RunVerifyJob(JobContext& job) {
  JobFiles files;
  if (!RunStep(job, "files", "", [&] { return ReadJobFiles(job, files, false); })) return;
  if (!RunStep(job, "connect", "", [&] { return ConnectForJob(job); })) return;
  PlaceJobFiles(files, job.session);
  RunStep(job, "verify", "Compare", [&] { return CompareWithTarget(job); });
}

}  // namespace velmora
