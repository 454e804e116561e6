#include "ui/box_host.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>

namespace velmora::ui {

namespace {

QMessageBox::Icon qtIcon(BoxIcon icon) {
  switch (icon) {
    case BoxIcon::Information: return QMessageBox::Information;
    case BoxIcon::Question: return QMessageBox::Question;
    case BoxIcon::Exclamation: return QMessageBox::Warning;
    case BoxIcon::Critical: return QMessageBox::Critical;
    case BoxIcon::None: break;
  }
  return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons qtButtons(BoxButtons buttons) {
  switch (buttons) {
    case BoxButtons::OkCancel: return QMessageBox::Ok | QMessageBox::Cancel;
    case BoxButtons::YesNo: return QMessageBox::Yes | QMessageBox::No;
    case BoxButtons::Ok: break;
  }
  return QMessageBox::Ok;
}

BoxAnswer answerOf(int button) {
  switch (button) {
    case QMessageBox::Cancel: return BoxAnswer::Cancel;
    case QMessageBox::Yes: return BoxAnswer::Yes;
    case QMessageBox::No: return BoxAnswer::No;
    default: return BoxAnswer::Ok;
  }
}

}  // namespace

BoxAnswer BoxHost::Message(const QString& text, BoxButtons buttons, BoxIcon icon,
                           const QString& caption) {
  asked_.push_back({text, caption, buttons, icon, false, {}});
  if (automatic_) {
    if (!answers_.empty()) {
      const BoxAnswer answer = answers_.front();
      answers_.pop_front();
      return answer;
    }
    return buttons == BoxButtons::YesNo ? BoxAnswer::Yes : BoxAnswer::Ok;
  }
  QMessageBox box(qtIcon(icon), caption.isEmpty() ? QApplication::applicationName() : caption,
                  text, qtButtons(buttons), parent_);
  return answerOf(box.exec());
}

std::optional<QString> BoxHost::Input(const QString& prompt, const QString& caption,
                                      const QString& defaultText) {
  asked_.push_back({prompt, caption, BoxButtons::OkCancel, BoxIcon::None, true, defaultText});
  if (automatic_) {
    if (inputs_.empty()) return defaultText;
    const bool cancelled = !inputs_.front().has_value();
    const QString text = inputs_.front().value_or(QString());
    inputs_.pop_front();
    if (cancelled) return std::nullopt;
    return text;
  }
  bool ok = false;
  const QString text = QInputDialog::getText(
      parent_, caption.isEmpty() ? QApplication::applicationName() : caption, prompt,
      QLineEdit::Normal, defaultText, &ok);
  if (!ok) return std::nullopt;
  return text;
}

}  // namespace velmora::ui
