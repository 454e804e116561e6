#include "ui/message_list_view.h"

#include <QApplication>
#include <QClipboard>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QScrollBar>

#include "ui/message_list_model.h"

namespace velmora::ui {

MessageListView::MessageListView(MessageListModel& model, QWidget* parent)
    : QListView(parent), model_(model) {
  setObjectName(QStringLiteral("ITerminal"));
  setModel(&model_);
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setUniformItemSizes(true);  // thousands of rows of one height lay out in no time
  setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  connect(&model_, &QAbstractItemModel::rowsAboutToBeInserted, this,
          &MessageListView::rememberIfAtEnd);
  connect(&model_, &QAbstractItemModel::rowsInserted, this, &MessageListView::followEnd);
  connect(&model_, &QAbstractItemModel::dataChanged, this, [this] {
    rememberIfAtEnd();
    followEnd();
  });
}

void MessageListView::rememberIfAtEnd() {
  const QScrollBar* bar = verticalScrollBar();
  atEnd_ = bar->value() >= bar->maximum();
}

void MessageListView::followEnd() {
  if (atEnd_) scrollToBottom();
}

void MessageListView::copySelection() {
  const QModelIndexList rows = selectionModel()->selectedRows();
  if (rows.isEmpty()) return;
  QApplication::clipboard()->setText(model_.textOf(rows));
}

void MessageListView::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    copySelection();
    event->accept();
    return;
  }
  QListView::keyPressEvent(event);
}

}  // namespace velmora::ui
