#include "ui/print_renderer.h"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QPainter>
#include <QPrinter>
#include <algorithm>

namespace velmora::ui {

bool RenderLines(QPrinter& printer, const std::vector<std::string>& lines) {
  QPainter painter;
  if (!painter.begin(&printer)) return false;
  painter.setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  // Metrics of the printer, not of the screen: the two differ by their resolution.
  const QFontMetrics metrics(painter.font(), &printer);
  const int lineHeight = std::max(1, metrics.lineSpacing());
  const int pageHeight = printer.pageLayout().paintRectPixels(printer.resolution()).height();
  const int linesPerPage = std::max(1, pageHeight / lineHeight);

  int onPage = 0;
  for (const std::string& line : lines) {
    if (onPage == linesPerPage) {
      if (!printer.newPage()) return false;
      onPage = 0;
    }
    // Printout bytes are one character each: the text style prints every byte from 20h
    // up, so they are taken as Latin-1 rather than UTF-8.
    painter.drawText(0, onPage * lineHeight + metrics.ascent(),
                     QString::fromLatin1(line.data(), static_cast<qsizetype>(line.size())));
    ++onPage;
  }
  return painter.end();
}

}  // namespace velmora::ui
