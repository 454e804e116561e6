#include "ui/register_editor.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "formats/register_table.h"
#include "ui/box_host.h"
#include "ui/register_bit_box.h"

namespace velmora::ui {
namespace {

constexpr int kBits = 16;

QString hex4(uint16_t value) {
  return QStringLiteral("%1").arg(value, 4, 16, QLatin1Char('0')).toUpper();
}

bool onlyOf(const QString& text, const QString& allowed) {
  for (QChar c : text) {
    if (!allowed.contains(c, Qt::CaseInsensitive)) return false;
  }
  return true;
}

}  // namespace

QString NoBinaryNumberMessage(int width) {
  return QStringLiteral("No binary number or more than %1 digits !").arg(width);
}

RegisterEditor::RegisterEditor(BoxHost& boxes, QWidget* parent) : QDialog(parent), boxes_(boxes) {
  setObjectName(QStringLiteral("FSFRChange"));
  setWindowTitle(tr("Change Register"));
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);

  name_ = new QLabel;
  name_->setObjectName(QStringLiteral("LSfrName"));
  QFont big = name_->font();
  big.setBold(true);
  big.setPointSizeF(big.pointSizeF() * 1.3);
  name_->setFont(big);
  address_ = new QLabel;
  address_->setObjectName(QStringLiteral("LSfrAddress"));

  valueText_ = new QLineEdit;
  valueText_->setObjectName(QStringLiteral("TValue"));
  valueText_->setFont(fixed);
  valueText_->setMaximumWidth(QFontMetrics(fixed).horizontalAdvance(QStringLiteral("FFFFFF")) + 16);
  valueText_->setToolTip(tr("The value in four hexadecimal digits"));
  connect(valueText_, &QLineEdit::textEdited, this, &RegisterEditor::valueEdited);

  bitArea_ = new QWidget;
  bitGrid_ = new QGridLayout(bitArea_);
  bitGrid_->setContentsMargins(0, 0, 0, 0);
  bitGrid_->setHorizontalSpacing(2);
  const int column = QFontMetrics(fixed).horizontalAdvance(QStringLiteral("00")) + 12;
  for (int c = 0; c < kBits; ++c) {
    bitGrid_->setColumnMinimumWidth(c, column);
    bitGrid_->setColumnStretch(c, 1);
    auto* number = new QLabel(QString::number(kBits - 1 - c));
    number->setAlignment(Qt::AlignCenter);
    number->setEnabled(false);  // a quieter grey than the boxes
    bitGrid_->addWidget(number, 0, c);
  }
  fieldName_ = new QLabel;
  fieldName_->setObjectName(QStringLiteral("LBitName"));
  fieldName_->setText(tr("Double click a box to invert its bits"));

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));
  connect(buttons, &QDialogButtonBox::accepted, this, &RegisterEditor::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &RegisterEditor::reject);

  auto* top = new QHBoxLayout;
  top->addWidget(name_);
  top->addSpacing(12);
  top->addWidget(address_);
  top->addStretch(1);
  auto* valueRow = new QHBoxLayout;
  valueRow->addWidget(new QLabel(tr("Value (hex):")));
  valueRow->addWidget(valueText_);
  valueRow->addStretch(1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addLayout(valueRow);
  layout->addSpacing(6);
  layout->addWidget(bitArea_);
  layout->addWidget(fieldName_);
  layout->addWidget(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);
}

void RegisterEditor::SetSfrIndex(int index, const RegisterDefinition& reg, uint16_t value) {
  index_ = index;
  value_ = value;
  name_->setText(QString::fromStdString(reg.name));
  address_->setText(
      tr("at %1").arg(QStringLiteral("%1").arg(reg.address, 6, 16, QLatin1Char('0')).toUpper()));
  fields_ = BitFieldsOf(reg);
  buildBoxes();
  showValue();
  RefreshBits();
  valueText_->setFocus();
  valueText_->selectAll();
}

