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
};

}  // namespace velmora::ui
