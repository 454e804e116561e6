// The load, save and save-as dialogs, driven through their lists and fields: the kinds'
// captions, types and folders, patterns, the drive list, the preferences written and read,
// Intel HEX saved by block and by selection, and every dialog reached from the main window.
#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "modal_dialog.h"
#include "session/session.h"
#include "temp_folder.h"
#include "ui/communication_settings_dialog.h"
#include "ui/file_browser.h"
#include "ui/file_load_dialog.h"
#include "ui/file_save_dialog.h"
#include "ui/main_window.h"
#include "ui/save_as_dialog.h"
#include "ui/select_range_dialog.h"
#include "ui_fixture.h"
#include "ui_test_registry.h"

using velmora::LoadKind;
using velmora::Session;
using velmora::test::UiFixture;
using velmora::test::WhenDialogOpens;
using velmora::ui::FileBrowser;
using velmora::ui::FileLoadDialog;
using velmora::ui::FileSaveDialog;
using velmora::ui::MainWindow;
using velmora::ui::SaveAsDialog;
namespace fs = std::filesystem;

Q_DECLARE_METATYPE(LoadKind)

namespace {

template <typename T>
T* child(QWidget& parent, const char* name) {
  T* found = parent.findChild<T*>(QString::fromLatin1(name));
  if (!found) qFatal("no control %s", name);
  return found;
}

QString fromPath(const fs::path& path) {
  return QString::fromStdString(path.string());
}

void writeFile(const fs::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

QStringList entries(QComboBox* box) {
  QStringList all;
  for (int i = 0; i < box->count(); ++i) all << box->itemText(i);
  return all;
}

void click(QWidget& dialog, const char* button) {
  QTest::mouseClick(child<QPushButton>(dialog, button), Qt::LeftButton);
}

void typeName(QWidget& dialog, const QString& name) {
  auto* field = child<QLineEdit>(dialog, "TFilename");
  field->setFocus();
  field->clear();
  QTest::keyClicks(field, name);
}

// Double-clicks the file of that name in the file list.
void doubleClickFile(QWidget& dialog, const QString& name) {
  auto* files = child<QListWidget>(dialog, "LFiles");
  const auto found = files->findItems(name, Qt::MatchExactly);
  QVERIFY2(!found.isEmpty(), qPrintable(name));
  const QPoint at = files->visualItemRect(found.front()).center();
  QTest::mouseClick(files->viewport(), Qt::LeftButton, {}, at);
  QTest::mouseDClick(files->viewport(), Qt::LeftButton, {}, at);
}

// A radio button takes clicks on its indicator and caption only, at its left.
void clickOption(QWidget& dialog, const char* name) {
  auto* option = child<QRadioButton>(dialog, name);
  QTest::mouseClick(option, Qt::LeftButton, {}, QPoint(8, option->height() / 2));
}

void chooseWithKeys(QComboBox* box, int index) {
  box->setFocus();
  while (box->currentIndex() < index) QTest::keyClick(box, Qt::Key_Down);
  while (box->currentIndex() > index) QTest::keyClick(box, Qt::Key_Up);
}

}  // namespace

class FileDialogsTest : public QObject {
  Q_OBJECT

  std::unique_ptr<UiFixture> fixture_;
  std::unique_ptr<MainWindow> window_;
  std::unique_ptr<velmora::test::TempFolder> work_;

  fs::path work() const { return work_->path(); }

  void trigger(const char* entry) {
    fixture_->waitIdle();
    auto* action = child<QAction>(*window_, entry);
    QVERIFY2(action->isEnabled(), entry);
    action->trigger();
    fixture_->waitIdle();
  }

 private slots:
  void init() {
    fixture_ = std::make_unique<UiFixture>();
    window_ = std::make_unique<MainWindow>(fixture_->client());
    window_->show();
    QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
    work_ = std::make_unique<velmora::test::TempFolder>();
  }
  void cleanup() {
    window_.reset();
    fixture_.reset();
    work_.reset();
  }

