// Drives a modal dialog that a control opens with exec(): the work runs once the dialog
// is the active modal widget, inside its event loop, so the test clicks and types into
// the real dialog.
#pragma once

#include <QApplication>
#include <QTest>
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
    if (!QTest::qWaitForWindowExposed(dialog)) qWarning("the dialog was not shown");
    work(*dialog);
    // A check that failed inside work returned before the dialog was closed: close it, so
    // that the test fails instead of waiting for ever.
    QTimer::singleShot(10000, dialog, [dialog] {
      if (dialog->isVisible()) dialog->reject();
    });
  });
  poll->start();
}

}  // namespace velmora::test
