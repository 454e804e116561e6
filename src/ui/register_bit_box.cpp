#include "ui/register_bit_box.h"

#include <QFocusEvent>
#include <QMouseEvent>

namespace velmora::ui {

void RegisterBitBox::focusInEvent(QFocusEvent* event) {
  QLineEdit::focusInEvent(event);
  emit entered();
}

void RegisterBitBox::focusOutEvent(QFocusEvent* event) {
  QLineEdit::focusOutEvent(event);
  const Qt::FocusReason reason = event->reason();
  if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) emit left();
}

void RegisterBitBox::mouseDoubleClickEvent(QMouseEvent* event) {
  // A double click inverts the field; selecting a word of a binary number helps nobody.
  if (event->button() == Qt::LeftButton) {
    event->accept();
    emit doubleClicked();
    return;
  }
  QLineEdit::mouseDoubleClickEvent(event);
}

}  // namespace velmora::ui
