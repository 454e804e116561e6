// The memory view driven with real key and mouse events. Its signals go to a small handler
// that applies them to a local image and selection list and publishes a snapshot, as the
// main window does through the session's worker.
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <memory>
#include <tuple>
#include <vector>

#include "core/memory_image.h"
#include "core/selection_list.h"
#include "ui/box_host.h"
#include "ui/memory_grid.h"
#include "ui/memory_label_strip.h"
#include "ui/memory_view.h"
#include "ui/preference_colour.h"
#include "ui_test_registry.h"

namespace velmora::ui {
namespace {

const QColor kRed(0xFF, 0, 0);            // fg invalid, 0000FF
const QColor kBlack(0, 0, 0);             // fg valid
const QColor kMonitor(0x77, 0x77, 0x00);  // fg monitor, 007777
const QColor kWhite(0xFF, 0xFF, 0xFF);    // bg normal
const QColor kMarked(0xDD, 0xDD, 0xDD);   // bg marked

struct Made {
  int32_t start;
  int32_t end;
  bool add;
  friend bool operator==(const Made&, const Made&) = default;
};

// The view with the window's side of its signals.
class Harness {
 public:
  Harness() : view(image, boxes) {
    boxes.AnswerAutomatically(true);
    QObject::connect(&view, &MemoryView::byteEdited, [this](int32_t address, int value) {
      edits.emplace_back(address, value);
      if (value < 0) {
        image.SetDefined(address, false);
      } else {
        image.SetByte(address, static_cast<uint8_t>(value));
        image.SetDefined(address, true);
        image.SetValid(address, false);
      }
      view.RefreshMemory();
    });
    QObject::connect(&view, &MemoryView::selectionMade, [this](int32_t s, int32_t e, bool add) {
      made.push_back({s, e, add});
      if (!add) selections.ClearSelections();
      (void)selections.AddSelection(s, e);
      publish();
    });
    QObject::connect(&view, &MemoryView::selectionsCleared, [this] {
      ++cleared;
      selections.ClearSelections();
      publish();
    });
    QObject::connect(&view, &MemoryView::deleteRequested, [this] { ++deletes; });
    QObject::connect(&view, &MemoryView::abortRequested, [this] { ++aborts; });
    view.resize(view.sizeHint());
    view.show();
    grid()->setFocus();
  }

  void publish() {
    snapshot.selections.clear();
    for (int i = 0; i < selections.Count(); ++i) snapshot.selections.push_back(selections.At(i));
    view.setSnapshot(snapshot);
  }

  MemoryGrid* grid() { return view.findChild<MemoryGrid*>(QStringLiteral("TMemView")); }
  template <typename W>
  W* control(const char* name) {
    return view.findChild<W*>(QString::fromLatin1(name));
  }
  QPoint cellCentre(int cell) { return grid()->cellRect(cell).center(); }
  void key(Qt::Key k, int times = 1) {
    for (int i = 0; i < times; ++i) QTest::keyClick(grid(), k);
  }
  void enterPage(const QString& text) {
    auto* box = control<QLineEdit>("TActPage");
    box->setFocus();
    box->selectAll();
    QTest::keyClick(box, Qt::Key_Backspace);
    QTest::keyClicks(box, text);
    QTest::keyClick(box, Qt::Key_Return);
  }
  int scrollValue() { return control<QScrollBar>("SMemPage")->value(); }

  MemoryImage image;
  BoxHost boxes;
  SelectionList selections;
  SessionSnapshot snapshot;
  MemoryView view;
  std::vector<std::pair<int32_t, int>> edits;
  std::vector<Made> made;
  int cleared = 0;
  int deletes = 0;
  int aborts = 0;
};

}  // namespace

class MemoryViewTest : public QObject {
  Q_OBJECT

 private slots:
  void preferenceColoursHoldBlueHighAndRedLow() {
    struct Case {
      int32_t value;
      QColor colour;
    };
    const Case cases[] = {
        {0x0000FF, QColor(0xFF, 0x00, 0x00)}, {0xFF0000, QColor(0x00, 0x00, 0xFF)},
        {0x00FF00, QColor(0x00, 0xFF, 0x00)}, {0x007777, QColor(0x77, 0x77, 0x00)},
        {0x123456, QColor(0x56, 0x34, 0x12)}, {0x7F123456, QColor(0x56, 0x34, 0x12)},
    };
    for (const Case& c : cases) {
      QCOMPARE(PreferenceColour(c.value), c.colour);
      QCOMPARE(PreferenceValue(c.colour), c.value & 0xFFFFFF);
    }
  }

