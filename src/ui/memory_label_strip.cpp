#include "ui/memory_label_strip.h"

#include <QFontDatabase>
#include <QPainter>

#include "ui/memory_cell_metrics.h"

namespace velmora::ui {

namespace {
// The grid's frame: the strips start where its cells do.
constexpr int kFrame = 1;
}  // namespace

MemoryLabelStrip::MemoryLabelStrip(Qt::Orientation orientation, int widthInChars,
                                   const QString& name, QWidget* parent)
    : QWidget(parent), orientation_(orientation), widthInChars_(widthInChars) {
  setObjectName(name);
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void MemoryLabelStrip::setTexts(const std::array<QString, kLabels>& texts) {
  if (texts == texts_) return;
  texts_ = texts;
  update();
}

QSize MemoryLabelStrip::sizeHint() const {
  const MemoryCellMetrics m(font());
  if (orientation_ == Qt::Horizontal) {
    return QSize(kLabels * m.cellWidth + 2 * kFrame, m.rowHeight);
  }
  return QSize(widthInChars_ * m.charWidth + 2 * m.padding, kLabels * m.rowHeight + 2 * kFrame);
}

void MemoryLabelStrip::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const MemoryCellMetrics m(font());
  painter.setPen(palette().color(QPalette::WindowText));
  for (int i = 0; i < kLabels; ++i) {
    const QString& label = texts_[static_cast<size_t>(i)];
    if (orientation_ == Qt::Horizontal) {
      const QRect box(kFrame + i * m.cellWidth, 0, m.cellWidth, m.rowHeight);
      painter.drawText(box, Qt::AlignCenter, label);
    } else {
      painter.drawText(m.padding, kFrame + i * m.rowHeight + 2 + m.ascent, label);
    }
  }
}

}  // namespace velmora::ui
