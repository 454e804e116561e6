#include "ui/memory_unit_editor.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <filesystem>

#include "config/memory_lists.h"
#include "core/hex_field.h"
#include "core/hex_text.h"
#include "core/paths.h"
#include "formats/configuration_rules.h"
#include "ui/box_host.h"
#include "ui/dialog_parts.h"
#include "ui/focus_out.h"
#include "ui/memory_unit_subdialogs.h"

namespace velmora::ui {
namespace {

namespace messages = configuration_messages;

QPushButton* namedButton(const char* name, const QString& caption) {
  auto* button = new QPushButton(caption);
  button->setObjectName(QString::fromLatin1(name));
  button->setAutoDefault(false);
  return button;
}

void fill(QListWidget* list, const std::vector<std::string>& lines) {
  list->clear();
  for (const std::string& line : lines) list->addItem(QString::fromStdString(line));
}

// The value a checked field holds: its text as hexadecimal, empty being 0.
int32_t hexValue(const QLineEdit* field) {
  const int32_t value = HexVal(field->text().toStdString());
  return value == kNoNumber ? 0 : value;
}

}  // namespace

MemoryUnitEditor::MemoryUnitEditor(const ConfigurationContext& context, const MemoryUnit& unit,
                                   QWidget* parent)
    : CheckedFieldsDialog(parent), context_(context) {
  setObjectName(QStringLiteral("FMemory"));
  setWindowTitle(tr("Memory Units"));
  buildControls();
  wireFields();
  GetMemUnit(unit);
}

void MemoryUnitEditor::buildControls() {
  name_ = NamedLineEdit("TName");
  type_ = new QComboBox;
  type_->setObjectName(QStringLiteral("DType"));
  for (std::string_view name : kMemoryTypeNames) type_->addItem(QText(name));
  blank_ = NamedLineEdit("TBlank");
  blank_->setMaximumWidth(60);
  burstSize_ = NamedLineEdit("TBurstsize");
  burstSize_->setMaximumWidth(80);
  auto* general = new QGroupBox(tr("General"));
  auto* generalLayout = new QFormLayout(general);
  generalLayout->addRow(tr("Name:"), name_);
  generalLayout->addRow(tr("Type:"), type_);
  generalLayout->addRow(tr("Blank Value:"), blank_);
  generalLayout->addRow(tr("Burst Size:"), burstSize_);

  sections_ = FixedPitchList("ISections");
  sections_->setMinimumWidth(300);
  auto* addSection = namedButton("BAddSection", tr("Add"));
  auto* removeSection = namedButton("BRemoveSection", tr("Remove"));
  auto* sectionsBox = new QGroupBox(tr("Sections"));
  auto* sectionsLayout = new QGridLayout(sectionsBox);
  sectionsLayout->addWidget(sections_, 0, 0, 3, 1);
  sectionsLayout->addWidget(addSection, 0, 1);
  sectionsLayout->addWidget(removeSection, 1, 1);
  sectionsLayout->setRowStretch(2, 1);

  activate_ = FixedPitchList("IActivate");
  activate_->setMaximumHeight(110);
  auto* addActivate = namedButton("BAddActivate", tr("Add"));
  auto* removeActivate = namedButton("BRemove", tr("Remove"));
  auto* activateBox = new QGroupBox(tr("Activate"));
  auto* activateLayout = new QGridLayout(activateBox);
  activateLayout->addWidget(activate_, 0, 0, 3, 1, Qt::AlignTop);
  activateLayout->setRowStretch(2, 1);
  activateLayout->addWidget(addActivate, 0, 1);
  activateLayout->addWidget(removeActivate, 1, 1);

  driverPath_ = NamedLineEdit("TDriverPath");
  auto* browse = namedButton("BBrowseDriver", tr("Search Driver"));
  features_ = FixedPitchList("IFeatures");
  features_->setMaximumHeight(130);
  auto* addFeature = namedButton("BAddFeature", tr("Add Feature"));
  auto* removeFeature = namedButton("BRemoveFeature", tr("Remove Feature"));
  auto* driverBox = new QGroupBox(tr("Driver"));
  auto* driverLayout = new QGridLayout(driverBox);
  driverLayout->addWidget(driverPath_, 0, 0);
  driverLayout->addWidget(browse, 0, 1);
  driverLayout->addWidget(features_, 1, 0, 3, 1);
  driverLayout->addWidget(addFeature, 1, 1);
  driverLayout->addWidget(removeFeature, 2, 1);

  auto* left = new QVBoxLayout;
  left->addWidget(general);
  left->addWidget(activateBox);
  auto* right = new QVBoxLayout;
  right->addWidget(sectionsBox, 1);
  right->addWidget(driverBox);
  auto* columns = new QHBoxLayout;
  columns->addLayout(left);
  columns->addLayout(right, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(columns);
  layout->addWidget(OkCancelRow(this));

  connect(addSection, &QPushButton::clicked, this, &MemoryUnitEditor::addSection);
  connect(addActivate, &QPushButton::clicked, this, &MemoryUnitEditor::addActivate);
  connect(addFeature, &QPushButton::clicked, this, &MemoryUnitEditor::addFeature);
  connect(browse, &QPushButton::clicked, this, &MemoryUnitEditor::searchDriver);
  connect(removeSection, &QPushButton::clicked, this, [this] {
    const int section = SectionOfListLine(unit_, sections_->currentRow());
    if (sections_->currentItem() && RemoveSection(unit_, section)) refreshAll();
  });
  connect(removeActivate, &QPushButton::clicked, this, [this] {
    if (activate_->currentItem() && RemoveActivate(unit_, activate_->currentRow())) refreshAll();
  });
  connect(removeFeature, &QPushButton::clicked, this, [this] {
    if (features_->currentItem() && RemoveFeature(unit_, features_->currentRow())) refreshAll();
  });
}

void MemoryUnitEditor::wireFields() {
  OnFocusOut(name_, [this] { unit_.name = name_->text().toStdString(); });
  connect(type_, &QComboBox::currentTextChanged, this,
          [this](const QString& text) { unit_.type = text.toStdString(); });

  // A refused change puts back what the unit holds, so the field never shows a value
  // that is not stored.
  connect(blank_, &QLineEdit::textEdited, this, [this](const QString& text) {
    if (IsValidHexField(text.toStdString(), 2)) return;
    context_.boxes->Message(QText(messages::kBlank));
    blank_->setText(QString::fromStdString(HexN(unit_.blank, 2)));
  });
  OnFocusOut(blank_, [this] { unit_.blank = hexValue(blank_); });
  connect(burstSize_, &QLineEdit::textEdited, this, [this](const QString& text) {
    if (IsValidHexField(text.toStdString(), 4)) return;
    context_.boxes->Message(QText(messages::kBurstSize));
    burstSize_->setText(QString::fromStdString(HexN(unit_.burstSize, 4)));
  });
  OnFocusOut(burstSize_, [this] { unit_.burstSize = hexValue(burstSize_); });
  OnFocusOut(driverPath_, [this] { checkDriverPath(); });
}

void MemoryUnitEditor::GetMemUnit(const MemoryUnit& unit) {
  unit_ = unit;
  refreshAll();
}

void MemoryUnitEditor::refreshAll() {
  name_->setText(QString::fromStdString(unit_.name));
  const QString type = QString::fromStdString(unit_.type);
  // A type from a hand-written file stays what it was rather than becoming the first name.
  if (type_->findText(type) < 0) type_->addItem(type);
  type_->setCurrentText(type);
  blank_->setText(QString::fromStdString(HexN(unit_.blank, 2)));
  burstSize_->setText(QString::fromStdString(HexN(unit_.burstSize, 4)));
  driverPath_->setText(QString::fromStdString(unit_.driverPath));
  fill(activate_, ActivateListLines(unit_));
  fill(sections_, SectionListLines(unit_));
  fill(features_, unit_.features);
}

bool MemoryUnitEditor::refuseWhenFull(size_t count, int limit, const char* what) {
  if (static_cast<int>(count) < limit) return false;
  context_.boxes->Message(tr("A memory unit holds at most %1 %2.").arg(limit).arg(tr(what)));
  return true;
}

bool MemoryUnitEditor::AddRegion(int32_t start, int32_t length, bool hasMapping, int32_t mapAddress,
                                 const std::string& mapRegister, int32_t mapMask) {
  if (refuseWhenFull(unit_.sections.size(), kMaxSections, "sections")) return false;
  velmora::AddRegion(unit_, start, length, hasMapping, mapAddress, mapRegister, mapMask);
  refreshAll();
  return true;
}

bool MemoryUnitEditor::AddActivate(const std::string& reg, int32_t mask) {
  if (refuseWhenFull(unit_.activate.size(), kMaxActivateRegisters, "activation registers"))
    return false;
  velmora::AddActivate(unit_, reg, mask);
  refreshAll();
  return true;
}

bool MemoryUnitEditor::AddFeature(const std::string& name) {
  if (unit_.HasFeature(name)) return true;
  if (refuseWhenFull(unit_.features.size(), kMaxFeatures, "features")) return false;
  unit_.AddFeature(name);
  refreshAll();
  return true;
}

bool MemoryUnitEditor::checkDriverPath() {
  const std::string typed = driverPath_->text().toStdString();
  // An empty field means the unit has no driver.
  const bool exists = typed.empty() || std::filesystem::is_regular_file(
                                           ResolveStoredPath(context_.programFolder, typed));
  if (exists) {
    unit_.driverPath = typed;
    return true;
  }
  refusedDriver_ = driverPath_->text();
  context_.boxes->Message(QText(messages::kDriverMissing));
  // After the field's own focus handling, which would drop the selection again.
  QTimer::singleShot(0, driverPath_, [field = driverPath_] {
    field->setFocus();
    field->selectAll();
  });
  return false;
}

void MemoryUnitEditor::addSection() {
  if (refuseWhenFull(unit_.sections.size(), kMaxSections, "sections")) return;
  auto* dialog = new MemoryRegionDialog(*context_.boxes, context_.registers, this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  connect(dialog, &QDialog::accepted, this, [this, dialog] {
    const RegionInput r = dialog->region();
    AddRegion(r.start, r.length, r.hasMapping, r.mapAddress, r.mapRegister, r.mapMask);
  });
  dialog->open();
}

void MemoryUnitEditor::addActivate() {
  if (refuseWhenFull(unit_.activate.size(), kMaxActivateRegisters, "activation registers")) return;
  auto* dialog = new MemoryActivateDialog(*context_.boxes, context_.registers, this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  connect(dialog, &QDialog::accepted, this,
          [this, dialog] { AddActivate(dialog->activateRegister(), dialog->mask()); });
  dialog->open();
}

void MemoryUnitEditor::addFeature() {
  if (refuseWhenFull(unit_.features.size(), kMaxFeatures, "features")) return;
  auto* dialog = new MemoryFeatureDialog(this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  connect(dialog, &QDialog::accepted, this, [this, dialog] { AddFeature(dialog->feature()); });
  dialog->open();
}

void MemoryUnitEditor::searchDriver() {
  if (!context_.searchDriver) return;
  const std::optional<QString> chosen = context_.searchDriver(this);
  if (!chosen) return;
  driverPath_->setText(*chosen);
  checkDriverPath();
}

void MemoryUnitEditor::accept() {
  // OK may come by the keyboard without the focus ever leaving a field.
  unit_.name = name_->text().toStdString();
  unit_.type = type_->currentText().toStdString();
  unit_.blank = hexValue(blank_);
  unit_.burstSize = hexValue(burstSize_);
  const QString path = driverPath_->text();
  if (path.toStdString() != unit_.driverPath) {
    // The click on OK has just left the field and said so: once is enough.
    if (path == refusedDriver_ && !path.isEmpty()) return;
    if (!checkDriverPath()) return;
  }
  QDialog::accept();
}

}  // namespace velmora::ui