  void everyControlIsFoundByName() {
    Harness h;
    const char* names[] = {"TMemView", "LActPage", "LMemViewAscii", "LColumn",
                           "TActPage", "SMemPage", "BSegmentUp",    "BSegmentDown"};
    for (const char* name : names) QVERIFY2(h.control<QWidget>(name) != nullptr, name);
    auto* columns = h.control<MemoryLabelStrip>("LColumn");
    QCOMPARE(columns->text(0), QStringLiteral("00"));
    QCOMPARE(columns->text(15), QStringLiteral("0F"));
    QVERIFY(h.view.sizeHint().width() > h.grid()->sizeHint().width());
  }

  void pageBoxShowsLoadedBytesWithTheirColours() {
    Harness h;
    const uint8_t loaded[] = {0x12, 0x34};
    const uint8_t read[] = {0x56};
    h.image.StoreLoaded(0x100000, loaded);
    h.image.StoreFromTarget(0x100002, read);
    h.enterPage(QStringLiteral("100000"));
    QCOMPARE(h.view.topLine(), 0x10000);
    QCOMPARE(h.view.lineLabel(0), QStringLiteral("100000"));
    QCOMPARE(h.view.lineLabel(15), QStringLiteral("1000F0"));
    QCOMPARE(h.control<MemoryLabelStrip>("LActPage")->text(1), QStringLiteral("100010"));
    QCOMPARE(h.view.cellText(0), QStringLiteral("12"));
    QCOMPARE(h.view.cellForeground(0), kRed);
    QCOMPARE(h.view.cellText(2), QStringLiteral("56"));
    QCOMPARE(h.view.cellForeground(2), kBlack);
    QCOMPARE(h.view.cellText(3), QStringLiteral("."));
    QCOMPARE(h.view.cellBackground(0), kWhite);
    QCOMPARE(h.view.getcursoraddress(), 0x100000);
    QVERIFY(h.boxes.Asked().empty());
  }

  void pageBoxTakesTheLineOfAnyAddress() {
    struct Case {
      const char* typed;
      int32_t topLine;
      const char* shown;
      int scroll;
    };
    const Case cases[] = {
        {"1000a7", 0x1000A, "1000A0", 0x00A},
        {"", 0, "000000", 0},
        {"FFFFFF", 0xFFFFF, "FFFFF0", 0xFFF},
        {"12345", 0x1234, "012340", 0x234},
    };
    for (const Case& c : cases) {
      Harness h;
      h.view.GotoPage(0x5555);
      h.enterPage(QString::fromLatin1(c.typed));
      QCOMPARE(h.view.topLine(), c.topLine);
      QCOMPARE(h.control<QLineEdit>("TActPage")->text(), QString::fromLatin1(c.shown));
      QCOMPARE(h.scrollValue(), c.scroll);
    }
  }

  void badPageBoxEntryIsRefusedAndPutBack() {
    const char* bad[] = {"12345G", "1234567", "-10", "0x10", " 10"};
    for (const char* text : bad) {
      Harness h;
      h.view.GotoPage(0x2345);
      h.enterPage(QString::fromLatin1(text));
      QCOMPARE(h.boxes.Asked().size(), size_t{1});
      QCOMPARE(h.boxes.Asked()[0].text, QStringLiteral("No hexadecimal digit !"));
      QCOMPARE(h.boxes.Asked()[0].icon, BoxIcon::Exclamation);
      QCOMPARE(h.view.topLine(), 0x2345);
      QCOMPARE(h.control<QLineEdit>("TActPage")->text(), QStringLiteral("023450"));
    }
  }

