// The flash dialog: its caption and controls for each operation, no unit for an
// operation, and, from the window's flash buttons against the virtual board, erasing
// chosen sections in order, protecting a unit and the decoded status words.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <memory>

#include "session/session.h"
#include "sim/board.h"
#include "ui/flash_dialog.h"
#include "ui/main_window.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

using velmora::FlashFeature;
using velmora::MemoryRegion;
using velmora::MemorySection;
using velmora::MemoryUnit;
using velmora::Session;
using velmora::test::UiFixture;
using velmora::ui::FlashDialog;
using velmora::ui::MainWindow;

namespace {

MemoryUnit unitOffering(const std::string& name, std::vector<std::string> features) {
  MemoryUnit unit;
  unit.name = name;
  unit.features = std::move(features);
  MemoryRegion region;
  region.startAddress = 0x80000;
  region.length = 0x10000;
  unit.sections = {MemorySection{{region}}};
  return unit;
}

}  // namespace

class FlashDialogTest : public QObject {
  Q_OBJECT

  std::unique_ptr<UiFixture> fixture_;
  std::unique_ptr<MainWindow> window_;

  template <typename T>
  static T* control(QWidget* root, const char* name) {
    T* found = root->findChild<T*>(QString::fromLatin1(name));
    if (!found) qFatal("no control %s", name);
    return found;
  }

  void startWindow() {
    fixture_ = std::make_unique<UiFixture>();
    window_ = std::make_unique<MainWindow>(fixture_->client());
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
    QTest::mouseClick(control<QPushButton>(window_.get(), "BConnect"), Qt::LeftButton);
    fixture_->waitIdle();
    QCOMPARE(fixture_->client().snapshot().state, velmora::TargetState::Ready);
  }

  FlashDialog* openBy(const char* button) {
    auto* flash = control<QPushButton>(window_.get(), button);
    if (flash->isHidden() || !flash->isEnabled()) return nullptr;
    QTest::mouseClick(flash, Qt::LeftButton);
    FlashDialog* dialog = nullptr;
    const bool shown = QTest::qWaitFor([&] {
      dialog = window_->findChild<FlashDialog*>("FFlash");
      return dialog && dialog->isVisible();
    });
    return shown ? dialog : nullptr;
  }

 private slots:
  void cleanup() {
    if (fixture_) fixture_->waitIdle();
    window_.reset();
    fixture_.reset();
  }