  void loadKindsHaveTheirCaptionTypesAndFolder_data() {
    QTest::addColumn<LoadKind>("kind");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QStringList>("types");
    QTest::addColumn<QString>("folder");  // in the program folder; empty: the remembered one
    const QStringList hex = {"Intel hex files (*.hex;*.h86)", "All Files (*.*)"};
    const QStringList scripts = {"Script files (*.scm)", "All Files (*.*)"};
    QTest::newRow("0 Intel HEX") << LoadKind::IntelHex << "Load File" << hex << "";
    QTest::newRow("2 script") << LoadKind::Script << "Load script" << scripts << "";
    QTest::newRow("3 preferences")
        << LoadKind::Preferences << "Load preferences"
        << QStringList{"Preference files (*.ini)", "All Files (*.*)"} << "PREFS";
    QTest::newRow("4 driver") << LoadKind::Driver << "Search Driver" << hex << "DRIVER";
    QTest::newRow("5 user script") << LoadKind::UserScript << "Load script" << scripts << "SCRIPTS";
  }
  void loadKindsHaveTheirCaptionTypesAndFolder() {
    QFETCH(LoadKind, kind);
    QFETCH(QString, caption);
    QFETCH(QStringList, types);
    QFETCH(QString, folder);
    // Each remembering kind remembers a file of its own in the work folder, type 1.
    const std::string remembered = (work() / "last.any").string();
    fixture_->run([remembered](Session& s) {
      for (velmora::RememberedFile* file :
           {&s.settings.files.load, &s.settings.files.script, &s.settings.files.configLoad})
        *file = {remembered, 1};
    });
    writeFile(work() / "last.any", "");
    FileLoadDialog dialog(fixture_->client(), kind);
    QCOMPARE(dialog.objectName(), QStringLiteral("FFileLoad"));
    QCOMPARE(dialog.windowTitle(), caption);
    QCOMPARE(entries(child<QComboBox>(dialog, "DFiletype")), types);
    const QString expected =
        folder.isEmpty() ? fromPath(work()) : fromPath(fixture_->folder() / folder.toStdString());
    QCOMPARE(dialog.browser().folder(), QDir::cleanPath(expected));
    if (folder.isEmpty()) {
      QCOMPARE(dialog.browser().fileType(), 1);
      QCOMPARE(dialog.browser().selectedFile(), QStringLiteral("last.any"));
    }
  }

  void patternsFilterTheFileList() {
    for (const char* name : {"a.hex", "B.H86", "c.Hex", "notes.txt", "run.scm", "README"})
      writeFile(work() / name, "");
    fs::create_directory(work() / "sub.hex");
    FileLoadDialog dialog(fixture_->client(), LoadKind::IntelHex);
    dialog.browser().setFolder(fromPath(work()));
    QCOMPARE(dialog.browser().fileNames(), QStringList({"a.hex", "B.H86", "c.Hex"}));
    chooseWithKeys(child<QComboBox>(dialog, "DFiletype"), 1);
    QCOMPARE(dialog.browser().fileNames(),
             QStringList({"a.hex", "B.H86", "c.Hex", "notes.txt", "README", "run.scm"}));
    // The folder list holds the parents and the subfolder, and opens one on activation.
    auto* folders = child<QListWidget>(dialog, "LFolders");
    const auto sub = folders->findItems(QStringLiteral("sub.hex"), Qt::MatchEndsWith);
    QCOMPARE(sub.size(), 1);
    QCOMPARE(folders->item(0)->text().trimmed(), QStringLiteral("/"));
    emit folders->itemActivated(sub.front());
    QCOMPARE(dialog.browser().folder(), fromPath(work() / "sub.hex"));
    QVERIFY(dialog.browser().fileNames().isEmpty());
  }

  void okWithoutAFileAsksForOne() {
    auto& boxes = fixture_->client().boxes();
    boxes.ClearAsked();
    FileLoadDialog dialog(fixture_->client(), LoadKind::Script);
    dialog.browser().setFolder(fromPath(work()));
    dialog.show();
    click(dialog, "BOk");
    QCOMPARE(boxes.Asked().size(), size_t{1});
    QCOMPARE(boxes.Asked().front().text, QStringLiteral("Please select a file !"));
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.result(), int{QDialog::Rejected});
    // A typed path anywhere on the system is taken as it is.
    writeFile(work() / "x.scm", "");
    dialog.browser().setFolder(QStringLiteral("/"));
    typeName(dialog, fromPath(work() / "x.scm"));
    click(dialog, "BOk");
    QCOMPARE(dialog.result(), int{QDialog::Accepted});
    QCOMPARE(dialog.chosenPath(), fromPath(work() / "x.scm"));
  }

