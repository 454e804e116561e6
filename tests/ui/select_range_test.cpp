// The select-range dialog: its block sizes, the end it computes from a click on one, its
// address fields' checks, and what OK and Cancel do to the selections and the memory view.
#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <memory>

#include "modal_dialog.h"
#include "session/session.h"
#include "ui/main_window.h"
#include "ui/memory_view.h"
#include "ui/select_range_dialog.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

using velmora::Selection;
using velmora::Session;
using velmora::test::UiFixture;
using velmora::test::WhenDialogOpens;
using velmora::ui::MainWindow;
using velmora::ui::SelectRangeDialog;

namespace {

template <typename T>
T* child(QWidget& parent, const char* name) {
  T* found = parent.findChild<T*>(QString::fromLatin1(name));
  if (!found) qFatal("no control %s", name);
  return found;
}

void clickBlock(SelectRangeDialog& dialog, int row) {
  auto* blocks = child<QListWidget>(dialog, "IBlocks");
  const QRect cell = blocks->visualItemRect(blocks->item(row));
  QTest::mouseClick(blocks->viewport(), Qt::LeftButton, {}, cell.center());
}

void typeInto(QLineEdit* field, const QString& text) {
  field->setFocus();
  field->selectAll();
  QTest::keyClicks(field, text);
}

}  // namespace

class SelectRangeTest : public QObject {
  Q_OBJECT

  std::unique_ptr<UiFixture> fixture_;
  std::unique_ptr<MainWindow> window_;

  velmora::ui::MemoryView* memoryView() { return window_->findChild<velmora::ui::MemoryView*>(); }

  std::vector<Selection> selections() {
    return fixture_->query<std::vector<Selection>>([](Session& s) {
      std::vector<Selection> all;
      for (int i = 0; i < s.selections.Count(); ++i) all.push_back(s.selections.At(i));
      return all;
    });
  }

 private slots:
  void init() {
    fixture_ = std::make_unique<UiFixture>();
    window_ = std::make_unique<MainWindow>(fixture_->client());
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
  }
  void cleanup() {
    window_.reset();
    fixture_.reset();
  }

  void opensWithTheBlockSizesInOrder() {
    SelectRangeDialog dialog(fixture_->client().boxes());
    QCOMPARE(dialog.objectName(), QStringLiteral("FSelectRange"));
    QCOMPARE(child<QLineEdit>(dialog, "TStartAddress")->text(), QStringLiteral("000000"));
    auto* blocks = child<QListWidget>(dialog, "IBlocks");
    const QStringList expected = {"16",     "256",    "512",    "1024",   "2048",
                                  "4096",   "8192",   "16384",  "32768",  "65536",
                                  "131072", "262144", "524288", "1048576"};
    QStringList shown;
    for (int i = 0; i < blocks->count(); ++i) shown << blocks->item(i)->text();
    QCOMPARE(shown, expected);
  }

  void aClickOnABlockSetsTheEnd_data() {
    QTest::addColumn<QString>("start");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("end");
    QTest::newRow("001000 + 256") << "001000" << 1 << "0010FF";
    QTest::newRow("0 + 16") << "0" << 0 << "00000F";
    QTest::newRow("lower case start") << "a0000" << 9 << "0AFFFF";
    QTest::newRow("1 MB from 100000") << "100000" << 13 << "1FFFFF";
    QTest::newRow("held at the top") << "FFFF00" << 2 << "FFFFFF";
  }
  void aClickOnABlockSetsTheEnd() {
    QFETCH(QString, start);
    QFETCH(int, row);
    QFETCH(QString, end);
    SelectRangeDialog dialog(fixture_->client().boxes());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    typeInto(child<QLineEdit>(dialog, "TStartAddress"), start);
    clickBlock(dialog, row);
    QCOMPARE(child<QLineEdit>(dialog, "TEndAddress")->text(), end);
    // Leaving the start field wrote it as six upper-case digits.
    QCOMPARE(child<QLineEdit>(dialog, "TStartAddress")->text(),
             start.toUpper().rightJustified(6, '0'));
  }

  void aTextThatIsNoAddressIsRefused() {
    auto& boxes = fixture_->client().boxes();
    SelectRangeDialog dialog(boxes);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto* end = child<QLineEdit>(dialog, "TEndAddress");
    for (const char* typed : {"12G", "1234567"}) {
      boxes.ClearAsked();
      typeInto(end, QString::fromLatin1(typed));
      QCOMPARE(boxes.Asked().size(), size_t{1});
      QCOMPARE(boxes.Asked().front().text, QStringLiteral("No 6-digit hexadecimal number!"));
      QCOMPARE(end->text(), QStringLiteral("000000"));
      QCOMPARE(end->selectedText(), QStringLiteral("000000"));
    }
  }

  void okAddsTheRangeAndShowsItsPage() {
    WhenDialogOpens<SelectRangeDialog>([](SelectRangeDialog& dialog) {
      typeInto(child<QLineEdit>(dialog, "TStartAddress"), "12340");
      typeInto(child<QLineEdit>(dialog, "TEndAddress"), "0123ff");
      QTest::mouseClick(child<QPushButton>(dialog, "BOk"), Qt::LeftButton);
    });
    child<QAction>(*window_, "UEditSelectRange")->trigger();
    fixture_->waitIdle();
    QCOMPARE(selections(), (std::vector<Selection>{{0x12340, 0x123FF}}));
    QTRY_COMPARE(memoryView()->topLine(), 0x1234);

    // A second range next to the first merges with it.
    WhenDialogOpens<SelectRangeDialog>([](SelectRangeDialog& dialog) {
      typeInto(child<QLineEdit>(dialog, "TStartAddress"), "12400");
      clickBlock(dialog, 0);
      QTest::mouseClick(child<QPushButton>(dialog, "BOk"), Qt::LeftButton);
    });
    child<QAction>(*window_, "UEditSelectRange")->trigger();
    fixture_->waitIdle();
    QCOMPARE(selections(), (std::vector<Selection>{{0x12340, 0x1240F}}));
  }

  void cancelChangesNothing() {
    WhenDialogOpens<SelectRangeDialog>([](SelectRangeDialog& dialog) {
      typeInto(child<QLineEdit>(dialog, "TStartAddress"), "2000");
      clickBlock(dialog, 3);
      QTest::mouseClick(child<QPushButton>(dialog, "BCancel"), Qt::LeftButton);
    });
    child<QAction>(*window_, "UEditSelectRange")->trigger();
    fixture_->waitIdle();
    QVERIFY(selections().empty());
    QCOMPARE(memoryView()->topLine(), 0);
  }
};

VELMORA_UI_TEST(SelectRangeTest)
#include "select_range_test.moc"
