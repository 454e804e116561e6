// The disassembly and debug window against the in-process virtual board: clicks in the
// breakpoint column, Go and Step, the register panel, and what image and board hold after.
#include <QAbstractItemModelTester>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <memory>

#include "commands/transfers.h"
#include "core/hex_text.h"
#include "link/general_registers.h"
#include "session/session.h"
#include "sim/board.h"
#include "ui/disassembly_window.h"
#include "ui/general_register_panel.h"
#include "ui/main_window.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

using velmora::Session;
using velmora::test::UiFixture;
using velmora::ui::DisassemblyModel;
using velmora::ui::DisassemblyWindow;
using Bytes = std::vector<uint8_t>;

namespace {

// Plain instructions, an EXTR covering two, a jump to a second block that returns.
constexpr int32_t kRoutine = 0x00C000;
const Bytes kRoutineCode = {
    0xE0, 0x12,              // C000 MOV  R2,#1h
    0x00, 0x12,              // C002 ADD  R1,R2
    0xD1, 0x90,              // C004 EXTR #2
    0x00, 0x12,              // C006 ADD  R1,R2
    0x00, 0x12,              // C008 ADD  R1,R2
    0xEA, 0x00, 0x20, 0xC0,  // C00A JMPA cc_UC,C020h
};
constexpr int32_t kTail = 0x00C020;
const Bytes kTailCode = {
    0x00, 0x12,  // C020 ADD  R1,R2
    0x00, 0x12,  // C022 ADD  R1,R2
    0x00, 0x12,  // C024 ADD  R1,R2
    0xCB, 0x00,  // C026 RET
};
const Bytes kBreakCall = {0xDA, 0xE0, 0x24, 0x00};  // CALLS E0h,0024h: the monitor's entry

}  // namespace

class DisassemblyWindowTest : public QObject {
  Q_OBJECT

  std::unique_ptr<UiFixture> fixture_;
  std::unique_ptr<DisassemblyWindow> window_;

  DisassemblyModel& model() { return window_->model(); }

  Bytes onBoard(int32_t at, size_t count) {
    return fixture_->query<Bytes>([at, count](Session& s) {
      Bytes bytes(count);
      s.virtualBoard()->memory().ReadBytes(at, bytes);
      return bytes;
    });
  }
  Bytes inImage(int32_t at, size_t count) {
    Bytes bytes(count);
    fixture_->client().image().ReadBytes(at, bytes);
    return bytes;
  }

  void expectCodeIntact() {
    QCOMPARE(inImage(kRoutine, kRoutineCode.size()), kRoutineCode);
    QCOMPARE(onBoard(kRoutine, kRoutineCode.size()), kRoutineCode);
    QCOMPARE(inImage(kTail, kTailCode.size()), kTailCode);
    QCOMPARE(onBoard(kTail, kTailCode.size()), kTailCode);
  }

  int rowOf(int32_t address) {
    const int row = model().rowOf(address);
    if (row < 0) qFatal("no row for %06X", address);
    return row;
  }