  void aDriveThatCannotBeReadGoesBackToTheRoot() {
    auto& boxes = fixture_->client().boxes();
    boxes.ClearAsked();
    FileLoadDialog dialog(fixture_->client(), LoadKind::IntelHex);
    // The list is the test's; whether a volume can be read is asked of the file system.
    const QString missing = fromPath(work() / "gone");
    dialog.browser().setVolumeSource([&] { return QStringList{"/", fromPath(work()), missing}; });
    dialog.browser().setFolder(fromPath(fixture_->folder()));
    auto* drives = child<QComboBox>(dialog, "DDrive");
    QCOMPARE(drives->currentText(), QStringLiteral("/"));
    drives->setFocus();
    QTest::keyClick(drives, Qt::Key_Down);
    QCOMPARE(dialog.browser().folder(), fromPath(work()));
    QCOMPARE(drives->currentIndex(), 1);
    QVERIFY(boxes.Asked().empty());
    QTest::keyClick(drives, Qt::Key_Down);
    QCOMPARE(boxes.Asked().size(), size_t{1});
    QCOMPARE(boxes.Asked().front().text, QStringLiteral("ERROR: DRIVE IS NOT READY"));
    QCOMPARE(boxes.Asked().front().caption, QStringLiteral("DRIVE NOT READY"));
    QCOMPARE(dialog.browser().folder(), QStringLiteral("/"));
    QCOMPARE(drives->currentText(), QStringLiteral("/"));
  }

