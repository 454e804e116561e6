// The register list on the main window, its pick list and its editor, against the
// in-process virtual board: keys and clicks on the real widgets, and what reaches the image,
// the session's list and the board.
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTest>
#include <QTimer>
#include <memory>

#include "commands/register_list.h"
#include "core/memory_image.h"
#include "session/preferences.h"
#include "session/session.h"
#include "sim/board.h"
#include "ui/main_window.h"
#include "ui/register_editor.h"
#include "ui/register_list_model.h"
#include "ui/register_pick_dialog.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

using velmora::Session;
using velmora::test::UiFixture;
using velmora::ui::MainWindow;
using velmora::ui::RegisterEditor;
using velmora::ui::RegisterListModel;
using velmora::ui::RegisterPickDialog;

namespace {

int32_t addressOf(Session& s, const std::string& name) {
  const int index = s.registers.FindRegister(name);
  return index < 0 ? -1 : s.registers.At(index).address;
}

}  // namespace

class RegisterWindowTest : public QObject {
  Q_OBJECT

  std::unique_ptr<UiFixture> fixture_;
  std::unique_ptr<MainWindow> window_;

  QListView* list() {
    auto* panel = window_->findChild<QWidget*>(QStringLiteral("PRegisters"));
    if (!panel) qFatal("no register panel");
    return panel->findChild<QListView*>(QStringLiteral("ISfr"));
  }
  QStringList shownLines() {
    QStringList lines;
    const QAbstractItemModel* model = list()->model();
    for (int row = 0; row < model->rowCount(); ++row)
      lines << model->index(row, 0).data().toString();
    return lines;
  }
  QStringList shownNames() {
    QStringList names;
    const QAbstractItemModel* model = list()->model();
    for (int row = 0; row < model->rowCount(); ++row)
      names << model->index(row, 0).data(RegisterListModel::NameRole).toString();
    return names;
  }
  QStringList sessionList() {
    return fixture_->query<QStringList>([](Session& s) {
      QStringList names;
      for (const auto& name : s.settings.frontend.display) names << QString::fromStdString(name);
      return names;
    });
  }
  QModelIndex rowOf(const QString& name) {
    const int row = shownNames().indexOf(name);
    return row < 0 ? QModelIndex() : list()->model()->index(row, 0);
  }
  void command(const std::string& line) {
    fixture_->run([line](Session& s) { s.interpreter().RunCommand(line); });
    fixture_->waitIdle();
  }
  void connectTarget() {
    command("_connect");
    QCOMPARE(fixture_->client().snapshot().state, velmora::TargetState::Ready);
    fixture_->client().boxes().ClearAsked();  // the connection's own question
  }
  void click(QWidget* widget) {
    QVERIFY(widget && widget->isEnabled());
    QTest::mouseClick(widget, Qt::LeftButton);
  }
  // What a mouse sends for a double click: a click, then the double click and its release.
  static void doubleClick(QWidget* widget, QPoint at = {}) {
    QTest::mouseClick(widget, Qt::LeftButton, {}, at);
    QTest::mouseDClick(widget, Qt::LeftButton, {}, at);
    QTest::mouseRelease(widget, Qt::LeftButton, {}, at);
  }
  template <typename Dialog>
  Dialog* openDialog() {
    Dialog* found = nullptr;
    if (!QTest::qWaitFor([&] {
          found = window_->findChild<Dialog*>();
          return found && found->isVisible();
        }))
      return nullptr;
    return found;
  }
  RegisterEditor* openEditor(const QString& name) {
    const QModelIndex at = rowOf(name);
    if (!at.isValid()) return nullptr;
    const QRect rect = list()->visualRect(at);
    doubleClick(list()->viewport(), rect.center());
    RegisterEditor* editor = openDialog<RegisterEditor>();
    fixture_->waitIdle();
    return editor;
  }
  template <typename T = QLineEdit>
  static T* part(QWidget* dialog, const QString& name) {
    T* found = dialog->findChild<T*>(name);
    if (!found) qFatal("no %s", qPrintable(name));
    return found;
  }
  // Types over what a box holds, as a user who selected it first.
  static void typeOver(QLineEdit* box, const QString& text) {
    box->setFocus();
    box->selectAll();
    QTest::keyClicks(box, text);
  }
  QStringList asked() {
    QStringList texts;
    for (const auto& box : fixture_->client().boxes().Asked()) texts << box.text;
    return texts;
  }
  uint16_t boardWord(const std::string& name) {
    return fixture_->query<uint16_t>(
        [name](Session& s) { return s.virtualBoard()->ReadWord(addressOf(s, name)); });
  }