  void clickMark(int32_t address) {
    fixture_->waitIdle();  // a click while an operation runs is ignored, as it should be
    QTableView& view = window_->breakpointView();
    const QModelIndex index = model().index(rowOf(address), DisassemblyModel::kMarkColumn);
    view.scrollTo(index);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(index).center());
    fixture_->waitIdle();
    QCoreApplication::processEvents();
  }

  QString mark(int32_t address) {
    return model().index(rowOf(address), DisassemblyModel::kMarkColumn).data().toString();
  }

  QPushButton* button(const char* name) {
    auto* found = window_->findChild<QPushButton*>(QString::fromLatin1(name));
    if (!found) qFatal("no button %s", name);
    return found;
  }

  // Clicks Go or Step and waits until the target is back in the monitor.
  void runTo(const char* name, int32_t stop) {
    QVERIFY(button(name)->isEnabled());
    QTest::mouseClick(button(name), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(model().currentRow(), rowOf(stop), 5000);
    QTRY_VERIFY(button("BGo")->isEnabled());
    fixture_->waitIdle();
  }

  int32_t selectedAddress() {
    const QModelIndexList rows = window_->instructionView().selectionModel()->selectedRows();
    return rows.size() == 1 ? model().addressAt(rows.front().row()) : -1;
  }

  void openWindow() {
    window_ = std::make_unique<DisassemblyWindow>(fixture_->client());
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
    QSignalSpy filled(window_.get(), &DisassemblyWindow::filled);
    window_->fill();
    QVERIFY(filled.wait(5000));
  }

 private slots:
  void init() {
    fixture_ = std::make_unique<UiFixture>();
    fixture_->run([](Session& s) {
      s.interpreter().RunCommand("_connect");
      s.image.StoreLoaded(kRoutine, kRoutineCode);
      s.image.StoreLoaded(kTail, kTailCode);
      s.selections.ClearSelections();
      (void)s.selections.AddSelection(kRoutine, kRoutine + 0xD);
      (void)s.selections.AddSelection(kTail, kTail + 7);
      velmora::DownloadSelections(s.link());
    });
    QCOMPARE(fixture_->client().snapshot().state, velmora::TargetState::Ready);
    openWindow();
  }

  void cleanup() {
    fixture_->waitIdle();
    window_.reset();
    fixture_.reset();
  }

  void listsTheSelectionsAndStartsAtTheFirstInstruction() {
    QCOMPARE(window_->windowTitle(), QStringLiteral("Disassemble / Debug"));
    QVERIFY(window_->findChild<QTableView*>("IDisassemble"));
    QVERIFY(window_->findChild<QTableView*>("IBreakpoints"));
    const QStringList expected = {"C000|E0 12|MOV     R2,#1h",
                                  "C002|00 12|ADD     R1,R2",
                                  "C004|D1 90|EXTR    #2",
                                  "C006|00 12|ADD     R1,R2",
                                  "C008|00 12|ADD     R1,R2",
                                  "C00A|EA 00 20 C0|JMPA    cc_UC,C020h",
                                  "||*****************************",
                                  "C020|00 12|ADD     R1,R2",
                                  "C022|00 12|ADD     R1,R2",
                                  "C024|00 12|ADD     R1,R2",
                                  "C026|CB 00|RET     ",
                                  "||*****************************"};
    QStringList shown;
    for (int row = 0; row < model().rowCount(); ++row) {
      QStringList cells;
      for (int column = DisassemblyModel::kAddressColumn; column <= DisassemblyModel::kTextColumn;
           ++column)
        cells << model().index(row, column).data().toString();
      if (!cells[0].isEmpty()) cells[0] = cells[0].mid(2);  // six digits; the top two are 00
      shown << cells.join('|');
      QCOMPARE(model().index(row, DisassemblyModel::kMarkColumn).data().toString(), " ");
    }
    QCOMPARE(shown, expected);
    QCOMPARE(model().currentRow(), 0);
    QCOMPARE(selectedAddress(), kRoutine);
    QCOMPARE(window_->findChild<QLineEdit*>("EDebugState")->text(), "CONNECTED AND READY");
  }

  void clickPlantsAndRemovesInImageAndTarget() {
    clickMark(0x00C002);
    QCOMPARE(mark(0x00C002), "O");
    QCOMPARE(inImage(0x00C002, 4), kBreakCall);
    QCOMPARE(onBoard(0x00C002, 4), kBreakCall);
    // The listing keeps showing the program's own code under the call.
    QCOMPARE(model().index(rowOf(0x00C002), DisassemblyModel::kBytesColumn).data().toString(),
             "00 12");
    clickMark(0x00C002);
    QCOMPARE(mark(0x00C002), " ");
    expectCodeIntact();
  }

  void removingTheFirstOfThreeLeavesTwoPlanted() {
    for (int32_t at : {0x00C000, 0x00C006, 0x00C022}) clickMark(at);
    clickMark(0x00C000);
    QCOMPARE(mark(0x00C000), " ");
    QCOMPARE(mark(0x00C006), "O");
    QCOMPARE(mark(0x00C022), "O");
    QCOMPARE(onBoard(0x00C000, 2), Bytes(kRoutineCode.begin(), kRoutineCode.begin() + 2));
    QCOMPARE(onBoard(0x00C006, 4), kBreakCall);
    QCOMPARE(onBoard(0x00C022, 4), kBreakCall);
    QCOMPARE(fixture_->query<size_t>([](Session& s) { return s.debugger().Breakpoints().size(); }),
             size_t{2});
  }

  void overlappingBreakpointIsRefusedAndTheOneInTheWayShown() {
    clickMark(0x00C00A);
    fixture_->clearLines();
    clickMark(0x00C008);
    const QString line = "*ERROR: Breakpoint overlaps the breakpoint at 00C00A";
    QCOMPARE(fixture_->lines(), QStringList{line});
    QCOMPARE(window_->messageText(), line);
    QCOMPARE(mark(0x00C008), " ");
    QCOMPARE(selectedAddress(), 0x00C00A);
    QCOMPARE(onBoard(0x00C008, 2), Bytes({0x00, 0x12}));
  }

  void stepStopsBehindPlainAndPrefixedInstructions() {
    // From C000: the next instruction; from C004 (EXTR #2) past the two it covers.
    runTo("BStep", 0x00C002);
    QCOMPARE(selectedAddress(), 0x00C002);
    runTo("BStep", 0x00C004);
    runTo("BStep", 0x00C00A);
    QCOMPARE(selectedAddress(), 0x00C00A);
    QCOMPARE(window_->findChild<QLineEdit*>("EDebugState")->text(), "CONNECTED AND READY");
    expectCodeIntact();
  }

  void goFromABreakpointRunsOnAndClosingLeavesTheCodeIntact() {
    // A breakpoint on a 2-byte instruction: its call covers the next one too.
    for (int32_t at : {0x00C000, 0x00C008, 0x00C022}) clickMark(at);
    runTo("BGo", 0x00C008);
    runTo("BGo", 0x00C022);
    for (int32_t at : {0x00C000, 0x00C008, 0x00C022}) {
      QCOMPARE(mark(at), "O");
      QCOMPARE(onBoard(at, 4), kBreakCall);
    }
    window_->close();
    fixture_->waitIdle();
    expectCodeIntact();
    QVERIFY(fixture_->query<bool>([](Session& s) { return s.debugger().Breakpoints().empty(); }));
  }

  void clicksWhileTheTargetRunsDoNothing() {
    // Nothing stops the run: it returns into code the board does not follow.
    QTest::mouseClick(button("BGo"), Qt::LeftButton);
    QTRY_COMPARE(window_->findChild<QLineEdit*>("EDebugState")->text(), "DEBUGGING ");
    fixture_->waitIdle();
    QVERIFY(!button("BGo")->isEnabled());
    QVERIFY(!button("BStep")->isEnabled());
    clickMark(0x00C020);
    QCOMPARE(mark(0x00C020), " ");
    QCOMPARE(onBoard(kTail, kTailCode.size()), kTailCode);
    QVERIFY(fixture_->query<bool>([](Session& s) { return s.debugger().Breakpoints().empty(); }));
  }

  void registerEditedInThePanelReachesTheBoard() {
    auto& panel = window_->registerPanel();
    QLineEdit* r5 = panel.field(5);
    QCOMPARE(r5->objectName(), "ER5");
    QSignalSpy shown(window_.get(), &DisassemblyWindow::registersShown);
    r5->setFocus();
    r5->selectAll();
    QTest::keyClicks(r5, "beef");
    QTest::keyClick(r5, Qt::Key_Return);
    QVERIFY(shown.wait(5000));
    const int32_t bank = fixture_->query<int32_t>(
        [](Session& s) { return static_cast<int32_t>(s.virtualBoard()->ReadWord(0xFE10)); });
    QCOMPARE(onBoard(bank + 10, 2), Bytes({0xEF, 0xBE}));
    QCOMPARE(r5->text(), "BEEF");
    QCOMPARE(panel.field(velmora::kCpIndex)->text(),
             QString::fromLatin1(velmora::HexN(bank, 4).c_str()));
    QVERIFY(!panel.isHighlighted(5));  // an edit is no change seen at a stop
  }

  void valuesChangedAtAStopAreHighlightedAndFlagsSpelledOut() {
    auto& panel = window_->registerPanel();
    fixture_->run([](Session& s) {
      velmora::Board* board = s.virtualBoard();
      board->WriteWord(board->ReadWord(0xFE10) + 6, 0x1234);  // R3
      board->WriteWord(0xFF10, 0x2007);                       // PSW: N, C, V, ILVL 2
    });
    QSignalSpy shown(window_.get(), &DisassemblyWindow::registersShown);
    runTo("BStep", 0x00C002);
    QTRY_COMPARE(panel.field(3)->text(), "1234");
    for (int index = 0; index < velmora::kGeneralRegisterCount; ++index) {
      // The step ran MOV R2,#1h, which also cleared N; R3 was written before.
      const bool expected = index == 2 || index == 3 || index == velmora::kPswIndex;
      QVERIFY2(panel.isHighlighted(index) == expected, velmora::GeneralRegisterName(index).c_str());
    }
    QCOMPARE(panel.setFlags(), QStringList({"C", "V", "ILVL=2"}));
    QCOMPARE(panel.flagTexts().mid(0, 5), QStringList({"N", "C", "V", "Z", "E"}));
  }

  void theMainWindowsDebugButtonOpensTheWindow() {
    window_.reset();
    velmora::ui::MainWindow main(fixture_->client());
    main.show();
    auto* debug = main.findChild<QPushButton*>("BDebug");
    QVERIFY(debug && debug->isEnabled());
    QTest::mouseClick(debug, Qt::LeftButton);
    DisassemblyWindow* opened = nullptr;
    QTRY_VERIFY((opened = main.findChild<DisassemblyWindow*>("FDisassemble")) != nullptr);
    QTRY_COMPARE(opened->model().rowCount(), 12);
    QVERIFY(opened->isVisible());
    fixture_->waitIdle();
  }
};

