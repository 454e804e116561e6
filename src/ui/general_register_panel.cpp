#include "ui/general_register_panel.h"

#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

#include "core/hex_text.h"

namespace velmora::ui {
namespace {

constexpr int kValueDigits = 4;
// The bank as two columns of eight, the special registers in a third.
constexpr int kBankRows = 8;

QString valueText(int32_t value) {
  return value < 0 ? QStringLiteral("????")
                   : QString::fromLatin1(HexN(value, kValueDigits).c_str());
}

QString fieldText(const RegisterField& field) {
  const QString name = QString::fromStdString(field.name);
  if (field.width == 1) return name;
  return name + QLatin1Char('=') + QString::fromLatin1(HexN(field.value, 1).c_str());
}

}  // namespace

GeneralRegisterPanel::GeneralRegisterPanel(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("PRegisters"));
  shown_.fill(-1);
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  auto* box = new QGroupBox(tr("Registers"), this);
  auto* grid = new QGridLayout(box);
  grid->setHorizontalSpacing(6);
  grid->setVerticalSpacing(2);
  auto* validator =
      new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9A-Fa-f]{0,4}")), this);

  for (int index = 0; index < kGeneralRegisterCount; ++index) {
    const QString name = QString::fromStdString(GeneralRegisterName(index));
    auto* label = new QLabel(name, box);
    label->setFont(fixed);
    auto* edit = new QLineEdit(valueText(-1), box);
    edit->setObjectName(QStringLiteral("E") + name);
    edit->setFont(fixed);
    edit->setValidator(validator);
    edit->setMaxLength(kValueDigits);
    edit->setFixedWidth(QFontMetrics(fixed).horizontalAdvance(QStringLiteral("WWWWW")) + 8);
    edit->setAlignment(Qt::AlignRight);
    label->setBuddy(edit);
    int row = index % kBankRows, column = 2 * (index / kBankRows);
    if (index >= kBankRegisters) {
      row = index - kBankRegisters;
      column = 4;
    }
    grid->addWidget(label, row, column, Qt::AlignRight);
    grid->addWidget(edit, row, column + 1);
    connect(edit, &QLineEdit::returnPressed, this, [this, index] { enter(index); });
    fields_[static_cast<size_t>(index)] = edit;
  }
  grid->setColumnMinimumWidth(4, QFontMetrics(fixed).horizontalAdvance(QStringLiteral("DPP0")));

  auto* flagBox = new QWidget(box);
  flagBox->setObjectName(QStringLiteral("LPswFlags"));
  flagRow_ = new QHBoxLayout(flagBox);
  flagRow_->setContentsMargins(0, 4, 0, 0);
  flagRow_->setSpacing(6);
  flagRow_->addStretch();
  auto* flagCaption = new QLabel(tr("PSW flags:"), box);
  grid->addWidget(flagCaption, kBankRows, 0, 1, 2, Qt::AlignRight);
  grid->addWidget(flagBox, kBankRows, 2, 1, 4);
  outer->addWidget(box);
  outer->addStretch();
  setEditable(false);
}

void GeneralRegisterPanel::setRegisters(const GeneralRegisters& registers,
                                        const std::vector<RegisterField>& pswFields,
                                        bool highlightChanges) {
  for (size_t i = 0; i < fields_.size(); ++i) {
    const int32_t value = registers.values[i];
    highlighted_[i] = highlightChanges && shown_[i] >= 0 && value != shown_[i];
    shown_[i] = value;
    QLineEdit* edit = fields_[i];
    edit->setText(valueText(value));
    // A changed value stands out until the next stop or edit.
    edit->setStyleSheet(highlighted_[i] ? QStringLiteral("QLineEdit { background: #ffe680; }")
                                        : QString());
  }
  showFlags(pswFields);
}

void GeneralRegisterPanel::setEditable(bool on) {
  for (QLineEdit* edit : fields_) edit->setReadOnly(!on);
}

bool GeneralRegisterPanel::isHighlighted(int index) const {
  return highlighted_[static_cast<size_t>(index)];
}

QStringList GeneralRegisterPanel::flagTexts() const {
  QStringList texts;
  for (const QLabel* flag : flags_) texts << flag->text();
  return texts;
}

QStringList GeneralRegisterPanel::setFlags() const {
  QStringList texts;
  for (const QLabel* flag : flags_)
    if (flag->isEnabled()) texts << flag->text();
  return texts;
}

void GeneralRegisterPanel::showFlags(const std::vector<RegisterField>& fields) {
  for (QLabel* flag : flags_) delete flag;
  flags_.clear();
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  for (const RegisterField& field : fields) {
    auto* flag = new QLabel(fieldText(field));
    flag->setFont(fixed);
    // A clear flag is drawn grey, a set one in full.
    flag->setEnabled(field.value != 0);
    flag->setToolTip(QStringLiteral("PSW.%1").arg(field.bit));
    flagRow_->insertWidget(flagRow_->count() - 1, flag);
    flags_.push_back(flag);
  }
}

void GeneralRegisterPanel::enter(int index) {
  QLineEdit* edit = fields_[static_cast<size_t>(index)];
  if (edit->isReadOnly()) return;
  const QString text = edit->text().trimmed();
  if (text.size() != kValueDigits) return;  // four digits, as the field shows them
  emit valueEntered(index, static_cast<uint16_t>(text.toUInt(nullptr, 16)));
}

}  // namespace velmora::ui
