#include "commands/interpreter.h"

namespace velmora {

const std::vector<std::string>& HelpLines() {
  static const std::vector<std::string> kLines = {
      "-Load an intel hex file: _load <filename>",
      "-Save selection to intel hex file: _save <filename>",
      " ",
      "-Copy selection to clipboard: _copy",
      "-Cut selection to clipboard: _cut",
      "-Paste clipboard to memory: _paste <start address>",
      "-Add memory range to selection: _addselection <startaddress>,<endaddress>",
      "-Remove all selections: _clearselections",
      "-Fill selection with value: _fillmemory <byte-value>",
      "-Clear/Unread selection: _clearmemory",
      " ",
      "-Connect to target: _connect",
      "-Reconnect: _reconnect",
      "-Disconnect: _disconnect",
      "-Download selection to target: _download",
      "-Upload from target memory into selection: _upload",
      "-Compare selection with target memory: _compare [filename]",
      " ",
      "-Move Monitor: _movemonitor <startaddress>",
      "-Software Reset: _srst",
      "-Jump to user application: _jmp <Startaddress>",
      "-call einit command : _einit",
      "-Write word to target register/memory: _mov <address>,<value>",
      "-Call driver/user application: _call <Startaddress> [,R8[,R9[...]]",
      "-Delay x seconds: _delay <seconds>",
      "-Wait for Keypress: _pause",
      "-Refresh SFR Window: _refreshsfr",
      "-Add Register to SFR Window: _addsfr",
      "-Remove Register to SFR Window: _removesfr",
      "-Message Box: _message <param1>[,<param2>,...]",
      "-Message Box cont: _cmessage <param1>[,<param2>,...]",
      "-Assign Variable: _assign <expression>",
      "-Call (Sub)script: _executescript <file name>",
      "-Send string/Hex values: _send <string>|<:hex",
      " ",
      "-Flash: program selection: _program",
      "-Flash: Intelligent program: _iprogram",
      "-Flash: erase sector: _erase Device Name,Sector",
      " ",
      "ALL VALUES ARE EXPECTED AS HEXADECIMAL NUMBERS",
  };
  return kLines;
}

}  // namespace velmora
