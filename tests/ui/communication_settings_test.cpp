// The communication settings dialog against the in-process virtual board: the lists and
// what they show, a port typed by name, a port that cannot be opened, Cancel keeping the
// edits, and a baud-rate change that re-programs a connected target.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <memory>

#include "link/line_settings_change.h"
#include "link/register_access.h"
#include "modal_dialog.h"
#include "session/session.h"
#include "ui/communication_settings_dialog.h"
#include "ui/main_window.h"
#include "ui/status_bar.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

using velmora::CommunicationSettings;
using velmora::Session;
using velmora::TargetState;
using velmora::test::UiFixture;
using velmora::test::WhenDialogOpens;
using velmora::ui::CommunicationSettingsDialog;
using velmora::ui::MainWindow;

namespace {

template <typename T>
T* child(QWidget& parent, const char* name) {
  T* found = parent.findChild<T*>(QString::fromLatin1(name));
  if (!found) qFatal("no control %s", name);
  return found;
}

QStringList entries(QComboBox* box) {
  QStringList all;
  for (int i = 0; i < box->count(); ++i) all << box->itemText(i);
  return all;
}

void typePort(CommunicationSettingsDialog& dialog, const QString& name) {
  QLineEdit* edit = child<QComboBox>(dialog, "CPort")->lineEdit();
  edit->setFocus();
  edit->selectAll();
  QTest::keyClicks(edit, name);
}

// Chooses an entry the way a person does with the keyboard, so the list's change is
// the user's.
void choose(QComboBox* box, int index) {
  box->setFocus();
  while (box->currentIndex() < index) QTest::keyClick(box, Qt::Key_Down);
  while (box->currentIndex() > index) QTest::keyClick(box, Qt::Key_Up);
}

void click(CommunicationSettingsDialog& dialog, const char* button) {
  QTest::mouseClick(child<QPushButton>(dialog, button), Qt::LeftButton);
}

}  // namespace

class CommunicationSettingsTest : public QObject {
  Q_OBJECT

  std::unique_ptr<UiFixture> fixture_;
  std::unique_ptr<MainWindow> window_;

  CommunicationSettings stored() { return fixture_->client().snapshot().settings.communication; }

