// The printout: its lines in the three styles, and those lines put into a PDF file through
// the print dialog's PDF entry.
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProcess>
#include <QRadioButton>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <string>
#include <vector>

#include "disasm/decoder_fixture.h"
#include "temp_folder.h"
#include "ui/print_dialog.h"
#include "ui/print_lines.h"
#include "ui/print_renderer.h"
#include "ui_test_registry.h"

using velmora::InstructionDecoder;
using velmora::MemoryImage;
using velmora::PrintLines;
using velmora::PrintStyle;
using velmora::SelectionList;
using Lines = std::vector<std::string>;

Q_DECLARE_METATYPE(Lines)
Q_DECLARE_METATYPE(PrintStyle)
Q_DECLARE_METATYPE(velmora::Selection)
Q_DECLARE_METATYPE(std::vector<velmora::Selection>)

namespace {

const std::string kHeader = "               00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F";
const std::string kStars =
    "*******************************************************************";  // 67

std::vector<uint8_t> counting(int count, uint8_t first = 0) {
  std::vector<uint8_t> bytes;
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(first + i));
  return bytes;
}

// The printout of the given ranges over an image that holds bytes at `at`.
Lines print(PrintStyle style, int32_t at, const std::vector<uint8_t>& bytes,
            const std::vector<velmora::Selection>& ranges) {
  MemoryImage image;
  image.StoreLoaded(at, bytes);
  SelectionList selections;
  for (const auto& range : ranges) {
    if (!selections.AddSelection(range.start, range.end)) return {"selection refused"};
  }
  InstructionDecoder decoder(velmora::test::Shipped().opcodes, velmora::test::Shipped().registers);
  return PrintLines(selections, image, decoder, style);
}

QString joined(const Lines& lines) {
  QStringList out;
  for (const auto& line : lines) out << QString::fromLatin1("[%1]").arg(QString::fromLatin1(line));
  return out.join('\n');
}

int pdfPageCount(const QByteArray& pdf) {
  // Each page object carries "/Type /Page"; the page tree is "/Type /Pages".
  static const QRegularExpression page(R"(/Type\s*/Page(?!s))");
  int count = 0;
  for (auto it = page.globalMatch(pdf); it.hasNext(); it.next()) ++count;
  return count;
}

}  // namespace

class PrintLinesTest : public QObject {
  Q_OBJECT
 private slots:
  void printsEachStyle_data();
  void printsEachStyle();
  void separatorIsSixtySevenStars();
};

