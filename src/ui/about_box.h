// The "About Velmora" box: the program's name, its version and what it is for.
#pragma once

#include <QDialog>

namespace velmora::ui {

class AboutBox : public QDialog {
  Q_OBJECT
 public:
  explicit AboutBox(QWidget* parent = nullptr);
};

}  // namespace velmora::ui
