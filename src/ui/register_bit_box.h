// One box of the register editor's bit field row: a line edit that says when the user
// leaves it for another control, when it is double clicked and when it is entered.
#pragma once

#include <QLineEdit>

namespace velmora::ui {

class RegisterBitBox : public QLineEdit {
  Q_OBJECT
 public:
  using QLineEdit::QLineEdit;

 signals:
  void entered();
  // Focus went to another control of the editor (not to a message box or another window,
  // which take it while the box is still being typed in).
  void left();
  void doubleClicked();

 protected:
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
};

}  // namespace velmora::ui
