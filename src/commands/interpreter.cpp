#include "commands/interpreter.h"

#include <chrono>
#include <fstream>
#include <limits>
#include <thread>

#include "commands/command_line.h"
#include "commands/command_set.h"
#include "core/file_exists.h"
#include "core/frontend.h"
#include "core/hex_text.h"
#include "core/paths.h"
#include "formats/text_lines.h"
#include "link/link.h"

namespace velmora {

using namespace command_result;

namespace {
// The longest single wait of _delay.
constexpr std::chrono::milliseconds kDelaySlice{50};
}  // namespace

Interpreter::Interpreter(CommandContext context) : context_(std::move(context)) {}

int16_t Interpreter::ExecuteCommand(std::string_view line) {
  link().context().log.WriteLine(">" + std::string(line));
  return RunCommand(line);
}

namespace {

// Notes which views a command has already told about its changes.
class ToldViews {
 public:
  explicit ToldViews(ChangeFeed& feed) : feed_(feed) {
    id_ = feed_.Subscribe([this](const Change& change) {
      if (change.target == RefreshTarget::MemoryView) memory_ = true;
      if (change.target == RefreshTarget::RegisterList) registers_ = true;
    });
  }
  ~ToldViews() { feed_.Unsubscribe(id_); }
  ToldViews(const ToldViews&) = delete;
  ToldViews& operator=(const ToldViews&) = delete;

  bool Memory() const { return memory_; }
  bool Registers() const { return registers_; }

 private:
  ChangeFeed& feed_;
  int id_ = 0;
  bool memory_ = false;
  bool registers_ = false;
};

}  // namespace

int16_t Interpreter::RunCommand(std::string_view line) {
  MessageLog& log = link().context().log;
  Frontend& frontend = link().context().frontend;
  ToldViews told(frontend.Changes());
  SplitLine split = SplitCommandLine(line, conventions_.quotedParameters);
  CommandCall call;
  call.parameters = std::move(split.parameters);
  if (split.tooManyParameters) {
    log.WriteLine("*ERROR: More than 16 parameters");
    call.general = kIllegalParameterCount;
  } else if (const CommandSpec* command = MatchCommand(line)) {
    command->run(*this, call);
  }
  switch (call.general) {
    case kIllegalCommand:
      log.WriteLine("*ERROR: Illegal command");
      break;
    case kIllegalParameters:
      log.WriteLine("*ERROR: Illegal parameters");
      break;
    case kIllegalParameterCount:
      log.WriteLine("*ERROR: Illegal number of parameters");
      break;
    default:
      break;
  }
  // A command that talked to the target may have changed memory or registers without
  // knowing which; unless it said what it changed, the views show everything anew.
  if (link().state() == TargetState::Ready) {
    if (!told.Memory()) frontend.RequestRefresh(Change::All(RefreshTarget::MemoryView));
    if (!told.Registers()) frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
  }
  return static_cast<int16_t>(call.general + call.failure);
}

std::optional<std::filesystem::path> Interpreter::LookUpFile(std::string_view name) {
  const auto candidates =
      CandidatePaths(link().context().programFolder, name, conventions_.relativeNames);
  for (const auto& path : candidates) {
    const FileProblem problem = ReadProblem(path);
    if (problem == FileProblem::None) return path;
    // A name that is there but cannot be read hides the candidates after it.
    if (problem != FileProblem::NotFound) {
      link().context().log.WriteLine(FileProblemLine(path, problem));
      return std::nullopt;
    }
  }
  for (const auto& path : candidates)
    link().context().log.WriteLine(FileProblemLine(path, FileProblem::NotFound));
  return std::nullopt;
}

std::filesystem::path Interpreter::TargetFile(std::string_view name) const {
  const auto candidates =
      CandidatePaths(context_.link.context().programFolder, name, conventions_.relativeNames);
  for (const auto& path : candidates) {
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::symlink_status(path, error))) return path;
  }
  return candidates.front();
}

void Interpreter::RequestQuit() {
  quitRequested_ = true;
  if (context_.quit) context_.quit();
}

void Interpreter::Delay(int64_t seconds) {
  using Clock = std::chrono::steady_clock;
  const auto until = Clock::now() + std::chrono::seconds(std::max<int64_t>(seconds, 0));
  // A running command is never cut short: Escape is seen between script lines. The line is
  // served meanwhile, so a program started before the delay shows its output during it.
  while (Clock::now() < until) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
    const auto slice = std::min(left, kDelaySlice);
    const auto sliceEnd = Clock::now() + slice;
    link().ServeUnsolicited(slice);
    // A closed port has nothing to wait on, and bytes that nobody takes end every wait at
    // once: the rest of the slice is slept then, never spun.
    SerialPort& port = link().port();
    if (!port.IsOpen() || port.BytesAvailable() > 0) std::this_thread::sleep_until(sliceEnd);
  }
}