  void segmentButtonsStopAtTheEnds() {
    struct Case {
      int32_t from;
      const char* button;
      int32_t to;
    };
    const Case cases[] = {
        {0xFF000, "BSegmentUp", 0xFF000},   {0xFEFFF, "BSegmentUp", 0xFFFFF},
        {0x00000, "BSegmentUp", 0x01000},   {0x00FFF, "BSegmentDown", 0x00FFF},
        {0x01000, "BSegmentDown", 0x00000}, {0x12345, "BSegmentDown", 0x11345},
    };
    for (const Case& c : cases) {
      Harness h;
      h.view.GotoPage(c.from);
      QTest::mouseClick(h.control<QPushButton>(c.button), Qt::LeftButton);
      QCOMPARE(h.view.topLine(), c.to);
      QCOMPARE(h.scrollValue(), c.to & 0xFFF);
      QCOMPARE(h.view.lineLabel(0), QString::asprintf("%06X", c.to * 16));
    }
  }

  void scrollBarMovesWithinTheSegment() {
    Harness h;
    h.view.GotoPage(0x12345);
    QCOMPARE(h.scrollValue(), 0x345);
    h.control<QScrollBar>("SMemPage")->setValue(0x010);
    QCOMPARE(h.view.topLine(), 0x12010);
    QCOMPARE(h.control<QLineEdit>("TActPage")->text(), QStringLiteral("120100"));
    // The view's own move of the bar must not page again: PageDown lands 16 lines on.
    h.key(Qt::Key_PageDown);
    QCOMPARE(h.view.topLine(), 0x12020);
    QCOMPARE(h.scrollValue(), 0x020);
  }

  void linesBeyondTheAddressSpaceShowNothingAndReadNothing() {
    Harness h;
    h.view.GotoPage(0xFFFFF);
    QCOMPARE(h.view.lineLabel(0), QStringLiteral("FFFFF0"));
    QCOMPARE(h.view.lineLabel(1), QString());
    QCOMPARE(h.view.cellText(16), QString());
    QCOMPARE(h.view.cellText(15), QStringLiteral("."));
    QCOMPARE(h.image.RangeErrors(), 0L);
    QCOMPARE(h.image.AllocatedSegmentCount(), 0);
  }

  void typingIntoAnUndefinedCellEditsTheByte() {
    Harness h;
    h.view.GotoPage(0x20);
    QTest::keyClicks(h.grid(), QStringLiteral("5a"));
    const std::vector<std::pair<int32_t, int>> expected{{0x200, 0x05}, {0x200, 0x5A}};
    QCOMPARE(h.edits, expected);
    QCOMPARE(h.view.cellText(0), QStringLiteral("5A"));
    QCOMPARE(h.view.cellForeground(0), kRed);
    QCOMPARE(h.view.getcursoraddress(), 0x201);
    // As after a download: the byte now agrees with the target.
    h.image.ChangeFlags(0x200, 1, kValid, true);
    h.view.RefreshMemory();
    QCOMPARE(h.view.cellForeground(0), kBlack);
    QVERIFY(h.boxes.Asked().empty());
  }

  void typingMovesOnAcrossLinesAndScrollsAtTheBottom() {
    Harness h;
    h.key(Qt::Key_Down, 15);
    h.key(Qt::Key_Right, 15);
    QCOMPARE(h.view.getcursoraddress(), 0xFF);
    QTest::keyClick(h.grid(), Qt::Key_1, Qt::KeypadModifier);
    QTest::keyClick(h.grid(), Qt::Key_2, Qt::KeypadModifier);
    QCOMPARE(h.edits.back(), std::make_pair(int32_t{0xFF}, 0x12));
    QCOMPARE(h.view.topLine(), 1);
    QCOMPARE(h.view.getcursoraddress(), 0x100);
  }

  void theBlankCharacterUndefinesAndOtherTextIsRefused() {
    Harness h;
    const uint8_t bytes[] = {0x77};
    h.image.StoreFromTarget(0x300, bytes);
    h.view.GotoPage(0x30);
    QTest::keyClick(h.grid(), '.');
    QCOMPARE(h.edits.size(), size_t{1});
    QCOMPARE(h.edits[0], std::make_pair(int32_t{0x300}, -1));
    QCOMPARE(h.view.cellText(0), QStringLiteral("."));
    QCOMPARE(h.view.getcursoraddress(), 0x300);  // one character: still in the cell
    QTest::keyClick(h.grid(), '5');
    QCOMPARE(h.edits.size(), size_t{1});
    QCOMPARE(h.boxes.Asked().size(), size_t{1});
    QCOMPARE(h.boxes.Asked()[0].text, QStringLiteral("No 2-digit hexadecimal number !"));
    QCOMPARE(h.view.cellText(0), QStringLiteral("."));
    QCOMPARE(h.view.getcursoraddress(), 0x300);
    // The put-back text is selected again: the next two digits replace it.
    QTest::keyClicks(h.grid(), QStringLiteral("C3"));
    QCOMPARE(h.edits.back(), std::make_pair(int32_t{0x300}, 0xC3));
  }

