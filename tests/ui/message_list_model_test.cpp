// The message list: closed lines with the open line as the last row, the 1000-row limit,
// copying selected rows and following the newest line.
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QTest>

#include "ui/message_list_model.h"
#include "ui/message_list_view.h"
#include "ui_test_registry.h"

using velmora::ui::MessageListModel;
using velmora::ui::MessageListView;

namespace {

QStringList rows(const MessageListModel& model) {
  QStringList texts;
  for (int row = 0; row < model.rowCount(); ++row) texts << model.data(model.index(row)).toString();
  return texts;
}

// A model checked by Qt's tester at every change it signals.
struct CheckedModel {
  MessageListModel model;
  QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
};

}  // namespace

class MessageListModelTest : public QObject {
  Q_OBJECT

 private slots:
  void openLineIsTheLastRowUntilItCloses_data() {
    QTest::addColumn<QStringList>("steps");  // "+text" closes a line, "~text" sets the open one
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("closed lines only") << QStringList{"+a", "+b"} << QStringList{"a", "b"};
    QTest::newRow("open line after them") << QStringList{"+a", "~he"} << QStringList{"a", "he"};
    QTest::newRow("open line grows in place")
        << QStringList{"+a", "~h", "~hel", "~hello"} << QStringList{"a", "hello"};
    QTest::newRow("closing takes the open row")
        << QStringList{"~hel", "+hello", "+next"} << QStringList{"hello", "next"};
    QTest::newRow("an emptied open line has no row")
        << QStringList{"+a", "~x", "~"} << QStringList{"a"};
  }
  void openLineIsTheLastRowUntilItCloses() {
    QFETCH(QStringList, steps);
    QFETCH(QStringList, expected);
    CheckedModel checked;
    for (const QString& step : steps) {
      if (step.startsWith('+'))
        checked.model.appendLine(step.mid(1));
      else
        checked.model.setOpenLine(step.mid(1));
    }
    QCOMPARE(rows(checked.model), expected);
  }

  void keepsTheNewestThousandRows_data() {
    QTest::addColumn<int>("closed");
    QTest::addColumn<bool>("openLine");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("last");
    QTest::newRow("exactly full") << 1000 << false << "line 0"
                                  << "line 999";
    QTest::newRow("five too many") << 1005 << false << "line 5"
                                   << "line 1004";
    QTest::newRow("open line takes a row") << 1000 << true << "line 1"
                                           << "typing";
  }
  void keepsTheNewestThousandRows() {
    QFETCH(int, closed);
    QFETCH(bool, openLine);
    QFETCH(QString, first);
    QFETCH(QString, last);
    CheckedModel checked;
    for (int i = 0; i < closed; ++i) checked.model.appendLine(QStringLiteral("line %1").arg(i));
    if (openLine) checked.model.setOpenLine(QStringLiteral("typing"));
    QCOMPARE(checked.model.rowCount(), MessageListModel::kMaxRows);
    QCOMPARE(checked.model.data(checked.model.index(0)).toString(), first);
    QCOMPARE(checked.model.data(checked.model.index(MessageListModel::kMaxRows - 1)).toString(),
             last);
  }

  void ctrlCCopiesTheSelectedRowsInOrder() {
    MessageListModel model;
    MessageListView view(model);
    for (const char* line : {"first", "second", "third", "fourth"}) model.appendLine(line);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    // Picked bottom-up: the copy is still in list order.
    view.selectionModel()->select(model.index(3), QItemSelectionModel::Select);
    view.selectionModel()->select(model.index(1), QItemSelectionModel::Select);
    QApplication::clipboard()->clear();
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("second\nfourth"));
  }

  void followsTheNewestLineUnlessScrolledBack() {
    MessageListModel model;
    MessageListView view(model);
    view.resize(300, 120);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QScrollBar* bar = view.verticalScrollBar();
    for (int i = 0; i < 200; ++i) model.appendLine(QStringLiteral("line %1").arg(i));
    QTRY_VERIFY(bar->maximum() > 0);
    QTRY_COMPARE(bar->value(), bar->maximum());
    model.setOpenLine(QStringLiteral("partial"));
    QTRY_COMPARE(bar->value(), bar->maximum());

    // Someone reading older lines is left where they are.
    bar->setValue(0);
    model.appendLine(QStringLiteral("later"));
    QTest::qWait(20);
    QCOMPARE(bar->value(), 0);
  }
};

VELMORA_UI_TEST(MessageListModelTest)
#include "message_list_model_test.moc"
