// The small windows: terminal settings (with real clicks), the about box, the help window
// with the shipped manual and without one, and the start-up splash.
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QTextBrowser>
#include <filesystem>

#include "program_folder.h"
#include "temp_folder.h"
#include "ui/about_box.h"
#include "ui/help_window.h"
#include "ui/splash.h"
#include "ui/terminal_settings_dialog.h"
#include "ui_test_registry.h"

namespace {

// A click where a radio button's circle is, wherever the layout stretched its label.
void clickOption(QRadioButton* option) {
  QTest::mouseClick(option, Qt::LeftButton, {}, QPoint(6, option->height() / 2));
}

QString fromPath(const std::filesystem::path& path) {
  return QString::fromStdString(path.string());
}

}  // namespace

class TerminalSettingsTest : public QObject {
  Q_OBJECT
 private slots:
  void opensWithCurrentMode_data();
  void opensWithCurrentMode();
  void clicksGiveMode_data();
  void clicksGiveMode();
  void escapeKeepsMode();
};

void TerminalSettingsTest::opensWithCurrentMode_data() {
  QTest::addColumn<int>("mode");
  QTest::addColumn<bool>("hexTicked");
  QTest::newRow("1 is hexadecimal") << 1 << true;
  QTest::newRow("2 is text") << 2 << false;
  QTest::newRow("anything else is text") << 0 << false;
}

void TerminalSettingsTest::opensWithCurrentMode() {
  QFETCH(int, mode);
  QFETCH(bool, hexTicked);
  velmora::ui::TerminalSettingsDialog dialog(mode);
  QCOMPARE(dialog.windowTitle(), QStringLiteral("Terminal Settings"));
  QCOMPARE(dialog.findChild<QRadioButton*>("OTModeHex")->isChecked(), hexTicked);
  QCOMPARE(dialog.findChild<QRadioButton*>("OTModeASCII")->isChecked(), !hexTicked);
  QCOMPARE(dialog.mode(), mode);
}

void TerminalSettingsTest::clicksGiveMode_data() {
  QTest::addColumn<int>("opened");
  QTest::addColumn<QString>("option");  // empty: no option clicked
  QTest::addColumn<QString>("button");
  QTest::addColumn<int>("result");
  QTest::addColumn<int>("mode");
  QTest::newRow("text, OK") << 1 << "OTModeASCII"
                            << "BOK" << int{QDialog::Accepted} << 2;
  QTest::newRow("hexadecimal, OK") << 2 << "OTModeHex"
                                   << "BOK" << int{QDialog::Accepted} << 1;
  QTest::newRow("both in turn, OK: the last wins") << 2 << "OTModeHex,OTModeASCII"
                                                   << "BOK" << int{QDialog::Accepted} << 2;
  QTest::newRow("nothing clicked, OK") << 1 << ""
                                       << "BOK" << int{QDialog::Accepted} << 1;
  QTest::newRow("hexadecimal, Cancel") << 2 << "OTModeHex"
                                       << "BCancel" << int{QDialog::Rejected} << 2;
  QTest::newRow("text, Cancel") << 1 << "OTModeASCII"
                                << "BCancel" << int{QDialog::Rejected} << 1;
}

void TerminalSettingsTest::clicksGiveMode() {
  QFETCH(int, opened);
  QFETCH(QString, option);
  QFETCH(QString, button);
  QFETCH(int, result);
  QFETCH(int, mode);
  velmora::ui::TerminalSettingsDialog dialog(opened);
  dialog.show();
  QVERIFY(QTest::qWaitForWindowExposed(&dialog));
  for (const QString& name : option.split(',', Qt::SkipEmptyParts)) {
    auto* radio = dialog.findChild<QRadioButton*>(name);
    QVERIFY(radio != nullptr);
    clickOption(radio);
    QVERIFY(radio->isChecked());
  }
  auto* push = dialog.findChild<QPushButton*>(button);
  QVERIFY(push != nullptr);
  QTest::mouseClick(push, Qt::LeftButton);
  QVERIFY(!dialog.isVisible());
  QCOMPARE(dialog.result(), result);
  QCOMPARE(dialog.mode(), mode);
}

