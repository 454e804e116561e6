#include "formats/controller_types.h"

#include <fstream>

#include "core/hex_text.h"
#include "core/paths.h"
#include "formats/text_lines.h"

namespace velmora {

int ControllerTypeTable::FindControllerType(std::string_view name) const {
  for (size_t i = 0; i < types_.size(); ++i) {
    if (EqualsNoCase(types_[i].name, name)) return static_cast<int>(i);
  }
  return -1;
}

namespace {

std::vector<int32_t> parseIds(std::string_view list, LineIssues& issues, long lineNumber) {
  std::vector<int32_t> ids;
  size_t at = 0;
  while (at <= list.size()) {
    size_t comma = list.find(',', at);
    if (comma == std::string_view::npos) comma = list.size();
    std::string_view item = list.substr(at, comma - at);
    if (const auto x = item.find('X'); x != std::string_view::npos) item = item.substr(x + 1);
    if (static_cast<int>(ids.size()) < ControllerTypeTable::kMaxIds) {
      ids.push_back(HexVal(item));
      if (ids.back() == kNoNumber) issues.push_back({lineNumber, "identification value is not hexadecimal"});
    } else {
      issues.push_back({lineNumber, "more than 256 identification values"});
      break;
    }
    at = comma + 1;
  }
  return ids;
}

}  // namespace

LineIssues LoadControllerTypes(const std::string& path, const std::filesystem::path& programFolder,
                               ControllerTypeTable& table, MessageLog& log) {
  LineIssues issues;
  table.types().clear();
  TextLineReader reader(path);
  if (!reader.IsOpen()) {
    log.WriteLine("*ERROR: File " + path + " not found");
    return issues;
  }
  bool full = false;
  bool inIgnoredType = false;
  std::string_view raw;
  while (reader.Next(raw)) {
    const std::string line = ToUpper(RemoveSpaces(raw));
    const long number = reader.LineNumber();
    if (!line.empty() && line[0] == '[') {
      if (table.Count() >= ControllerTypeTable::kCapacity) {
        if (!full) log.WriteLine("*ERROR: More than 65 controller types in " + path);
        full = true;
        inIgnoredType = true;
        issues.push_back({number, "more than 65 controller types"});
        continue;
      }
      const auto close = line.find(']');
      table.types().push_back({line.substr(1, close == std::string::npos ? std::string::npos : close - 1), {}, {}, {}});
      continue;
    }
    const bool isKey = line.rfind("MEMDEF=", 0) == 0 || line.rfind("REGDEF=", 0) == 0 ||
                       line.rfind("ID=", 0) == 0;
    if (!isKey) {
      if (!line.empty() && line[0] != ';' && line[0] != '#') issues.push_back({number, "not a key of the database"});
      continue;
    }
    if (inIgnoredType) continue;
    if (table.Count() == 0) {
      issues.push_back({number, "key before the first type"});
      continue;
    }
    ControllerType& type = table.types().back();
    if (line.rfind("MEMDEF=", 0) == 0) {
      type.memoryFile = ResolveStoredPath(programFolder, line.substr(7)).string();
    } else if (line.rfind("REGDEF=", 0) == 0) {
      type.registerFile = ResolveStoredPath(programFolder, line.substr(7)).string();
    } else {
      type.ids = parseIds(std::string_view(line).substr(3), issues, number);
    }
  }
  return issues;
}

}  // namespace velmora
