// The command line of velmora-cli: the options of every run, the command lines and
// scripts it runs, and the jobs (flash, verify, read, erase, info) for production and
// bench use.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

enum class JobKind { None, Flash, Verify, Read, Erase, Info };

std::string_view JobName(JobKind kind);

// One UNIT[:SECTOR,...] argument of erase; no sectors means every sector of the unit.
struct EraseTarget {
  std::string unit;
  std::vector<int> sectors;
  friend bool operator==(const EraseTarget&, const EraseTarget&) = default;
};

struct JobRequest {
  JobKind kind = JobKind::None;
  std::vector<std::string> arguments;  // the words after the job's name, as given
  std::vector<std::string> files;      // flash, verify
  std::optional<int32_t> runAddress;   // flash --run
  bool eraseAll = false;               // flash --erase-all
  int32_t start = 0;                   // read
  int32_t end = 0;
  std::string output;
  std::vector<EraseTarget> erase;
};

// A -c line or a script name, in the order given.
struct CliItem {
  bool isLine;
  std::string text;
};

struct CliOptions {
  std::string home;
  std::string port;
  int baud = 0;
  bool noSave = false;
  bool noQuestions = false;
  bool interactive = false;
  bool disassemble = false;
  std::vector<CliItem> items;
  bool help = false;
  bool version = false;
  bool listPorts = false;
  bool quiet = false;
  bool json = false;
  // --wait: send the zero byte at a steady pace for this long; otherwise a few tries.
  std::optional<int> waitSeconds;
  JobRequest job;
};

struct UsageError {
  std::string what;
};

// argv without the program name. Nothing is printed and nothing ends the program here.
std::optional<UsageError> ParseCliOptions(const std::vector<std::string>& arguments,
                                          CliOptions& options);

// The text of --help, exit statuses included.
std::string CliUsage();

// A hexadecimal address as jobs take it: 1 to 6 digits, "0x" in front allowed.
std::optional<int32_t> ParseJobAddress(std::string_view text);

}  // namespace velmora
