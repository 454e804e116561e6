// The controller type database: the derivatives the program knows, with their
// identification values and their register and memory definition files.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/message_log.h"
#include "formats/line_issue.h"

namespace velmora {

struct ControllerType {
  std::string name;          // upper case
  std::string registerFile;  // resolved path of the .SFR file
  std::string memoryFile;    // resolved path of the .MEM file
  std::vector<int32_t> ids;  // identification values in file order, at most 256
};

class ControllerTypeTable {
 public:
  static constexpr int kCapacity = 65;
  static constexpr int kMaxIds = 256;

  int Count() const { return static_cast<int>(types_.size()); }
  const ControllerType& At(int index) const { return types_[static_cast<size_t>(index)]; }
  // Index of the type with this name (any case), or -1.
  int FindControllerType(std::string_view name) const;

  std::vector<ControllerType>& types() { return types_; }

 private:
  std::vector<ControllerType> types_;
};

// Reads the database; relative file names are taken in programFolder. A missing file
// leaves the table empty with an error line. Lines beyond the table limits are reported
// once and ignored.
LineIssues LoadControllerTypes(const std::string& path, const std::filesystem::path& programFolder,
                               ControllerTypeTable& table, MessageLog& log);

}  // namespace velmora