VELMORA_UI_TEST(DisassemblyWindowTest)

class DisassemblyModelTest : public QObject {
  Q_OBJECT

 private slots:
  void marksPositionAndTextsFollowTheRows() {
    auto listing = std::make_shared<velmora::DisassemblyListing>();
    velmora::ListingRow first;
    first.kind = velmora::ListingRowKind::Instruction;
    first.address = 0x12C000;
    first.bytes = {0xE6, 0xF4, 0x34, 0x12};
    first.length = 4;
    first.text = "MOV     R4,#1234h";
    velmora::ListingRow second = first;
    second.address = 0x12C004;
    second.length = 2;
    second.bytes = {0xCC, 0x00};
    second.text = "NOP     ";
    listing->rows = {first, second, velmora::ListingRow{}};

    DisassemblyModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
    model.setListing(listing);
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.index(0, DisassemblyModel::kAddressColumn).data().toString(), "12C000");
    QCOMPARE(model.index(0, DisassemblyModel::kBytesColumn).data().toString(), "E6 F4 34 12");
    QCOMPARE(model.index(1, DisassemblyModel::kBytesColumn).data().toString(), "CC 00");
    QCOMPARE(model.index(2, DisassemblyModel::kAddressColumn).data().toString(), "");
    QCOMPARE(model.addressAt(2), -1);

    QSignalSpy changed(&model, &DisassemblyModel::dataChanged);
    model.setBreakpoints({0x12C004, 0x300000});
    QCOMPARE(changed.size(), 1);  // only the row whose mark changed
    QCOMPARE(model.index(1, DisassemblyModel::kMarkColumn).data().toString(), "O");
    QCOMPARE(model.index(0, DisassemblyModel::kMarkColumn).data().toString(), " ");
    model.setBreakpoints({0x12C004, 0x300000});
    QCOMPARE(changed.size(), 1);

    QCOMPARE(model.setCurrentPosition(0x12C004), 1);
    QCOMPARE(model.currentRow(), 1);
    QVERIFY(model.index(1, DisassemblyModel::kTextColumn).data(Qt::BackgroundRole).isValid());
    QVERIFY(!model.index(0, DisassemblyModel::kTextColumn).data(Qt::BackgroundRole).isValid());
    QCOMPARE(model.setCurrentPosition(0x12C002), -1);  // inside an instruction
    QCOMPARE(model.currentRow(), -1);
  }
};

VELMORA_UI_TEST(DisassemblyModelTest)

#include "disassembly_window_test.moc"
