// What the configuration dialog and the memory unit editor need from outside: the
// controller type names, the current register definitions (activation and map registers
// may name a register), the program folder (relative driver paths), the box host, and two
// services of the window: the driver file search and reading a type's default units.
#pragma once

#include <QString>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "config/memory_unit.h"
#include "formats/register_table.h"

class QWidget;

namespace velmora::ui {

class BoxHost;

struct ConfigurationContext {
  // The database's names, in its order.
  std::vector<std::string> typeNames;
  RegisterTable registers;
  std::filesystem::path programFolder;
  BoxHost* boxes = nullptr;
  // The driver file the user picks (nullopt when cancelled); the dialog asking is the
  // parent of the search window.
  std::function<std::optional<QString>(QWidget* parent)> searchDriver;
  // Reads the named type's default units and hands them to done, on the window's thread,
  // later; nullopt when they could not be read (the reason is in the message lines).
  using UnitsDone = std::function<void(std::optional<std::vector<MemoryUnit>>)>;
  std::function<void(const std::string& type, UnitsDone done)> loadDefaultUnits;
};

}  // namespace velmora::ui