ScriptOutcome Interpreter::ExecuteScript(const std::string& file) {
  if (quitRequested_) return ScriptOutcome::Quit;
  MessageLog& log = link().context().log;
  if (scriptDepth_ >= kMaxScriptNesting) {
    log.WriteLine("*ERROR: Scripts call each other more than " + std::to_string(kMaxScriptNesting) +
                  " deep");
    return ScriptOutcome::NotFound;
  }
  const auto found = LookUpFile(file);
  const std::string path =
      (found ? *found : ResolveStoredPath(link().context().programFolder, file)).string();
  if (context_.setLastScriptFile) context_.setLastScriptFile(path);
  scriptAbort_ = false;
  TextLineReader reader(path);
  if (!found || !reader.IsOpen()) {
    log.WriteLine("*ERROR: Script File not found");
    return ScriptOutcome::NotFound;
  }
  std::vector<std::string> lines;
  std::string_view raw;
  while (reader.Next(raw)) {
    const std::string cleaned =
        CleanLine(raw.substr(0, raw.find(';')), conventions_.quotedParameters);
    if (cleaned.empty()) continue;
    if (static_cast<int>(lines.size()) == kMaxScriptLines) {
      log.WriteLine("*ERROR: Script longer than " + std::to_string(kMaxScriptLines) + " lines");
      log.WriteLine("*ERROR: Script aborted");
      return ScriptOutcome::Failed;
    }
    lines.push_back(cleaned);
  }
  ++scriptDepth_;
  const ScriptOutcome outcome = runScript(lines);
  --scriptDepth_;
  return outcome;
}

namespace {

bool startsWith(std::string_view line, std::string_view word) {
  return line.size() >= word.size() && EqualsNoCase(line.substr(0, word.size()), word);
}

// The index of the next line beginning with ELSE or ENDIF after `from`, or the count.
size_t nextElseOrEndif(const std::vector<std::string>& lines, size_t from) {
  for (size_t i = from + 1; i < lines.size(); ++i) {
    if (startsWith(lines[i], "ELSE") || startsWith(lines[i], "ENDIF")) return i;
  }
  return lines.size();
}

// The limit of "LOOP UNTIL n": the number six characters after the U of UNTIL.
int64_t loopLimit(const std::string& line) {
  const std::string upper = ToUpper(line);
  const auto until = upper.find("UNTIL");
  if (until == std::string::npos) return -1;
  return until + 6 <= line.size() ? DecimalValue(std::string_view(line).substr(until + 6)) : 0;
}

struct LoopLevel {
  int64_t counter = -2;  // -2 until the level's LOOP line is first reached
  int64_t limit = -1;
  size_t firstBodyLine = 0;
};

}  // namespace

ScriptOutcome Interpreter::runScript(const std::vector<std::string>& lines) {
  MessageLog& log = link().context().log;
  std::vector<LoopLevel> loops;
  bool elseFlag = false;
  size_t current = 0;

  // A structural fault of the script: said, and the script ends like a failed command.
  const auto structureError = [&](const std::string& line) {
    log.WriteLine(line);
    log.WriteLine("*ERROR: Script aborted");
    return ScriptOutcome::Failed;
  };

  while (current < lines.size() && !scriptAbort_) {
    const std::string& line = lines[current];
    if (startsWith(line, "DO")) {
      if (static_cast<int>(loops.size()) == kMaxLoopDepth) {
        return structureError("*ERROR: More than " + std::to_string(kMaxLoopDepth) + " nested loops");
      }
      loops.push_back({-2, -1, current + 1});
      ++current;
    } else if (startsWith(line, "LOOP")) {
      if (loops.empty()) return structureError("*ERROR: LOOP without DO");
      LoopLevel& level = loops.back();
      if (level.counter == -2) {
        level.counter = 1;
        level.limit = loopLimit(line);
      }
      if (level.counter == level.limit) {
        loops.pop_back();
        ++current;
      } else {
        if (level.counter == std::numeric_limits<int32_t>::max()) {
          return structureError("*ERROR: Loop counter beyond its range");
        }
        ++level.counter;
        current = level.firstBodyLine;
      }
    } else if (startsWith(line, "IF")) {
      const int16_t condition = EvalCondition(std::string_view(line).substr(2));
      if (condition < 0) {
        scriptAbort_ = true;
      } else if (condition == 1) {
        elseFlag = true;
        ++current;
      } else {
        elseFlag = false;
        current = nextElseOrEndif(lines, current);
        if (current == lines.size()) return structureError("*ERROR: IF without ELSE or ENDIF");
      }
    } else if (startsWith(line, "ENDIF")) {
      ++current;
    } else if (startsWith(line, "ELSE")) {
      if (elseFlag) {
        current = nextElseOrEndif(lines, current);
        if (current == lines.size()) return structureError("*ERROR: ELSE without ENDIF");
      } else {
        ++current;
      }
    } else {
      const int16_t status = ExecuteCommand(line);
      if (quitRequested_) return ScriptOutcome::Quit;
      if (status != 0) {
        log.WriteLine("*ERROR: Script aborted");
        for (size_t j = 0; j < loops.size(); ++j) {
          log.WriteLine("*ERROR: Loop Counter (" + std::to_string(j + 1) + ") at " +
                        std::to_string(loops[j].counter));
        }
        return ScriptOutcome::Failed;
      }
      ++current;
    }
    link().ServeUnsolicited(std::chrono::milliseconds(0));
  }
  if (scriptAbort_) {
    log.WriteLine("*Script aborted");
    link().context().frontend.SetBusy(false);
    scriptAbort_ = false;
    return ScriptOutcome::Aborted;
  }
  log.WriteLine("*Script successfully executed");
  return ScriptOutcome::Succeeded;
}

}  // namespace velmora
