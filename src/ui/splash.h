// The window shown while Velmora starts: a drawn picture with the program's name and a
// progress bar that start-up moves from 0 to 100.
#pragma once

#include <QWidget>

class QProgressBar;

namespace velmora::ui {

class Splash : public QWidget {
  Q_OBJECT
 public:
  explicit Splash(QWidget* parent = nullptr);

  // Values outside 0..100 are taken as the nearer end.
  void setProgress(int value);
  int progress() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QProgressBar* progress_;
};

}  // namespace velmora::ui