void TerminalSettingsTest::escapeKeepsMode() {
  velmora::ui::TerminalSettingsDialog dialog(1);
  dialog.show();
  QVERIFY(QTest::qWaitForWindowExposed(&dialog));
  clickOption(dialog.findChild<QRadioButton*>("OTModeASCII"));
  QTest::keyClick(&dialog, Qt::Key_Escape);
  QCOMPARE(dialog.result(), int{QDialog::Rejected});
  QCOMPARE(dialog.mode(), 1);
}

class AboutBoxTest : public QObject {
  Q_OBJECT
 private slots:
  void showsVersion();
};

void AboutBoxTest::showsVersion() {
  velmora::ui::AboutBox box;
  QCOMPARE(box.windowTitle(), QStringLiteral("About Velmora"));
  auto* version = box.findChild<QLabel*>("LVersion");
  QVERIFY(version != nullptr);
  // The version the build was given, and it looks like one.
  QVERIFY(version->text().contains(QStringLiteral(VELMORA_VERSION)));
  QVERIFY(QRegularExpression(R"(\d+\.\d+\.\d+)").match(version->text()).hasMatch());
  box.show();
  QVERIFY(QTest::qWaitForWindowExposed(&box));
  QTest::mouseClick(box.findChild<QPushButton*>("BOK"), Qt::LeftButton);
  QCOMPARE(box.result(), int{QDialog::Accepted});
}

class HelpWindowTest : public QObject {
  Q_OBJECT
 private slots:
  void opensIndexAndFollowsLinks();
  void saysWhereAMissingManualWasLookedFor();
  void shippedManualHasNoBrokenLinks();
};

void HelpWindowTest::opensIndexAndFollowsLinks() {
  velmora::test::TempFolder folder;
  std::filesystem::create_directory(folder.path() / "help");
  folder.Write(
      "help/index.html",
      "<html><body><h1>First page</h1><p><a href=\"second.html\">On</a></p></body></html>");
  folder.Write("help/second.html", "<html><body><h1>Second page</h1></body></html>");

  velmora::ui::HelpWindow window(folder.path());
  QCOMPARE(window.windowTitle(), QStringLiteral("Velmora Help"));
  QVERIFY(window.manualFound());
  QTextBrowser* browser = window.browser();
  QVERIFY(browser->toPlainText().contains("First page"));

  // Tab onto the link and follow it with Return, as a reader without a mouse would.
  window.show();
  QVERIFY(QTest::qWaitForWindowExposed(&window));
  browser->setFocus();
  QTest::keyClick(browser, Qt::Key_Tab);
  QTest::keyClick(browser, Qt::Key_Return);
  QTRY_VERIFY(browser->toPlainText().contains("Second page"));
  QCOMPARE(browser->source().fileName(), QStringLiteral("second.html"));

  browser->backward();
  QVERIFY(browser->toPlainText().contains("First page"));
  browser->forward();
  window.showContents();
  QVERIFY(browser->toPlainText().contains("First page"));
}

void HelpWindowTest::saysWhereAMissingManualWasLookedFor() {
  velmora::test::TempFolder folder;
  velmora::ui::HelpWindow window(folder.path());
  QVERIFY(!window.manualFound());
  const QString text = window.browser()->toPlainText();
  QVERIFY2(text.contains("not found"), qPrintable(text));
  QVERIFY2(text.contains(fromPath(folder.path() / "help" / "index.html")), qPrintable(text));
}

