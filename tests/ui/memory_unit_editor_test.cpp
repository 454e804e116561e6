// The memory unit editor with real keys and clicks: its fields' input rules and texts,
// the section, activation and feature dialogs, full lists refused with their limit, the
// driver file check, and a working copy that only OK hands over.
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <filesystem>

#include "program_folder.h"
#include "ui/box_host.h"
#include "ui/memory_unit_editor.h"
#include "ui_test_registry.h"

using velmora::MemoryRegion;
using velmora::MemorySection;
using velmora::MemoryUnit;
using velmora::ui::BoxHost;
using velmora::ui::ConfigurationContext;
using velmora::ui::MemoryUnitEditor;

namespace {

MemoryUnit flashUnit() {
  MemoryUnit unit;
  unit.name = "IFLASH";
  unit.type = "IFLASH";
  unit.blank = 0xFF;
  unit.burstSize = 0x80;
  MemoryRegion a;
  a.startAddress = 0xC00000;
  a.length = 0x2000;
  MemoryRegion b = a;
  b.startAddress = 0xC04000;
  MemoryRegion c = a;
  c.startAddress = 0xC08000;
  MemoryRegion d = a;
  d.startAddress = 0xC10000;
  unit.sections = {MemorySection{{a, b, c}}, MemorySection{{d}}};
  unit.features = {"ERASE"};
  return unit;
}

QStringList texts(const QListWidget* list) {
  QStringList lines;
  for (int row = 0; row < list->count(); ++row) lines << list->item(row)->text();
  return lines;
}

}  // namespace

class MemoryUnitEditorTest : public QObject {
  Q_OBJECT

  velmora::test::ProgramFolderCopy folder_;
  BoxHost boxes_;
  ConfigurationContext context_;
  std::unique_ptr<MemoryUnitEditor> editor_;
  std::optional<QString> searched_;

  template <typename T = QLineEdit>
  T* control(QWidget* parent, const char* name) {
    T* found = parent->findChild<T*>(QString::fromLatin1(name));
    if (!found) qFatal("no control %s", name);
    return found;
  }
  template <typename T = QLineEdit>
  T* control(const char* name) {
    return control<T>(editor_.get(), name);
  }

  void open(const MemoryUnit& unit) {
    editor_ = std::make_unique<MemoryUnitEditor>(context_, unit);
    editor_->show();
    QVERIFY(QTest::qWaitForWindowActive(editor_.get()));
  }

