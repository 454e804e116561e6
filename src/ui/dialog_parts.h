// Small pieces the configuration dialogs share: fixed-pitch lists, named fields and the
// OK / Cancel row, so that every dialog of the family looks and is found alike.
#pragma once

#include <QString>
#include <string_view>

class QDialog;
class QDialogButtonBox;
class QLineEdit;
class QListWidget;
class QWidget;

namespace velmora::ui {

QString QText(std::string_view text);
QLineEdit* NamedLineEdit(const char* name, QWidget* parent = nullptr);
// A list in the system's fixed-pitch font, so that columns of addresses line up.
QListWidget* FixedPitchList(const char* name, QWidget* parent = nullptr);
// OK ("BOk") and Cancel ("BCancel") wired to the dialog's accept() and reject().
QDialogButtonBox* OkCancelRow(QDialog* dialog);

}  // namespace velmora::ui
