// What a job of velmora-cli ends with: one exit status per class of failure, so that a
// production line can tell a bad board from a bad file or a missing cable without reading
// the output.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "formats/hex_reader.h"

namespace velmora {

enum class ExitClass : int {
  Success = 0,
  Other = 1,
  Usage = 2,
  Port = 3,
  NoAnswer = 4,
  Protocol = 5,
  Driver = 6,
  Mismatch = 7,
  File = 8,
};

struct ExitClassInfo {
  ExitClass exitClass;
  std::string_view name;     // the word the JSON report uses
  std::string_view meaning;  // the line of --help, the README and the manual page
};

// Every class in the order of its status.
std::span<const ExitClassInfo> ExitClasses();
std::string_view ExitClassName(ExitClass exitClass);
inline int ExitStatus(ExitClass exitClass) {
  return static_cast<int>(exitClass);
}

// The class of a step from the result the session's operation gave. A failed port
// outranks everything else: when the line is gone, no other answer can be trusted.
ExitClass ClassOfFileRead(HexReadStatus status);
// Download, upload: 0, or the negative transfer status.
ExitClass ClassOfTransfer(int32_t status, bool portFailed);
// Programming and the other driver operations: 0, or the flash status.
ExitClass ClassOfDriverCall(int32_t status, bool portFailed);
// Comparison: the number of differing bytes, or a negative transfer status.
ExitClass ClassOfComparison(int32_t differences, bool portFailed);

// What the bootstrap sequence got back; -1 for a byte that never came.
struct BootstrapAnswers {
  int32_t idByte = -1;
  int32_t loaderAck = -1;
  int32_t monitorAck = -1;
};
struct ExpectedAcks {
  int32_t loader;
  int32_t monitor;
};
ExitClass ClassOfBootstrap(const BootstrapAnswers& answers, const ExpectedAcks& expected,
                           bool portFailed);

}  // namespace velmora