void PrintLinesTest::printsEachStyle_data() {
  QTest::addColumn<PrintStyle>("style");
  QTest::addColumn<int>("at");
  QTest::addColumn<std::vector<uint8_t>>("bytes");
  QTest::addColumn<std::vector<velmora::Selection>>("ranges");
  QTest::addColumn<Lines>("expected");

  QTest::newRow("hexadecimal: 20 bytes give a full line and one of four")
      << PrintStyle::Hexadecimal << 0x001000 << counting(20)
      << std::vector<velmora::Selection>{{0x1000, 0x1013}}
      << Lines{kHeader,
               "      001000 : 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F ",
               "      001010 : 10 11 12 13 ",
               "",
               kStars,
               ""};
  QTest::newRow("hexadecimal: lines count from the start, not from a 16-byte boundary")
      << PrintStyle::Hexadecimal << 0x0A0005 << counting(18, 0xA0)
      << std::vector<velmora::Selection>{{0x0A0005, 0x0A0016}}
      << Lines{kHeader,
               "      0A0005 : A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF ",
               "      0A0015 : B0 B1 ",
               "",
               kStars,
               ""};
  QTest::newRow("hexadecimal: bytes without a value print as 00")
      << PrintStyle::Hexadecimal << 0x000102 << std::vector<uint8_t>{0xFF}
      << std::vector<velmora::Selection>{{0x000100, 0x000104}}
      << Lines{kHeader, "      000100 : 00 00 FF 00 00 ", "", kStars, ""};
  QTest::newRow("hexadecimal: the last line of the address space ends the walk")
      << PrintStyle::Hexadecimal << 0xFFFFFC << counting(4, 0x11)
      << std::vector<velmora::Selection>{{0xFFFFF8, 0xFFFFFF}}
      << Lines{kHeader, "      FFFFF8 : 00 00 00 00 11 12 13 14 ", "", kStars, ""};
  QTest::newRow("hexadecimal: each selection has its header and separator, in list order")
      << PrintStyle::Hexadecimal << 0x000200 << counting(0x20)
      << std::vector<velmora::Selection>{{0x000218, 0x000219}, {0x000200, 0x000201}}
      << Lines{kHeader, "      000200 : 00 01 ", "", kStars, "",
               kHeader, "      000218 : 18 19 ", "", kStars, ""};

  const std::string text = "Hello, Korda!\x01\x1F World\x7F\xE4";
  QTest::newRow("text: printable bytes as they are, control bytes as dots")
      << PrintStyle::Text << 0x003000 << std::vector<uint8_t>(text.begin(), text.end())
      << std::vector<velmora::Selection>{{0x003000, 0x003000 + static_cast<int>(text.size()) - 1}}
      << Lines{"Hello, Korda!.. ", "World\x7F\xE4", "", kStars, ""};
  QTest::newRow("text: bytes without a value are dots")
      << PrintStyle::Text << 0x003000 << std::vector<uint8_t>{'A'}
      << std::vector<velmora::Selection>{{0x003000, 0x003002}} << Lines{"A..", "", kStars, ""};

  // NOP, a 4-byte MOV with a register name, an opcode without a format (one word), an
  // operand without a name (four bytes), ADD.
  const std::vector<uint8_t> code{0xCC, 0x00, 0xE6, 0xD8, 0x11, 0x80, 0xC1,
                                  0x00, 0xF2, 0xF1, 0x18, 0xFE, 0x00, 0x12};
  QTest::newRow("assembler: instructions one after the other, illegal ones stepped over")
      << PrintStyle::Assembler << 0x002000 << code
      << std::vector<velmora::Selection>{{0x002000, 0x00200D}}
      << Lines{"      002000 : NOP     ",
               "      002002 : MOV     S0CON,#8011h",
               "      002006 : Illegal Instruction",
               "      002008 : Illegal Operand",
               "      00200C : ADD     R1,R2",
               "",
               kStars,
               ""};
  QTest::newRow("assembler: an instruction that starts in the selection is printed whole")
      << PrintStyle::Assembler << 0x002000 << code
      << std::vector<velmora::Selection>{{0x002000, 0x002003}}
      << Lines{"      002000 : NOP     ", "      002002 : MOV     S0CON,#8011h", "", kStars, ""};
  QTest::newRow("assembler: bytes without a value decode as zeros")
      << PrintStyle::Assembler << 0x004000 << std::vector<uint8_t>{}
      << std::vector<velmora::Selection>{{0x004000, 0x004001}}
      << Lines{"      004000 : ADD     R0,R0", "", kStars, ""};
  QTest::newRow("assembler: the end of the address space ends the walk")
      << PrintStyle::Assembler << 0xFFFFFC << std::vector<uint8_t>{0xCC, 0x00, 0xE6, 0xD8}
      << std::vector<velmora::Selection>{{0xFFFFFC, 0xFFFFFF}}
      << Lines{"      FFFFFC : NOP     ", "      FFFFFE : MOV     S0CON,#0000h", "", kStars, ""};

  for (PrintStyle style : {PrintStyle::Text, PrintStyle::Assembler, PrintStyle::Hexadecimal}) {
    QTest::addRow("no selection prints nothing (style %d)", static_cast<int>(style))
        << style << 0x001000 << counting(4) << std::vector<velmora::Selection>{} << Lines{};
  }
}

