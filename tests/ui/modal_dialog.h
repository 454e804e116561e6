// Drives a modal dialog that a control opens with exec(): the work runs once the dialog
// is the active modal widget, inside its event loop, so the test clicks and types into
// the real dialog.
#pragma once

#include <QApplication>
#include <QTimer>
#include <functional>

namespace velmora::test {

template <typename Dialog>
void WhenDialogOpens(std::function<void(Dialog&)> work) {
  auto* poll = new QTimer;
  poll->setInterval(5);
  QObject::connect(poll, &QTimer::timeout, [poll, work = std::move(work)] {
    auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
    if (!dialog) return;
    poll->stop();
    poll->deleteLater();
    work(*dialog);
  });
  poll->start();
}

}  // namespace velmora::test
