#include "ui/memory_grid.h"

#include <QFontDatabase>
#include <QPainter>
#include <algorithm>

#include "ui/memory_cell_metrics.h"

namespace velmora::ui {

namespace {
constexpr int kFrame = 1;
}

MemoryGrid::MemoryGrid(const MemoryPage& page, QWidget* parent) : QWidget(parent), page_(page) {
  setObjectName(QStringLiteral("TMemView"));
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void MemoryGrid::setCursorCell(int cell, const QString& text, bool textSelected) {
  cursorCell_ = cell;
  cursorText_ = text;
  cursorTextSelected_ = textSelected;
  update();
}

QRect MemoryGrid::cellRect(int cell) const {
  const MemoryCellMetrics m(font());
  const int line = cell / MemoryPage::kColumns;
  const int column = cell % MemoryPage::kColumns;
  return QRect(kFrame + column * m.cellWidth, kFrame + line * m.rowHeight, m.cellWidth,
               m.rowHeight);
}

int MemoryGrid::cellAt(QPoint pos, bool clamp) const {
  const MemoryCellMetrics m(font());
  int column = (pos.x() - kFrame) / m.cellWidth;
  int line = (pos.y() - kFrame) / m.rowHeight;
  const bool inside = pos.x() >= kFrame && pos.y() >= kFrame && column < MemoryPage::kColumns &&
                      line < MemoryPage::kLines;
  if (!inside && !clamp) return -1;
  column = std::clamp(pos.x() < kFrame ? 0 : column, 0, MemoryPage::kColumns - 1);
  line = std::clamp(pos.y() < kFrame ? 0 : line, 0, MemoryPage::kLines - 1);
  return line * MemoryPage::kColumns + column;
}

QSize MemoryGrid::sizeHint() const {
  const MemoryCellMetrics m(font());
  return QSize(MemoryPage::kColumns * m.cellWidth + 2 * kFrame,
               MemoryPage::kLines * m.rowHeight + 2 * kFrame);
}

void MemoryGrid::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const MemoryCellMetrics m(font());
  painter.fillRect(rect(), palette().color(QPalette::Window));
  painter.setPen(palette().color(QPalette::Mid));
  painter.drawRect(QRect(0, 0, sizeHint().width() - 1, sizeHint().height() - 1));
  for (int cell = 0; cell < MemoryPage::kCells; ++cell) {
    const auto at = static_cast<size_t>(cell);
    const QRect box = cellRect(cell);
    painter.fillRect(box, page_.background[at]);
    if (cell == cursorCell_) continue;
    painter.setPen(page_.foreground[at]);
    painter.drawText(box.x() + m.padding, box.y() + 2 + m.ascent, page_.text[at]);
  }
  paintCursor(painter);
}

void MemoryGrid::paintCursor(QPainter& painter) const {
  const MemoryCellMetrics m(font());
  const auto at = static_cast<size_t>(cursorCell_);
  const QRect box = cellRect(cursorCell_);
  const QRect textBox(box.x() + m.padding, box.y() + 2,
                      m.charWidth * static_cast<int>(cursorText_.size()), m.rowHeight - 4);
  const bool focused = hasFocus();
  if (cursorTextSelected_ && focused && !cursorText_.isEmpty()) {
    painter.fillRect(textBox, palette().color(QPalette::Highlight));
    painter.setPen(palette().color(QPalette::HighlightedText));
  } else {
    painter.setPen(page_.foreground[at]);
  }
  painter.drawText(textBox.x(), box.y() + 2 + m.ascent, cursorText_);
  if (focused && !cursorTextSelected_) {
    // The caret of the cell being typed into.
    const int x = textBox.right() + 1;
    painter.drawLine(x, textBox.top(), x, textBox.bottom());
  }
  painter.setPen(focused ? palette().color(QPalette::Highlight) : palette().color(QPalette::Mid));
  painter.drawRect(box.adjusted(0, 0, -1, -1));
}

}  // namespace velmora::ui