void PrintLinesTest::printsEachStyle() {
  QFETCH(PrintStyle, style);
  QFETCH(int, at);
  QFETCH(std::vector<uint8_t>, bytes);
  QFETCH(std::vector<velmora::Selection>, ranges);
  QFETCH(Lines, expected);
  const Lines lines = print(style, at, bytes, ranges);
  QCOMPARE(joined(lines), joined(expected));
}

void PrintLinesTest::separatorIsSixtySevenStars() {
  const Lines lines = print(PrintStyle::Text, 0, {'x'}, {{0, 0}});
  QCOMPARE(lines.size(), size_t{4});
  QCOMPARE(lines[2], std::string(67, '*'));
}

class PrintToPdfTest : public QObject {
  Q_OBJECT
 private slots:
  void dialogOffersPdfAndStyles();
  void twentyHexBytesMakeOnePage();
  void longPrintoutBreaksPages();
  void emptyPrintoutIsStillADocument();
  void unwritableFileFails();

 private:
  // Prints through a dialog whose PDF entry is chosen; returns the file's bytes.
  QByteArray printToPdf(const Lines& lines, const QString& file);
  // The PDF's text by pdftotext, or a null string when the tool is missing.
  QString extractedText(const QString& file);

  velmora::test::TempFolder folder_;
};

QByteArray PrintToPdfTest::printToPdf(const Lines& lines, const QString& file) {
  velmora::ui::PrintDialog dialog;
  auto* list = dialog.findChild<QListWidget*>("DPrinterlist");
  const auto pdfEntries = list->findItems(velmora::ui::PrintDialog::kPdfEntry, Qt::MatchExactly);
  if (pdfEntries.isEmpty()) return {};
  list->setCurrentItem(pdfEntries.last());
  dialog.findChild<QLineEdit*>("TPdfFile")->setText(file);
  const auto printer = dialog.makePrinter();
  if (!velmora::ui::RenderLines(*printer, lines)) return {};
  QFile pdf(file);
  if (!pdf.open(QIODevice::ReadOnly)) return {};
  return pdf.readAll();
}

QString PrintToPdfTest::extractedText(const QString& file) {
  const QString tool = QStandardPaths::findExecutable("pdftotext");
  if (tool.isEmpty()) return {};
  QProcess process;
  process.start(tool, {"-layout", file, "-"});
  if (!process.waitForFinished(30000)) return QStringLiteral("pdftotext did not finish");
  return QString::fromUtf8(process.readAllStandardOutput());
}

void PrintToPdfTest::dialogOffersPdfAndStyles() {
  velmora::ui::PrintDialog dialog;
  QCOMPARE(dialog.windowTitle(), QStringLiteral("Print Selection"));
  auto* list = dialog.findChild<QListWidget*>("DPrinterlist");
  auto* file = dialog.findChild<QLineEdit*>("TPdfFile");
  QVERIFY(list != nullptr && file != nullptr);
  QCOMPARE(list->item(list->count() - 1)->text(), QStringLiteral("PDF file"));
  QCOMPARE(list->count(), 1 + static_cast<int>(QPrinterInfo::availablePrinterNames().size()));

  list->setCurrentRow(list->count() - 1);
  QVERIFY(dialog.pdfChosen());
  QVERIFY(file->isEnabled());
  file->setText(QString::fromStdString(folder_.File("out.pdf")));
  const auto printer = dialog.makePrinter();
  QCOMPARE(printer->outputFormat(), QPrinter::PdfFormat);
  QCOMPARE(printer->outputFileName(), QString::fromStdString(folder_.File("out.pdf")));

  dialog.show();
  QVERIFY(QTest::qWaitForWindowExposed(&dialog));
  const struct {
    const char* name;
    PrintStyle style;
  } kStyles[] = {{"OText", PrintStyle::Text},
                 {"OAssembler", PrintStyle::Assembler},
                 {"OHex", PrintStyle::Hexadecimal}};
  for (const auto& option : kStyles) {
    auto* button = dialog.findChild<QRadioButton*>(option.name);
    QVERIFY(button != nullptr);
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
    QCOMPARE(dialog.style(), option.style);
  }
  QCOMPARE(dialog.findChild<QRadioButton*>("OHex")->text(), QStringLiteral("Hexadezimal"));
}