  void captionAndControlsFollowTheOperation_data() {
    QTest::addColumn<int>("feature");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<bool>("sections");
    QTest::addColumn<bool>("passwords");
    QTest::newRow("erase") << int(FlashFeature::Erase) << "Erase Sector" << true << false;
    QTest::newRow("protect") << int(FlashFeature::Protect) << "Protect Flash" << false << true;
    QTest::newRow("unprotect") << int(FlashFeature::Unprotect) << "Unprotect Flash" << false
                               << true;
    QTest::newRow("lock") << int(FlashFeature::Lock) << "Lock Sector" << true << true;
    QTest::newRow("unlock") << int(FlashFeature::Unlock) << "Unlock Sector" << true << true;
    QTest::newRow("status") << int(FlashFeature::Status) << "Read Status" << true << false;
  }
  void captionAndControlsFollowTheOperation() {
    QFETCH(int, feature);
    QFETCH(QString, caption);
    QFETCH(bool, sections);
    QFETCH(bool, passwords);
    const std::vector<MemoryUnit> units = {
        unitOffering("RAM", {}),
        unitOffering("ONE", {"ERASE", "PROTECT", "UNPROTECT", "LOCK", "UNLOCK", "STATUS"}),
        unitOffering("TWO", {"ERASE", "PROTECT", "UNPROTECT", "LOCK", "UNLOCK", "STATUS"})};
    // Prepared for another operation first: setfeature must put everything right.
    FlashDialog dialog(units, feature == 0 ? FlashFeature::Status : FlashFeature::Erase);
    auto* passwordsField = control<QLineEdit>(&dialog, "TPasswords");
    passwordsField->setText("1,2");
    dialog.setfeature(static_cast<FlashFeature>(feature));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.windowTitle(), caption);
    QCOMPARE(control<QListWidget>(&dialog, "ISections")->isVisible(), sections);
    QCOMPARE(passwordsField->isVisible(), passwords);
    QCOMPARE(control<QLabel>(&dialog, "LPasswords")->isVisible(), passwords);
    QCOMPARE(passwordsField->text(), QStringLiteral("3,A,5,C,1,F,7,E"));
    auto* unit = control<QComboBox>(&dialog, "DMemUnit");
    QCOMPARE(unit->count(), 2);
    QCOMPARE(unit->currentText(), QStringLiteral("ONE"));
    QCOMPARE(dialog.unitIndex(), 1);
  }

  void noUnitOffersTheOperation() {
    FlashDialog dialog({unitOffering("XFLASH", {"ERASE", "PROGRAM", "STATUS"})},
                       FlashFeature::Lock);
    QCOMPARE(control<QComboBox>(&dialog, "DMemUnit")->count(), 0);
    QCOMPARE(control<QListWidget>(&dialog, "ISections")->count(), 0);
    QVERIFY(!control<QPushButton>(&dialog, "BOk")->isEnabled());
    QCOMPARE(dialog.unitIndex(), -1);
    QCOMPARE(dialog.request().unit, -1);
  }

  void eraseOfThreeChosenSectionsRunsInListOrder() {
    startWindow();
    FlashDialog* dialog = openBy("BErase");
    QVERIFY(dialog);
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Erase Sector"));
    QCOMPARE(control<QComboBox>(dialog, "DMemUnit")->currentText(), QStringLiteral("IFLASH"));
    auto* sections = control<QListWidget>(dialog, "ISections");
    QCOMPARE(sections->count(), 6);
    QCOMPARE(sections->item(4)->text(), QStringLiteral("Section 4: C08000 - C0FFFF"));
    fixture_->run([](Session& s) {
      s.virtualBoard()->memory().StoreLoaded(0xC10000, std::vector<uint8_t>(4, 0x00));
    });
    // Chosen out of order by the user: the list's order counts.
    const auto clickRow = [&](int row, Qt::KeyboardModifiers keys) {
      QTest::mouseClick(sections->viewport(), Qt::LeftButton, keys,
                        sections->visualItemRect(sections->item(row)).center());
    };
    clickRow(5, {});
    clickRow(1, Qt::ControlModifier);
    clickRow(3, Qt::ControlModifier);
    fixture_->clearLines();
    QTest::mouseClick(control<QPushButton>(dialog, "BOk"), Qt::LeftButton);
    fixture_->waitIdle();
    QCOMPARE(fixture_->linesStartingWith("*Erase: Sector"),
             (QStringList{"*Erase: Sector 1 in IFLASH successfully erased",
                          "*Erase: Sector 3 in IFLASH successfully erased",
                          "*Erase: Sector 5 in IFLASH successfully erased"}));
    QVERIFY(fixture_->linesStartingWith("*ERROR").isEmpty());
    const auto erased = fixture_->query<std::vector<uint8_t>>([](Session& s) {
      std::vector<uint8_t> bytes(4);
      s.virtualBoard()->memory().ReadBytes(0xC10000, bytes);
      return bytes;
    });
    QCOMPARE(erased, std::vector<uint8_t>(4, 0xFF));
    QTRY_VERIFY(!window_->findChild<FlashDialog*>("FFlash"));
  }

  void protectActsOnTheWholeUnit() {
    startWindow();
    FlashDialog* dialog = openBy("BProtect");
    QVERIFY(dialog);
    QVERIFY(!control<QListWidget>(dialog, "ISections")->isVisible());
    fixture_->clearLines();
    QTest::mouseClick(control<QPushButton>(dialog, "BOk"), Qt::LeftButton);
    fixture_->waitIdle();
    QCOMPARE(fixture_->linesStartingWith("*Protect:"),
             QStringList{"*Protect: IFLASH successfully protected"});
    const bool isProtected = fixture_->query<bool>(
        [](Session& s) { return s.virtualBoard()->flash().units()[0].protectedUnit; });
    QVERIFY(isProtected);
  }

  void statusWordToolTipDecodesItsBits() {
    startWindow();
    fixture_->run([](Session& s) {
      velmora::StatusWord& word = s.settings.target.units[3].statusWords[0];
      word = {};
      word[0] = {"A", 1};
      word[1] = {"B", 2};
      s.virtualBoard()->flash().units()[0].errors = 0x0005;
    });
    FlashDialog* dialog = openBy("BStatus");
    QVERIFY(dialog);
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Read Status"));
    auto* words = control<QListWidget>(dialog, "ISections");
    QTRY_COMPARE(words->count(), 3);
    QCOMPARE(words->item(0)->text(), QStringLiteral("Statusword 0: 0005"));
    QCOMPARE(words->item(2)->text(), QStringLiteral("Statusword 2: 0102"));
    QTest::mouseClick(words->viewport(), Qt::LeftButton, {},
                      words->visualItemRect(words->item(0)).center());
    QCOMPARE(words->toolTip(), QStringLiteral("B=2 A=1 "));
    QTest::mouseClick(words->viewport(), Qt::LeftButton, {},
                      words->visualItemRect(words->item(2)).center());
    QCOMPARE(words->toolTip(), QStringLiteral("DRIVER_VERSION=1 DRIVER_REVISION=2 "));
    dialog->reject();
  }
};

VELMORA_UI_TEST(FlashDialogTest)
#include "flash_dialog_test.moc"
