// Everything the program keeps for a whole run, in one object: there are no globals, and
// a test makes as many sessions as it needs. Later layers add their state here.
#pragma once

#include <filesystem>
#include <string>

#include "config/settings.h"
#include "core/image_ops.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/controller_types.h"
#include "formats/register_table.h"

namespace velmora {

class Frontend;

class Session {
 public:
  Session(Frontend& frontend, std::filesystem::path programFolder);
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

 private:
  Frontend& frontend_;
  std::filesystem::path programFolder_;
};

// The folder of the program's files: --home, else VELMORA_HOME, else the executable's.
std::filesystem::path ProgramFolder(const std::string& homeOption, const char* argv0);

}  // namespace velmora
