// The configuration dialog opened from the main window against the virtual board: the
// clock's default, the register boxes' rules, the memory table's columns and toggles, a
// working copy that only OK hands over, a new controller type followed by the window, and
// the limit of memory units.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <memory>

#include "config/settings.h"
#include "session/session.h"
#include "ui/configuration_dialog.h"
#include "ui/main_window.h"
#include "ui/memory_unit_editor.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

using velmora::MemoryRegion;
using velmora::MemorySection;
using velmora::MemoryUnit;
using velmora::Session;
using velmora::TargetConfiguration;
using velmora::test::UiFixture;
using velmora::ui::ConfigurationDialog;
using velmora::ui::MainWindow;

namespace {

MemoryUnit unitAt(const std::string& name, int32_t start, bool withActivation, bool mappable) {
  MemoryUnit unit;
  unit.name = name;
  MemoryRegion region;
  region.startAddress = start;
  region.length = 0x100;
  region.hasMapping = mappable;
  region.mapAddress = mappable ? 0x300000 : 0;
  MemoryRegion second = region;
  second.startAddress = start + 0x1000;
  unit.sections = {MemorySection{{region}}, MemorySection{{second}}};
  if (withActivation) unit.activate = {{"SYSCON0", 0x0004}};
  return unit;
}

QStringList texts(const QListWidget* list) {
  QStringList lines;
  for (int row = 0; row < list->count(); ++row) lines << list->item(row)->text();
  return lines;
}

bool same(const TargetConfiguration& a, const TargetConfiguration& b) {
  return a.mcType == b.mcType && a.clockRate == b.clockRate && a.einitEnabled == b.einitEnabled &&
         a.enabled == b.enabled && a.values == b.values && a.units == b.units;
}

void clickRow(QListWidget* list, int row) {
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                    list->visualItemRect(list->item(row)).center());
}

}  // namespace

class ConfigurationDialogTest : public QObject {
  Q_OBJECT

  std::unique_ptr<UiFixture> fixture_;
  std::unique_ptr<MainWindow> window_;
  QPointer<ConfigurationDialog> dialog_;

  template <typename T = QLineEdit>
  T* control(const char* name) {
    QWidget* root = dialog_ ? static_cast<QWidget*>(dialog_.data()) : window_.get();
    T* found = root->findChild<T*>(QString::fromLatin1(name));
    if (!found) qFatal("no control %s", name);
    return found;
  }

  QStringList asked() const {
    QStringList said;
    for (const auto& box : fixture_->client().boxes().Asked()) said << box.text;
    return said;
  }

  // Opens the dialog by the button (or the menu entry) and waits until it can be typed in.
  void open(bool byMenu = false) {
    fixture_->waitIdle();
    dialog_ = nullptr;
    if (byMenu) {
      window_->findChild<QAction*>("UTargetConfiguration")->trigger();
    } else {
      QTest::mouseClick(window_->findChild<QPushButton*>("BConfigure"), Qt::LeftButton);
    }
    QTRY_VERIFY(window_->findChild<ConfigurationDialog*>("FConfigure"));
    dialog_ = window_->findChild<ConfigurationDialog*>("FConfigure");
    QVERIFY(QTest::qWaitForWindowActive(dialog_));
  }

  void close(const char* button) {
    QTest::mouseClick(control<QPushButton>(button), Qt::LeftButton);
    QTRY_VERIFY(!dialog_);
    fixture_->waitIdle();
  }

