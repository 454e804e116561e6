// The load dialog ("FFileLoad"): picks an existing file of one kind (Intel HEX, script,
// preferences, flash driver, user script) from the drive, folder and file lists, or takes
// any path typed into the name field. It opens in the kind's fixed folder or in the folder
// the kind remembers; the caller acts on the chosen path and stores remembered().
//
//   FileLoadDialog dialog(client, LoadKind::Driver, this);
//   if (dialog.exec() == QDialog::Accepted) use(dialog.chosenPath());
#pragma once

#include <QDialog>
#include <QString>
#include <optional>

#include "config/settings.h"
#include "formats/file_kinds.h"

class QLineEdit;

namespace velmora::ui {

class FileBrowser;
class SessionClient;

class FileLoadDialog : public QDialog {
  Q_OBJECT
 public:
  FileLoadDialog(SessionClient& client, LoadKind kind, QWidget* parent = nullptr);

  // The memory unit editor's "Search Driver": the chosen driver file, nullopt on Cancel.
  static std::optional<QString> chooseDriver(SessionClient& client, QWidget* parent);

  LoadKind kind() const { return kind_; }
  // After OK: the full path of the chosen file ("/" separated).
  QString chosenPath() const { return chosenPath_; }
  // What the kind keeps in the preferences after OK: the chosen path and file type.
  RememberedFile remembered() const;

  FileBrowser& browser() { return *browser_; }

  // OK: refuses to close without a file ("Please select a file !").
  void accept() override;

 private:
  void openIn(const QString& folder, const QString& file, int fileType);

  SessionClient& client_;
  LoadKind kind_;
  FileBrowser* browser_;
  QLineEdit* name_;
  QString chosenPath_;
};

}  // namespace velmora::ui
