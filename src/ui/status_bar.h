// The status bar `XStatusbar`: the text of the target state, and while a long transfer
// runs a progress bar with its bytes and percent.
#pragma once

#include <QStatusBar>
#include <cstdint>

class QLabel;
class QProgressBar;

namespace velmora::ui {

class StatusBar : public QStatusBar {
  Q_OBJECT
 public:
  explicit StatusBar(QWidget* parent = nullptr);

  // The text of the state; a value without one leaves the text as it is.
  void RefreshStatus(int32_t state);
  QString stateText() const;

  void showProgress(const QString& operation, qint64 done, qint64 total);
  void hideProgress();
  bool progressVisible() const;
  QString progressText() const;

 private:
  QLabel* state_;
  QLabel* progressLabel_;
  QProgressBar* progressBar_;
};

}  // namespace velmora::ui
