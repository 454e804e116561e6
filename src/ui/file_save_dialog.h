// The save dialog for preferences ("FFileSave"): a name typed into TFilename in the
// folder chosen in the lists; a name without "." gets ".ini". It opens in the folder the
// last preferences were saved to (else PREFS of the program folder); the caller writes
// the file and stores remembered().
#pragma once

#include <QDialog>
#include <QString>

#include "config/settings.h"

class QLineEdit;

namespace velmora::ui {

class FileBrowser;
class SessionClient;

class FileSaveDialog : public QDialog {
  Q_OBJECT
 public:
  explicit FileSaveDialog(SessionClient& client, QWidget* parent = nullptr);

  // After OK: the full path to write.
  QString chosenPath() const { return chosenPath_; }
  RememberedFile remembered() const;

  FileBrowser& browser() { return *browser_; }

  // OK: refuses an empty name ("Please insert a filename !").
  void accept() override;

 private:
  SessionClient& client_;
  FileBrowser* browser_;
  QLineEdit* name_;
  QString chosenPath_;
};

}  // namespace velmora::ui
