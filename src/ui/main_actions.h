// The main window's buttons and menu entries as one table: each row names the button and
// the menu entry (either may be missing), their captions, the menu, and what they do.
// The window builds its controls by walking the table, so a control and its twin always
// do the same thing.
#pragma once

#include <span>
#include <string_view>

namespace velmora::ui {

enum class MenuName { File, Edit, Target, Interface, Script, Help };

enum class Behaviour {
  Command,  // runs `command` as a command line, without the echo
  Load,
  SaveAs,
  LoadPreferences,
  SavePreferences,
  Print,
  Paste,
  Fill,
  SelectWindow,
  ChannelSwitch,
  Relocate,
  ResetConfig,
  TerminalSettings,
  ExecuteScript,
  AssignUserScript,
  RemoveUserScript,
  HelpContents,
  About,
  Debug,  // the disassembly and debug window
  Configure,  // the configuration dialog
  SelectRange,  // the select-range dialog
  PortSettings,  // the communication settings dialog
  NotAvailable,  // a window or dialog the program does not have yet
};

struct MainAction {
  std::string_view button;  // objectName of the button; empty when there is none
  std::string_view buttonCaption;
  std::string_view menuEntry;  // objectName of the menu entry; empty when there is none
  std::string_view menuCaption;
  MenuName menu;
  Behaviour behaviour;
  std::string_view command = {};
};

// In menu order within each menu.
std::span<const MainAction> MainActions();

// Whether the control starts an operation on the session (and so waits while one runs).
bool StartsOperation(Behaviour behaviour);

std::string_view MenuTitle(MenuName menu);
std::string_view MenuObjectName(MenuName menu);

}  // namespace velmora::ui
