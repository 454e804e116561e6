// The "Print Selection" dialog: where the printout goes (a system printer or a PDF file,
// so that printing works on a machine without printers) and in which style.
#pragma once

#include <QDialog>
#include <memory>

#include "ui/print_lines.h"

class QLineEdit;
class QListWidget;
class QPrinter;
class QPushButton;
class QRadioButton;

namespace velmora::ui {

class PrintDialog : public QDialog {
  Q_OBJECT
 public:
  // The wording of the list entry that prints into a PDF file.
  static const char* const kPdfEntry;

  explicit PrintDialog(QWidget* parent = nullptr);

  PrintStyle style() const;
  // A printer for the chosen entry: the named system printer, or a PDF printer writing
  // the file named in the field.
  std::unique_ptr<QPrinter> makePrinter() const;

  bool pdfChosen() const;
  QString pdfFile() const;

 private:
  void updateControls();
  void browse();

  QListWidget* printers_;
  QLineEdit* pdfFile_;
  QPushButton* browse_;
  QRadioButton* text_;
  QRadioButton* assembler_;
  QRadioButton* hexadecimal_;
  QPushButton* ok_;
};

}  // namespace velmora::ui
