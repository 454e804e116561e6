#include "ui/address_field.h"

#include <QTimer>

#include "core/hex_text.h"
#include "ui/box_host.h"

namespace velmora::ui {

AddressField::AddressField(const HexField& rule, BoxHost& boxes, QWidget* parent)
    : QLineEdit(parent), rule_(rule), boxes_(boxes) {
  setText(QStringLiteral("000000"));
  // Wide enough for the six digits in any font, without stretching across the dialog.
  setMaximumWidth(fontMetrics().horizontalAdvance(QStringLiteral("0000000000")) + 16);
  connect(this, &QLineEdit::textEdited, this, &AddressField::check);
}

int32_t AddressField::value() const {
  const int32_t value = HexVal(text().toStdString());
  return value == kNoNumber ? 0 : value;
}

void AddressField::check(const QString& typed) {
  if (IsValidHexField(typed.toStdString(), rule_.digits)) return;
  boxes_.Message(
      QString::fromUtf8(rule_.message.data(), static_cast<qsizetype>(rule_.message.size())));
  setText(QStringLiteral("000000"));
  selectAll();
}

void AddressField::focusInEvent(QFocusEvent* event) {
  QLineEdit::focusInEvent(event);
  // After the click that gave the focus has placed the cursor.
  QTimer::singleShot(0, this, &QLineEdit::selectAll);
}

void AddressField::focusOutEvent(QFocusEvent* event) {
  setText(QString::fromStdString(SixDigitAddressText(text().toStdString())));
  QLineEdit::focusOutEvent(event);
}

}  // namespace velmora::ui
