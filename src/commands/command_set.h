// The commands of the language, in the order ExecuteCommand tries them.
#pragma once

#include <functional>
#include <span>
#include <string_view>

#include "commands/interpreter.h"

namespace velmora {

struct CommandSpec {
  std::string_view name;
  std::function<void(Interpreter&, CommandCall&)> run;
};

std::span<const CommandSpec> CommandTable();

// The command a line names: the longest name the line begins with (any case), so that
// _movemonitor is never _mov and _sendfile never _send; nullptr when none.
const CommandSpec* MatchCommand(std::string_view line);

}  // namespace velmora
