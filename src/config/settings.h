// Every setting the preferences file holds, in one record.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "config/communication_settings.h"
#include "config/monitor_bytes.h"
#include "config/save_as_settings.h"
#include "config/target_configuration.h"

namespace velmora {

// The images brought into the target at connection, and where the monitor lives.
struct MonitorImages {
  int32_t idLength = 1;
  std::string loader = "MCProg\\LOAD.HEX";
  std::string monitor = "MCProg\\VELMORA.HEX";
  std::string loaderKline = "MCProg\\LOADK.HEX";
  std::string monitorKline = "MCProg\\VELMORAK.HEX";
  int32_t monitorStart = 0xE00024;
  int32_t monitorEnd = 0xE002E7;
  friend bool operator==(const MonitorImages&, const MonitorImages&) = default;
};

// A file dialog's remembered path (folder and file name) and file-type choice.
struct RememberedFile {
  std::string path;
  int32_t fileType = 0;
  friend bool operator==(const RememberedFile&, const RememberedFile&) = default;
};

struct FileStates {
  SaveAsSettings saveAs;
  RememberedFile load;
  RememberedFile configLoad;
  RememberedFile configSave;
  RememberedFile script;
  std::array<std::string, 4> lastScripts;  // most recent first
  std::array<std::string, 4> userScripts;  // the four user script buttons
  friend bool operator==(const FileStates&, const FileStates&) = default;
};

// Colours keep the file's notation: 6 hex digits, blue-green-red.
struct FrontendSettings {
  std::string blankChar = ".";
  int32_t colorBgMarked = 0xDDDDDD;
  int32_t colorBgNormal = 0xFFFFFF;
  int32_t colorFgValid = 0x000000;
  int32_t colorFgInvalid = 0x0000FF;
  int32_t colorFgMonitor = 0x007777;
  int32_t logFile = 0;
  std::vector<std::string> display;  // registers shown in the register list
  friend bool operator==(const FrontendSettings&, const FrontendSettings&) = default;
};

struct Settings {
  MonitorImages images;
  CommunicationSettings communication;
  TargetConfiguration target;
  FileStates files;
  MonitorBytes bytes;
  FrontendSettings frontend;
};

// The defaults that reading a preferences file starts from. homeFolder takes the place
// of the drive of the save-as dialog's default file.
void SetDefaultPreferences(Settings& settings, const std::filesystem::path& homeFolder);

// Records a script that was run in the list of the four most recent ones, most recent
// first and each only once.
void SetLastScriptFile(FileStates& files, const std::string& name);

// The user's home folder ($HOME, else "/").
std::filesystem::path UserHomeFolder();

}  // namespace velmora
