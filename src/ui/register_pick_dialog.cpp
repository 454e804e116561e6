#include "ui/register_pick_dialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStringListModel>
#include <QVBoxLayout>

namespace velmora::ui {

RegisterPickDialog::RegisterPickDialog(const QStringList& names, QWidget* parent)
    : QDialog(parent) {
  setObjectName(QStringLiteral("FSfr"));
  setWindowTitle(tr("Add Register"));

  names_ = new QStringListModel(names, this);
  filtered_ = new QSortFilterProxyModel(this);
  filtered_->setSourceModel(names_);
  filtered_->setFilterCaseSensitivity(Qt::CaseInsensitive);

  filter_ = new QLineEdit;
  filter_->setObjectName(QStringLiteral("TSfrFilter"));
  filter_->setPlaceholderText(tr("Type part of a name"));
  filter_->setClearButtonEnabled(true);
  // Up and Down in the filter move through the list, so the hands stay on the keys.
  filter_->installEventFilter(this);

  list_ = new QListView;
  list_->setObjectName(QStringLiteral("ISfr"));
  list_->setModel(filtered_);
  list_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setUniformItemSizes(true);
  connect(list_, &QListView::doubleClicked, this, [this](const QModelIndex&) { accept(); });
  connect(filter_, &QLineEdit::textChanged, this, &RegisterPickDialog::filterChanged);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));
  connect(buttons, &QDialogButtonBox::accepted, this, &RegisterPickDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &RegisterPickDialog::reject);

  auto* filterRow = new QHBoxLayout;
  filterRow->addWidget(new QLabel(tr("Find:")));
  filterRow->addWidget(filter_, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(filterRow);
  layout->addWidget(list_, 1);
  layout->addWidget(buttons);
  filterChanged(QString());
  filter_->setFocus();
  resize(300, 420);
}

void RegisterPickDialog::filterChanged(const QString& text) {
  filtered_->setFilterFixedString(text);
  if (!list_->currentIndex().isValid() && filtered_->rowCount() > 0)
    list_->setCurrentIndex(filtered_->index(0, 0));
}

void RegisterPickDialog::accept() {
  const QModelIndex current = list_->currentIndex();
  if (!current.isValid()) return;  // nothing to add; the dialog stays
  chosen_ = current.data().toString();
  QDialog::accept();
}

bool RegisterPickDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == filter_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp ||
        key == Qt::Key_PageDown) {
      QApplication::sendEvent(list_, event);
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace velmora::ui
