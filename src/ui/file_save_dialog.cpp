#include "ui/file_save_dialog.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <array>

#include "formats/file_kinds.h"
#include "ui/box_host.h"
#include "ui/file_browser.h"
#include "ui/session_client.h"

namespace velmora::ui {
namespace {

constexpr std::array<FileType, 2> kFileTypes = {kPreferenceFiles, kAllFiles};
constexpr std::string_view kDefaultSuffix = ".ini";

}  // namespace

FileSaveDialog::FileSaveDialog(SessionClient& client, QWidget* parent)
    : QDialog(parent), client_(client) {
  setObjectName(QStringLiteral("FFileSave"));
  setWindowTitle(tr("Save preferences"));

  name_ = new QLineEdit;
  name_->setObjectName(QStringLiteral("TFilename"));
  auto* nameLabel = new QLabel(tr("File &name:"));
  nameLabel->setBuddy(name_);
  browser_ = new FileBrowser(client.boxes(), kFileTypes, this);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(nameLabel);
  layout->addWidget(name_);
  layout->addWidget(browser_, 1);
  layout->addWidget(buttons);

  connect(buttons, &QDialogButtonBox::accepted, this, &FileSaveDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &FileSaveDialog::reject);
  // A click on an existing file takes its name, to be written over.
  connect(browser_, &FileBrowser::fileSelected, name_, &QLineEdit::setText);
  name_->setFocus();

  const RememberedFile last = client.snapshot().settings.files.configSave;
  const FolderAndName split = SplitFolderAndName(last.path);
  QString folder = QString::fromStdString(split.folder).replace('\\', '/');
  if (folder.isEmpty() || !QFileInfo(folder).isDir())
    folder = QString::fromStdString((client.programFolder() / "PREFS").string());
  browser_->setFileType(last.fileType);
  browser_->setFolder(folder);
  name_->setText(QString::fromStdString(split.name));
}

RememberedFile FileSaveDialog::remembered() const {
  return {chosenPath_.toStdString(), browser_->fileType()};
}

void FileSaveDialog::accept() {
  const auto name = SaveFileName(name_->text().trimmed().toStdString(), kDefaultSuffix);
  if (!name) {
    client_.boxes().Message(QString::fromUtf8(kNoFileNameMessage.data(),
                                              static_cast<qsizetype>(kNoFileNameMessage.size())));
    return;
  }
  const QString typed = QString::fromStdString(*name);
  chosenPath_ = typed.startsWith('/') ? typed : JoinPath(browser_->folder(), typed);
  QDialog::accept();
}

}  // namespace velmora::ui
