// The command line `TCommand`: Enter hands the text on (a command, hexadecimal bytes or
// terminal text for a running target program) and empties the line. Up and Down bring
// back the lines entered before.
#pragma once

#include <QLineEdit>
#include <QStringList>

namespace velmora::ui {

class CommandLine : public QLineEdit {
  Q_OBJECT
 public:
  static constexpr int kHistorySize = 50;

  explicit CommandLine(QWidget* parent = nullptr);

 signals:
  void entered(const QString& text);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void enter();

  QStringList history_;
  int historyAt_ = 0;  // history_.size() while the line is not a recalled one
};

}  // namespace velmora::ui
