// What a reader left behind, in forms tests compare easily.
#pragma once

#include <string>
#include <vector>

#include "core/message_log.h"
#include "formats/line_issue.h"

namespace velmora::test {

// The closed lines of the log, with the lines the list wrapped at 76 characters joined.
inline std::string LogText(const MessageLog& log) {
  std::string text;
  for (int i = 0; i + 1 < log.List().Count(); ++i) text += log.List().Entry(i);
  return text;
}

// The line numbers of the lines a reader did not take.
inline std::vector<long> IssueLines(const LineIssues& issues) {
  std::vector<long> lines;
  for (const auto& issue : issues) lines.push_back(issue.line);
  return lines;
}

}  // namespace velmora::test
