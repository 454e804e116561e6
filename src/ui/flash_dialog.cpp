#include "ui/flash_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QToolTip>
#include <QVBoxLayout>

#include "ui/dialog_parts.h"

namespace velmora::ui {
namespace {

const char* caption(FlashFeature feature) {
  switch (feature) {
    case FlashFeature::Erase:
      return "Erase Sector";
    case FlashFeature::Protect:
      return "Protect Flash";
    case FlashFeature::Unprotect:
      return "Unprotect Flash";
    case FlashFeature::Lock:
      return "Lock Sector";
    case FlashFeature::Unlock:
      return "Unlock Sector";
    case FlashFeature::Status:
      return "Read Status";
  }
  return "";
}

}  // namespace

FlashDialog::FlashDialog(std::vector<MemoryUnit> units, FlashFeature feature, QWidget* parent)
    : QDialog(parent), units_(std::move(units)) {
  setObjectName(QStringLiteral("FFlash"));
  unit_ = new QComboBox;
  unit_->setObjectName(QStringLiteral("DMemUnit"));
  unit_->setMinimumWidth(180);
  sectionsTitle_ = new QLabel;
  sections_ = FixedPitchList("ISections");
  sections_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  sections_->setMinimumSize(360, 200);
  passwordsLabel_ = new QLabel(tr("Passwords:"));
  passwordsLabel_->setObjectName(QStringLiteral("LPasswords"));
  passwords_ = NamedLineEdit("TPasswords");
  passwords_->setToolTip(tr("Hexadecimal numbers separated by \",\""));

  auto* unitRow = new QFormLayout;
  unitRow->addRow(tr("Memory Unit:"), unit_);
  auto* passwordRow = new QHBoxLayout;
  passwordRow->addWidget(passwordsLabel_);
  passwordRow->addWidget(passwords_, 1);
  QDialogButtonBox* buttons = OkCancelRow(this);
  ok_ = buttons->button(QDialogButtonBox::Ok);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(unitRow);
  layout->addWidget(sectionsTitle_);
  layout->addWidget(sections_, 1);
  layout->addLayout(passwordRow);
  layout->addWidget(buttons);

  connect(unit_, &QComboBox::currentIndexChanged, this, [this] { RefreshSectionList(); });
  connect(sections_, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { showStatusTip(sections_->row(item)); });
  setfeature(feature);
}

void FlashDialog::setfeature(FlashFeature feature) {
  feature_ = feature;
  setWindowTitle(tr(caption(feature)));
  const bool status = feature == FlashFeature::Status;
  sectionsTitle_->setText(status ? tr("Status words:") : tr("Sections:"));
  sectionsTitle_->setVisible(FlashFeatureUsesSections(feature));
  sections_->setVisible(FlashFeatureUsesSections(feature));
  passwordsLabel_->setVisible(FlashFeatureUsesPasswords(feature));
  passwords_->setVisible(FlashFeatureUsesPasswords(feature));
  passwords_->setText(QText(kDefaultFlashPasswords));
  offering_ = UnitsOffering(units_, feature);
  {
    const QSignalBlocker quiet(unit_);
    unit_->clear();
    for (int index : offering_)
      unit_->addItem(QString::fromStdString(units_[static_cast<size_t>(index)].name));
  }
  // With no unit offering the operation there is nothing OK could act on.
  ok_->setEnabled(!offering_.empty());
  unit_->setCurrentIndex(offering_.empty() ? -1 : 0);
  RefreshSectionList();
}

int FlashDialog::unitIndex() const {
  const int chosen = unit_->currentIndex();
  return chosen < 0 ? -1 : offering_[static_cast<size_t>(chosen)];
}

void FlashDialog::RefreshSectionList() {
  sections_->clear();
  sections_->setToolTip(QString());
  const int index = unitIndex();
  if (index < 0) return;
  if (feature_ == FlashFeature::Status) {
    // The words come from the target; the list fills when they have been read.
    emit statusWordsWanted(index);
    return;
  }
  for (const std::string& line : FlashSectionLines(units_[static_cast<size_t>(index)]))
    sections_->addItem(QString::fromStdString(line));
}

void FlashDialog::showStatusWords(const std::vector<int32_t>& words) {
  sections_->clear();
  for (size_t w = 0; w < words.size(); ++w) {
    auto* item = new QListWidgetItem(
        QString::fromStdString(StatusWordLine(static_cast<int>(w), words[w])), sections_);
    item->setData(Qt::UserRole, words[w]);
  }
}

void FlashDialog::showStatusTip(int row) {
  const int index = unitIndex();
  const QListWidgetItem* item = sections_->item(row);
  if (feature_ != FlashFeature::Status || index < 0 || !item) return;
  const MemoryUnit& unit = units_[static_cast<size_t>(index)];
  if (static_cast<size_t>(row) >= unit.statusWords.size()) return;
  const int32_t word = item->data(Qt::UserRole).toInt();
  const QString tip =
      QString::fromStdString(DecodeStatusWord(unit.statusWords[static_cast<size_t>(row)], word));
  sections_->setToolTip(tip);
  if (sections_->isVisible() && !tip.isEmpty()) QToolTip::showText(QCursor::pos(), tip, sections_);
}

FlashRequest FlashDialog::request() const {
  FlashRequest request;
  request.feature = feature_;
  request.unit = unitIndex();
  for (int row = 0; row < sections_->count(); ++row)
    if (sections_->item(row)->isSelected()) request.sections.push_back(row);
  if (FlashFeatureUsesPasswords(feature_))
    request.passwords = ParsePasswords(passwords_->text().toStdString());
  return request;
}

}  // namespace velmora::ui
