// A strip of 16 labels painted beside or above the memory grid, lined up with its lines
// (the addresses, the ASCII text) or its columns (00..0F). Each strip carries the control
// name of its group, so a test or a reviewer finds it as one widget.
#pragma once

#include <QString>
#include <QWidget>
#include <array>

namespace velmora::ui {

class MemoryLabelStrip : public QWidget {
  Q_OBJECT
 public:
  static constexpr int kLabels = 16;

  // Vertical: one label a grid line, each widthInChars wide. Horizontal: one label a grid
  // column, centred in the column.
  MemoryLabelStrip(Qt::Orientation orientation, int widthInChars, const QString& name,
                   QWidget* parent = nullptr);

  void setTexts(const std::array<QString, kLabels>& texts);
  const QString& text(int index) const { return texts_[static_cast<size_t>(index)]; }

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Qt::Orientation orientation_;
  int widthInChars_;
  std::array<QString, kLabels> texts_;
};

}  // namespace velmora::ui
