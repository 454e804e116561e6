// What a reader of a user-editable file did not take, line by line. The program shows no
// more than its error lines; tests and checks see every ignored line.
#pragma once

#include <string>
#include <vector>

namespace velmora {

struct LineIssue {
  long line;           // 1-based
  std::string reason;
};

using LineIssues = std::vector<LineIssue>;

}  // namespace velmora