  // Types into a field that has the focus, then leaves it with Tab.
  void typeAndLeave(QLineEdit* field, const QString& text) {
    field->setFocus();
    QTRY_VERIFY(field->hasFocus());
    field->selectAll();
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Tab);
    QTRY_VERIFY(!field->hasFocus());
  }

  QStringList asked() const {
    QStringList said;
    for (const auto& box : boxes_.Asked()) said << box.text;
    return said;
  }

  // Opens one of the small dialogs by its button.
  QDialog* openSub(const char* button, const char* dialog) {
    QTest::mouseClick(control<QPushButton>(button), Qt::LeftButton);
    QDialog* found = nullptr;
    const bool shown = QTest::qWaitFor([&] {
      found = editor_->findChild<QDialog*>(QString::fromLatin1(dialog));
      return found && found->isVisible();
    });
    return shown && QTest::qWaitForWindowActive(found) ? found : nullptr;
  }

  void clickOk(QWidget* dialog) {
    QTest::mouseClick(control<QPushButton>(dialog, "BOk"), Qt::LeftButton);
  }

 private slots:
  void init() {
    boxes_.AnswerAutomatically(true);
    boxes_.ClearAsked();
    context_ = {};
    context_.boxes = &boxes_;
    context_.programFolder = folder_.path();
    context_.registers.Add(velmora::RegisterDefinition("SYSCON0", 0xFF12));
    context_.searchDriver = [this](QWidget*) { return searched_; };
    searched_.reset();
  }
  void cleanup() { editor_.reset(); }

  void showsTheUnit() {
    open(flashUnit());
    QCOMPARE(editor_->windowTitle(), QStringLiteral("Memory Units"));
    QCOMPARE(control("TName")->text(), QStringLiteral("IFLASH"));
    QCOMPARE(control<QComboBox>("DType")->currentText(), QStringLiteral("IFLASH"));
    QCOMPARE(control<QComboBox>("DType")->count(), 14);
    QCOMPARE(control("TBlank")->text(), QStringLiteral("FF"));
    QCOMPARE(control("TBurstsize")->text(), QStringLiteral("0080"));
    // A section of three regions: only its first line names the section.
    QCOMPARE(texts(control<QListWidget>("ISections")),
             (QStringList{"Section 0:C00000 - C01FFF", "             C04000 - C05FFF",
                          "             C08000 - C09FFF", "Section 1:C10000 - C11FFF"}));
    QCOMPARE(texts(control<QListWidget>("IFeatures")), QStringList{"ERASE"});
  }

  void regionWithBadHexadecimalIsRefused() {
    const MemoryUnit unit = flashUnit();
    open(unit);
    QDialog* region = openSub("BAddSection", "FMemoryRegions");
    QVERIFY(region);
    QCOMPARE(region->windowTitle(), QStringLiteral("New Section/Region"));
    auto* start = control(region, "TStartAddress");
    typeAndLeave(start, "12G");
    QCOMPARE(asked(), QStringList{"No hexadezimal Number"});
    QCOMPARE(start->text(), QString());
    typeAndLeave(control(region, "TLength"), "100");
    clickOk(region);
    QCOMPARE(asked().last(), QStringLiteral("Please insert at least start address and length"));
    QVERIFY(region->isVisible());
    QCOMPARE(editor_->unit().sections, unit.sections);
    QCOMPARE(control<QListWidget>("ISections")->count(), 4);

    typeAndLeave(start, "E000");
    clickOk(region);
    QTRY_VERIFY(!editor_->findChild<QDialog*>("FMemoryRegions"));
    QCOMPARE(texts(control<QListWidget>("ISections")).last(),
             QStringLiteral("Section 2:00E000 - 00E0FF"));
    QVERIFY(!editor_->unit().sections.back().regions[0].hasMapping);
  }

  void regionMappingFieldsAndRegister_data() {
    QTest::addColumn<QString>("mapRegister");
    QTest::addColumn<QString>("kept");
    QTest::addColumn<bool>("refused");
    QTest::newRow("register name in any case") << "syscon0"
                                               << "syscon0" << false;
    QTest::newRow("hexadecimal address") << "FF12"
                                         << "FF12" << false;
    QTest::newRow("unknown name") << "NOSUCH"
                                  << "" << true;
  }
  void regionMappingFieldsAndRegister() {
    QFETCH(QString, mapRegister);
    QFETCH(QString, kept);
    QFETCH(bool, refused);
    open(MemoryUnit{});
    QDialog* region = openSub("BAddSection", "FMemoryRegions");
    QVERIFY(region);
    typeAndLeave(control(region, "TStartAddress"), "10000");
    typeAndLeave(control(region, "TLength"), "800");
    typeAndLeave(control(region, "TMapStartAddress"), "E000");
    typeAndLeave(control(region, "TMapRegister"), mapRegister);
    typeAndLeave(control(region, "TMapMask"), "3");
    QCOMPARE(asked(), refused ? QStringList{"No hexadezimal Number"} : QStringList{});
    clickOk(region);
    QTRY_COMPARE(editor_->unit().sections.size(), size_t{1});
    const MemoryRegion& added = editor_->unit().sections[0].regions.at(0);
    QCOMPARE(added.startAddress, 0x10000);
    QCOMPARE(added.length, 0x800);
    QVERIFY(added.hasMapping);
    QVERIFY(!added.mapped);
    QCOMPARE(added.mapAddress, 0xE000);
    QCOMPARE(QString::fromStdString(added.mapRegister), kept);
    QCOMPARE(added.mapMask, 3);
  }

  void blankAndBurstSizeRules_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("shown");
    QTest::newRow("blank two digits") << "TBlank"
                                      << "1f"
                                      << ""
                                      << "1f";
    QTest::newRow("blank third digit") << "TBlank"
                                       << "123"
                                       << "No 2 digit hexadezimal value !"
                                       << "FF";
    QTest::newRow("blank no digit") << "TBlank"
                                    << "x"
                                    << "No 2 digit hexadezimal value !"
                                    << "FF";
    QTest::newRow("burst four digits") << "TBurstsize"
                                       << "0100"
                                       << ""
                                       << "0100";
    QTest::newRow("burst fifth digit") << "TBurstsize"
                                       << "12345"
                                       << "No hexadezimal value !"
                                       << "0080";
  }
  void blankAndBurstSizeRules() {
    QFETCH(QString, field);
    QFETCH(QString, typed);
    QFETCH(QString, message);
    QFETCH(QString, shown);
    open(flashUnit());
    auto* edit = control(qPrintable(field));
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, typed);
    // The refused change puts back what the unit holds, not what was typed before.
    QCOMPARE(edit->text(), shown);
    QCOMPARE(asked(), message.isEmpty() ? QStringList{} : QStringList{message});
  }

  void blankAndBurstStoredOnLeaving() {
    open(flashUnit());
    typeAndLeave(control("TBlank"), "0");
    typeAndLeave(control("TBurstsize"), "100");
    typeAndLeave(control("TName"), "CODE");
    QCOMPARE(editor_->unit().blank, 0x00);
    QCOMPARE(editor_->unit().burstSize, 0x100);
    QCOMPARE(editor_->unit().name, std::string("CODE"));
  }

  void activationRegisterDialog() {
    open(MemoryUnit{});
    QDialog* activate = openSub("BAddActivate", "FMemoryActivate");
    QVERIFY(activate);
    QCOMPARE(activate->windowTitle(), QStringLiteral("Add Activation Register"));
    auto* reg = control(activate, "TActivateRegister");
    typeAndLeave(reg, "NOSUCH");
    QCOMPARE(asked(), QStringList{"No hexadezimal Number or valid SFR name"});
    QCOMPARE(reg->text(), QString());
    auto* mask = control(activate, "TActivateMask");
    mask->setFocus();
    QTest::keyClicks(mask, "1x");
    QCOMPARE(asked().last(), QStringLiteral("No hexadezimal Number"));
    QCOMPARE(mask->text(), QString());
    typeAndLeave(reg, "syscon0");
    typeAndLeave(mask, "FF00");
    clickOk(activate);
    QTRY_COMPARE(texts(control<QListWidget>("IActivate")), QStringList{"syscon0=0xFF00"});
    QCOMPARE(asked().size(), 2);
  }

  void featureAddedOnce() {
    open(flashUnit());
    for (const char* pick : {"ERASE", "STATUS", "STATUS"}) {
      QDialog* feature = openSub("BAddFeature", "FMemoryFeature");
      QVERIFY(feature);
      auto* names = control<QComboBox>(feature, "DFeature");
      QCOMPARE(names->count(), 7);
      names->setCurrentText(QString::fromLatin1(pick));
      clickOk(feature);
      QTRY_VERIFY(!editor_->findChild<QDialog*>("FMemoryFeature"));
    }
    QCOMPARE(texts(control<QListWidget>("IFeatures")), (QStringList{"ERASE", "STATUS"}));
    QVERIFY(asked().isEmpty());
  }

  void fullListsRefusedWithTheirLimit_data() {
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("message");
    QTest::newRow("22nd section") << "BAddSection"
                                  << "A memory unit holds at most 21 sections.";
    QTest::newRow("7th activation register")
        << "BAddActivate"
        << "A memory unit holds at most 6 activation registers.";
    QTest::newRow("22nd feature") << "BAddFeature"
                                  << "A memory unit holds at most 21 features.";
  }
  void fullListsRefusedWithTheirLimit() {
    QFETCH(QString, button);
    QFETCH(QString, message);
    MemoryUnit full;
    full.sections.assign(velmora::kMaxSections, MemorySection{{MemoryRegion{}}});
    full.activate.assign(velmora::kMaxActivateRegisters, {"FF12", 1});
    for (int i = 0; i < velmora::kMaxFeatures; ++i)
      full.features.push_back("F" + std::to_string(i));
    open(full);
    QTest::mouseClick(control<QPushButton>(qPrintable(button)), Qt::LeftButton);
    QCOMPARE(asked(), QStringList{message});
    QVERIFY(editor_->findChildren<QDialog*>().isEmpty());
    QCOMPARE(editor_->unit(), full);
    // The editor's own entry points hold the same limits.
    boxes_.ClearAsked();
    QVERIFY(!editor_->AddRegion(0, 1, false, 0, "", 0));
    QVERIFY(!editor_->AddActivate("FF12", 2));
    QVERIFY(!editor_->AddFeature("ERASE"));
    QCOMPARE(asked().size(), 3);
    QCOMPARE(editor_->unit(), full);
  }

  void removeButtonsTakeTheSelectedEntry() {
    MemoryUnit unit = flashUnit();
    unit.activate = {{"FF12", 1}, {"SYSCON0", 2}};
    unit.features = {"ERASE", "PROGRAM", "STATUS"};
    open(unit);
    // Nothing is removed without a selection.
    for (const char* button : {"BRemoveSection", "BRemove", "BRemoveFeature"})
      QTest::mouseClick(control<QPushButton>(button), Qt::LeftButton);
    QCOMPARE(editor_->unit(), unit);

    control<QListWidget>("ISections")->setCurrentRow(2);  // the section's third region
    QTest::mouseClick(control<QPushButton>("BRemoveSection"), Qt::LeftButton);
    QCOMPARE(texts(control<QListWidget>("ISections")), QStringList{"Section 0:C10000 - C11FFF"});
    control<QListWidget>("IActivate")->setCurrentRow(0);
    QTest::mouseClick(control<QPushButton>("BRemove"), Qt::LeftButton);
    QCOMPARE(texts(control<QListWidget>("IActivate")), QStringList{"SYSCON0=0x0002"});
    control<QListWidget>("IFeatures")->setCurrentRow(1);
    QTest::mouseClick(control<QPushButton>("BRemoveFeature"), Qt::LeftButton);
    QCOMPARE(texts(control<QListWidget>("IFeatures")), (QStringList{"ERASE", "STATUS"}));
  }

  void driverFileMustExist_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("exists");
    QTest::newRow("relative, stored form") << "DRIVER\\XFLASH16.HEX" << true;
    QTest::newRow("relative, other case") << "driver\\xflash16.hex" << true;
    QTest::newRow("missing") << "DRIVER\\NOPE.HEX" << false;
    QTest::newRow("empty: no driver") << "" << true;
  }
  void driverFileMustExist() {
    QFETCH(QString, typed);
    QFETCH(bool, exists);
    MemoryUnit unit = flashUnit();
    unit.driverPath = "DRIVER\\IFLASH_TOLVANE.HEX";
    open(unit);
    auto* path = control("TDriverPath");
    path->setFocus();
    path->selectAll();
    QTest::keyClick(path, Qt::Key_Backspace);
    QTest::keyClicks(path, typed);
    QTest::keyClick(path, Qt::Key_Tab);
    QCOMPARE(asked(), exists ? QStringList{} : QStringList{"File does not exist !"});
    QCOMPARE(QString::fromStdString(editor_->unit().driverPath),
             exists ? typed : QStringLiteral("DRIVER\\IFLASH_TOLVANE.HEX"));
    if (!exists) {
      QTRY_COMPARE(path->selectedText(), typed);
      QVERIFY(path->hasFocus());
      // OK does not take the missing file either: the editor stays open.
      boxes_.ClearAsked();
      QTest::mouseClick(control<QPushButton>("BOk"), Qt::LeftButton);
      QCOMPARE(asked(), QStringList{"File does not exist !"});
      QVERIFY(editor_->isVisible());
    }
  }

  void searchDriverFillsThePath() {
    open(flashUnit());
    const QString chosen =
        QString::fromStdString((folder_.path() / "DRIVER" / "XFLASH16.HEX").string());
    searched_ = chosen;
    QTest::mouseClick(control<QPushButton>("BBrowseDriver"), Qt::LeftButton);
    QCOMPARE(control("TDriverPath")->text(), chosen);
    QCOMPARE(QString::fromStdString(editor_->unit().driverPath), chosen);
    QCOMPARE(control<QPushButton>("BBrowseDriver")->text(), QStringLiteral("Search Driver"));
  }

  // OK by the keyboard, with the focus still in the name: the fields are taken all the same.
  void okTakesTheFieldsWithoutLeavingThem() {
    open(flashUnit());
    control("TName")->setFocus();
    control("TName")->selectAll();
    QTest::keyClicks(control("TName"), "BOOT");
    control<QComboBox>("DType")->setCurrentText("OTP");
    QTest::keyClick(control("TName"), Qt::Key_Return);
    QCOMPARE(editor_->result(), int(QDialog::Accepted));
    QCOMPARE(editor_->unit().name, std::string("BOOT"));
    QCOMPARE(editor_->unit().type, std::string("OTP"));
  }
};

VELMORA_UI_TEST(MemoryUnitEditorTest)
#include "memory_unit_editor_test.moc"