  void aChangedBlankCharacterIsUsedForShowingAndTyping() {
    Harness h;
    h.snapshot.settings.frontend.blankChar = "-";
    h.publish();
    QCOMPARE(h.view.cellText(0), QStringLiteral("-"));
    QTest::keyClick(h.grid(), '-');
    QCOMPARE(h.edits.size(), size_t{1});
    QCOMPARE(h.edits[0].second, -1);
  }

  void theMonitorAreaIsWriteProtected() {
    Harness h;
    const MonitorArea area = h.snapshot.monitorArea;
    const std::vector<uint8_t> code(static_cast<size_t>(area.end - area.start + 1), 0xAB);
    h.image.StoreFromTarget(area.start, code);
    h.image.ChangeFlags(area.start, code.size(), kProtected, true);
    h.view.GotoPage(area.start / 16);
    h.view.RefreshMemory();
    const int first = area.start % 16;
    QCOMPARE(h.view.cellForeground(first), kMonitor);
    QCOMPARE(h.view.cellForeground(first - 1), kRed);  // undefined, outside the area
    h.key(Qt::Key_Right, first);
    QCOMPARE(h.view.getcursoraddress(), area.start);
    QTest::keyClick(h.grid(), '1');
    QVERIFY(h.edits.empty());
    QCOMPARE(h.boxes.Asked().size(), size_t{1});
    QCOMPARE(h.boxes.Asked()[0].text, QStringLiteral("This area is write-protected !"));
    QCOMPARE(h.view.cellText(first), QStringLiteral("AB"));
    QCOMPARE(h.view.getcursoraddress(), area.start);
  }

  void asciiColumnShowsPrintableBytesOnly() {
    Harness h;
    const uint8_t bytes[] = {0x0A, 0x41, 0x7E, 0x1F, 0x20, 0x7F, 0x61};
    h.image.StoreLoaded(0x400, bytes);
    h.view.GotoPage(0x40);
    QCOMPARE(h.view.asciiLabel(0), QStringLiteral(".A~. .a........."));
    QCOMPARE(h.control<MemoryLabelStrip>("LMemViewAscii")->text(0), h.view.asciiLabel(0));
  }

  void keysMoveTheCursorAndStopAtTheLimits() {
    struct Case {
      const char* name;
      int32_t top;
      std::vector<Qt::Key> before;
      Qt::Key key;
      int32_t expectedTop;
      int32_t expectedCursor;  // relative to expectedTop's page
    };
    const std::vector<Qt::Key> toBottom(15, Qt::Key_Down);
    std::vector<Qt::Key> toLastCell = toBottom;
    toLastCell.insert(toLastCell.end(), 15, Qt::Key_Right);
    const Case cases[] = {
        {"PageUp", 0x10, {}, Qt::Key_PageUp, 0x0, 0x00},
        {"PageUp at the start", 0xF, {}, Qt::Key_PageUp, 0xF, 0x00},
        {"PageDown", 0x0, {}, Qt::Key_PageDown, 0x10, 0x00},
        {"PageDown to the last page", 0xFFFE0, {}, Qt::Key_PageDown, 0xFFFF0, 0x00},
        {"PageDown at the last page", 0xFFFF0, {}, Qt::Key_PageDown, 0xFFFF0, 0x00},
        {"PageDown near the last page", 0xFFFE5, {}, Qt::Key_PageDown, 0xFFFE5, 0x00},
        {"Up on the top line scrolls", 0x5, {}, Qt::Key_Up, 0x4, 0x00},
        {"Up at address 0", 0x0, {}, Qt::Key_Up, 0x0, 0x00},
        {"Up inside the page", 0x0, {Qt::Key_Down}, Qt::Key_Up, 0x0, 0x00},
        {"Down on the bottom line scrolls", 0x0, toBottom, Qt::Key_Down, 0x1, 0xF0},
        {"Down at the last line", 0xFFFF0, toBottom, Qt::Key_Down, 0xFFFF0, 0xF0},
        {"Left at the first cell", 0x7, {}, Qt::Key_Left, 0x7, 0x00},
        {"Left wraps to the line above", 0x7, {Qt::Key_Down}, Qt::Key_Left, 0x7, 0x0F},
        {"Right at the last cell", 0x7, toLastCell, Qt::Key_Right, 0x7, 0xFF},
        {"Right at column 15", 0x7, std::vector<Qt::Key>(15, Qt::Key_Right), Qt::Key_Right, 0x7,
         0x10},
    };
    for (const Case& c : cases) {
      Harness h;
      h.view.GotoPage(c.top);
      for (Qt::Key k : c.before) h.key(k);
      const int clearedBefore = h.cleared;
      h.key(c.key);
      QVERIFY2(h.view.topLine() == c.expectedTop, c.name);
      QVERIFY2(h.view.getcursoraddress() == c.expectedTop * 16 + c.expectedCursor, c.name);
      QVERIFY2(h.scrollValue() == (c.expectedTop & 0xFFF), c.name);
      QVERIFY2(h.cleared == clearedBefore + 1, c.name);
    }
  }

