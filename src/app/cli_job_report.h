// What a job did, step by step, for the closing lines and the --json report.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "app/cli_exit_class.h"

namespace velmora {

struct JobStep {
  std::string name;
  int64_t bytes = 0;
  std::chrono::milliseconds duration{0};
  ExitClass result = ExitClass::Success;
};

struct BoardIdentity {
  int32_t idByte = -1;  // -1: not seen, the monitor was running already
  bool monitorWasRunning = false;
  std::string type;  // the controller type of the configuration
  // info: each register the type defines, by name, and those it does not define.
  std::vector<std::pair<std::string, int32_t>> registers;
  std::vector<std::string> undefinedRegisters;
};

struct JobReport {
  std::string job;
  std::string port;
  std::vector<std::string> arguments;
  std::vector<JobStep> steps;
  ExitClass result = ExitClass::Success;
  std::string error;  // empty on success
  BoardIdentity board;
  int32_t mismatches = 0;  // verify and flash: differing bytes
  std::vector<std::string> firstMismatches;

  // Sets the result unless an earlier failure already did: the first cause is the one
  // that explains the rest.
  void Fail(ExitClass exitClass, std::string text);
  // Every step's bytes added up: a byte programmed and then compared counts twice.
  int64_t TotalBytes() const;
  std::chrono::milliseconds TotalDuration() const;
};

// The report as one JSON object, ending with a line feed.
std::string JobReportJson(const JobReport& report);

}  // namespace velmora
