// The dialogs check and reformat a field when the user leaves it, the way the rest of the
// program's fields behave: this calls a function each time a widget loses the focus.
#pragma once

#include <QDialog>
#include <functional>

namespace velmora::ui {

void OnFocusOut(QWidget* widget, std::function<void()> leave);

// A dialog with such fields. Deleting a focused field makes it lose the focus, and Qt deletes
// the fields after the derived dialog (whose members the checks use) has gone: this
// destructor stops the checks first.
class CheckedFieldsDialog : public QDialog {
 public:
  using QDialog::QDialog;
  ~CheckedFieldsDialog() override;
};

}  // namespace velmora::ui
