// Pictures of the file dialogs, the save-as dialog, the communication settings and the
// select-range dialog, each filled in as a user would have it before pressing OK.
#include <QLineEdit>

#include "app/screenshot_tour.h"
#include "ui/communication_settings_dialog.h"
#include "ui/file_browser.h"
#include "ui/file_load_dialog.h"
#include "ui/file_save_dialog.h"
#include "ui/main_window.h"
#include "ui/save_as_dialog.h"
#include "ui/select_range_dialog.h"
#include "ui/session_client.h"

namespace velmora::app {
namespace {

void setField(QWidget& dialog, const char* name, const QString& text) {
  if (auto* field = dialog.findChild<QLineEdit*>(QString::fromLatin1(name))) field->setText(text);
}

}  // namespace

void ShootFiles(ShotContext& shots) {
  ui::SessionClient& client = shots.client;
  const QString scripts = QString::fromStdString((client.programFolder() / "SCRIPTS").string());

  ui::FileLoadDialog load(client, LoadKind::IntelHex, &shots.window);
  load.browser().setFolder(scripts);
  load.browser().selectFile(QStringLiteral("demo_ram.hex"));
  SaveShot(shots, load, "file_load.png");
  load.close();

  ui::FileLoadDialog preferences(client, LoadKind::Preferences, &shots.window);
  SaveShot(shots, preferences, "file_load_preferences.png");
  preferences.close();

  ui::FileSaveDialog save(client, &shots.window);
  setField(save, "TFilename", QStringLiteral("lab.ini"));
  SaveShot(shots, save, "file_save_preferences.png");
  save.close();

  ui::SaveAsDialog saveAs(client, &shots.window);
  saveAs.browser().setFolder(scripts);
  setField(saveAs, "TFilename", QStringLiteral("demo_copy.hex"));
  SaveShot(shots, saveAs, "save_as.png");
  saveAs.close();

  ui::SelectRangeDialog range(client.boxes(), &shots.window);
  setField(range, "TStartAddress", QStringLiteral("00C000"));
  setField(range, "TEndAddress", QStringLiteral("00C0FF"));
  SaveShot(shots, range, "select_range.png");
  range.close();

  // Closing it is its Cancel, which stores nothing new: the settings are shown as they are.
  ui::CommunicationSettingsDialog communication(client, &shots.window);
  SaveShot(shots, communication, "communication_settings.png");
  communication.close();
  client.runAndWait([](Session&) {});
}

}  // namespace velmora::app
