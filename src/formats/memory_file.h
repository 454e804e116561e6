// Reads a memory definition file (.MEM): the default memory units of a controller type.
#pragma once

#include <string>
#include <vector>

#include "config/memory_unit.h"
#include "core/message_log.h"
#include "formats/line_issue.h"

namespace velmora {

inline constexpr int kMaxUnitsInMemoryFile = 32;

struct MemoryFileResult {
  bool found = false;
  LineIssues issues;
};

// Replaces units by the file's units when the file exists; a missing file leaves them as
// they were and writes an error line. Reading ends at a 33rd unit header.
MemoryFileResult LoadMemoryFile(const std::string& path, std::vector<MemoryUnit>& units,
                                MessageLog& log);

}  // namespace velmora