  void typeAndLeave(QLineEdit* field, const QString& text) {
    field->setFocus();
    QTRY_VERIFY(field->hasFocus());
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Tab);
    QTRY_VERIFY(!field->hasFocus());
  }

  TargetConfiguration stored() {
    return fixture_->query<TargetConfiguration>([](Session& s) { return s.settings.target; });
  }
  void setUnits(std::vector<MemoryUnit> units) {
    fixture_->run([units](Session& s) { s.settings.target.units = units; });
  }

 private slots:
  void init() {
    fixture_ = std::make_unique<UiFixture>();
    window_ = std::make_unique<MainWindow>(fixture_->client());
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
  }
  void cleanup() {
    if (dialog_) dialog_->reject();
    fixture_->waitIdle();
    window_.reset();
    fixture_.reset();
  }

  void opensByButtonAndMenuWithTheRecord() {
    for (const bool byMenu : {false, true}) {
      open(byMenu);
      QCOMPARE(dialog_->windowTitle(), QStringLiteral("Configure"));
      auto* types = control<QComboBox>("DMCType");
      QCOMPARE(types->currentText(), QStringLiteral("TOLVANE"));
      QCOMPARE(types->count(), 4);
      QCOMPARE(types->itemText(0), QStringLiteral("KESSEL"));
      // The shipped units, one line per region, in the fixed-pitch columns.
      QCOMPARE(control<QListWidget>("IMemoryList")->item(0)->text(),
               QStringLiteral("DPRAM         :00F600-00FDFF"));
      // A unit's further lines keep the blanks of its name column.
      QCOMPARE(control<QListWidget>("IMemoryList")->item(4)->text(),
               QStringLiteral("              :C02000-C03FFF"));
      QCOMPARE(control<QListWidget>("IMemoryList")->count(),
               control<QListWidget>("IMemoryMapped")->count());
      close("BCancel");
    }
    // Filling the type list by program asks nothing.
    QVERIFY(asked().isEmpty());
  }

  void clockDefaultIsThePreferencesDefault() {
    fixture_->run(
        [](Session& s) { velmora::SetDefaultPreferences(s.settings, s.programFolder()); });
    open();
    QCOMPARE(control("TClk")->text(), QStringLiteral("40000000"));
  }

  void registerBoxRules_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("check");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("left");
    QTest::newRow("data, two digits") << "TFOCON"
                                      << "CFOCON"
                                      << "1f"
                                      << ""
                                      << "001F";
    QTest::newRow("data, fifth digit") << "TSYSCON0"
                                       << "CSYSCON0"
                                       << "12345"
                                       << "No valid hexadecimal digit !"
                                       << "";
    QTest::newRow("data, no digit") << "TDPP3"
                                    << "CDPP3"
                                    << "1g"
                                    << "No valid hexadecimal digit !"
                                    << "";
    QTest::newRow("generic data") << "TGEN2DATA"
                                  << "CGEN2"
                                  << "5"
                                  << ""
                                  << "0005";
    QTest::newRow("generic address, six digits") << "TGEN1ADDR"
                                                 << "CGEN1"
                                                 << "abcdef"
                                                 << ""
                                                 << "ABCDEF";
    QTest::newRow("generic address, seventh digit") << "TGEN1ADDR"
                                                    << "CGEN1"
                                                    << "1234567"
                                                    << "No hexadecimal digit !"
                                                    << "";
  }
  void registerBoxRules() {
    QFETCH(QString, box);
    QFETCH(QString, check);
    QFETCH(QString, typed);
    QFETCH(QString, message);
    QFETCH(QString, left);
    fixture_->run([](Session& s) {
      s.settings.target.enabled.fill(0);
      s.settings.target.values.fill(0);
    });
    open();
    auto* checkBox = control<QCheckBox>(qPrintable(check));
    QVERIFY(!checkBox->isChecked());
    typeAndLeave(control(qPrintable(box)), typed);
    QCOMPARE(asked(), message.isEmpty() ? QStringList{} : QStringList{message});
    QCOMPARE(control(qPrintable(box))->text(), left);
    // An emptied box leaves its register as it was; a value checks it.
    QCOMPARE(checkBox->isChecked(), !left.isEmpty());
  }

  void cancelChangesNothingOkApplies() {
    setUnits({unitAt("SWITCHED", 0x10000, true, false), unitAt("MAPPED", 0x20000, false, true)});
    const TargetConfiguration before = stored();
    for (const char* button : {"BCancel", "BOk"}) {
      open();
      auto* clock = control("TClk");
      clock->selectAll();
      typeAndLeave(clock, "20000000");
      auto* einit = control<QCheckBox>("CEINIT");
      QTest::mouseClick(einit, Qt::LeftButton, {}, QPoint(6, einit->height() / 2));
      typeAndLeave(control("TDPP1"), "7");
      // Activation on the unit's first line, mapping on any line of the other unit.
      clickRow(control<QListWidget>("IMemoryActivated"), 0);
      clickRow(control<QListWidget>("IMemoryMapped"), 3);
      QCOMPARE(texts(control<QListWidget>("IMemoryActivated")), (QStringList{"X", " ", "X", " "}));
      QCOMPARE(texts(control<QListWidget>("IMemoryMapped")), (QStringList{" ", " ", "X", "X"}));
      QCOMPARE(control<QListWidget>("IMemoryList")->item(2)->text(),
               QStringLiteral("MAPPED        :300000-3000FF"));
      close(button);
      if (QByteArray(button) == "BCancel") QVERIFY(same(stored(), before));
    }
    const TargetConfiguration after = stored();
    QCOMPARE(after.clockRate, 20000000);
    QCOMPARE(after.einitEnabled, before.einitEnabled == 1 ? 0 : 1);
    QVERIFY(after.IsEnabled(velmora::InitRegister::DPP1));
    QCOMPARE(after.Value(velmora::InitValue::DPP1), 7);
    QVERIFY(after.units[0].activated);
    QVERIFY(after.units[1].sections[0].regions[0].mapped);
    QVERIFY(after.units[1].sections[1].regions[0].mapped);
  }

  void unitWithoutActivationRegistersCannotBeToggled() {
    setUnits({unitAt("PLAIN", 0x10000, false, false)});
    open();
    auto* activated = control<QListWidget>("IMemoryActivated");
    QCOMPARE(texts(activated), (QStringList{"X", " "}));
    clickRow(activated, 0);
    clickRow(control<QListWidget>("IMemoryMapped"), 1);  // no mapping either
    QCOMPARE(texts(activated), (QStringList{"X", " "}));
    QCOMPARE(texts(control<QListWidget>("IMemoryMapped")), (QStringList{" ", " "}));
  }

  void theThreeColumnsScrollTogether() {
    std::vector<MemoryUnit> many;
    for (int i = 0; i < 20; ++i)
      many.push_back(unitAt("U" + std::to_string(i), i * 0x10000, false, false));
    setUnits(many);
    open();
    auto* mapped = control<QListWidget>("IMemoryMapped");
    const int middle = mapped->verticalScrollBar()->maximum() / 2;
    QVERIFY(middle > 0);
    mapped->verticalScrollBar()->setValue(middle);
    QCOMPARE(control<QListWidget>("IMemoryList")->verticalScrollBar()->value(), middle);
    QCOMPARE(control<QListWidget>("IMemoryActivated")->verticalScrollBar()->value(), middle);
    control<QListWidget>("IMemoryList")->scrollToBottom();
    QCOMPARE(mapped->verticalScrollBar()->value(), mapped->verticalScrollBar()->maximum());
  }

  void typeChangeIsFollowedByTheWindow() {
    fixture_->run([](Session& s) { s.settings.frontend.display = {"PSW", "SYSCON3"}; });
    QTRY_VERIFY(!window_->findChild<QPushButton*>("BLock")->isHidden());
    open();
    auto* types = control<QComboBox>("DMCType");
    types->setFocus();
    fixture_->client().boxes().QueueAnswer(velmora::BoxAnswer::Yes);
    QTest::keyClick(types, Qt::Key_Home);  // KESSEL, the first type
    QCOMPARE(types->currentText(), QStringLiteral("KESSEL"));
    QCOMPARE(asked(), QStringList{"Do you want to load default memory units of this Type ?"});
    QCOMPARE(fixture_->client().boxes().Asked().back().buttons, velmora::BoxButtons::YesNo);
    QTRY_VERIFY(control<QListWidget>("IMemoryList")->item(0)->text().startsWith("IRAM "));
    close("BOk");
    QTRY_COMPARE(window_->findChild<QLineEdit*>("TController")->text(), QStringLiteral("KESSEL"));
    // The new type's registers: one it lacks leaves the register list.
    const auto display = fixture_->query<std::vector<std::string>>(
        [](Session& s) { return s.settings.frontend.display; });
    QCOMPARE(display, std::vector<std::string>{"PSW"});
    QTRY_VERIFY(window_->findChild<QPushButton*>("BLock")->isHidden());
    QVERIFY(!window_->findChild<QPushButton*>("BErase")->isHidden());
  }

  void declinedDefaultUnitsKeepTheList() {
    open();
    const QStringList before = texts(control<QListWidget>("IMemoryList"));
    auto* types = control<QComboBox>("DMCType");
    types->setFocus();
    fixture_->client().boxes().QueueAnswer(velmora::BoxAnswer::No);
    QTest::keyClick(types, Qt::Key_End);
    QCOMPARE(types->currentText(), QStringLiteral("BRASK"));
    fixture_->waitIdle();
    QCOMPARE(texts(control<QListWidget>("IMemoryList")), before);
  }

  void addEditRemoveUnits() {
    setUnits({unitAt("FIRST", 0x10000, false, false), unitAt("SECOND", 0x20000, false, false)});
    open();
    auto* list = control<QListWidget>("IMemoryList");
    list->setCurrentRow(3);  // SECOND's second region
    QTest::mouseClick(control<QPushButton>("BMemoryEdit"), Qt::LeftButton);
    auto* editor = dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory");
    QVERIFY(editor);
    QTRY_VERIFY(editor->isVisible());
    QCOMPARE(editor->findChild<QLineEdit*>("TName")->text(), QStringLiteral("SECOND"));
    editor->findChild<QLineEdit*>("TName")->setText("RENAMED");
    QTest::mouseClick(editor->findChild<QPushButton*>("BCancel"), Qt::LeftButton);
    QTRY_VERIFY(!dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory"));
    QVERIFY(list->item(2)->text().startsWith("SECOND "));

    QTest::mouseClick(control<QPushButton>("BMemoryAdd"), Qt::LeftButton);
    QTRY_VERIFY(dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory"));
    editor = dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory");
    QCOMPARE(editor->findChild<QComboBox*>("DType")->currentText(), QStringLiteral("RAM"));
    QVERIFY(editor->AddRegion(0x40000, 0x10, false, 0, "", 0));
    editor->findChild<QLineEdit*>("TName")->setText("ADDED");
    QTest::mouseClick(editor->findChild<QPushButton*>("BOk"), Qt::LeftButton);
    QTRY_COMPARE(list->count(), 5);
    QCOMPARE(list->item(4)->text(), QStringLiteral("ADDED         :040000-04000F"));

    list->setCurrentRow(0);
    QTest::mouseClick(control<QPushButton>("BMemoryRemove"), Qt::LeftButton);
    QCOMPARE(list->count(), 3);
    QVERIFY(list->item(0)->text().startsWith("SECOND "));
    close("BOk");
    const auto units = stored().units;
    QCOMPARE(units.size(), size_t{2});
    QCOMPARE(units[1].name, std::string("ADDED"));
  }

  void thirtyFourthUnitIsRefused() {
    std::vector<MemoryUnit> units;
    for (int i = 0; i < velmora::kMaxMemoryUnits - 1; ++i)
      units.push_back(unitAt("U" + std::to_string(i), i * 0x10000, false, false));
    setUnits(units);
    open();
    // The 33rd is taken, and stays when its editor is cancelled.
    QTest::mouseClick(control<QPushButton>("BMemoryAdd"), Qt::LeftButton);
    QTRY_VERIFY(dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory"));
    dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory")->reject();
    QTRY_VERIFY(!dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory"));
    QVERIFY(asked().isEmpty());
    QTest::mouseClick(control<QPushButton>("BMemoryAdd"), Qt::LeftButton);
    QCOMPARE(asked(), QStringList{"The configuration holds at most 33 memory units."});
    QVERIFY(!dialog_->findChild<velmora::ui::MemoryUnitEditor*>("FMemory"));
    close("BOk");
    QCOMPARE(stored().units.size(), size_t{33});
  }

  void clearEmptiesTheFieldsButKeepsTheUnits() {
    fixture_->run([](Session& s) {
      s.settings.target.SetEnabled(velmora::InitRegister::SYSCON0, true);
      s.settings.target.SetValue(velmora::InitValue::SYSCON0, 0x1234);
    });
    const size_t units = stored().units.size();
    open();
    QCOMPARE(control("TSYSCON0")->text(), QStringLiteral("1234"));
    QTest::mouseClick(control<QPushButton>("BClear"), Qt::LeftButton);
    QCOMPARE(control("TSYSCON0")->text(), QString());
    QVERIFY(!control<QCheckBox>("CSYSCON0")->isChecked());
    QCOMPARE(control<QListWidget>("IMemoryList")->count(), 0);
    close("BOk");
    const TargetConfiguration after = stored();
    QVERIFY(!after.IsEnabled(velmora::InitRegister::SYSCON0));
    QCOMPARE(after.Value(velmora::InitValue::SYSCON0), 0);
    QCOMPARE(after.units.size(), units);
  }
};

VELMORA_UI_TEST(ConfigurationDialogTest)
#include "configuration_dialog_test.moc"
