#include "ui/dialog_parts.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

namespace velmora::ui {

QString QText(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QLineEdit* NamedLineEdit(const char* name, QWidget* parent) {
  auto* edit = new QLineEdit(parent);
  edit->setObjectName(QString::fromLatin1(name));
  return edit;
}

QListWidget* FixedPitchList(const char* name, QWidget* parent) {
  auto* list = new QListWidget(parent);
  list->setObjectName(QString::fromLatin1(name));
  list->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  return list;
}

QDialogButtonBox* OkCancelRow(QDialog* dialog) {
  auto* row = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
  row->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  row->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));
  row->button(QDialogButtonBox::Cancel)->setText(QDialog::tr("Cancel"));
  QObject::connect(row, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
  QObject::connect(row, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  return row;
}

}  // namespace velmora::ui
