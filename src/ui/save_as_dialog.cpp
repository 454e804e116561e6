#include "ui/save_as_dialog.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <array>

#include "config/settings.h"
#include "core/file_exists.h"
#include "core/hex_text.h"
#include "formats/file_kinds.h"
#include "ui/address_field.h"
#include "ui/box_host.h"
#include "ui/file_browser.h"
#include "ui/session_client.h"

namespace velmora::ui {
namespace {

constexpr std::array<FileType, 2> kFileTypes = {kIntelHexFiles, kAllFiles};
constexpr std::string_view kDefaultSuffix = ".hex";

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

QRadioButton* option(const char* name, const QString& caption) {
  auto* button = new QRadioButton(caption);
  button->setObjectName(QString::fromLatin1(name));
  return button;
}

}  // namespace

SaveAsDialog::SaveAsDialog(SessionClient& client, QWidget* parent)
    : QDialog(parent), client_(client) {
  setObjectName(QStringLiteral("FSaveAs"));
  setWindowTitle(tr("Save As"));
  BoxHost& boxes = client.boxes();

  name_ = new QLineEdit;
  name_->setObjectName(QStringLiteral("TFilename"));
  auto* nameLabel = new QLabel(tr("File &name:"));
  nameLabel->setBuddy(name_);
  browser_ = new FileBrowser(boxes, kFileTypes, this);

  format20_ = option("O20", tr("&20 bit (segment address records)"));
  format32_ = option("O32", tr("&32 bit (linear address records)"));
  recordSize_ = new QLineEdit;
  recordSize_->setObjectName(QStringLiteral("TRecordsize"));
  recordSize_->setValidator(new QIntValidator(0, 99999, recordSize_));
  recordSize_->setMaximumWidth(80);
  auto* format = new QGroupBox(tr("Format"));
  auto* formatLayout = new QVBoxLayout(format);
  formatLayout->addWidget(format20_);
  formatLayout->addWidget(format32_);
  auto* sizeRow = new QHBoxLayout;
  sizeRow->addWidget(new QLabel(tr("Record size (bytes):")));
  sizeRow->addWidget(recordSize_);
  sizeRow->addStretch(1);
  formatLayout->addLayout(sizeRow);

  byBlock_ = option("OByBlock", tr("&Block"));
  bySelection_ = option("OBySelection", tr("S&election"));
  start_ = new AddressField(hex_fields::kSaveAsAddress, boxes);
  start_->setObjectName(QStringLiteral("TStartAddress"));
  end_ = new AddressField(hex_fields::kSaveAsAddress, boxes);
  end_->setObjectName(QStringLiteral("TEndAddress"));
  auto* range = new QGroupBox(tr("Range"));
  auto* rangeLayout = new QVBoxLayout(range);
  rangeLayout->addWidget(bySelection_);
  rangeLayout->addWidget(byBlock_);
  auto* addresses = new QFormLayout;
  addresses->setContentsMargins(24, 0, 0, 0);
  addresses->addRow(tr("Start address:"), start_);
  addresses->addRow(tr("End address:"), end_);
  rangeLayout->addLayout(addresses);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));

  auto* options = new QHBoxLayout;
  options->addWidget(format, 1);
  options->addWidget(range, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(nameLabel);
  layout->addWidget(name_);
  layout->addWidget(browser_, 1);
  layout->addLayout(options);
  layout->addWidget(buttons);

  connect(byBlock_, &QRadioButton::toggled, this, &SaveAsDialog::rangeChanged);
  connect(buttons, &QDialogButtonBox::accepted, this, &SaveAsDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &SaveAsDialog::reject);
  connect(browser_, &FileBrowser::fileSelected, name_, &QLineEdit::setText);
  name_->setFocus();

  // Saving the selection is what the button says; the block is one click away.
  bySelection_->setChecked(true);
  showSettings(client.snapshot().settings.files.saveAs);
}

void SaveAsDialog::showSettings(const SaveAsSettings& settings) {
  const FolderAndName split = SplitFolderAndName(settings.file);
  (settings.format == 32 ? format32_ : format20_)->setChecked(true);
  recordSize_->setText(QString::number(settings.recordSize));
  start_->setText(QString::fromStdString(HexN(settings.startAddress, 6)));
  end_->setText(QString::fromStdString(HexN(settings.endAddress, 6)));
  browser_->setFileType(settings.fileType);
  QString folder = QString::fromStdString(split.folder).replace('\\', '/');
  if (folder.isEmpty() || !QFileInfo(folder).isDir())
    folder = QString::fromStdString(UserHomeFolder().string());
  browser_->setFolder(folder);
  name_->setText(QString::fromStdString(split.name));
  rangeChanged();
}

void SaveAsDialog::rangeChanged() {
  const bool block = byBlock_->isChecked();
  start_->setEnabled(block);
  end_->setEnabled(block);
}

SaveAsSettings SaveAsDialog::settings() const {
  SaveAsSettings chosen;
  chosen.file = chosenPath_.toStdString();
  chosen.format = format32_->isChecked() ? 32 : 20;
  chosen.fileType = browser_->fileType();
  // The number typed goes to the writer as it is; the writer refuses what it cannot write.
  chosen.recordSize = recordSize_->text().toInt();
  chosen.startAddress = start_->value();
  chosen.endAddress = end_->value();
  return chosen;
}

bool SaveAsDialog::bySelection() const {
  return bySelection_->isChecked();
}

void SaveAsDialog::accept() {
  const auto name = SaveFileName(name_->text().trimmed().toStdString(), kDefaultSuffix);
  if (!name) {
    client_.boxes().Message(text(kNoFileNameMessage));
    return;
  }
  const QString typed = QString::fromStdString(*name);
  const QString path = typed.startsWith('/') ? typed : JoinPath(browser_->folder(), typed);
  if (ReadProblem(path.toStdString()) == FileProblem::None &&
      client_.boxes().Message(text(kOverwriteQuestion), BoxButtons::YesNo, BoxIcon::Question) !=
          BoxAnswer::Yes)
    return;
  chosenPath_ = path;
  QDialog::accept();
}

}  // namespace velmora::ui
