// The HEX files of flash and verify, read and checked before the board is touched, and
// put into the session's image once the monitor runs (the connection reads its own files
// through the image and the selections).
#pragma once

#include <memory>

#include "app/cli_job_context.h"
#include "core/memory_image.h"
#include "core/selection_list.h"

namespace velmora {

struct JobFiles {
  std::unique_ptr<MemoryImage> image = std::make_unique<MemoryImage>();
  SelectionList ranges;  // every file's data, merged
};

// The "files" step: each file must exist, be good Intel HEX, hold data, not overlap an
// earlier file, and lie in the memory units (in units with a flash driver when
// needDriver).
StepOutcome ReadJobFiles(JobContext& job, JobFiles& files, bool needDriver);

// The files' bytes into the session's image, their ranges as its selections.
void PlaceJobFiles(const JobFiles& files, Session& session);

// The "verify" step's body: compares the selections with the target. Differences are
// counted in the report; the first few are shown.
StepOutcome CompareWithTarget(JobContext& job);

}  // namespace velmora
