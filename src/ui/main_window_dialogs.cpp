// The main window's file dialogs, select-range and communication settings dialogs: the
// dialog asks on the window's thread, then one operation stores what the dialog keeps in
// the preferences and does what its OK stands for.
#include <QDialog>

#include "core/hex_text.h"
#include "formats/file_kinds.h"
#include "formats/hex_writer.h"
#include "session/preferences.h"
#include "session/session.h"
#include "ui/communication_settings_dialog.h"
#include "ui/file_load_dialog.h"
#include "ui/file_save_dialog.h"
#include "ui/main_window.h"
#include "ui/memory_view.h"
#include "ui/save_as_dialog.h"
#include "ui/select_range_dialog.h"
#include "ui/session_client.h"
#include "ui/user_scripts.h"

namespace velmora::ui {
namespace {

// A file name as one parameter of a command line. Parameters end at commas; under the
// headless runner's conventions a quoted one is taken whole, so the name is quoted there.
std::string pathParameter(Session& session, const std::string& path) {
  if (session.interpreter().conventions().quotedParameters) return '"' + path + '"';
  return path;
}

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

void publish(Session& session, RefreshTarget target) {
  session.frontend().RequestRefresh(Change::All(target));
}

// A number as a hexadecimal command parameter.
std::string hexParameter(int32_t value) {
  return QString::number(value, 16).toUpper().toStdString();
}

}  // namespace

std::optional<RememberedFile> MainWindow::chooseLoadFile(LoadKind kind, FileQuestion question) {
  if (chooseFile_) {
    FileStates files = client_.snapshot().settings.files;
    const RememberedFile* last = RememberedFor(kind, files);
    const QString path = chooseFile_(question, last ? QString::fromStdString(last->path) : "");
    if (path.isEmpty()) return std::nullopt;
    return RememberedFile{path.toStdString(), last ? last->fileType : 0};
  }
  FileLoadDialog dialog(client_, kind, this);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return dialog.remembered();
}

void MainWindow::loadFile() {
  const auto chosen = chooseLoadFile(LoadKind::IntelHex, FileQuestion::Load);
  if (!chosen) return;
  startOperation([chosen = *chosen](Session& s) {
    s.settings.files.load = chosen;
    s.interpreter().RunCommand("_load " + pathParameter(s, chosen.path));
  });
}

void MainWindow::executeScript() {
  const auto chosen = chooseLoadFile(LoadKind::Script, FileQuestion::Script);
  if (!chosen) return;
  startOperation([chosen = *chosen](Session& s) {
    s.settings.files.script = chosen;
    s.interpreter().ExecuteScript(chosen.path);
    publish(s, RefreshTarget::RecentScripts);
  });
}

void MainWindow::loadPreferences() {
  const auto chosen = chooseLoadFile(LoadKind::Preferences, FileQuestion::LoadPreferences);
  if (!chosen) return;
  startOperation([chosen = *chosen](Session& s) {
    if (!LoadPreferences(s, chosen.path))
      s.log.WriteLine("*ERROR: file " + chosen.path + " not found !");
    // Reading reset the dialog states; the file just read is the one to remember.
    s.settings.files.configLoad = chosen;
    // Everything a preferences file holds may have changed.
    for (RefreshTarget target : {RefreshTarget::MemoryView, RefreshTarget::RegisterList,
                                 RefreshTarget::FeatureButtons, RefreshTarget::RecentScripts})
      publish(s, target);
  });
}

void MainWindow::assignUserScript() {
  const auto chosen = chooseLoadFile(LoadKind::UserScript, FileQuestion::UserScript);
  if (!chosen) return;
  // The first button without a script; when all four have one, the user says which.
  int slot = FreeUserScriptSlot(client_.snapshot().settings.files.userScripts);
  if (slot < 0) {
    std::optional<int> button;
    while (!button) {
      const auto answer = client_.boxes().Input(text(kUserScriptQuestion));
      if (!answer) return;
      button = UserScriptButton(answer->trimmed().toStdString());
    }
    slot = *button - 1;
  }
  startOperation([slot, path = chosen->path](Session& s) {
    s.settings.files.userScripts[static_cast<size_t>(slot)] = path;
    publish(s, RefreshTarget::FeatureButtons);
  });
}

void MainWindow::savePreferences() {
  RememberedFile chosen = client_.snapshot().settings.files.configSave;
  if (chooseFile_) {
    const QString path =
        chooseFile_(FileQuestion::SavePreferences, QString::fromStdString(chosen.path));
    if (path.isEmpty()) return;
    chosen.path = path.toStdString();
  } else {
    FileSaveDialog dialog(client_, this);
    if (dialog.exec() != QDialog::Accepted) return;
    chosen = dialog.remembered();
  }
  startOperation([chosen](Session& s) {
    s.settings.files.configSave = chosen;
    SavePreferences(s, chosen.path);
  });
}

void MainWindow::saveAs() {
  SaveAsSettings chosen = client_.snapshot().settings.files.saveAs;
  bool bySelection = true;
  if (chooseFile_) {
    const QString path = chooseFile_(FileQuestion::SaveAs, QString::fromStdString(chosen.file));
    if (path.isEmpty()) return;
    chosen.file = path.toStdString();
  } else {
    SaveAsDialog dialog(client_, this);
    if (dialog.exec() != QDialog::Accepted) return;
    chosen = dialog.settings();
    bySelection = dialog.bySelection();
  }
  startOperation([chosen, bySelection](Session& s) {
    s.settings.files.saveAs = chosen;
    if (bySelection) {
      s.interpreter().RunCommand("_save " + pathParameter(s, chosen.file) + "," +
                                 hexParameter(chosen.recordSize) + "," +
                                 hexParameter(chosen.FormatCode()));
      return;
    }
    HexWrite(chosen.file, chosen.startAddress, chosen.endAddress, chosen.recordSize,
             chosen.FormatCode(), s.image, s.log);
  });
}

void MainWindow::selectRange() {
  SelectRangeDialog dialog(client_.boxes(), this);
  if (dialog.exec() != QDialog::Accepted) return;
  const int32_t start = dialog.start();
  const std::string command = "_addselection " + HexN(start, 6) + "," + HexN(dialog.end(), 6);
  client_.start<bool>(
      this, [command](Session& s) {
        s.interpreter().RunCommand(command);
        // Merging may have changed selections beyond the range: the whole page is redrawn.
        s.frontend().RequestRefresh(Change::Memory(-1, -1));
        return true;
      },
      [this, start](bool) { memoryView_->GotoPage(start / 16); });
}

void MainWindow::communicationSettings() {
  CommunicationSettingsDialog dialog(client_, this);
  dialog.exec();
}

}  // namespace velmora::ui
