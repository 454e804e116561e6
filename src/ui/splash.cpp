#include "ui/splash.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QProgressBar>
#include <QVBoxLayout>
#include <algorithm>

namespace velmora::ui {

namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 280;
constexpr int kPictureHeight = 250;

// A stylised package with pins: the board's controller, drawn in thin lines.
void drawChip(QPainter& painter, const QRectF& body) {
  painter.setPen(QPen(QColor(0xB8, 0xD4, 0xE3), 1.5));
  painter.setBrush(QColor(0x1F, 0x3B, 0x52));
  painter.drawRoundedRect(body, 6, 6);
  constexpr int kPins = 6;
  const double step = body.height() / (kPins + 1);
  for (int pin = 1; pin <= kPins; ++pin) {
    const double y = body.top() + pin * step;
    painter.drawLine(QPointF(body.left() - 10, y), QPointF(body.left(), y));
    painter.drawLine(QPointF(body.right(), y), QPointF(body.right() + 10, y));
  }
  painter.setBrush(Qt::NoBrush);
  painter.drawEllipse(QPointF(body.left() + 10, body.top() + 10), 3, 3);
}

}  // namespace

Splash::Splash(QWidget* parent) : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint) {
  setWindowTitle(tr("Launching Velmora"));
  setObjectName("FSplash");
  setFixedSize(kWidth, kHeight);

  progress_ = new QProgressBar(this);
  progress_->setObjectName("XProgress");
  progress_->setRange(0, 100);
  progress_->setValue(0);
  progress_->setTextVisible(false);
  progress_->setFixedHeight(kHeight - kPictureHeight - 12);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(16, 0, 16, 10);
  layout->addStretch(1);
  layout->addWidget(progress_);
}

void Splash::setProgress(int value) {
  progress_->setValue(std::clamp(value, 0, 100));
}

int Splash::progress() const {
  return progress_->value();
}

void Splash::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);

  QLinearGradient sky(0, 0, 0, height());
  sky.setColorAt(0, QColor(0x16, 0x2A, 0x3D));
  sky.setColorAt(1, QColor(0x2C, 0x55, 0x6E));
  painter.fillRect(rect(), sky);

  // Two calm waves across the lower half, like a signal on a quiet line.
  for (int wave = 0; wave < 2; ++wave) {
    QPainterPath path;
    const double base = 175 + wave * 22;
    path.moveTo(0, base);
    for (int x = 0; x <= width(); x += 60) {
      path.quadTo(x + 15, base - 14 + wave * 4, x + 30, base);
      path.quadTo(x + 45, base + 14 - wave * 4, x + 60, base);
    }
    painter.setPen(QPen(QColor(0x7F, 0xB8, 0xCF, 110 - wave * 40), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(path);
  }

  drawChip(painter, QRectF(40, 48, 72, 96));

  QFont title = font();
  title.setPointSize(30);
  title.setBold(true);
  title.setLetterSpacing(QFont::AbsoluteSpacing, 2);
  painter.setFont(title);
  painter.setPen(QColor(0xF2, 0xF6, 0xF8));
  painter.drawText(QRectF(140, 48, width() - 160, 60), Qt::AlignLeft | Qt::AlignVCenter,
                   QStringLiteral("Velmora"));

  QFont subtitle = font();
  subtitle.setPointSize(11);
  painter.setFont(subtitle);
  painter.setPen(QColor(0xB8, 0xD4, 0xE3));
  painter.drawText(QRectF(142, 108, width() - 160, 44), Qt::AlignLeft | Qt::TextWordWrap,
                   tr("Development and programming tools\nfor Korda boards"));
  painter.drawText(QRectF(16, kPictureHeight - 30, width() - 32, 20),
                   Qt::AlignRight | Qt::AlignVCenter,
                   tr("Version %1").arg(QStringLiteral(VELMORA_VERSION)));
}

}  // namespace velmora::ui