  void theLastAddressIsReachableByKeyboard() {
    Harness h;
    h.view.GotoPage(0xFFFE0);
    h.key(Qt::Key_PageDown, 3);
    h.key(Qt::Key_Down, 20);
    h.key(Qt::Key_Right, 20);
    QCOMPARE(h.view.getcursoraddress(), 0xFFFFFF);
    QTest::keyClicks(h.grid(), QStringLiteral("EE"));
    QCOMPARE(h.edits.back(), std::make_pair(int32_t{0xFFFFFF}, 0xEE));
    QCOMPARE(h.view.getcursoraddress(), 0xFFFFFF);  // no cell after the last one
    QCOMPARE(h.image.RangeErrors(), 0L);
  }

  void mouseDragSelectsInEitherDirection() {
    Harness h;
    h.view.GotoPage(0x10);
    QTest::mousePress(h.grid(), Qt::LeftButton, {}, h.cellCentre(0x25));
    QTest::mouseMove(h.grid(), h.cellCentre(0x13));
    QCOMPARE(h.view.cellBackground(0x18), kMarked);  // shown while dragging
    QVERIFY(h.made.empty());
    QTest::mouseRelease(h.grid(), Qt::LeftButton, {}, h.cellCentre(0x13));
    QCOMPARE(h.made, (std::vector<Made>{{0x113, 0x125, false}}));
    QCOMPARE(h.cleared, 1);
    QCOMPARE(h.view.cellBackground(0x13), kMarked);
    QCOMPARE(h.view.cellBackground(0x25), kMarked);
    QCOMPARE(h.view.cellBackground(0x12), kWhite);
    QCOMPARE(h.view.cellBackground(0x26), kWhite);
    QCOMPARE(h.view.getcursoraddress(), 0x125);

    // Ctrl adds a range; a plain click starts afresh.
    QTest::mousePress(h.grid(), Qt::LeftButton, Qt::ControlModifier, h.cellCentre(0x42));
    QTest::mouseRelease(h.grid(), Qt::LeftButton, Qt::ControlModifier, h.cellCentre(0x40));
    QCOMPARE(h.made.back(), (Made{0x140, 0x142, true}));
    QCOMPARE(h.cleared, 1);
    QCOMPARE(h.view.cellBackground(0x20), kMarked);
    QCOMPARE(h.view.cellBackground(0x41), kMarked);
    QTest::mouseClick(h.grid(), Qt::LeftButton, {}, h.cellCentre(0x80));
    QCOMPARE(h.cleared, 2);
    QCOMPARE(h.made.back(), (Made{0x180, 0x180, false}));
    QCOMPARE(h.view.cellBackground(0x20), kWhite);
    QCOMPARE(h.view.cellBackground(0x41), kWhite);
    QCOMPARE(h.view.cellBackground(0x80), kMarked);
  }

