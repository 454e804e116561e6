#include "formats/memory_file.h"

#include "core/hex_text.h"
#include "formats/memory_unit_keys.h"
#include "formats/text_lines.h"

namespace velmora {

MemoryFileResult LoadMemoryFile(const std::string& path, std::vector<MemoryUnit>& units,
                                MessageLog& log) {
  MemoryFileResult result;
  TextLineReader reader(path);
  if (!reader.IsOpen()) {
    log.WriteLine("*ERROR: File " + path + " not found");
    return result;
  }
  result.found = true;
  units.clear();
  std::string_view raw;
  while (reader.Next(raw)) {
    const long number = reader.LineNumber();
    std::string line = ToUpper(raw);
    const auto first = line.find_first_not_of(" \t");
    line.erase(0, first == std::string::npos ? line.size() : first);
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.pop_back();
    if (line.empty() || line[0] == ';' || line[0] == '#') continue;

    if (const auto open = line.find('['); open != std::string::npos) {
      if (static_cast<int>(units.size()) >= kMaxUnitsInMemoryFile) {
        result.issues.push_back({number, "more than 32 memory units: reading ends here"});
        break;
      }
      const auto close = line.find(']', open);
      units.emplace_back();
      units.back().name = line.substr(open + 1, close == std::string::npos ? std::string::npos
                                                                          : close - open - 1);
      continue;
    }
    if (units.empty()) {
      result.issues.push_back({number, "key before the first memory unit"});
      continue;
    }
    const UnitKeyResult applied = ApplyMemoryUnitKey(line, units.back());
    if (!applied.recognized) {
      result.issues.push_back({number, "not a memory unit key"});
    } else if (!applied.problem.empty()) {
      result.issues.push_back({number, applied.problem});
    }
  }
  return result;
}

}  // namespace velmora
