#include "session/session.h"

#include <cstdlib>
#include <system_error>

#include "core/hex_text.h"
#include "core/paths.h"
#include "link/unsolicited_bytes.h"
#include "sim/board.h"
#include "sim/board_setup.h"
#include "sim/virtual_board_port.h"

namespace velmora {

Session::Session(Frontend& frontend, std::filesystem::path programFolder, PortFactory externalPorts)
    : log((programFolder / "LOG.TXT").string()),
      frontend_(frontend),
      programFolder_(std::move(programFolder)),
      externalPorts_(std::move(externalPorts)),
      port_([this](const std::string& device) { return makePort(device); }),
      link_(port_, LinkContext{settings, image, selections, log, frontend, registers, monitorArea,
                               programFolder_}),
      interpreter_(CommandContext{
          link_,
          controllerTypes,
          clipboard,
          resetConfig,
          {},
          [this](const std::string& file) { SetLastScriptFile(settings.files, file); }}),
      debugger_(link_, decoder) {
  image.InitImage();
  SetDefaultPreferences(settings, UserHomeFolder());
  link_.afterConnection = [this] { AfterConnection(link_, resetConfig); };
  link_.onBreak = [this](int32_t stop) { return debugger_.OnBreak(stop); };
  link_.onResetConfirmed = [this] {
    if (virtualBoard_) virtualBoard_->ResetToBootstrap();
  };
  port_.SetReceivedHandler([this] { HandleUnsolicitedBytes(link_); });
}

std::unique_ptr<SerialPort> Session::makePort(const std::string& device) {
  virtualBoard_ = nullptr;
  if (!EqualsNoCase(device, "virtual")) return externalPorts_ ? externalPorts_(device) : nullptr;
  // A board of the configured type, loading the images the host will stream.
  const bool kline = settings.communication.kline == 1;
  BoardImages images{kline ? settings.images.loaderKline : settings.images.loader,
                     kline ? settings.images.monitorKline : settings.images.monitor};
  auto config = LoadBoardConfig(programFolder_, settings.target.mcType, images, log);
  if (!config) return nullptr;
  config->kline = kline;
  config->bytes = settings.bytes;
  auto port = std::make_unique<VirtualBoardPort>(std::move(*config));
  virtualBoard_ = &port->board();
  return port;
}

std::filesystem::path Session::Resolve(std::string_view storedName) const {
  return ResolveStoredPath(programFolder_, storedName);
}

std::filesystem::path ProgramFolder(const std::string& homeOption, const char* argv0) {
  if (!homeOption.empty()) return std::filesystem::absolute(homeOption);
  if (const char* home = std::getenv("VELMORA_HOME"); home && *home) {
    return std::filesystem::absolute(home);
  }
  std::error_code error;
  auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error && argv0) self = std::filesystem::absolute(argv0);
  return self.parent_path();
}

}  // namespace velmora
