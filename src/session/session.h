// Everything the program keeps for a whole run, in one object: there are no globals, and
// a test makes as many sessions as it needs.
#pragma once

#include <filesystem>
#include <string>

#include "commands/interpreter.h"
#include "commands/target_setup.h"
#include "config/settings.h"
#include "core/image_ops.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "disasm/debugger.h"
#include "disasm/instruction_decoder.h"
#include "disasm/opcode_table.h"
#include "formats/controller_types.h"
#include "formats/register_table.h"
#include "link/link.h"
#include "link/port_selector.h"
#include "session/one_run_settings.h"

namespace velmora {

class Frontend;

class Session {
 public:
  // externalPorts opens device names other than "virtual" (real ports, pseudo-terminals);
  // without it only the virtual board can be reached.
  Session(Frontend& frontend, std::filesystem::path programFolder, PortFactory externalPorts = {});
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Frontend& frontend() { return frontend_; }
  const std::filesystem::path& programFolder() const { return programFolder_; }
  // A stored file name as a path of this system (relative names in the program folder).
  std::filesystem::path Resolve(std::string_view storedName) const;

  MessageLog log;
  MemoryImage image;
  SelectionList selections;
  MonitorArea monitorArea = kDefaultMonitorArea;
  Settings settings;
  ControllerTypeTable controllerTypes;
  RegisterTable registers;
  // The session's clipboard; the desktop application mirrors it to the system's.
  std::string clipboard;
  ResetConfiguration resetConfig;
  // --port and --baud of this run, kept out of the saved preferences.
  OneRunSettings oneRun;
  OpcodeTable opcodes;
  // Names registers from `registers`: call decoder.RegistersChanged() after reading them.
  InstructionDecoder decoder{opcodes, registers};

  PortSelector& port() { return port_; }
  Debugger& debugger() { return debugger_; }
  Link& link() { return link_; }
  Interpreter& interpreter() { return interpreter_; }
  // The board behind "virtual" while that port is in use, for tests and demonstrations.
  class Board* virtualBoard() { return virtualBoard_; }

  // _quit asked the program to end.
  bool QuitRequested() const { return interpreter_.QuitRequested(); }

 private:
  std::unique_ptr<SerialPort> makePort(const std::string& device);

  Frontend& frontend_;
  std::filesystem::path programFolder_;
  PortFactory externalPorts_;
  class Board* virtualBoard_ = nullptr;
  PortSelector port_;
  Link link_;
  Interpreter interpreter_;
  Debugger debugger_;
};

// The folder of the program's files: --home, else VELMORA_HOME, else the executable's.
std::filesystem::path ProgramFolder(const std::string& homeOption, const char* argv0);

}  // namespace velmora
