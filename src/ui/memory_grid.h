// The memory view's grid (TMemView): 16 lines of 16 one-byte cells, painted from a
// MemoryPage in one pass. It paints and measures only; keys and the mouse are handled by
// the view that owns it.
#pragma once

#include <QPoint>
#include <QRect>
#include <QString>
#include <QWidget>

#include "ui/memory_page.h"

namespace velmora::ui {

class MemoryGrid : public QWidget {
  Q_OBJECT
 public:
  MemoryGrid(const MemoryPage& page, QWidget* parent = nullptr);

  // The cursor cell shows text (what is being typed there) instead of the page's, with
  // its characters highlighted when selected.
  void setCursorCell(int cell, const QString& text, bool textSelected);
  QRect cellRect(int cell) const;
  // The cell under pos; outside the cells -1, or with clamp the nearest cell.
  int cellAt(QPoint pos, bool clamp) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void paintCursor(class QPainter& painter) const;

  const MemoryPage& page_;
  int cursorCell_ = 0;
  QString cursorText_;
  bool cursorTextSelected_ = true;
};

}  // namespace velmora::ui