  void preferencesAreSavedUnderTheTypedName_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::newRow("no suffix") << "lab"
                               << "lab.ini";
    QTest::newRow("own suffix") << "lab.cfg"
                                << "lab.cfg";
  }
  void preferencesAreSavedUnderTheTypedName() {
    QFETCH(QString, typed);
    QFETCH(QString, written);
    auto& boxes = fixture_->client().boxes();
    boxes.ClearAsked();
    writeFile(work() / written.toStdString(), "old");
    const fs::path folder = work();
    WhenDialogOpens<FileSaveDialog>([&](FileSaveDialog& dialog) {
      dialog.browser().setFolder(fromPath(folder));
      typeName(dialog, "");
      click(dialog, "BOk");
      QCOMPARE(boxes.Asked().size(), size_t{1});
      QCOMPARE(boxes.Asked().front().text, QStringLiteral("Please insert a filename !"));
      QVERIFY(dialog.isVisible());
      typeName(dialog, typed);
      click(dialog, "BOk");
    });
    trigger("UFileSavePreferences");
    const std::string text = readFile(work() / written.toStdString());
    QVERIFY2(text.find("[Communication]\r\n") != std::string::npos, text.c_str());
    // No question before the old file was replaced.
    QCOMPARE(boxes.Asked().size(), size_t{1});
    QVERIFY(!fs::exists(work() / (written.toStdString() + ".ini")));
    QCOMPARE(fixture_->client().snapshot().settings.files.configSave.path,
             (work() / written.toStdString()).string());
  }

  // A double click loads a preferences file just as choosing it and OK do.
  void aDoubleClickedPreferencesFileLoadsLikeOk() {
    const fs::path prefs = fixture_->folder() / "PREFS";
    writeFile(prefs / "fast.ini", "[Communication]\r\nBAUDRATE=19200\r\nTIMEOUT=700\r\n");
    writeFile(prefs / "slow.ini", "[Communication]\r\nBAUDRATE=1200\r\nTIMEOUT=900\r\n");
    WhenDialogOpens<FileLoadDialog>(
        [](FileLoadDialog& dialog) { doubleClickFile(dialog, QStringLiteral("fast.ini")); });
    trigger("UFileLoadPreferences");
    auto settings = fixture_->client().snapshot().settings;
    QCOMPARE(settings.communication.baudRate, 19200);
    QCOMPARE(settings.communication.timeout, 700);
    QCOMPARE(settings.files.configLoad.path, (prefs / "fast.ini").string());

    WhenDialogOpens<FileLoadDialog>([](FileLoadDialog& dialog) {
      auto* files = child<QListWidget>(dialog, "LFiles");
      files->setCurrentItem(files->findItems(QStringLiteral("slow.ini"), Qt::MatchExactly).front());
      QCOMPARE(child<QLineEdit>(dialog, "TFilename")->text(), QStringLiteral("slow.ini"));
      click(dialog, "BOk");
    });
    trigger("UFileLoadPreferences");
    settings = fixture_->client().snapshot().settings;
    QCOMPARE(settings.communication.baudRate, 1200);
    QCOMPARE(settings.communication.timeout, 900);
    QCOMPARE(settings.files.configLoad.path, (prefs / "slow.ini").string());
  }

  void saveAsByBlockAndBySelection() {
    fixture_->run([](Session& s) {
      for (int32_t a = 0x100; a <= 0x10F; ++a) {
        s.image.SetByte(a, static_cast<uint8_t>(a));
        s.image.SetDefined(a, true);
      }
      s.selections.ClearSelections();
      (void)s.selections.AddSelection(0x104, 0x107);
    });
    auto& boxes = fixture_->client().boxes();
    const fs::path folder = work();

    // By block, 32-bit records of 16 bytes: the dialog's own start and end.
    WhenDialogOpens<SaveAsDialog>([&](SaveAsDialog& dialog) {
      dialog.browser().setFolder(fromPath(folder));
      clickOption(dialog, "OByBlock");
      QVERIFY(child<QLineEdit>(dialog, "TStartAddress")->isEnabled());
      clickOption(dialog, "O32");
      child<QLineEdit>(dialog, "TRecordsize")->setText(QStringLiteral("16"));
      child<QLineEdit>(dialog, "TStartAddress")->setText(QStringLiteral("000100"));
      child<QLineEdit>(dialog, "TEndAddress")->setText(QStringLiteral("00010F"));
      typeName(dialog, "blk");
      click(dialog, "BOk");
    });
    child<QPushButton>(*window_, "BSaveAs")->click();
    fixture_->waitIdle();
    QCOMPARE(readFile(work() / "blk.hex"),
             std::string(":020000040000FA\r\n"
                         ":10010000000102030405060708090A0B0C0D0E0F77\r\n"
                         ":00000001FF\r\n"));
    const auto kept = fixture_->client().snapshot().settings.files.saveAs;
    QCOMPARE(kept.file, (work() / "blk.hex").string());
    QCOMPARE(kept.format, 32);
    QCOMPARE(kept.recordSize, 16);
    QCOMPARE(kept.startAddress, 0x100);
    QCOMPARE(kept.endAddress, 0x10F);

    // By selection over a file that exists: No keeps the dialog, Yes writes.
    writeFile(work() / "sel.hex", "old");
    boxes.ClearAsked();
    bool stayedOpen = false;
    WhenDialogOpens<SaveAsDialog>([&](SaveAsDialog& dialog) {
      // The dialog opened with what was kept.
      QVERIFY(child<QRadioButton>(dialog, "O32")->isChecked());
      QCOMPARE(child<QLineEdit>(dialog, "TRecordsize")->text(), QStringLiteral("16"));
      QCOMPARE(child<QLineEdit>(dialog, "TFilename")->text(), QStringLiteral("blk.hex"));
      clickOption(dialog, "OBySelection");
      QVERIFY(!child<QLineEdit>(dialog, "TStartAddress")->isEnabled());
      clickOption(dialog, "O20");
      typeName(dialog, "sel");
      boxes.QueueAnswer(velmora::BoxAnswer::No);
      click(dialog, "BOk");
      stayedOpen = dialog.isVisible();
      boxes.QueueAnswer(velmora::BoxAnswer::Yes);
      click(dialog, "BOk");
    });
    fixture_->clearLines();
    child<QPushButton>(*window_, "BSaveAs")->click();
    fixture_->waitIdle();
    QVERIFY(stayedOpen);
    QCOMPARE(boxes.Asked().size(), size_t{2});
    for (const auto& asked : boxes.Asked())
      QCOMPARE(asked.text, QStringLiteral("File allready exists ! Overwrite ?"));
    QCOMPARE(readFile(work() / "sel.hex"), std::string(":020000020000FC\r\n"
                                                       ":0401040004050607E1\r\n"
                                                       ":00000001FF\r\n"));
    QVERIFY(fixture_->lines().contains("*SaveAs: selection written to file"));
  }

  void aUserScriptTakesTheFirstFreeButtonElseTheAnswer() {
    const fs::path scripts = fixture_->folder() / "SCRIPTS";
    writeFile(scripts / "mine.scm", "_clearselections\r\n");
    const std::string mine = (scripts / "mine.scm").string();
    fixture_->run([](Session& s) { s.settings.files.userScripts = {"a", "", "c", "d"}; });
    WhenDialogOpens<FileLoadDialog>(
        [](FileLoadDialog& dialog) { doubleClickFile(dialog, QStringLiteral("mine.scm")); });
    trigger("UScriptSelectUserScript");
    QCOMPARE(fixture_->client().snapshot().settings.files.userScripts,
             (std::array<std::string, 4>{"a", mine, "c", "d"}));

    // All four taken: the question until 1-4 comes; Cancel assigns nothing.
    auto& boxes = fixture_->client().boxes();
    for (const auto& answers :
         {std::vector<std::optional<QString>>{"0", "x", "3"}, {"5", std::nullopt}}) {
      boxes.ClearAsked();
      for (const auto& answer : answers) boxes.QueueInput(answer);
      fixture_->run([](Session& s) { s.settings.files.userScripts = {"a", "b", "c", "d"}; });
      WhenDialogOpens<FileLoadDialog>(
          [](FileLoadDialog& dialog) { doubleClickFile(dialog, QStringLiteral("mine.scm")); });
      trigger("UScriptSelectUserScript");
      QCOMPARE(boxes.Asked().size(), answers.size());
      QCOMPARE(boxes.Asked().front().text,
               QStringLiteral("Which User Script Button would you like to configure (1-4) ?"));
      const auto expected = answers.back() ? std::array<std::string, 4>{"a", "b", mine, "d"}
                                           : std::array<std::string, 4>{"a", "b", "c", "d"};
      QCOMPARE(fixture_->client().snapshot().settings.files.userScripts, expected);
    }
  }

  void everyDialogOpensFromItsControl_data() {
    QTest::addColumn<QString>("control");
    QTest::addColumn<QString>("dialog");
    QTest::addColumn<QString>("caption");
    QTest::newRow("Load button") << "BLoad"
                                 << "FFileLoad"
                                 << "Load File";
    QTest::newRow("Load entry") << "UFileLoad"
                                << "FFileLoad"
                                << "Load File";
    QTest::newRow("Save As button") << "BSaveAs"
                                    << "FSaveAs"
                                    << "Save As";
    QTest::newRow("Save As entry") << "UFileSave"
                                   << "FSaveAs"
                                   << "Save As";
    QTest::newRow("Load Preferences") << "UFileLoadPreferences"
                                      << "FFileLoad"
                                      << "Load preferences";
    QTest::newRow("Save Preferences") << "UFileSavePreferences"
                                      << "FFileSave"
                                      << "Save preferences";
    QTest::newRow("Execute script") << "UScriptExecute"
                                    << "FFileLoad"
                                    << "Load script";
    QTest::newRow("Assign User Script") << "UScriptSelectUserScript"
                                        << "FFileLoad"
                                        << "Load script";
    QTest::newRow("Add Selection") << "UEditSelectRange"
                                   << "FSelectRange"
                                   << "Add Selection";
    QTest::newRow("Interface Settings") << "UInterfaceSettings"
                                        << "FComPort"
                                        << "Communication Settings";
  }
  void everyDialogOpensFromItsControl() {
    QFETCH(QString, control);
    QFETCH(QString, dialog);
    QFETCH(QString, caption);
    QString opened;
    QString title;
    WhenDialogOpens<QDialog>([&](QDialog& shown) {
      opened = shown.objectName();
      title = shown.windowTitle();
      click(shown, "BCancel");
    });
    const std::string name = control.toStdString();
    if (control.startsWith('B')) {
      child<QPushButton>(*window_, name.c_str())->click();
    } else {
      trigger(name.c_str());
    }
    fixture_->waitIdle();
    QCOMPARE(opened, dialog);
    QCOMPARE(title, caption);
  }
};

VELMORA_UI_TEST(FileDialogsTest)
#include "file_dialogs_test.moc"
