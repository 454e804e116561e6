// The register list beside the memory view: a header, the list `ISfr` and the buttons
// that add and remove registers. It only asks; the main window runs the operations.
#pragma once

#include <QString>
#include <QWidget>

class QAbstractItemModel;
class QAction;
class QListView;
class QPushButton;

namespace velmora::ui {

class RegisterListPanel : public QWidget {
  Q_OBJECT
 public:
  // model: a RegisterListModel (its NameRole names a line's register).
  explicit RegisterListPanel(QAbstractItemModel& model, QWidget* parent = nullptr);

  QListView* list() const { return list_; }
  // Off while an operation runs: adding, removing and editing start operations.
  void setOperationsEnabled(bool on);

 signals:
  void addRequested();
  void removeRequested(const QString& name);
  void editRequested(const QString& name);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QString currentName() const;
  void requestRemove();
  void showContextMenu(const QPoint& at);

  QListView* list_ = nullptr;
  QPushButton* add_ = nullptr;
  QPushButton* remove_ = nullptr;
  QAction* addAction_ = nullptr;
  QAction* removeAction_ = nullptr;
  bool enabled_ = true;
};

}  // namespace velmora::ui