  void dragPastTheGridStopsAtItsEdge() {
    Harness h;
    QTest::mousePress(h.grid(), Qt::LeftButton, {}, h.cellCentre(0x05));
    QTest::mouseMove(h.grid(), QPoint(h.grid()->width() + 50, h.grid()->height() + 50));
    QTest::mouseRelease(h.grid(), Qt::LeftButton, {},
                        QPoint(h.grid()->width() + 50, h.grid()->height() + 50));
    QCOMPARE(h.made, (std::vector<Made>{{0x05, 0xFF, false}}));
  }

  void shiftSelectsFromTheCursorInEitherDirection() {
    Harness h;
    h.view.GotoPage(0x20);
    h.key(Qt::Key_Down, 3);
    h.key(Qt::Key_Right, 3);
    const int clearedBefore = h.cleared;
    QTest::keyPress(h.grid(), Qt::Key_Shift);
    h.key(Qt::Key_Up);
    h.key(Qt::Key_Left);
    QCOMPARE(h.view.cellBackground(0x22), kMarked);
    QCOMPARE(h.view.cellBackground(0x33), kMarked);
    QVERIFY(h.made.empty());
    QTest::keyRelease(h.grid(), Qt::Key_Shift);
    QCOMPARE(h.made, (std::vector<Made>{{0x222, 0x233, false}}));
    QCOMPARE(h.cleared, clearedBefore + 1);  // only when Shift went down

    // Shift and an arrow as one chord: the one cell step.
    QTest::keyClick(h.grid(), Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(h.made.back(), (Made{0x222, 0x232, false}));
    QCOMPARE(h.cleared, clearedBefore + 2);

    // Ctrl held from the start adds, even when it goes up before Shift.
    QTest::keyPress(h.grid(), Qt::Key_Control);
    QTest::keyPress(h.grid(), Qt::Key_Shift);
    h.key(Qt::Key_Right);
    QTest::keyRelease(h.grid(), Qt::Key_Control);
    QTest::keyRelease(h.grid(), Qt::Key_Shift);
    QCOMPARE(h.made.back(), (Made{0x232, 0x233, true}));
    QCOMPARE(h.cleared, clearedBefore + 2);
    QCOMPARE(h.view.cellBackground(0x22), kMarked);
    QCOMPARE(h.view.cellBackground(0x33), kMarked);
    QCOMPARE(h.selections.Count(), 1);  // the two ranges merged
  }

  void deleteAndEscapeAreAskedFor() {
    Harness h;
    h.key(Qt::Key_Delete);
    h.key(Qt::Key_Escape);
    QCOMPARE(h.deletes, 1);
    QCOMPARE(h.aborts, 1);
    QVERIFY(h.edits.empty());
  }

  void editingDisabledAllowsPagingAndAbortOnly() {
    Harness h;
    h.view.setEditingEnabled(false);
    QTest::keyClicks(h.grid(), QStringLiteral("12"));
    h.key(Qt::Key_Delete);
    QTest::mousePress(h.grid(), Qt::LeftButton, {}, h.cellCentre(0x10));
    QTest::mouseRelease(h.grid(), Qt::LeftButton, {}, h.cellCentre(0x20));
    QTest::keyPress(h.grid(), Qt::Key_Shift);
    h.key(Qt::Key_Down);
    QTest::keyRelease(h.grid(), Qt::Key_Shift);
    h.key(Qt::Key_PageDown);
    h.key(Qt::Key_Escape);
    QVERIFY(h.edits.empty());
    QVERIFY(h.made.empty());
    QCOMPARE(h.cleared, 0);
    QCOMPARE(h.deletes, 0);
    QCOMPARE(h.aborts, 1);
    QCOMPARE(h.view.topLine(), 0x10);
    QCOMPARE(h.view.cellBackground(0x10), kWhite);
    QCOMPARE(h.view.cellText(0x20), QStringLiteral("."));

    h.view.setEditingEnabled(true);
    QTest::keyClicks(h.grid(), QStringLiteral("12"));
    QCOMPARE(h.edits.back(), std::make_pair(h.view.getcursoraddress() - 1, 0x12));
  }
};

VELMORA_UI_TEST(MemoryViewTest)

}  // namespace velmora::ui

#include "memory_view_test.moc"
