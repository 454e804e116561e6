// The save-as dialog for Intel HEX ("FSaveAs"): file name, folder, address record format
// (20 or 32 bit), record size, and either a block from a start to an end address or the
// selection. It opens with the fields the preferences keep; a name without "." gets ".hex",
// and an existing file is written over only after the user agreed. The caller writes the
// file and stores settings().
#pragma once

#include <QDialog>
#include <QString>

#include "config/save_as_settings.h"

class QLineEdit;
class QRadioButton;

namespace velmora::ui {

class AddressField;
class FileBrowser;
class SessionClient;

class SaveAsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit SaveAsDialog(SessionClient& client, QWidget* parent = nullptr);

  // After OK: the fields, the file with its full path.
  SaveAsSettings settings() const;
  bool bySelection() const;

  FileBrowser& browser() { return *browser_; }

  // OK: refuses an empty name; asks before an existing file is replaced.
  void accept() override;

 private:
  void showSettings(const SaveAsSettings& settings);
  void rangeChanged();

  SessionClient& client_;
  FileBrowser* browser_;
  QLineEdit* name_;
  QLineEdit* recordSize_;
  AddressField* start_;
  AddressField* end_;
  QRadioButton* format20_;
  QRadioButton* format32_;
  QRadioButton* byBlock_;
  QRadioButton* bySelection_;
  QString chosenPath_;
};

}  // namespace velmora::ui
