// The drive, folder, file and file-type lists that the file dialogs share. The drive list
// holds the mounted volumes ("/" first); a volume that cannot be read is refused with a
// box and the browser goes back to "/". The file list shows the current folder's files
// that match the chosen file type's pattern.
#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <span>

#include "formats/file_kinds.h"

class QComboBox;
class QListWidget;

namespace velmora::ui {

class BoxHost;

inline constexpr std::string_view kDriveNotReadyMessage = "ERROR: DRIVE IS NOT READY";
inline constexpr std::string_view kDriveNotReadyCaption = "DRIVE NOT READY";

// The mount points of the system, "/" first, each once.
QStringList MountedVolumes();
// folder + "/" + name, without doubling the separator after "/".
QString JoinPath(const QString& folder, const QString& name);

class FileBrowser : public QWidget {
  Q_OBJECT
 public:
  using VolumeSource = std::function<QStringList()>;

  FileBrowser(BoxHost& boxes, std::span<const FileType> fileTypes, QWidget* parent = nullptr);

  // Where the drive list comes from; MountedVolumes() unless a test gives its own list
  // (the readiness of each volume is still checked on the real file system).
  void setVolumeSource(VolumeSource source);

  // Shows the folder; one that cannot be read shows "/" instead.
  void setFolder(const QString& folder);
  QString folder() const { return folder_; }

  // Index in the file-type list; the file list follows its pattern.
  void setFileType(int index);
  int fileType() const;

  // The file chosen in the file list (a name in the folder), empty when none is.
  QString selectedFile() const;
  // Chooses the file of that name when the list shows it.
  void selectFile(const QString& name);
  // The names the file list shows, in order.
  QStringList fileNames() const;

 signals:
  void fileSelected(const QString& name);
  // A double click (or Enter) on a file.
  void fileActivated(const QString& name);
  void folderChanged(const QString& folder);

 private:
  void fillDrives();
  void showDriveOf(const QString& folder);
  void driveChosen(int index);
  void fillFolders();
  void fillFiles();

  BoxHost& boxes_;
  std::span<const FileType> fileTypes_;
  VolumeSource volumes_;
  QString folder_;
  QComboBox* drives_;
  QListWidget* folders_;
  QListWidget* files_;
  QComboBox* types_;
  bool filling_ = false;
};

}  // namespace velmora::ui
