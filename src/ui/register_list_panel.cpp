#include "ui/register_list_panel.h"

#include <QAction>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/register_list_model.h"

namespace velmora::ui {

RegisterListPanel::RegisterListPanel(QAbstractItemModel& model, QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("PRegisters"));
  auto* header = new QLabel(tr("Registers"));
  QFont bold = header->font();
  bold.setBold(true);
  header->setFont(bold);

  list_ = new QListView;
  list_->setObjectName(QStringLiteral("ISfr"));
  list_->setModel(&model);
  list_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setUniformItemSizes(true);
  list_->setContextMenuPolicy(Qt::CustomContextMenu);
  list_->setToolTip(tr("Double click a register to change it"));
  list_->installEventFilter(this);
  // Wide enough for a whole line: name, address and value.
  const QFontMetrics metrics(list_->font());
  list_->setMinimumWidth(metrics.horizontalAdvance(RegisterLine(QStringLiteral("M"), 0, 0)) +
                         metrics.averageCharWidth() * 2 + 24);

  add_ = new QPushButton(tr("Add..."));
  add_->setObjectName(QStringLiteral("BAddSfr"));
  add_->setToolTip(tr("Add a register to the list"));
  remove_ = new QPushButton(tr("Remove"));
  remove_->setObjectName(QStringLiteral("BRemoveSfr"));
  remove_->setToolTip(tr("Remove the chosen register from the list"));
  addAction_ = new QAction(tr("Add register..."), this);
  addAction_->setObjectName(QStringLiteral("USfrAdd"));
  removeAction_ = new QAction(tr("Remove"), this);
  removeAction_->setObjectName(QStringLiteral("USfrRemove"));

  connect(add_, &QPushButton::clicked, this, &RegisterListPanel::addRequested);
  connect(addAction_, &QAction::triggered, this, &RegisterListPanel::addRequested);
  connect(remove_, &QPushButton::clicked, this, &RegisterListPanel::requestRemove);
  connect(removeAction_, &QAction::triggered, this, &RegisterListPanel::requestRemove);
  connect(list_, &QListView::customContextMenuRequested, this, &RegisterListPanel::showContextMenu);
  connect(list_, &QListView::doubleClicked, this, [this](const QModelIndex& at) {
    if (enabled_ && at.isValid())
      emit editRequested(at.data(RegisterListModel::NameRole).toString());
  });

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(add_);
  buttons->addWidget(remove_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(header);
  layout->addWidget(list_, 1);
  layout->addLayout(buttons);
}

void RegisterListPanel::setOperationsEnabled(bool on) {
  enabled_ = on;
  for (QWidget* button : {static_cast<QWidget*>(add_), static_cast<QWidget*>(remove_)})
    button->setEnabled(on);
  addAction_->setEnabled(on);
  removeAction_->setEnabled(on);
}

QString RegisterListPanel::currentName() const {
  return list_->currentIndex().data(RegisterListModel::NameRole).toString();
}

void RegisterListPanel::requestRemove() {
  const QString name = currentName();
  if (enabled_ && !name.isEmpty()) emit removeRequested(name);
}

void RegisterListPanel::showContextMenu(const QPoint& at) {
  const QModelIndex under = list_->indexAt(at);
  if (under.isValid()) list_->setCurrentIndex(under);
  removeAction_->setEnabled(enabled_ && !currentName().isEmpty());
  QMenu menu(this);
  menu.setObjectName(QStringLiteral("MSfr"));
  menu.addAction(addAction_);
  menu.addAction(removeAction_);
  menu.exec(list_->viewport()->mapToGlobal(at));
  removeAction_->setEnabled(enabled_);
}

bool RegisterListPanel::eventFilter(QObject* watched, QEvent* event) {
  if (watched == list_ && event->type() == QEvent::KeyPress) {
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Delete) {
      requestRemove();
      return true;
    }
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
      const QString name = currentName();
      if (enabled_ && !name.isEmpty()) emit editRequested(name);
      return true;
    }
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace velmora::ui
