// The common measure of the memory view's painted parts: the grid, its line labels and
// its column labels line up because they all size themselves from this.
#pragma once

#include <QFont>
#include <QFontMetrics>
#include <algorithm>

namespace velmora::ui {

struct MemoryCellMetrics {
  explicit MemoryCellMetrics(const QFont& font) {
    const QFontMetrics fm(font);
    charWidth = fm.horizontalAdvance(QLatin1Char('0'));
    padding = std::max(3, charWidth / 2);
    cellWidth = 2 * charWidth + 2 * padding;
    rowHeight = fm.height() + 4;
    ascent = fm.ascent();
  }

  int charWidth;
  int padding;
  int cellWidth;
  int rowHeight;
  int ascent;
};

}  // namespace velmora::ui
