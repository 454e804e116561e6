#include "ui/status_bar.h"

#include <QLabel>
#include <QProgressBar>
#include <algorithm>
#include <limits>

#include "link/target_state.h"

namespace velmora::ui {

StatusBar::StatusBar(QWidget* parent)
    : QStatusBar(parent),
      state_(new QLabel(this)),
      progressLabel_(new QLabel(this)),
      progressBar_(new QProgressBar(this)) {
  setObjectName(QStringLiteral("XStatusbar"));
  state_->setObjectName(QStringLiteral("XStatusText"));
  progressLabel_->setObjectName(QStringLiteral("XProgressText"));
  progressBar_->setObjectName(QStringLiteral("XProgress"));
  progressBar_->setRange(0, 100);
  progressBar_->setMaximumWidth(200);
  addWidget(state_, 1);
  addPermanentWidget(progressLabel_);
  addPermanentWidget(progressBar_);
  hideProgress();
  RefreshStatus(static_cast<int32_t>(TargetState::NotConnected));
}

void StatusBar::RefreshStatus(int32_t state) {
  if (state < std::numeric_limits<int16_t>::min() || state > std::numeric_limits<int16_t>::max())
    return;
  const auto text = TargetStateText(static_cast<int16_t>(state));
  if (!text) return;
  state_->setText(QString::fromUtf8(text->data(), static_cast<qsizetype>(text->size())));
}

QString StatusBar::stateText() const {
  return state_->text();
}

void StatusBar::showProgress(const QString& operation, qint64 done, qint64 total) {
  if (total <= 0) {
    hideProgress();
    return;
  }
  const qint64 clamped = std::clamp<qint64>(done, 0, total);
  const int percent = static_cast<int>(clamped * 100 / total);
  progressBar_->setValue(percent);
  progressLabel_->setText(
      tr("%1: %2 of %3 bytes (%4%)").arg(operation).arg(clamped).arg(total).arg(percent));
  progressLabel_->show();
  progressBar_->show();
}

void StatusBar::hideProgress() {
  progressLabel_->hide();
  progressBar_->hide();
  progressLabel_->clear();
  progressBar_->reset();
}

bool StatusBar::progressVisible() const {
  return !progressBar_->isHidden();
}

QString StatusBar::progressText() const {
  return progressLabel_->text();
}

}  // namespace velmora::ui