void PrintToPdfTest::twentyHexBytesMakeOnePage() {
  // The lines are captured as the window would get them back from the worker.
  const Lines lines = print(PrintStyle::Hexadecimal, 0x001000, counting(20), {{0x1000, 0x1013}});
  QCOMPARE(lines.size(), size_t{6});
  const QString file = QString::fromStdString(folder_.File("twenty.pdf"));
  const QByteArray pdf = printToPdf(lines, file);
  QVERIFY2(pdf.startsWith("%PDF-"), "no PDF was written");
  QCOMPARE(pdfPageCount(pdf), 1);

  const QString text = extractedText(file);
  if (text.isNull())
    QSKIP("pdftotext (poppler-utils) is not installed: the PDF's text is not read back");
  // pdftotext may widen runs of blanks; the characters and their order must stay.
  const QStringList pdfLines = text.split('\n', Qt::SkipEmptyParts);
  QStringList printed;
  for (const auto& line : lines) {
    const QString simplified = QString::fromStdString(line).simplified();
    if (!simplified.isEmpty()) printed << simplified;
  }
  QStringList read;
  for (const auto& line : pdfLines) {
    if (!line.simplified().isEmpty()) read << line.simplified();
  }
  QCOMPARE(read, printed);
}

void PrintToPdfTest::longPrintoutBreaksPages() {
  Lines lines;
  for (int i = 0; i < 400; ++i) lines.push_back("line " + std::to_string(i));
  const QString file = QString::fromStdString(folder_.File("long.pdf"));
  const QByteArray pdf = printToPdf(lines, file);
  QVERIFY(pdf.startsWith("%PDF-"));
  // No page holds 400 lines of a legible font, and none is left empty.
  const int pages = pdfPageCount(pdf);
  QVERIFY2(pages >= 3 && pages <= 40, qPrintable(QString::number(pages)));

  const QString text = extractedText(file);
  if (text.isNull())
    QSKIP("pdftotext (poppler-utils) is not installed: the page breaks are not read back");
  // pdftotext ends every page with a form feed. Every page but the last is full, and the
  // lines come back in order.
  QStringList pageTexts = text.split('\f');
  if (pageTexts.last().trimmed().isEmpty()) pageTexts.removeLast();
  QCOMPARE(pageTexts.size(), pages);
  QStringList read;
  QList<int> perPage;
  for (const auto& page : pageTexts) {
    int count = 0;
    for (const auto& line : page.split('\n')) {
      if (line.simplified().isEmpty()) continue;
      read << line.simplified();
      ++count;
    }
    perPage << count;
  }
  QCOMPARE(read.size(), 400);
  for (int i = 0; i < read.size(); ++i) QCOMPARE(read[i], QStringLiteral("line %1").arg(i));
  for (int i = 1; i + 1 < perPage.size(); ++i) QCOMPARE(perPage[i], perPage.first());
  QVERIFY(perPage.last() <= perPage.first());
}

void PrintToPdfTest::emptyPrintoutIsStillADocument() {
  const QByteArray pdf = printToPdf({}, QString::fromStdString(folder_.File("empty.pdf")));
  QVERIFY(pdf.startsWith("%PDF-"));
  QCOMPARE(pdfPageCount(pdf), 1);
}

void PrintToPdfTest::unwritableFileFails() {
  QPrinter printer(QPrinter::HighResolution);
  printer.setOutputFormat(QPrinter::PdfFormat);
  printer.setOutputFileName(QString::fromStdString(folder_.File("no-such-folder/out.pdf")));
  QVERIFY(!velmora::ui::RenderLines(printer, {"x"}));
}

VELMORA_UI_TEST(PrintLinesTest)
VELMORA_UI_TEST(PrintToPdfTest)

#include "print_test.moc"
