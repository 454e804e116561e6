#include "ui/command_line.h"

#include <QFontDatabase>
#include <QKeyEvent>

namespace velmora::ui {

CommandLine::CommandLine(QWidget* parent) : QLineEdit(parent) {
  setObjectName(QStringLiteral("TCommand"));
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setPlaceholderText(tr("_command, :hex bytes or text for the target"));
  connect(this, &QLineEdit::returnPressed, this, &CommandLine::enter);
}

void CommandLine::enter() {
  const QString line = text();
  clear();
  if (!line.isEmpty() && (history_.isEmpty() || history_.last() != line)) {
    history_.append(line);
    if (history_.size() > kHistorySize) history_.removeFirst();
  }
  historyAt_ = static_cast<int>(history_.size());
  emit entered(line);
}

void CommandLine::keyPressEvent(QKeyEvent* event) {
  const int count = static_cast<int>(history_.size());
  if (event->key() == Qt::Key_Up && historyAt_ > 0) {
    setText(history_[--historyAt_]);
    return;
  }
  if (event->key() == Qt::Key_Down && historyAt_ < count) {
    ++historyAt_;
    setText(historyAt_ < count ? history_[historyAt_] : QString());
    return;
  }
  QLineEdit::keyPressEvent(event);
}

}  // namespace velmora::ui
