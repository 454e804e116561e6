// The rows of the message list: every closed message line and, as the last row, the open
// line a running target program is still writing. The list keeps the newest lines only,
// so that a chatty program cannot make the window grow without end.
#pragma once

#include <QAbstractListModel>
#include <QString>
#include <deque>

namespace velmora::ui {

class MessageListModel : public QAbstractListModel {
  Q_OBJECT
 public:
  // Rows in all, the open line included.
  static constexpr int kMaxRows = 1000;

  explicit MessageListModel(QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

  // A line was closed: it takes the open line's place, which starts empty.
  void appendLine(const QString& line);
  // The open line grew (or was cleared); an empty open line has no row.
  void setOpenLine(const QString& line);
  void clear();

  // The text of the rows, in order, joined with newlines: what Ctrl+C copies.
  QString textOf(const QModelIndexList& rows) const;

 private:
  bool hasOpenRow() const { return !open_.isEmpty(); }
  // Drops the oldest closed lines until the rows fit, with room for extra more.
  void trimFor(int extra);

  std::deque<QString> closed_;
  QString open_;
};

}  // namespace velmora::ui
