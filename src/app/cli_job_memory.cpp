// read and erase: target memory into a file, and sectors back to blank.
#include <algorithm>
#include <filesystem>

#include "app/cli_job_connect.h"
#include "app/cli_job_memory_map.h"
#include "app/cli_jobs.h"
#include "commands/flash_operations.h"
#include "commands/transfers.h"
#include "core/file_exists.h"
#include "core/hex_text.h"
#include "formats/hex_writer.h"
#include "link/link.h"
#include "session/session.h"

namespace velmora {
namespace {

StepOutcome checkReadRange(JobContext& job, const std::filesystem::path& output) {
  const JobRequest& request = job.options.job;
  SelectionList range;
  (void)range.AddSelection(request.start, request.end);
  if (const auto gap = FirstGap(job.session.settings.target.units, range, false)) {
    return StepFailure(ExitClass::Usage, "read " + HexN(request.start, 6) + ".." +
                                             HexN(request.end, 6) + ": " + gap->reason);
  }
  if (const FileProblem problem = WriteProblem(output); problem != FileProblem::None) {
    job.session.log.WriteLine(FileProblemLine(output, problem));
    return StepFailure(ExitClass::File, output.string() + " cannot be written");
  }
  return {};
}

StepOutcome readIntoFile(JobContext& job, const std::filesystem::path& output) {
  Session& session = job.session;
  Link& link = session.link();
  const JobRequest& request = job.options.job;
  session.selections.ClearSelections();
  (void)session.selections.AddSelection(request.start, request.end);
  const int64_t bytes = session.selections.ByteCount();
  const int16_t status = UploadSelections(link);
  const ExitClass result = ClassOfTransfer(status, link.transport().PortFailed());
  if (result != ExitClass::Success)
    return StepFailure(result, "the target memory could not be read");
  const auto& saveAs = session.settings.files.saveAs;
  const HexWriteStatus written =
      HexWriteSelections(output.string(), saveAs.recordSize, saveAs.FormatCode(), session.image,
                         session.selections, session.log);
  if (written != HexWriteStatus::Ok)
    return StepFailure(ExitClass::File, output.string() + " was not written");
  session.log.WriteLine("*SaveAs: selection written to file");
  return {ExitClass::Success, bytes};
}

// The sectors one erase argument names, each checked against the unit.
struct EraseWork {
  int unit;
  std::vector<int> sectors;
};

StepOutcome planErase(JobContext& job, std::vector<EraseWork>& work) {
  const auto& units = job.session.settings.target.units;
  for (const EraseTarget& target : job.options.job.erase) {
    const int unit = FindMemoryUnit(units, target.unit);
    if (unit < 0) {
      std::string known;
      for (const auto& each : units) known += (known.empty() ? "" : ", ") + each.name;
      return StepFailure(ExitClass::Usage,
                         "no memory unit " + target.unit + " (the units: " + known + ")");
    }
    const MemoryUnit& memory = units[static_cast<size_t>(unit)];
    if (!memory.HasFeature("ERASE")) {
      return StepFailure(ExitClass::Driver, "the driver of " + memory.name + " cannot erase");
    }
    EraseWork item{unit, target.sectors};
    const int count = static_cast<int>(memory.sections.size());
    if (item.sectors.empty()) {
      for (int s = 0; s < count; ++s) item.sectors.push_back(s);
    }
    for (int sector : item.sectors) {
      if (sector >= count) {
        return StepFailure(ExitClass::Usage, memory.name + " has sectors 0 to " +
                                                 std::to_string(count - 1) + ", not " +
                                                 std::to_string(sector));
      }
    }
    work.push_back(std::move(item));
  }
  return {};
}

StepOutcome erase(JobContext& job, const std::vector<EraseWork>& work) {
  Link& link = job.session.link();
  const auto& units = job.session.settings.target.units;
  if (link.state() != TargetState::Ready)
    return StepFailure(ExitClass::Protocol, "the monitor is not ready");
  int64_t bytes = 0;
  for (const EraseWork& item : work) {
    const MemoryUnit& unit = units[static_cast<size_t>(item.unit)];
    for (int sector : item.sectors) {
      const int16_t status = EraseSector(link, item.unit, sector);
      const ExitClass result = ClassOfDriverCall(status, link.transport().PortFailed());
      if (result != ExitClass::Success) {
        return StepFailure(
            result, "sector " + std::to_string(sector) + " of " + unit.name + " was not erased");
      }
      for (const auto& region : unit.sections[static_cast<size_t>(sector)].regions) {
        bytes += region.length;
      }
    }
  }
  return {ExitClass::Success, bytes};
}

}  // namespace

void RunReadJob(JobContext& job) {
  const auto output = job.session.interpreter().TargetFile(job.options.job.output);
  if (!RunStep(job, "check", "", [&] { return checkReadRange(job, output); })) return;
  if (!RunStep(job, "connect", "", [&] { return ConnectForJob(job); })) return;
  RunStep(job, "read", "Upload", [&] { return readIntoFile(job, output); });
}

void RunEraseJob(JobContext& job) {
  std::vector<EraseWork> work;
  if (!RunStep(job, "check", "", [&] { return planErase(job, work); })) return;
  if (!RunStep(job, "connect", "", [&] { return ConnectForJob(job); })) return;
  RunStep(job, "erase", "", [&] { return erase(job, work); });
}

}  // namespace velmora