 private slots:
  void init() {
    fixture_ = std::make_unique<UiFixture>();
    fixture_->run([](Session& s) { s.settings.frontend.display.clear(); });
    window_ = std::make_unique<MainWindow>(fixture_->client());
    window_->resize(1180, 820);
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
    fixture_->client().boxes().ClearAsked();
  }

  void cleanup() {
    for (QDialog* dialog : window_->findChildren<QDialog*>()) dialog->reject();
    fixture_->waitIdle();
    window_.reset();
    fixture_.reset();
  }

  void lineText_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("line");
    QTest::newRow("short name") << "SP" << 0xFE12 << 0xFC00 << "SP         00FE12  FC00";
    QTest::newRow("value high byte first")
        << "PSW" << 0xFF10 << 0x0a0b << "PSW        00FF10  0A0B";
    QTest::newRow("eleven characters keep a blank")
        << "ABCDEFGHIJK" << 0xF000 << 0 << "ABCDEFGHIJK 00F000  0000";
    QTest::newRow("longer name keeps a blank")
        << "ABCDEFGHIJKLM" << 0x1234 << 1 << "ABCDEFGHIJKLM 001234  0001";
  }
  void lineText() {
    QFETCH(QString, name);
    QFETCH(int, address);
    QFETCH(int, value);
    QFETCH(QString, line);
    QCOMPARE(velmora::ui::RegisterLine(name, address, static_cast<uint16_t>(value)), line);
  }

  void listShowsTheImageValueOfEachShownRegister() {
    const int32_t psw = fixture_->query<int32_t>([](Session& s) { return addressOf(s, "PSW"); });
    fixture_->run([psw](Session& s) {
      s.image.SetByte(psw, 0x34);
      s.image.SetByte(psw + 1, 0x12);
    });
    command("_addsfr psw");
    command("_addsfr SP");
    QCOMPARE(shownNames(), (QStringList{"PSW", "SP"}));
    QCOMPARE(shownLines().first(), QStringLiteral("PSW        00FF10  1234"));
    QVERIFY(list()->font().fixedPitch() || QFontInfo(list()->font()).fixedPitch());
  }

  void addingTheSameRegisterTwiceLeavesOneLine() {
    for (int round = 0; round < 2; ++round) {
      click(window_->findChild<QPushButton*>(QStringLiteral("BAddSfr")));
      auto* pick = openDialog<RegisterPickDialog>();
      QVERIFY(pick);
      QTest::keyClicks(part(pick, QStringLiteral("TSfrFilter")), QStringLiteral("s0con"));
      QCOMPARE(pick->filtered().index(0, 0).data().toString(), QStringLiteral("S0CON"));
      click(part<QPushButton>(pick, QStringLiteral("BOk")));
      QTRY_VERIFY(!pick->isVisible() || !window_->findChild<RegisterPickDialog*>());
      fixture_->waitIdle();
    }
    QCOMPARE(shownNames(), QStringList{"S0CON"});
    QCOMPARE(sessionList(), QStringList{"S0CON"});
  }

  void pickListFiltersByAnyPartOfTheNameInAnyCase() {
    const int all = fixture_->query<int>([](Session& s) { return s.registers.Count(); });
    click(window_->findChild<QPushButton*>(QStringLiteral("BAddSfr")));
    auto* pick = openDialog<RegisterPickDialog>();
    QVERIFY(pick);
    QAbstractItemModelTester tester(&pick->filtered(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    auto* filter = part(pick, QStringLiteral("TSfrFilter"));
    QCOMPARE(pick->filtered().rowCount(), all);
    QTest::keyClicks(filter, QStringLiteral("dpp"));
    QStringList found;
    for (int row = 0; row < pick->filtered().rowCount(); ++row)
      found << pick->filtered().index(row, 0).data().toString();
    QCOMPARE(found, (QStringList{"DPP0", "DPP1", "DPP2", "DPP3"}));
    // Down in the filter moves the choice; a double click adds the one under the pointer.
    QTest::keyClick(filter, Qt::Key_Down);
    QTest::keyClicks(filter, QStringLiteral("2"));
    QCOMPARE(pick->filtered().rowCount(), 1);
    filter->selectAll();
    QTest::keyClicks(filter, QStringLiteral("0cO"));  // part of the name, not its start
    QCOMPARE(pick->filtered().rowCount(), 1);
    auto* names = part<QListView>(pick, QStringLiteral("ISfr"));
    const QRect rect = names->visualRect(pick->filtered().index(0, 0));
    doubleClick(names->viewport(), rect.center());
    QTRY_COMPARE(shownNames(), QStringList{"S0CON"});
    QTRY_VERIFY(!window_->findChild<RegisterPickDialog*>());
  }

  void deleteKeyAndContextMenuRemove() {
    for (const char* name : {"PSW", "SP", "S0CON", "DPP0"}) command(std::string("_addsfr ") + name);
    QCOMPARE(shownNames(), (QStringList{"PSW", "SP", "S0CON", "DPP0"}));
    list()->setFocus();
    list()->setCurrentIndex(rowOf("SP"));
    QTest::keyClick(list(), Qt::Key_Delete);
    fixture_->waitIdle();
    QTRY_COMPARE(shownNames(), (QStringList{"PSW", "S0CON", "DPP0"}));

    QStringList entries;
    QTimer::singleShot(50, this, [&entries] {
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      if (!menu) return;
      for (QAction* action : menu->actions()) entries << action->text();
      for (QAction* action : menu->actions())
        if (action->text() == QStringLiteral("Remove")) action->trigger();
      menu->close();
    });
    const QPoint at = list()->visualRect(rowOf("DPP0")).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, list()->viewport()->mapToGlobal(at));
    QApplication::sendEvent(list()->viewport(), &event);
    QCOMPARE(entries, (QStringList{"Add register...", "Remove"}));
    fixture_->waitIdle();
    QTRY_COMPARE(shownNames(), (QStringList{"PSW", "S0CON"}));
    QCOMPARE(sessionList(), (QStringList{"PSW", "S0CON"}));
  }

  void modelPassesTheModelTester() {
    auto* model = qobject_cast<RegisterListModel*>(list()->model());
    QVERIFY(model);
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (const char* name : {"PSW", "SP", "CP"}) command(std::string("_addsfr ") + name);
    command("_removesfr SP");
    command("_refreshsfr");
    command("_addsfr MDL");
    QCOMPARE(model->rowCount(), 3);
    QCOMPARE(model->rowOf(QStringLiteral("cp")), 1);
    QCOMPARE(model->rowOf(QStringLiteral("SP")), -1);
  }

  void valueRefusesWhatIsNoFourDigitHexNumber_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("messages");
    QTest::newRow("five digits") << "12345"
                                 << "1234" << 1;
    QTest::newRow("not hex") << "12G"
                             << "0012" << 1;
    QTest::newRow("lower case taken") << "beef"
                                      << "beef" << 0;
    QTest::newRow("sign refused") << "+"
                                  << "0000" << 1;
  }
  void valueRefusesWhatIsNoFourDigitHexNumber() {
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    QFETCH(int, messages);
    command("_addsfr S0CON");
    fixture_->run([](Session& s) { WriteSfr(s.link(), s.registers.FindRegister("S0CON"), 0); });
    RegisterEditor* editor = openEditor("S0CON");
    QVERIFY(editor);
    QCOMPARE(part<QLabel>(editor, "LSfrName")->text(), QStringLiteral("S0CON"));
    auto* value = part(editor, "TValue");
    QCOMPARE(value->text(), QStringLiteral("0000"));
    typeOver(value, typed);
    const QStringList expected(messages, QString::fromLatin1(velmora::ui::kNoHexValueMessage));
    QCOMPARE(asked(), expected);
    QCOMPARE(value->text(), shown);
    QCOMPARE(editor->value(), static_cast<uint16_t>(shown.toUInt(nullptr, 16)));
    // The boxes follow every accepted digit: S0M is the low three bits.
    QCOMPARE(part(editor, "TBitValue2")->text(),
             QString::fromStdString(std::string{char('0' + (editor->value() >> 2 & 1)),
                                                char('0' + (editor->value() >> 1 & 1)),
                                                char('0' + (editor->value() & 1))}));
  }

  void threeBitFieldRefusesAFourthDigit() {
    command("_addsfr CCM0");
    fixture_->run([](Session& s) { WriteSfr(s.link(), s.registers.FindRegister("CCM0"), 0x0050); });
    RegisterEditor* editor = openEditor("CCM0");
    QVERIFY(editor);
    // CCMOD1 takes bits 6..4; the definitions name it at its highest bit.
    auto* field = part(editor, "TBitValue6");
    QCOMPARE(field->toolTip(), QStringLiteral("CCMOD1"));
    QCOMPARE(field->text(), QStringLiteral("101"));
    QVERIFY(field->isEnabled());
    QVERIFY(!editor->findChild<QLineEdit*>("TBitValue5"));
    QVERIFY(!editor->findChild<QLineEdit*>("TBitValue4"));
    QCOMPARE(part(editor, "TBitValue7")->toolTip(), QStringLiteral("ACC1"));
    QVERIFY(field->width() > part(editor, "TBitValue7")->width() * 2);
    typeOver(field, QStringLiteral("1100"));
    QCOMPARE(asked(), QStringList{"No binary number or more than 3 digits !"});
    QCOMPARE(field->text(), QStringLiteral("101"));
    fixture_->client().boxes().ClearAsked();
    typeOver(field, QStringLiteral("2"));
    QCOMPARE(asked(), QStringList{"No binary number or more than 3 digits !"});
    QCOMPARE(editor->value(), 0x0050);
  }

  void bitFieldsOfARegisterWithUnusedBits() {
    command("_addsfr PSW");
    RegisterEditor* editor = openEditor("PSW");
    QVERIFY(editor);
    // PSW: ILVL at 12..15, single bits at 0..6, 10 and 11; 7..9 are unused.
    for (int bit : {7, 8, 9}) {
      auto* box = part(editor, QStringLiteral("TBitValue%1").arg(bit));
      QVERIFY2(!box->isEnabled(), qPrintable(box->objectName()));
    }
    auto* ilvl = part(editor, "TBitValue15");
    QVERIFY(ilvl->isEnabled());
    QCOMPARE(ilvl->toolTip(), QStringLiteral("ILVL"));
    QCOMPARE(ilvl->text().size(), 4);
    QCOMPARE(part(editor, "TBitValue11")->toolTip(), QStringLiteral("IEN"));
  }

  void editedThroughTheBoxesAndWrittenToTheTarget() {
    connectTarget();
    command("_addsfr S0CON");
    fixture_->run([](Session& s) { s.virtualBoard()->WriteWord(addressOf(s, "S0CON"), 0x0001); });
    RegisterEditor* editor = openEditor("S0CON");
    QVERIFY(editor);
    auto* value = part(editor, "TValue");
    // Opening reads the register from the target first.
    QCOMPARE(value->text(), QStringLiteral("0001"));
    auto* receive = part(editor, "TBitValue4");  // S0REN
    doubleClick(receive);
    QCOMPARE(value->text(), QStringLiteral("0011"));
    doubleClick(receive);
    QCOMPARE(value->text(), QStringLiteral("0001"));
    doubleClick(receive);
    auto* mode = part(editor, "TBitValue2");  // S0M, bits 2..0
    typeOver(mode, QStringLiteral("101"));
    QCOMPARE(value->text(), QStringLiteral("0011"));  // not before the box is left
    mode->clearFocus();
    QCOMPARE(value->text(), QStringLiteral("0015"));
    auto* parity = part(editor, "TBitValue12");  // S0ODD
    typeOver(parity, QStringLiteral("1"));
    QVERIFY2(asked().isEmpty(), qPrintable(asked().join("|")));
    click(part<QPushButton>(editor, "BOk"));  // OK takes the box still being typed in
    fixture_->waitIdle();
    QCOMPARE(boardWord("S0CON"), 0x1015);
    QTRY_COMPARE(shownLines(), QStringList{"S0CON      00FFB0  1015"});
  }

  void withoutATargetTheEditorWorksOnTheImageAlone() {
    command("_addsfr PSW");
    fixture_->openBoardRecording();
    const size_t before = fixture_->boardReceived().size();
    RegisterEditor* editor = openEditor("PSW");
    QVERIFY(editor);
    typeOver(part(editor, "TValue"), QStringLiteral("a5c3"));
    click(part<QPushButton>(editor, "BOk"));
    fixture_->waitIdle();
    QCOMPARE(fixture_->boardReceived().size(), before);
    const velmora::MemoryImage& image = fixture_->client().image();
    QCOMPARE(image.GetByte(0xFF10), 0xC3);
    QCOMPARE(image.GetByte(0xFF11), 0xA5);
    QTRY_COMPARE(shownLines(), QStringList{"PSW        00FF10  A5C3"});
    QVERIFY(!image.IsValid(0xFF10));
  }

  void cancelWritesNothing() {
    connectTarget();
    command("_addsfr SP");
    fixture_->run([](Session& s) { s.virtualBoard()->WriteWord(addressOf(s, "SP"), 0xFA00); });
    RegisterEditor* editor = openEditor("SP");
    QVERIFY(editor);
    typeOver(part(editor, "TValue"), QStringLiteral("1111"));
    click(part<QPushButton>(editor, "BCancel"));
    fixture_->waitIdle();
    QCOMPARE(boardWord("SP"), 0xFA00);
    QTRY_COMPARE(shownLines(), QStringList{"SP         00FE12  FA00"});
  }

  void aValueChangedSinceThePreviousRefreshIsMarked() {
    connectTarget();
    command("_addsfr SP");
    command("_addsfr CP");
    command("_refreshsfr");
    auto* model = list()->model();
    const auto marked = [&](const QString& name) {
      return rowOf(name).data(RegisterListModel::ChangedRole).toBool();
    };
    QVERIFY(!marked("SP") && !marked("CP"));
    fixture_->run([](Session& s) { s.virtualBoard()->WriteWord(addressOf(s, "SP"), 0xF0F0); });
    command("_refreshsfr");
    QTRY_VERIFY(marked("SP"));
    QVERIFY(!marked("CP"));
    QVERIFY(rowOf("SP").data(Qt::FontRole).value<QFont>().bold());
    QVERIFY(!rowOf("CP").data(Qt::FontRole).isValid());
    QCOMPARE(model->data(rowOf("SP")).toString(), QStringLiteral("SP         00FE12  F0F0"));
    command("_refreshsfr");
    QTRY_VERIFY(!marked("SP"));
  }

  void linesOfRegistersAnotherTypeLacksDisappear() {
    for (const char* name : {"PSW", "SYSCON0", "S0CON", "S0FDV"})
      command(std::string("_addsfr ") + name);
    QCOMPARE(shownNames(), (QStringList{"PSW", "SYSCON0", "S0CON", "S0FDV"}));
    fixture_->run([](Session& s) {
      s.settings.target.mcType = "KESSEL";
      velmora::LoadCurrentRegisterFile(s);
      velmora::CheckSfr(s.link());
    });
    fixture_->waitIdle();
    QTRY_COMPARE(shownNames(), (QStringList{"PSW", "S0CON"}));
    QCOMPARE(sessionList(), (QStringList{"PSW", "S0CON"}));
  }
};

VELMORA_UI_TEST(RegisterWindowTest)

#include "register_window_test.moc"
