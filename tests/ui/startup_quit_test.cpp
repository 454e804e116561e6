// The desktop program's first activation and its end: the command line's scripts run in
// order once, a name that is no file is said and skipped, a _quit ends the list, and
// quitting writes the default preferences also when the port is already closed.
#include <QTest>
#include <filesystem>
#include <fstream>

#include "session/session.h"
#include "ui/startup_scripts.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

namespace velmora::test {

namespace fs = std::filesystem;

class StartupQuitTest : public QObject {
  Q_OBJECT

  void writeScript(UiFixture& fixture, const char* name, const char* body) {
    std::ofstream(fixture.folder() / name) << body;
  }

 private slots:
  void scriptsRunInTheirOrder() {
    UiFixture fixture;
    writeScript(fixture, "first.scm", "_assign %1=1\r\n");
    writeScript(fixture, "second.scm", "_assign %2=2\r\n");
    fixture.clearLines();
    // A name without a folder is found in the program folder.
    ui::RunStartupScripts(fixture.client(), {"first.scm", (fixture.folder() / "second.scm").string()});
    const QStringList echoes = fixture.linesStartingWith(">");
    QCOMPARE(echoes, (QStringList{">_assign %1=1", ">_assign %2=2"}));
    QVERIFY(fixture.client().boxes().Asked().empty());
  }

  void aMisspelledNameIsSaidAndTheNextStillRuns() {
    UiFixture fixture;
    writeScript(fixture, "second.scm", "_assign %2=2\r\n");
    fixture.clearLines();
    ui::RunStartupScripts(fixture.client(), {"frist.scm", "second.scm"});
    const auto& asked = fixture.client().boxes().Asked();
    QCOMPARE(asked.size(), size_t{1});
    QCOMPARE(asked[0].text, QString(ui::kIllegalStartupParameters));
    QCOMPARE(asked[0].icon, BoxIcon::Critical);
    QCOMPARE(fixture.linesStartingWith(">"), QStringList{">_assign %2=2"});
  }

  void aQuitEndsTheList() {
    UiFixture fixture;
    writeScript(fixture, "leave.scm", "_quit\r\n");
    writeScript(fixture, "second.scm", "_assign %2=2\r\n");
    fixture.clearLines();
    ui::RunStartupScripts(fixture.client(), {"leave.scm", "second.scm"});
    QVERIFY(fixture.client().snapshot().quitRequested);
    QVERIFY(fixture.linesStartingWith(">_assign").isEmpty());
  }

  void quittingWithThePortClosedStillWritesThePreferences() {
    UiFixture fixture;
    const fs::path preferences = fixture.folder() / "default.ini";
    fixture.run([](Session& s) {
      s.link().ClosePort();
      s.settings.frontend.blankChar = "-";  // something to find in the file
    });
    fs::remove(preferences);
    QVERIFY(!fixture.client().snapshot().portOpen);
    fixture.client().shutDown(true);
    QVERIFY(fs::exists(preferences));
    std::ifstream in(preferences);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    QVERIFY(text.find("BLANK_CHAR=-") != std::string::npos);
  }

  void quittingWithoutSavingLeavesThePreferences() {
    UiFixture fixture;
    const fs::path preferences = fixture.folder() / "default.ini";
    fs::remove(preferences);
    fixture.client().shutDown(false);
    QVERIFY(!fs::exists(preferences));
  }
};

VELMORA_UI_TEST(StartupQuitTest)

}  // namespace velmora::test

#include "startup_quit_test.moc"
