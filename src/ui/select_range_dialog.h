// The select-range dialog ("FSelectRange"): a start and an end address, and a list of
// block sizes whose click sets the end to start + size - 1. The caller adds the range.
#pragma once

#include <QDialog>
#include <cstdint>

class QListWidget;

namespace velmora::ui {

class AddressField;
class BoxHost;

class SelectRangeDialog : public QDialog {
  Q_OBJECT
 public:
  explicit SelectRangeDialog(BoxHost& boxes, QWidget* parent = nullptr);

  int32_t start() const;
  int32_t end() const;

 private:
  void blockChosen(int row);

  AddressField* start_;
  AddressField* end_;
  QListWidget* blocks_;
};

}  // namespace velmora::ui
