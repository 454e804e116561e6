// The command language: ExecuteCommand runs one command line, ExecuteScript a script
// file with DO/LOOP, IF/ELSE/ENDIF, comments and the variables %0 to %99.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands/target_setup.h"
#include "core/paths.h"
#include "formats/controller_types.h"

namespace velmora {

class Link;

// What the commands reach beyond the link.
struct CommandContext {
  Link& link;
  ControllerTypeTable& controllerTypes;
  std::string& clipboard;
  ResetConfiguration& resetConfig;
  // _quit: the program closes its port, saves its preferences and ends.
  std::function<void()> quit;
  // A script file was started (for the recent-script list).
  std::function<void(const std::string&)> setLastScriptFile;
};

// Quit: a _quit in the script (or a sub-script) ended it, and with it the program.
// How command lines are read. The desktop program keeps the language's own rules; the
// headless runner turns on what a terminal user expects.
struct CommandConventions {
  RelativeNames relativeNames = RelativeNames::InProgramFolder;
  // A parameter in double quotes is taken whole, commas and blanks included, without them.
  bool quotedParameters = false;
};

enum class ScriptOutcome { Succeeded, Aborted, Failed, NotFound, Quit };

inline constexpr int kScriptVariables = 100;
inline constexpr int kMaxScriptLines = 1001;
inline constexpr int kMaxLoopDepth = 100;
inline constexpr int kMaxScriptNesting = 16;

// The general results of a command line.
namespace command_result {
inline constexpr int16_t kRan = 0;
inline constexpr int16_t kIllegalCommand = -1;
inline constexpr int16_t kIllegalParameters = -2;
inline constexpr int16_t kIllegalParameterCount = -3;
}  // namespace command_result

// One command being run: its parameters and the two parts of its status.
struct CommandCall {
  std::vector<std::string> parameters;
  int16_t general = command_result::kIllegalCommand;
  int16_t failure = 0;

  size_t Count() const { return parameters.size(); }
  // Sets the general result for a count outside min..max; true when the count is fine.
  bool CountIn(size_t min, size_t max);
};

class Interpreter {
 public:
  explicit Interpreter(CommandContext context);

  // The ">" echo line, then RunCommand.
  int16_t ExecuteCommand(std::string_view line);
  // One command line without the echo: the window's buttons and menus run their commands
  // this way, so that only the command's own lines appear.
  int16_t RunCommand(std::string_view line);
  ScriptOutcome ExecuteScript(const std::string& file);

  // The Escape key of the windows, Ctrl-C of the runner; callable from any thread.
  void RequestAbort() { scriptAbort_.store(true); }
  bool AbortRequested() const { return scriptAbort_.load(); }

  // _quit: the program ends; no script line runs after it, also not in a calling script.
  void RequestQuit();
  bool QuitRequested() const { return quitRequested_; }

  const CommandConventions& conventions() const { return conventions_; }
  void SetConventions(CommandConventions conventions) { conventions_ = conventions; }
  // A file a command or script reads, by the name it was given: the first of its
  // candidate paths that exists. Nullopt when it cannot be read; an error line then names
  // each path tried and the cause.
  std::optional<std::filesystem::path> LookUpFile(std::string_view name);
  // A file a command writes: the first candidate that exists, else the first candidate.
  std::filesystem::path TargetFile(std::string_view name) const;

  std::array<int32_t, kScriptVariables>& variables() { return variables_; }
  CommandContext& context() { return context_; }
  Link& link() { return context_.link; }

  // The expression language of _assign, IF and the messages.
  // -1 when the text does not begin with "%"; -2 for a "%" name that is no variable.
  static int VariableIndex(std::string_view text);
  // 0..FFFF, -1 when not connected, -2 when the read failed, -3 for an unknown register.
  int32_t ReadSfrWord(std::string_view name);
  // The operand's value, or a negative number for an error.
  int64_t EvalOperand(std::string_view text, bool* registerReadFailed = nullptr);
  // 0 or more, or -1 for an error.
  int32_t EvalExpression(std::string_view expression);
  // 1 true, 0 false, -1 .. -5 errors.
  int16_t EvalCondition(std::string_view condition);
  // 0, or -1 for an error.
  int16_t AssignVariable(std::string_view assignment);
  // The text of _message and _cmessage.
  std::string MessageText(const std::vector<std::string>& parameters);

  // Waits for whole seconds, serving the line meanwhile.
  void Delay(int64_t seconds);

 private:
  ScriptOutcome runScript(const std::vector<std::string>& lines);

  CommandContext context_;
  CommandConventions conventions_;
  std::array<int32_t, kScriptVariables> variables_{};
  std::atomic<bool> scriptAbort_{false};
  bool quitRequested_ = false;
  int scriptDepth_ = 0;
};

// The 40 lines of _help, as they are written.
const std::vector<std::string>& HelpLines();

}  // namespace velmora
