#include "ui/message_list_model.h"

#include <algorithm>

namespace velmora::ui {

MessageListModel::MessageListModel(QObject* parent) : QAbstractListModel(parent) {}

int MessageListModel::rowCount(const QModelIndex& parent) const {
  if (parent.isValid()) return 0;
  return static_cast<int>(closed_.size()) + (hasOpenRow() ? 1 : 0);
}

QVariant MessageListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
  const auto row = static_cast<size_t>(index.row());
  return row < closed_.size() ? closed_[row] : open_;
}

Qt::ItemFlags MessageListModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

void MessageListModel::trimFor(int extra) {
  const int excess = rowCount() + extra - kMaxRows;
  if (excess <= 0 || closed_.empty()) return;
  const int dropped = std::min(excess, static_cast<int>(closed_.size()));
  beginRemoveRows({}, 0, dropped - 1);
  closed_.erase(closed_.begin(), closed_.begin() + dropped);
  endRemoveRows();
}

void MessageListModel::appendLine(const QString& line) {
  if (hasOpenRow()) {
    // The open row becomes the closed line in place; the views keep their selection on it.
    const int row = static_cast<int>(closed_.size());
    closed_.push_back(line);
    open_.clear();
    emit dataChanged(index(row), index(row));
    return;
  }
  trimFor(1);
  const int row = static_cast<int>(closed_.size());
  beginInsertRows({}, row, row);
  closed_.push_back(line);
  endInsertRows();
}

void MessageListModel::setOpenLine(const QString& line) {
  if (line == open_) return;
  const int row = static_cast<int>(closed_.size());
  if (line.isEmpty()) {
    beginRemoveRows({}, row, row);
    open_.clear();
    endRemoveRows();
  } else if (!hasOpenRow()) {
    trimFor(1);
    const int openRow = static_cast<int>(closed_.size());
    beginInsertRows({}, openRow, openRow);
    open_ = line;
    endInsertRows();
  } else {
    open_ = line;
    emit dataChanged(index(row), index(row));
  }
}

void MessageListModel::clear() {
  beginResetModel();
  closed_.clear();
  open_.clear();
  endResetModel();
}

QString MessageListModel::textOf(const QModelIndexList& rows) const {
  QModelIndexList sorted = rows;
  std::sort(sorted.begin(), sorted.end(),
            [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
  QStringList lines;
  for (const QModelIndex& row : sorted) lines << data(row).toString();
  return lines.join(QLatin1Char('\n'));
}

}  // namespace velmora::ui
