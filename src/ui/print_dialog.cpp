#include "ui/print_dialog.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace velmora::ui {

namespace {

// Marks the PDF entry, so that a system printer that happens to share its wording is
// still a printer.
constexpr int kIsPdfRole = Qt::UserRole + 1;

}  // namespace

const char* const PrintDialog::kPdfEntry = "PDF file";

PrintDialog::PrintDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Print Selection"));

  printers_ = new QListWidget(this);
  printers_->setObjectName("DPrinterlist");
  const QString defaultPrinter = QPrinterInfo::defaultPrinterName();
  for (const QString& name : QPrinterInfo::availablePrinterNames()) {
    auto* item = new QListWidgetItem(name, printers_);
    if (name == defaultPrinter) printers_->setCurrentItem(item);
  }
  auto* pdfItem = new QListWidgetItem(tr(kPdfEntry), printers_);
  pdfItem->setData(kIsPdfRole, true);
  if (printers_->currentItem() == nullptr) printers_->setCurrentItem(pdfItem);

  pdfFile_ = new QLineEdit(QDir::home().filePath("selection.pdf"), this);
  pdfFile_->setObjectName("TPdfFile");
  browse_ = new QPushButton(tr("Browse..."), this);
  browse_->setObjectName("BBrowse");
  auto* fileRow = new QHBoxLayout;
  fileRow->addWidget(new QLabel(tr("PDF file name:"), this));
  fileRow->addWidget(pdfFile_, 1);
  fileRow->addWidget(browse_);

  auto* styleFrame = new QGroupBox(tr("Style"), this);
  styleFrame->setObjectName("FStyle");
  text_ = new QRadioButton(tr("Text"), styleFrame);
  text_->setObjectName("OText");
  assembler_ = new QRadioButton(tr("Assembler Code"), styleFrame);
  assembler_->setObjectName("OAssembler");
  hexadecimal_ = new QRadioButton(tr("Hexadezimal"), styleFrame);
  hexadecimal_->setObjectName("OHex");
  hexadecimal_->setChecked(true);
  auto* styleLayout = new QVBoxLayout(styleFrame);
  styleLayout->addWidget(text_);
  styleLayout->addWidget(assembler_);
  styleLayout->addWidget(hexadecimal_);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  ok_ = buttons->button(QDialogButtonBox::Ok);
  ok_->setObjectName("BOK");
  buttons->button(QDialogButtonBox::Cancel)->setObjectName("BCancel");

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel(tr("Printer:"), this));
  layout->addWidget(printers_);
  layout->addLayout(fileRow);
  layout->addWidget(styleFrame);
  layout->addWidget(buttons);

  connect(printers_, &QListWidget::currentItemChanged, this, [this] { updateControls(); });
  connect(pdfFile_, &QLineEdit::textChanged, this, [this] { updateControls(); });
  connect(browse_, &QPushButton::clicked, this, [this] { browse(); });
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  updateControls();
}

PrintStyle PrintDialog::style() const {
  if (text_->isChecked()) return PrintStyle::Text;
  if (assembler_->isChecked()) return PrintStyle::Assembler;
  return PrintStyle::Hexadecimal;
}

bool PrintDialog::pdfChosen() const {
  const QListWidgetItem* item = printers_->currentItem();
  return item != nullptr && item->data(kIsPdfRole).toBool();
}

QString PrintDialog::pdfFile() const {
  return pdfFile_->text().trimmed();
}

std::unique_ptr<QPrinter> PrintDialog::makePrinter() const {
  if (pdfChosen()) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setOutputFormat(QPrinter::PdfFormat);
    printer->setOutputFileName(pdfFile());
    return printer;
  }
  const QListWidgetItem* item = printers_->currentItem();
  const QPrinterInfo info = QPrinterInfo::printerInfo(
      item != nullptr ? item->text() : QPrinterInfo::defaultPrinterName());
  return std::make_unique<QPrinter>(info, QPrinter::HighResolution);
}

void PrintDialog::updateControls() {
  const bool pdf = pdfChosen();
  pdfFile_->setEnabled(pdf);
  browse_->setEnabled(pdf);
  // Printing needs somewhere to go: a printer, or a PDF file with a name.
  ok_->setEnabled(printers_->currentItem() != nullptr && (!pdf || !pdfFile().isEmpty()));
}

void PrintDialog::browse() {
  const QString chosen = QFileDialog::getSaveFileName(this, tr("Print to PDF File"), pdfFile(),
                                                      tr("PDF files (*.pdf)"));
  if (!chosen.isEmpty()) pdfFile_->setText(chosen);
}

}  // namespace velmora::ui
