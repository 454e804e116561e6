#include "ui/file_browser.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QStorageInfo>
#include <QStyle>

#include "ui/box_host.h"

namespace velmora::ui {
namespace {

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

// A volume (or folder) the browser may show: it exists and its entries can be listed.
bool readable(const QString& folder) {
  const QFileInfo info(folder);
  return info.isDir() && info.isReadable() && info.isExecutable();
}

// "/a/b" -> "/", "/a", "/a/b".
QStringList ancestorsOf(const QString& folder) {
  QStringList chain{QStringLiteral("/")};
  QString path;
  for (const QString& part : folder.split('/', Qt::SkipEmptyParts)) {
    path += '/' + part;
    chain << path;
  }
  return chain;
}

QString lastName(const QString& folder) {
  return folder == QStringLiteral("/") ? folder : folder.section('/', -1);
}

constexpr int kPathRole = Qt::UserRole;

}  // namespace

QStringList MountedVolumes() {
  QStringList roots{QStringLiteral("/")};
  for (const QStorageInfo& volume : QStorageInfo::mountedVolumes()) {
    const QString root = volume.rootPath();
    if (!root.isEmpty() && !roots.contains(root)) roots << root;
  }
  return roots;
}

QString JoinPath(const QString& folder, const QString& name) {
  if (folder.endsWith('/')) return folder + name;
  return folder + '/' + name;
}

FileBrowser::FileBrowser(BoxHost& boxes, std::span<const FileType> fileTypes, QWidget* parent)
    : QWidget(parent), boxes_(boxes), fileTypes_(fileTypes), volumes_(MountedVolumes) {
  drives_ = new QComboBox;
  drives_->setObjectName(QStringLiteral("DDrive"));
  folders_ = new QListWidget;
  folders_->setObjectName(QStringLiteral("LFolders"));
  files_ = new QListWidget;
  files_->setObjectName(QStringLiteral("LFiles"));
  types_ = new QComboBox;
  types_->setObjectName(QStringLiteral("DFiletype"));
  for (const FileType& type : fileTypes_) types_->addItem(text(type.text));
  for (QListWidget* list : {folders_, files_}) list->setMinimumSize(220, 200);

  auto* layout = new QGridLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* filesLabel = new QLabel(tr("&Files:"));
  filesLabel->setBuddy(files_);
  auto* foldersLabel = new QLabel(tr("F&olders:"));
  foldersLabel->setBuddy(folders_);
  auto* typesLabel = new QLabel(tr("File &type:"));
  typesLabel->setBuddy(types_);
  auto* drivesLabel = new QLabel(tr("&Drive:"));
  drivesLabel->setBuddy(drives_);
  layout->addWidget(filesLabel, 0, 0);
  layout->addWidget(foldersLabel, 0, 1);
  layout->addWidget(files_, 1, 0);
  layout->addWidget(folders_, 1, 1);
  layout->addWidget(typesLabel, 2, 0);
  layout->addWidget(drivesLabel, 2, 1);
  layout->addWidget(types_, 3, 0);
  layout->addWidget(drives_, 3, 1);

  connect(drives_, &QComboBox::activated, this, &FileBrowser::driveChosen);
  connect(folders_, &QListWidget::itemActivated, this,
          [this](QListWidgetItem* item) { setFolder(item->data(kPathRole).toString()); });
  connect(types_, &QComboBox::currentIndexChanged, this, [this] { fillFiles(); });
  // A selection, not the current item: the list makes its first item current when it gets
  // the focus, which is no choice of the user's.
  connect(files_, &QListWidget::itemSelectionChanged, this, [this] {
    const QString name = selectedFile();
    if (!filling_ && !name.isEmpty()) emit fileSelected(name);
  });
  connect(files_, &QListWidget::itemActivated, this,
          [this](QListWidgetItem* item) { emit fileActivated(item->text()); });

  fillDrives();
  setFolder(QStringLiteral("/"));
}

void FileBrowser::setVolumeSource(VolumeSource source) {
  volumes_ = std::move(source);
  fillDrives();
  showDriveOf(folder_);
}

void FileBrowser::setFolder(const QString& folder) {
  QString clean = QDir::cleanPath(folder);
  if (clean.isEmpty() || !QDir::isAbsolutePath(clean) || !readable(clean)) clean = "/";
  folder_ = clean;
  showDriveOf(folder_);
  fillFolders();
  fillFiles();
  emit folderChanged(folder_);
}

void FileBrowser::setFileType(int index) {
  if (index >= 0 && index < types_->count()) types_->setCurrentIndex(index);
}

int FileBrowser::fileType() const {
  return types_->currentIndex();
}

QString FileBrowser::selectedFile() const {
  const QListWidgetItem* item = files_->currentItem();
  return item && item->isSelected() ? item->text() : QString();
}

void FileBrowser::selectFile(const QString& name) {
  const auto found = files_->findItems(name, Qt::MatchExactly);
  if (!found.isEmpty()) files_->setCurrentItem(found.front());
}

QStringList FileBrowser::fileNames() const {
  QStringList names;
  for (int i = 0; i < files_->count(); ++i) names << files_->item(i)->text();
  return names;
}

void FileBrowser::fillDrives() {
  drives_->clear();
  for (const QString& root : volumes_()) drives_->addItem(root);
}

void FileBrowser::showDriveOf(const QString& folder) {
  // The volume that holds the folder is the one with the longest matching mount point.
  int best = -1;
  qsizetype bestLength = -1;
  for (int i = 0; i < drives_->count(); ++i) {
    const QString root = drives_->itemText(i);
    const bool holds = root == QStringLiteral("/") || folder == root ||
                       folder.startsWith(root.endsWith('/') ? root : root + '/');
    if (holds && root.size() > bestLength) {
      best = i;
      bestLength = root.size();
    }
  }
  drives_->setCurrentIndex(best);
}

void FileBrowser::driveChosen(int index) {
  const QString root = drives_->itemText(index);
  if (readable(root)) {
    setFolder(root);
    return;
  }
  boxes_.Message(text(kDriveNotReadyMessage), BoxButtons::Ok, BoxIcon::Critical,
                 text(kDriveNotReadyCaption));
  setFolder(QStringLiteral("/"));
}

void FileBrowser::fillFolders() {
  folders_->clear();
  const QIcon closed = style()->standardIcon(QStyle::SP_DirClosedIcon);
  const QIcon open = style()->standardIcon(QStyle::SP_DirOpenIcon);
  const QStringList chain = ancestorsOf(folder_);
  const QString indent = QStringLiteral("   ");
  for (qsizetype depth = 0; depth < chain.size(); ++depth) {
    auto* item = new QListWidgetItem(open, indent.repeated(depth) + lastName(chain[depth]));
    item->setData(kPathRole, chain[depth]);
    folders_->addItem(item);
  }
  folders_->setCurrentRow(static_cast<int>(chain.size()) - 1);
  const QString childIndent = indent.repeated(chain.size());
  const QDir dir(folder_);
  for (const QString& name :
       dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase)) {
    auto* item = new QListWidgetItem(closed, childIndent + name);
    item->setData(kPathRole, JoinPath(folder_, name));
    folders_->addItem(item);
  }
}

void FileBrowser::fillFiles() {
  filling_ = true;
  files_->clear();
  const int type = types_->currentIndex();
  const std::string_view pattern = type >= 0 && static_cast<size_t>(type) < fileTypes_.size()
                                       ? fileTypes_[static_cast<size_t>(type)].pattern
                                       : kAllFiles.pattern;
  const QDir dir(folder_);
  for (const QString& name : dir.entryList(QDir::Files, QDir::Name | QDir::IgnoreCase)) {
    if (MatchesPattern(name.toStdString(), pattern)) files_->addItem(name);
  }
  files_->setCurrentRow(-1);
  filling_ = false;
}

}  // namespace velmora::ui
