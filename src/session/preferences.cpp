#include "session/preferences.h"

#include "core/frontend.h"
#include "formats/preferences_file.h"
#include "formats/register_file.h"
#include "session/session.h"

namespace velmora {

bool LoadPreferences(Session& session, const std::string& path) {
  const PreferencesReadResult result =
      ReadPreferences(path, session.settings, UserHomeFolder(), session.log);
  const MonitorImages& images = session.settings.images;
  session.monitorArea = {images.monitorStart, images.monitorEnd};
  session.log.SetLogEnable(session.settings.frontend.logFile);
  if (result.namesControllerType &&
      session.controllerTypes.FindControllerType(session.settings.target.mcType) < 0) {
    session.frontend().MessageBox(kUnsupportedTypeMessage, BoxButtons::Ok, BoxIcon::Exclamation, {});
  } else {
    LoadCurrentRegisterFile(session);
  }
  return result.found;
}

bool LoadCurrentRegisterFile(Session& session) {
  const int index = session.controllerTypes.FindControllerType(session.settings.target.mcType);
  if (index < 0) return false;
  const bool found =
      LoadRegisterFile(session.controllerTypes.At(index).registerFile, session.registers, session.log)
          .found;
  session.decoder.RegistersChanged();
  return found;
}

bool SavePreferences(Session& session, const std::string& path) {
  return SavePreferences(path, session.settings, session.log);
}

}  // namespace velmora
