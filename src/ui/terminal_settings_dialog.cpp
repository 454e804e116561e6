#include "ui/terminal_settings_dialog.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace velmora::ui {

TerminalSettingsDialog::TerminalSettingsDialog(int mode, QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Terminal Settings"));

  auto* frame = new QGroupBox(tr("Terminal Mode"), this);
  frame->setObjectName("FTerminalMode");
  ascii_ = new QRadioButton(tr("Text Mode (ASCII)"), frame);
  ascii_->setObjectName("OTModeASCII");
  hex_ = new QRadioButton(tr("Hexadecimal Mode (HEX)"), frame);
  hex_->setObjectName("OTModeHex");
  auto* frameLayout = new QVBoxLayout(frame);
  frameLayout->addWidget(ascii_);
  frameLayout->addWidget(hex_);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("BOK");
  buttons->button(QDialogButtonBox::Cancel)->setObjectName("BCancel");

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(frame);
  layout->addWidget(buttons);

  connect(ascii_, &QRadioButton::clicked, this, [this] { mode_ = kTerminalModeAscii; });
  connect(hex_, &QRadioButton::clicked, this, [this] { mode_ = kTerminalModeHex; });
  connect(buttons, &QDialogButtonBox::accepted, this, [this] { SetPreferences(); });
  connect(buttons, &QDialogButtonBox::rejected, this, &TerminalSettingsDialog::reject);
  opened_ = mode;
  GetPreferences(mode);
}

void TerminalSettingsDialog::GetPreferences(int mode) {
  mode_ = mode;
  if (mode == kTerminalModeHex) {
    hex_->setChecked(true);
  } else {
    ascii_->setChecked(true);
  }
}

void TerminalSettingsDialog::SetPreferences() {
  // The caller reads mode() and stores it; nothing is kept here beyond the dialog.
  accept();
}

void TerminalSettingsDialog::reject() {
  // Escape and the window's close button come here too.
  mode_ = opened_;
  QDialog::reject();
}

}  // namespace velmora::ui
