// The pick list `FSfr`: every register the current controller type defines, with a filter
// field, so that one is found among a few hundred by typing part of its name.
#pragma once

#include <QDialog>
#include <QString>
#include <QStringList>

class QLineEdit;
class QListView;
class QSortFilterProxyModel;
class QStringListModel;

namespace velmora::ui {

class RegisterPickDialog : public QDialog {
  Q_OBJECT
 public:
  explicit RegisterPickDialog(const QStringList& names, QWidget* parent = nullptr);

  // The register chosen by OK or a double click; empty before that.
  QString chosenName() const { return chosen_; }
  QSortFilterProxyModel& filtered() { return *filtered_; }

  void accept() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void filterChanged(const QString& text);

  QStringListModel* names_ = nullptr;
  QSortFilterProxyModel* filtered_ = nullptr;
  QLineEdit* filter_ = nullptr;
  QListView* list_ = nullptr;
  QString chosen_;
};

}  // namespace velmora::ui
