#include "ui/focus_out.h"

#include <QEvent>
#include <QObject>
#include <QWidget>

namespace velmora::ui {
namespace {

constexpr const char* kFilterName = "focusOutFilter";

class FocusOutFilter : public QObject {
 public:
  FocusOutFilter(QWidget* widget, std::function<void()> leave)
      : QObject(widget), leave_(std::move(leave)) {
    setObjectName(kFilterName);
  }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    // A box raised while the dialog closes would have no window left to come back to.
    if (event->type() == QEvent::FocusOut && static_cast<QWidget*>(watched)->isVisible()) leave_();
    return QObject::eventFilter(watched, event);
  }

 private:
  std::function<void()> leave_;
};

}  // namespace

void OnFocusOut(QWidget* widget, std::function<void()> leave) {
  widget->installEventFilter(new FocusOutFilter(widget, std::move(leave)));
}

CheckedFieldsDialog::~CheckedFieldsDialog() {
  // A deleted filter is taken off its widget's list.
  for (QObject* filter : findChildren<QObject*>(kFilterName)) delete filter;
}

}  // namespace velmora::ui