void HelpWindowTest::shippedManualHasNoBrokenLinks() {
  const std::filesystem::path help = velmora::test::ShippedDataFolder() / "help";
  QVERIFY(std::filesystem::is_regular_file(velmora::ui::HelpWindow::IndexPath(help.parent_path())));
  // Plain literals: the meta-object compiler loses its way in raw strings with quotes.
  static const QRegularExpression link("href=\"([^\"#]*)(#[^\"]*)?\"");
  static const QRegularExpression anchor("(?:id|name)=\"([^\"]+)\"");
  int pages = 0;
  for (const auto& entry : std::filesystem::directory_iterator(help)) {
    if (entry.path().extension() != ".html") continue;
    ++pages;
    QFile file(fromPath(entry.path()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString html = QString::fromUtf8(file.readAll());
    QVERIFY2(html.contains("<title>"), qPrintable(fromPath(entry.path())));
    for (auto it = link.globalMatch(html); it.hasNext();) {
      const auto match = it.next();
      const QString target = match.captured(1);
      if (target.startsWith("http")) continue;
      const std::filesystem::path targetPath =
          target.isEmpty() ? entry.path() : help / target.toStdString();
      QVERIFY2(std::filesystem::is_regular_file(targetPath),
               qPrintable(fromPath(entry.path()) + " links to " + target));
      if (match.captured(2).isEmpty()) continue;
      // A link into a page names an anchor that page has.
      QFile linked(fromPath(targetPath));
      QVERIFY(linked.open(QIODevice::ReadOnly));
      const QString linkedHtml = QString::fromUtf8(linked.readAll());
      QSet<QString> anchors;
      for (auto a = anchor.globalMatch(linkedHtml); a.hasNext();) anchors << a.next().captured(1);
      QVERIFY2(anchors.contains(match.captured(2).mid(1)),
               qPrintable(fromPath(entry.path()) + " links to " + target + match.captured(2)));
    }
  }
  QVERIFY(pages >= 5);

  velmora::ui::HelpWindow window(help.parent_path());
  QVERIFY(window.manualFound());
  QVERIFY(window.browser()->toPlainText().contains("Velmora"));
}

class SplashTest : public QObject {
  Q_OBJECT
 private slots:
  void progressStaysInRange_data();
  void progressStaysInRange();
  void drawsAPicture();
};

void SplashTest::progressStaysInRange_data() {
  QTest::addColumn<int>("value");
  QTest::addColumn<int>("shown");
  QTest::newRow("start") << 0 << 0;
  QTest::newRow("midway") << 42 << 42;
  QTest::newRow("done") << 100 << 100;
  QTest::newRow("below") << -5 << 0;
  QTest::newRow("above") << 150 << 100;
}

void SplashTest::progressStaysInRange() {
  QFETCH(int, value);
  QFETCH(int, shown);
  velmora::ui::Splash splash;
  auto* bar = splash.findChild<QProgressBar*>("XProgress");
  QVERIFY(bar != nullptr);
  QCOMPARE(bar->minimum(), 0);
  QCOMPARE(bar->maximum(), 100);
  splash.setProgress(value);
  QCOMPARE(bar->value(), shown);
  QCOMPARE(splash.progress(), shown);
}

void SplashTest::drawsAPicture() {
  velmora::ui::Splash splash;
  QCOMPARE(splash.windowTitle(), QStringLiteral("Launching Velmora"));
  QVERIFY(splash.windowFlags().testFlag(Qt::FramelessWindowHint));
  splash.show();
  QVERIFY(QTest::qWaitForWindowExposed(&splash));
  // A gradient, lines and the name: many colours, not an empty widget.
  const QImage image = splash.grab().toImage();
  QSet<QRgb> colours;
  for (int y = 0; y < image.height(); y += 4) {
    for (int x = 0; x < image.width(); x += 4) colours << image.pixel(x, y);
  }
  QVERIFY2(colours.size() > 50, qPrintable(QString::number(colours.size())));
}

VELMORA_UI_TEST(TerminalSettingsTest)
VELMORA_UI_TEST(AboutBoxTest)
VELMORA_UI_TEST(HelpWindowTest)
VELMORA_UI_TEST(SplashTest)

#include "small_dialogs_test.moc"
