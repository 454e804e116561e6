// A copy of what the windows show of the session, taken on the worker thread whenever an
// operation changed it. The window thread reads only this copy and the memory image
// (whose reads are safe from any thread), never the live session.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/settings.h"
#include "core/selection_list.h"
#include "link/target_state.h"
#include "core/image_ops.h"

namespace velmora::ui {

// A line of the register list: the register's name as defined, its index in the current
// register definitions and its address.
struct ShownRegister {
  std::string name;
  int index = -1;
  int32_t address = -1;
  friend bool operator==(const ShownRegister&, const ShownRegister&) = default;
};

struct SessionSnapshot {
  Settings settings;
  std::vector<Selection> selections;
  MonitorArea monitorArea = kDefaultMonitorArea;
  TargetState state = TargetState::NotConnected;
  bool portOpen = false;
  // The controller type's name as the controller field shows it.
  std::string controllerName;
  // _quit has run: nothing more is started.
  bool quitRequested = false;
  // The register list in its order; names the current definitions lack are left out.
  std::vector<ShownRegister> shownRegisters;
  // The debugger: where the target stopped, and the user's breakpoints as of the last time
  // the target waited in the monitor (a run's temporary ones are never shown).
  int32_t debugPosition = -1;
  std::vector<int32_t> breakpoints;
};

}  // namespace velmora::ui