  void openFromMenu() {
    child<QAction>(*window_, "UInterfaceSettings")->trigger();
    fixture_->waitIdle();
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

  void listsShowTheSettings() {
    fixture_->run([](Session& s) {
      auto& com = s.settings.communication;
      com.SetPort("COM3");
      com.baudRate = 115200;
      com.parity = 2;
      com.dataBits = 7;
      com.stopBits = 2;
      com.kline = 1;
      com.timeout = 3500;
    });
    fixture_->waitIdle();
    CommunicationSettingsDialog dialog(fixture_->client());
    QCOMPARE(dialog.objectName(), QStringLiteral("FComPort"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Communication Settings"));
    auto* port = child<QComboBox>(dialog, "CPort");
    QVERIFY(port->isEditable());
    for (const char* name : {"COM1", "COM2", "COM3", "COM4", "virtual"})
      QVERIFY2(entries(port).contains(QString::fromLatin1(name)), name);
    QCOMPARE(port->currentText(), QStringLiteral("COM3"));
    QCOMPARE(child<QLabel>(dialog, "LPortInfo")->text(), QStringLiteral("/dev/ttyS2"));
    QCOMPARE(entries(child<QComboBox>(dialog, "CBaud")),
             QStringList({"300", "600", "1200", "2400", "4800", "9600", "19200", "28800", "38400",
                          "57600", "115200"}));
    QCOMPARE(child<QComboBox>(dialog, "CBaud")->currentText(), QStringLiteral("115200"));
    QCOMPARE(entries(child<QComboBox>(dialog, "CParity")), QStringList({"none", "odd", "even"}));
    QCOMPARE(child<QComboBox>(dialog, "CParity")->currentText(), QStringLiteral("even"));
    QCOMPARE(entries(child<QComboBox>(dialog, "CData")), QStringList({"7 Bit", "8 Bit"}));
    QCOMPARE(child<QComboBox>(dialog, "CData")->currentText(), QStringLiteral("7 Bit"));
    QCOMPARE(child<QComboBox>(dialog, "CStop")->currentText(), QStringLiteral("2"));
    QCOMPARE(child<QCheckBox>(dialog, "CKline")->text(), QStringLiteral("KLINE"));
    QVERIFY(child<QCheckBox>(dialog, "CKline")->isChecked());
    QCOMPARE(child<QSpinBox>(dialog, "TTimeout")->value(), 3500);
    QCOMPARE(velmora::CSettings(dialog.settings()), std::string("115200,e,7,2"));
  }

  void aRateTheListLacksStaysInForce() {
    fixture_->run([](Session& s) { s.settings.communication.baudRate = 14400; });
    fixture_->waitIdle();
    CommunicationSettingsDialog dialog(fixture_->client());
    dialog.show();
    QCOMPARE(dialog.settings().baudRate, 14400);
    // The parity list changed; the unlisted rate is still the one written.
    choose(child<QComboBox>(dialog, "CParity"), 1);
    QCOMPARE(velmora::CSettings(dialog.settings()), std::string("14400,o,8,1"));
  }

  void portChangedToVirtualConnects() {
    fixture_->run([](Session& s) {
      s.link().ClosePort();
      s.settings.communication.SetPort("COM4");
    });
    WhenDialogOpens<CommunicationSettingsDialog>([](CommunicationSettingsDialog& dialog) {
      typePort(dialog, "virtual");
      click(dialog, "BOk");
    });
    openFromMenu();
    QCOMPARE(stored().PortText(), std::string("virtual"));
    QVERIFY(fixture_->client().snapshot().portOpen);

    QTest::mouseClick(child<QPushButton>(*window_, "BConnect"), Qt::LeftButton);
    fixture_->waitIdle();
    QCOMPARE(fixture_->client().snapshot().state, TargetState::Ready);
    QCOMPARE(child<velmora::ui::StatusBar>(*window_, "XStatusbar")->stateText(),
             QString::fromLatin1(velmora::TargetStateText(TargetState::Ready)->data()));
  }

  void aPortThatCannotBeOpenedKeepsTheDialog() {
    auto& boxes = fixture_->client().boxes();
    boxes.ClearAsked();
    bool stayedOpen = false;
    WhenDialogOpens<CommunicationSettingsDialog>([&](CommunicationSettingsDialog& dialog) {
      typePort(dialog, "/dev/velmora-no-such-port");
      click(dialog, "BOk");
      // The worker tries the port; the box comes back, the dialog stays.
      QTRY_COMPARE(boxes.Asked().size(), size_t{1});
      QTRY_VERIFY(child<QPushButton>(dialog, "BOk")->isEnabled());
      stayedOpen = dialog.isVisible();
      typePort(dialog, "virtual");
      click(dialog, "BOk");
    });
    openFromMenu();
    QVERIFY(stayedOpen);
    QCOMPARE(boxes.Asked().front().text,
             QString::fromLatin1(velmora::kPortNotAvailableMessage.data()));
    QCOMPARE(stored().PortText(), std::string("virtual"));
  }

  void cancelKeepsTheEditsButNotTheLine() {
    fixture_->openBoardRecording();
    WhenDialogOpens<CommunicationSettingsDialog>([](CommunicationSettingsDialog& dialog) {
      choose(child<QComboBox>(dialog, "CBaud"), 6);
      click(dialog, "BCancel");
    });
    openFromMenu();
    QCOMPARE(stored().baudRate, 19200);
    // The open port kept the rate it was opened with.
    const int32_t lineRate = fixture_->query<int32_t>(
        [](Session& s) { return s.link().currentLineSettings().baudRate; });
    QCOMPARE(lineRate, 9600);
  }

  // 40000000 / (2 x 16 x 19200) - 1 = 64.1: the monitor is told 64 before the line changes.
  void okWhileConnectedReprogramsTheBaudRateGenerator() {
    QTest::mouseClick(child<QPushButton>(*window_, "BConnect"), Qt::LeftButton);
    fixture_->waitIdle();
    QCOMPARE(fixture_->client().snapshot().state, TargetState::Ready);
    WhenDialogOpens<CommunicationSettingsDialog>([](CommunicationSettingsDialog& dialog) {
      choose(child<QComboBox>(dialog, "CBaud"), 6);
      click(dialog, "BOk");
    });
    openFromMenu();
    const auto reload = fixture_->query<int32_t>([](Session& s) {
      const auto address = s.link().registerAccess().AddressOf("S0BG");
      if (!address) return -1;
      s.link().monitor().Cmd_Read(*address, 2);
      return s.image.GetByte(*address) | (s.image.GetByte(*address + 1) << 8);
    });
    QCOMPARE(reload, 64);
    const int32_t lineRate = fixture_->query<int32_t>(
        [](Session& s) { return s.link().currentLineSettings().baudRate; });
    QCOMPARE(lineRate, 19200);
  }
};

VELMORA_UI_TEST(CommunicationSettingsTest)
#include "communication_settings_test.moc"
