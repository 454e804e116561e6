#include "ui/file_load_dialog.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/box_host.h"
#include "ui/file_browser.h"
#include "ui/session_client.h"

namespace velmora::ui {
namespace {

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

QString fromPath(const std::filesystem::path& path) {
  return QString::fromStdString(path.string());
}

}  // namespace

FileLoadDialog::FileLoadDialog(SessionClient& client, LoadKind kind, QWidget* parent)
    : QDialog(parent), client_(client), kind_(kind) {
  const LoadKindInfo& info = LoadKindOf(kind);
  setObjectName(QStringLiteral("FFileLoad"));
  setWindowTitle(text(info.caption));

  name_ = new QLineEdit;
  name_->setObjectName(QStringLiteral("TFilename"));
  auto* nameLabel = new QLabel(tr("File &name:"));
  nameLabel->setBuddy(name_);
  browser_ = new FileBrowser(client.boxes(), info.fileTypes, this);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(nameLabel);
  layout->addWidget(name_);
  layout->addWidget(browser_, 1);
  layout->addWidget(buttons);

  connect(buttons, &QDialogButtonBox::accepted, this, &FileLoadDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &FileLoadDialog::reject);
  connect(browser_, &FileBrowser::fileSelected, name_, &QLineEdit::setText);
  name_->setFocus();
  connect(browser_, &FileBrowser::folderChanged, name_, &QLineEdit::clear);
  connect(browser_, &FileBrowser::fileActivated, this, [this](const QString& name) {
    name_->setText(name);
    accept();
  });

  // The kind's fixed folder, else the folder it remembers, else the program folder.
  FileStates files = client.snapshot().settings.files;
  const RememberedFile* remembered = RememberedFor(kind, files);
  const FolderAndName last = remembered ? SplitFolderAndName(remembered->path) : FolderAndName{};
  QString folder = QString::fromStdString(last.folder).replace('\\', '/');
  if (!info.fixedFolder.empty()) {
    folder = fromPath(client.programFolder() / std::string(info.fixedFolder));
  } else if (folder.isEmpty() || !QFileInfo(folder).isDir()) {
    folder = fromPath(client.programFolder());
  }
  openIn(folder, QString::fromStdString(last.name), remembered ? remembered->fileType : 0);
}

std::optional<QString> FileLoadDialog::chooseDriver(SessionClient& client, QWidget* parent) {
  FileLoadDialog dialog(client, LoadKind::Driver, parent);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return dialog.chosenPath();
}

RememberedFile FileLoadDialog::remembered() const {
  return {chosenPath_.toStdString(), browser_->fileType()};
}

void FileLoadDialog::openIn(const QString& folder, const QString& file, int fileType) {
  browser_->setFileType(fileType);
  browser_->setFolder(folder);
  browser_->selectFile(file);
}

void FileLoadDialog::accept() {
  QString name = name_->text().trimmed();
  if (name.isEmpty()) name = browser_->selectedFile();
  if (name.isEmpty()) {
    client_.boxes().Message(text(kNoFileChosenMessage));
    return;
  }
  // A typed name may be any path of the system; a folder opens instead.
  const QString path = name.startsWith('/') ? name : JoinPath(browser_->folder(), name);
  if (QFileInfo(path).isDir()) {
    browser_->setFolder(path);
    return;
  }
  chosenPath_ = path;
  QDialog::accept();
}

}  // namespace velmora::ui
