#include "ui/configuration_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include "config/memory_lists.h"
#include "core/hex_text.h"
#include "formats/configuration_rules.h"
#include "ui/box_host.h"
#include "ui/dialog_parts.h"
#include "ui/focus_out.h"
#include "ui/memory_unit_editor.h"

namespace velmora::ui {
namespace {

namespace messages = configuration_messages;

// The check boxes in the order of the record's flags, with their captions.
struct CheckRow {
  const char* name;
  const char* caption;
};
constexpr std::array<CheckRow, kInitRegisterCount> kChecks = {{
    {"CFOCON", "FOCON"},
    {"CFCONCS0", "FCONCS0"},
    {"CTCONCS0", "TCONCS0"},
    {"CEBCMOD0", "EBCMOD0"},
    {"CEBCMOD1", "EBCMOD1"},
    {"CSYSCON0", "SYSCON0"},
    {"CSYSCON1", "SYSCON1"},
    {"CSYSCON3", "SYSCON3"},
    {"CRSTCON", "RSTCON"},
    {"CGEN1", "Generic 1"},
    {"CGEN2", "Generic 2"},
    {"CDPP0", "DPP0"},
    {"CDPP1", "DPP1"},
    {"CDPP2", "DPP2"},
    {"CDPP3", "DPP3"},
}};

// The text boxes in the order of the record's values, with the flag each one sets.
struct BoxRow {
  const char* name;
  InitRegister flag;
  bool genericAddress;
};
constexpr std::array<BoxRow, kInitValueCount> kBoxes = {{
    {"TFOCON", InitRegister::FOCON, false},
    {"TFCONCS0", InitRegister::FCONCS0, false},
    {"TTCONCS0", InitRegister::TCONCS0, false},
    {"TEBCMOD0", InitRegister::EBCMOD0, false},
    {"TEBCMOD1", InitRegister::EBCMOD1, false},
    {"TSYSCON0", InitRegister::SYSCON0, false},
    {"TSYSCON1", InitRegister::SYSCON1, false},
    {"TSYSCON3", InitRegister::SYSCON3, false},
    {"TRSTCON", InitRegister::RSTCON, false},
    {"TGEN1DATA", InitRegister::Generic1, false},
    {"TGEN1ADDR", InitRegister::Generic1, true},
    {"TGEN2DATA", InitRegister::Generic2, false},
    {"TGEN2ADDR", InitRegister::Generic2, true},
    {"TDPP0", InitRegister::DPP0, false},
    {"TDPP1", InitRegister::DPP1, false},
    {"TDPP2", InitRegister::DPP2, false},
    {"TDPP3", InitRegister::DPP3, false},
}};

QPushButton* namedButton(const char* name, const QString& caption) {
  auto* button = new QPushButton(caption);
  button->setObjectName(QString::fromLatin1(name));
  button->setAutoDefault(false);
  return button;
}

// The visible part of a table line: what comes before its key, without the blanks that
// hold the key out of sight.
QString visiblePart(const std::string& line) {
  size_t end = line.size();
  for (int i = 0; i < 3 && end != std::string::npos; ++i) end = line.rfind('@', end - 1);
  std::string shown = line.substr(0, end);
  // Only the blanks before the key go: a unit's further lines begin with blanks of their own.
  shown.erase(shown.find_last_not_of(' ') + 1);
  return QString::fromStdString(shown);
}

}  // namespace

ConfigurationDialog::ConfigurationDialog(ConfigurationContext context,
                                         const TargetConfiguration& stored, QWidget* parent)
    : CheckedFieldsDialog(parent), context_(std::move(context)) {
  setObjectName(QStringLiteral("FConfigure"));
  setWindowTitle(tr("Configure"));
  buildControls();
  get_preferences(stored);
}

void ConfigurationDialog::buildControls() {
  type_ = new QComboBox;
  type_->setObjectName(QStringLiteral("DMCType"));
  type_->setMinimumWidth(160);
  clock_ = NamedLineEdit("TClk");
  clock_->setValidator(new QIntValidator(0, 2147483647, clock_));
  auto* controller = new QGroupBox(tr("Controller"));
  auto* controllerLayout = new QFormLayout(controller);
  controllerLayout->addRow(tr("Type:"), type_);
  controllerLayout->addRow(tr("Clock [Hz]:"), clock_);

  einit_ = new QCheckBox(tr("EINIT"));
  einit_->setObjectName(QStringLiteral("CEINIT"));
  auto* calls = new QGroupBox(tr("Initial command calls"));
  auto* callsLayout = new QVBoxLayout(calls);
  callsLayout->addWidget(einit_);

  auto* left = new QVBoxLayout;
  left->addWidget(controller);
  left->addWidget(buildRegisters());
  left->addWidget(calls);
  left->addStretch(1);

  auto* clear = namedButton("BClear", tr("Clear"));
  auto* buttons = OkCancelRow(this);
  buttons->addButton(clear, QDialogButtonBox::ResetRole);
  connect(clear, &QPushButton::clicked, this, &ConfigurationDialog::clear_config);

  auto* columns = new QHBoxLayout;
  columns->addLayout(left);
  columns->addWidget(buildMemoryTable(), 1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(columns);
  layout->addWidget(buttons);

  connect(type_, &QComboBox::activated, this, &ConfigurationDialog::typeChosen);
}

QWidget* ConfigurationDialog::buildRegisters() {
  auto* frame = new QGroupBox(tr("Initial register values"));
  auto* grid = new QGridLayout(frame);
  for (size_t i = 0; i < kChecks.size(); ++i) {
    checks_[i] = new QCheckBox(tr(kChecks[i].caption));
    checks_[i]->setObjectName(QString::fromLatin1(kChecks[i].name));
  }
  for (size_t i = 0; i < kBoxes.size(); ++i) {
    QLineEdit* edit = NamedLineEdit(kBoxes[i].name);
    edit->setMaximumWidth(kBoxes[i].genericAddress ? 80 : 60);
    edit->setPlaceholderText(kBoxes[i].genericAddress ? tr("address") : QString());
    boxes_.push_back({edit, checks_[static_cast<size_t>(kBoxes[i].flag)], static_cast<InitValue>(i),
                      kBoxes[i].genericAddress});
  }
  // One row per check box: its value box, and for a generic pair the address before the
  // data, as an address is read before what is written there.
  int row = 0;
  for (size_t i = 0; i < kChecks.size(); ++i, ++row) {
    grid->addWidget(checks_[i], row, 0);
    int column = 1;
    for (const RegisterBox& box : boxes_) {
      if (box.check != checks_[i] || !box.genericAddress) continue;
      grid->addWidget(box.edit, row, column++);
    }
    for (const RegisterBox& box : boxes_) {
      if (box.check != checks_[i] || box.genericAddress) continue;
      grid->addWidget(box.edit, row, column++);
    }
  }
  grid->setColumnStretch(3, 1);
  for (const RegisterBox& box : boxes_) wireRegisterBox(box);
  return frame;
}

QWidget* ConfigurationDialog::buildMemoryTable() {
  unitsList_ = FixedPitchList("IMemoryList");
  activatedList_ = FixedPitchList("IMemoryActivated");
  mappedList_ = FixedPitchList("IMemoryMapped");
  const int narrow = fontMetrics().horizontalAdvance(QStringLiteral("Activate Memory Unit"));
  activatedList_->setFixedWidth(narrow / 2 + 16);
  mappedList_->setFixedWidth(narrow / 2 + 16 +
                             mappedList_->verticalScrollBar()->sizeHint().width());
  // The three lists read as the columns of one table: the last one's scroll bar moves all.
  for (QListWidget* list : {unitsList_, activatedList_}) {
    list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  }
  for (QListWidget* list : {unitsList_, activatedList_, mappedList_}) {
    for (QListWidget* other : {unitsList_, activatedList_, mappedList_}) {
      if (other == list) continue;
      connect(list->verticalScrollBar(), &QScrollBar::valueChanged, other->verticalScrollBar(),
              &QScrollBar::setValue);
    }
  }
  connect(unitsList_, &QListWidget::itemDoubleClicked, this, &ConfigurationDialog::editUnit);
  connect(activatedList_, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { toggleActivation(activatedList_->row(item)); });
  connect(mappedList_, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { toggleMapping(mappedList_->row(item)); });

  auto* add = namedButton("BMemoryAdd", tr("Add"));
  auto* edit = namedButton("BMemoryEdit", tr("Edit"));
  auto* remove = namedButton("BMemoryRemove", tr("Remove"));
  connect(add, &QPushButton::clicked, this, &ConfigurationDialog::addUnit);
  connect(edit, &QPushButton::clicked, this, &ConfigurationDialog::editUnit);
  connect(remove, &QPushButton::clicked, this, &ConfigurationDialog::removeUnit);

  auto* frame = new QGroupBox(tr("Memory"));
  auto* grid = new QGridLayout(frame);
  grid->setHorizontalSpacing(2);
  grid->addWidget(new QLabel(tr("All Memory Units")), 0, 0);
  auto* activatedTitle = new QLabel(tr("Activate\nMemory Unit"));
  auto* mappedTitle = new QLabel(tr("Map\nRegion"));
  grid->addWidget(activatedTitle, 0, 1);
  grid->addWidget(mappedTitle, 0, 2);
  grid->addWidget(unitsList_, 1, 0);
  grid->addWidget(activatedList_, 1, 1);
  grid->addWidget(mappedList_, 1, 2);
  grid->setColumnStretch(0, 1);
  unitsList_->setMinimumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 32);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(add);
  buttons->addWidget(edit);
  buttons->addWidget(remove);
  buttons->addStretch(1);
  grid->addLayout(buttons, 2, 0, 1, 3);
  return frame;
}

void ConfigurationDialog::wireRegisterBox(const RegisterBox& box) {
  connect(box.edit, &QLineEdit::textEdited, this, [this, box](const QString& text) {
    const auto refused = CheckInitRegisterText(text.toStdString(), box.genericAddress);
    if (!refused) return;
    context_.boxes->Message(QText(*refused));
    box.edit->clear();
  });
  OnFocusOut(box.edit, [this, box] { leaveRegisterBox(box); });
}

void ConfigurationDialog::leaveRegisterBox(const RegisterBox& box) {
  const std::string shown =
      InitRegisterTextOnLeave(box.edit->text().toStdString(), box.genericAddress);
  if (shown.empty()) return;
  box.check->setChecked(true);
  box.edit->setText(QString::fromStdString(shown));
}

void ConfigurationDialog::get_preferences(const TargetConfiguration& stored) {
  working_ = stored;
  // Filling the list by program is no choice of the user's: activated() stays silent.
  type_->clear();
  for (const std::string& name : context_.typeNames) type_->addItem(QString::fromStdString(name));
  type_->setCurrentIndex(
      type_->findText(QString::fromStdString(stored.mcType), Qt::MatchFixedString));
  clock_->setText(QString::number(stored.clockRate));
  einit_->setChecked(stored.einitEnabled == 1);
  for (size_t i = 0; i < checks_.size(); ++i)
    checks_[i]->setChecked(stored.IsEnabled(static_cast<InitRegister>(i)));
  for (const RegisterBox& box : boxes_) {
    const QString value =
        QString::fromStdString(HexN(stored.Value(box.value), box.genericAddress ? 6 : 4));
    box.edit->setText(box.check->isChecked() ? value : QString());
  }
  RefreshMemoryList();
}

TargetConfiguration ConfigurationDialog::set_preferences() const {
  TargetConfiguration edited = working_;
  // A stored type the database no longer knows stays until the user picks another.
  if (type_->currentIndex() >= 0) edited.mcType = type_->currentText().toStdString();
  bool ok = false;
  const int clock = clock_->text().toInt(&ok);
  if (ok) edited.clockRate = clock;
  edited.einitEnabled = einit_->isChecked() ? 1 : 0;
  for (size_t i = 0; i < checks_.size(); ++i)
    edited.SetEnabled(static_cast<InitRegister>(i), checks_[i]->isChecked());
  for (const RegisterBox& box : boxes_) {
    const int32_t value = HexVal(box.edit->text().toStdString());
    edited.SetValue(box.value, value == kNoNumber ? 0 : value);
  }
  return edited;
}

void ConfigurationDialog::clear_config() {
  for (QListWidget* list : {unitsList_, activatedList_, mappedList_}) list->clear();
  einit_->setChecked(false);
  for (QCheckBox* check : checks_) check->setChecked(false);
  for (const RegisterBox& box : boxes_) box.edit->clear();
}

void ConfigurationDialog::RefreshMemoryList() {
  const int top = mappedList_->verticalScrollBar()->value();
  const MemoryListLines lines = velmora::RefreshMemoryList(working_.units);
  for (QListWidget* list : {unitsList_, activatedList_, mappedList_}) list->clear();
  for (const std::string& line : lines.units) {
    auto* item = new QListWidgetItem(visiblePart(line), unitsList_);
    item->setData(Qt::UserRole, QString::fromStdString(line));
  }
  for (const std::string& mark : lines.activated)
    activatedList_->addItem(QString::fromStdString(mark));
  for (const std::string& mark : lines.mapped) mappedList_->addItem(QString::fromStdString(mark));
  for (QListWidget* list : {activatedList_, mappedList_}) {
    for (int row = 0; row < list->count(); ++row)
      list->item(row)->setTextAlignment(Qt::AlignHCenter);
  }
  mappedList_->verticalScrollBar()->setValue(top);
}

std::optional<MemoryLocation> ConfigurationDialog::lineKey(int row) const {
  const QListWidgetItem* item = unitsList_->item(row);
  if (!item) return std::nullopt;
  const auto key = MemoryLineKey(item->data(Qt::UserRole).toString().toStdString());
  if (!key || key->unit < 0 || key->unit >= static_cast<int>(working_.units.size()))
    return std::nullopt;
  return key;
}

void ConfigurationDialog::toggleActivation(int row) {
  const auto key = lineKey(row);
  if (key && ToggleActivation(working_.units[static_cast<size_t>(key->unit)])) RefreshMemoryList();
}

void ConfigurationDialog::toggleMapping(int row) {
  const auto key = lineKey(row);
  if (!key) return;
  MemoryUnit& unit = working_.units[static_cast<size_t>(key->unit)];
  const auto& regions = unit.sections[static_cast<size_t>(key->section)].regions;
  if (!regions[static_cast<size_t>(key->region)].hasMapping) return;
  if (ToggleMapping(unit)) RefreshMemoryList();
}

void ConfigurationDialog::typeChosen() {
  const BoxAnswer answer = context_.boxes->Message(QText(messages::kLoadDefaultUnits),
                                                   BoxButtons::YesNo, BoxIcon::Question);
  if (answer != BoxAnswer::Yes || !context_.loadDefaultUnits) return;
  QApplication::setOverrideCursor(Qt::WaitCursor);
  QPointer<ConfigurationDialog> alive(this);
  context_.loadDefaultUnits(type_->currentText().toStdString(),
                            [alive](std::optional<std::vector<MemoryUnit>> units) {
                              QApplication::restoreOverrideCursor();
                              if (!alive || !units) return;
                              alive->working_.units = std::move(*units);
                              alive->RefreshMemoryList();
                            });
}

void ConfigurationDialog::addUnit() {
  if (!working_.AddMemoryUnit()) {
    context_.boxes->Message(
        tr("The configuration holds at most %1 memory units.").arg(kMaxMemoryUnits));
    return;
  }
  RefreshMemoryList();
  // The new entry stays even when its editor is cancelled, as it is in the list already.
  openEditor(static_cast<int>(working_.units.size()) - 1);
}

void ConfigurationDialog::editUnit() {
  if (const auto key = lineKey(unitsList_->currentRow())) openEditor(key->unit);
}

void ConfigurationDialog::removeUnit() {
  const auto key = lineKey(unitsList_->currentRow());
  if (key && working_.RemoveMemoryUnit(key->unit)) RefreshMemoryList();
}

void ConfigurationDialog::openEditor(int index) {
  auto* editor = new MemoryUnitEditor(context_, working_.units[static_cast<size_t>(index)], this);
  editor->setAttribute(Qt::WA_DeleteOnClose);
  connect(editor, &QDialog::accepted, this, [this, editor, index] {
    working_.units[static_cast<size_t>(index)] = editor->unit();
    RefreshMemoryList();
  });
  editor->open();
}

void ConfigurationDialog::accept() {
  // OK by the keyboard leaves no field first: each takes its leaving rule now.
  for (const RegisterBox& box : boxes_) leaveRegisterBox(box);
  result_ = set_preferences();
  QDialog::accept();
}

}  // namespace velmora::ui
