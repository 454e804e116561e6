#include "ui/memory_unit_subdialogs.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QVBoxLayout>

#include "config/memory_unit.h"
#include "core/hex_text.h"
#include "formats/configuration_rules.h"
#include "ui/box_host.h"
#include "ui/dialog_parts.h"
#include "ui/focus_out.h"

namespace velmora::ui {
namespace {

namespace messages = configuration_messages;

bool isHex(const QString& text) {
  return HexVal(text.toStdString()) != kNoNumber;
}

// Leaving a field whose text is no number says so and empties it; "accepts" widens what
// counts as valid (a register name where a register may be named).
void checkOnLeave(QLineEdit* field, BoxHost& boxes, std::string_view message,
                  std::function<bool(const QString&)> accepts = isHex) {
  OnFocusOut(field, [field, &boxes, message, accepts = std::move(accepts)] {
    if (accepts(field->text())) return;
    boxes.Message(QText(message));
    field->clear();
  });
}

}  // namespace

MemoryRegionDialog::MemoryRegionDialog(BoxHost& boxes, const RegisterTable& registers,
                                       QWidget* parent)
    : CheckedFieldsDialog(parent), boxes_(boxes), registers_(registers) {
  setObjectName(QStringLiteral("FMemoryRegions"));
  setWindowTitle(tr("New Section/Region"));
  start_ = NamedLineEdit("TStartAddress");
  length_ = NamedLineEdit("TLength");
  mapStart_ = NamedLineEdit("TMapStartAddress");
  mapRegister_ = NamedLineEdit("TMapRegister");
  mapMask_ = NamedLineEdit("TMapMask");

  auto* region = new QFormLayout;
  region->addRow(tr("Start Address:"), start_);
  region->addRow(tr("Length:"), length_);
  auto* mapping = new QGroupBox(tr("Mapping"));
  auto* mappingLayout = new QFormLayout(mapping);
  mappingLayout->addRow(tr("Map Start Address:"), mapStart_);
  mappingLayout->addRow(tr("Map Register:"), mapRegister_);
  mappingLayout->addRow(tr("Map Mask:"), mapMask_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(region);
  layout->addWidget(mapping);
  layout->addWidget(OkCancelRow(this));

  for (QLineEdit* field : {start_, length_, mapStart_, mapMask_})
    checkOnLeave(field, boxes_, messages::kRegionField);
  checkOnLeave(mapRegister_, boxes_, messages::kRegionField, [this](const QString& text) {
    return IsRegisterReference(text.toStdString(), registers_) || isHex(text);
  });
}

void MemoryRegionDialog::accept() {
  // An empty start or length would make a region nobody asked for.
  const auto given = [](const QLineEdit* field) {
    return !field->text().isEmpty() && isHex(field->text());
  };
  if (!given(start_) || !given(length_)) {
    boxes_.Message(QText(messages::kMissingStartOrLength));
    return;
  }
  region_ = {};
  region_.start = HexVal(start_->text().toStdString());
  region_.length = HexVal(length_->text().toStdString());
  region_.hasMapping = !mapStart_->text().isEmpty();
  if (region_.hasMapping) {
    region_.mapAddress = HexVal(mapStart_->text().toStdString());
    region_.mapRegister = mapRegister_->text().toStdString();
    region_.mapMask = HexVal(mapMask_->text().toStdString());
  }
  QDialog::accept();
}

MemoryActivateDialog::MemoryActivateDialog(BoxHost& boxes, const RegisterTable& registers,
                                           QWidget* parent)
    : CheckedFieldsDialog(parent), boxes_(boxes), registers_(registers) {
  setObjectName(QStringLiteral("FMemoryActivate"));
  setWindowTitle(tr("Add Activation Register"));
  register_ = NamedLineEdit("TActivateRegister");
  mask_ = NamedLineEdit("TActivateMask");
  auto* fields = new QFormLayout;
  fields->addRow(tr("Register:"), register_);
  fields->addRow(tr("Mask:"), mask_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(fields);
  layout->addWidget(OkCancelRow(this));

  OnFocusOut(register_, [this] {
    if (!register_->text().isEmpty()) checkRegister();
  });
  connect(mask_, &QLineEdit::textEdited, this, [this](const QString& text) {
    if (isHex(text)) return;
    boxes_.Message(QText(messages::kRegionField));
    mask_->clear();
  });
}

bool MemoryActivateDialog::checkRegister() {
  if (IsRegisterReference(register_->text().toStdString(), registers_)) return true;
  boxes_.Message(QText(messages::kActivateRegister));
  register_->clear();
  return false;
}

std::string MemoryActivateDialog::activateRegister() const {
  return register_->text().toStdString();
}

int32_t MemoryActivateDialog::mask() const {
  return HexVal(mask_->text().toStdString());
}

void MemoryActivateDialog::accept() {
  if (checkRegister()) QDialog::accept();
}

MemoryFeatureDialog::MemoryFeatureDialog(QWidget* parent) : CheckedFieldsDialog(parent) {
  setObjectName(QStringLiteral("FMemoryFeature"));
  setWindowTitle(tr("Add Feature"));
  feature_ = new QComboBox;
  feature_->setObjectName(QStringLiteral("DFeature"));
  for (std::string_view name : kFeatureNames) feature_->addItem(QText(name));
  auto* fields = new QFormLayout;
  fields->addRow(tr("Feature:"), feature_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(fields);
  layout->addWidget(OkCancelRow(this));
}

std::string MemoryFeatureDialog::feature() const {
  return feature_->currentText().toStdString();
}

}  // namespace velmora::ui