void RegisterEditor::buildBoxes() {
  for (RegisterBitBox* box : bitBoxes_) delete box;
  bitBoxes_.clear();
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  for (size_t f = 0; f < fields_.size(); ++f) {
    const BitField& field = fields_[f];
    auto* box = new RegisterBitBox;
    box->setObjectName(QStringLiteral("TBitValue%1").arg(field.high));
    box->setFont(fixed);
    box->setAlignment(Qt::AlignCenter);
    box->setMinimumWidth(0);
    box->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    if (field.used) {
      box->setToolTip(QString::fromStdString(field.name));
      connect(box, &QLineEdit::textEdited, this,
              [this, f](const QString& text) { boxEdited(f, text); });
      connect(box, &RegisterBitBox::left, this, [this, f] { boxLeft(f); });
      connect(box, &RegisterBitBox::doubleClicked, this, [this, f] { boxDoubleClicked(f); });
      connect(box, &RegisterBitBox::entered, this, [this, f] { boxEntered(f); });
    } else {
      // A bit no field names: its value shows, greyed, and cannot be typed over.
      box->setEnabled(false);
      box->setToolTip(tr("Bit %1 (no field)").arg(field.high));
      box->setStyleSheet(QStringLiteral("QLineEdit { background: #e4e4e4; color: #8a8a8a; }"));
    }
    const int column = kBits - 1 - field.high;
    bitGrid_->addWidget(box, 1, column, 1, field.width);
    bitBoxes_.push_back(box);
  }
  // Tab walks the boxes from bit 15 down after the value.
  QWidget* previous = valueText_;
  for (RegisterBitBox* box : bitBoxes_) {
    if (!box->isEnabled()) continue;
    setTabOrder(previous, box);
    previous = box;
  }
}

void RegisterEditor::RefreshBits() {
  for (size_t f = 0; f < fields_.size(); ++f)
    bitBoxes_[f]->setText(QString::fromStdString(fields_[f].Digits(value_)));
}

void RegisterEditor::showValue() {
  valueText_->setText(hex4(value_));
}

void RegisterEditor::valueEdited(const QString& text) {
  // An emptied field is being typed over; it becomes a value with its first digit.
  if (text.isEmpty()) return;
  if (text.size() <= 4 && onlyOf(text, QStringLiteral("0123456789ABCDEF"))) {
    value_ = static_cast<uint16_t>(text.toUInt(nullptr, 16));
    RefreshBits();
    return;
  }
  boxes_.Message(QString::fromLatin1(kNoHexValueMessage));
  showValue();
}

void RegisterEditor::boxEdited(size_t field, const QString& text) {
  const int width = fields_[field].width;
  if (text.size() <= width && onlyOf(text, QStringLiteral("01"))) return;
  boxes_.Message(NoBinaryNumberMessage(width));
  RefreshBits();
}

bool RegisterEditor::takeBox(size_t field) {
  const BitField& f = fields_[field];
  const QString text = bitBoxes_[field]->text();
  if (!f.used || text.size() > f.width || !onlyOf(text, QStringLiteral("01"))) return false;
  value_ = f.Replace(value_, static_cast<uint16_t>(text.isEmpty() ? 0 : text.toUInt(nullptr, 2)));
  return true;
}

void RegisterEditor::boxLeft(size_t field) {
  if (!takeBox(field)) return;
  showValue();
  RefreshBits();
}

void RegisterEditor::boxDoubleClicked(size_t field) {
  takeBox(field);  // what was typed counts first
  value_ ^= fields_[field].Mask();
  showValue();
  RefreshBits();
}

void RegisterEditor::boxEntered(size_t field) {
  const BitField& f = fields_[field];
  const QString bits =
      f.width == 1 ? tr("bit %1").arg(f.high) : tr("bits %1..%2").arg(f.high).arg(f.Low());
  fieldName_->setText(QStringLiteral("%1  (%2)").arg(QString::fromStdString(f.name), bits));
}

void RegisterEditor::accept() {
  for (size_t f = 0; f < bitBoxes_.size(); ++f) {
    if (bitBoxes_[f]->hasFocus()) takeBox(f);
  }
  QDialog::accept();
}

}  // namespace velmora::ui
