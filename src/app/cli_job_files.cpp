#include "app/cli_job_files.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "app/cli_job_memory_map.h"
#include "commands/transfers.h"
#include "core/hex_text.h"
#include "formats/hex_reader.h"
#include "link/link.h"
#include "session/session.h"

namespace velmora {
namespace {

// Differences shown and kept in the report; the rest are only counted.
constexpr size_t kShownMismatches = 10;

std::optional<Selection> firstOverlap(const SelectionList& earlier, const SelectionList& file) {
  for (int i = 0; i < file.Count(); ++i) {
    for (int k = 0; k < earlier.Count(); ++k) {
      const Selection a = file.At(i);
      const Selection b = earlier.At(k);
      if (a.start <= b.end && b.start <= a.end) return Selection{std::max(a.start, b.start), 0};
    }
  }
  return std::nullopt;
}

StepOutcome readOne(JobContext& job, const std::string& name, JobFiles& files) {
  const auto path = job.session.interpreter().LookUpFile(name);
  if (!path) return StepFailure(ExitClass::File, name + " cannot be read");
  SelectionList ranges;
  const HexReadResult read = HexRead(path->string(), *files.image, ranges, job.session.log);
  if (ClassOfFileRead(read.status) != ExitClass::Success) {
    return StepFailure(ExitClass::File, path->string() + " is not a good Intel HEX file (line " +
                                            std::to_string(read.lineNumber) + ")");
  }
  if (read.selectionsDropped) {
    return StepFailure(ExitClass::File, path->string() + " holds more separate ranges than fit");
  }
  if (ranges.ByteCount() == 0)
    return StepFailure(ExitClass::File, path->string() + " holds no data");
  if (const auto overlap = firstOverlap(files.ranges, ranges)) {
    return StepFailure(ExitClass::File,
                       path->string() + " overlaps an earlier file at " + HexN(overlap->start, 6));
  }
  for (int i = 0; i < ranges.Count(); ++i) {
    if (!files.ranges.AddSelection(ranges.At(i).start, ranges.At(i).end)) {
      return StepFailure(ExitClass::File, "the files hold more separate ranges than fit");
    }
  }
  job.session.log.WriteLine("*Load: " + std::to_string(ranges.ByteCount()) + " bytes loaded");
  return {};
}

}  // namespace

StepOutcome ReadJobFiles(JobContext& job, JobFiles& files, bool needDriver) {
  for (const auto& name : job.options.job.files) {
    if (StepOutcome one = readOne(job, name, files); one.result != ExitClass::Success) return one;
  }
  if (const auto gap = FirstGap(job.session.settings.target.units, files.ranges, needDriver)) {
    return StepFailure(ExitClass::File, "the files hold data where the board has no " +
                                            std::string(needDriver ? "flash memory" : "memory") +
                                            ": " + gap->reason);
  }
  return {ExitClass::Success, files.ranges.ByteCount()};
}

void PlaceJobFiles(const JobFiles& files, Session& session) {
  std::vector<uint8_t> bytes;
  for (int i = 0; i < files.ranges.Count(); ++i) {
    const Selection range = files.ranges.At(i);
    bytes.resize(static_cast<size_t>(range.end - range.start + 1));
    files.image->ReadBytes(range.start, bytes);
    session.image.StoreLoaded(range.start, bytes);
  }
  session.selections = files.ranges;
}

StepOutcome CompareWithTarget(JobContext& job) {
  Link& link = job.session.link();
  const int64_t total = job.session.selections.ByteCount();
  // Every difference goes to a file of its own rather than a line each: a wrong image
  // would otherwise flood the output with thousands of lines.
  const auto differencesFile = std::filesystem::temp_directory_path() /
                               ("velmora-cli-compare-" + std::to_string(::getpid()) + ".txt");
  const int32_t differences = CompareSelections(link, differencesFile.string());
  const ExitClass result = ClassOfComparison(differences, link.transport().PortFailed());
  if (differences > 0) {
    std::ifstream file(differencesFile);
    std::string line;
    while (std::getline(file, line) && job.report.firstMismatches.size() < kShownMismatches) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (!line.starts_with("Comparison at")) continue;
      job.report.firstMismatches.push_back(line);
      job.output.Result("*" + line);
    }
  }
  std::error_code ignored;
  std::filesystem::remove(differencesFile, ignored);
  if (result == ExitClass::Success) {
    job.output.Result("*Comparison: 0 of " + std::to_string(total) + " bytes not corresponding");
    return {ExitClass::Success, total};
  }
  if (result != ExitClass::Mismatch)
    return StepFailure(result, "the target memory could not be read");
  job.report.mismatches = differences;
  job.output.Result("*Comparison: " + std::to_string(differences) + " of " + std::to_string(total) +
                    " bytes not corresponding");
  return {ExitClass::Mismatch, total,
          std::to_string(differences) + " of " + std::to_string(total) + " bytes differ"};
}

}  // namespace velmora
