#include "ui/communication_settings_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSerialPortInfo>
#include <QSpinBox>
#include <QVBoxLayout>

#include "link/line_settings_change.h"
#include "link/link.h"
#include "session/session.h"
#include "ui/session_client.h"

namespace velmora::ui {
namespace {

QString fromStd(const std::string& text) {
  return QString::fromStdString(text);
}

QComboBox* list(const char* name, const QStringList& entries) {
  auto* box = new QComboBox;
  box->setObjectName(QString::fromLatin1(name));
  box->addItems(entries);
  return box;
}

// The fields the dialog edits; the terminal mode belongs to another dialog.
void storeFields(CommunicationSettings& target, const CommunicationSettings& edited) {
  target.SetPort(edited.PortText());
  target.baudRate = edited.baudRate;
  target.parity = edited.parity;
  target.dataBits = edited.dataBits;
  target.stopBits = edited.stopBits;
  target.kline = edited.kline;
  target.timeout = edited.timeout;
}

}  // namespace

QList<PortChoice> AvailablePorts() {
  QList<PortChoice> ports;
  for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
    QString description = info.description();
    if (info.hasVendorIdentifier() && info.hasProductIdentifier()) {
      description += QStringLiteral(" (USB %1:%2)")
                         .arg(info.vendorIdentifier(), 4, 16, QChar('0'))
                         .arg(info.productIdentifier(), 4, 16, QChar('0'));
    }
    ports.push_back({info.systemLocation(), description.trimmed()});
  }
  for (int n = 1; n <= 4; ++n) {
    CommunicationSettings com;
    com.portNumber = n;
    ports.push_back({QStringLiteral("COM%1").arg(n), fromStd(com.DevicePath())});
  }
  ports.push_back({QStringLiteral("virtual"), QObject::tr("the virtual board, no hardware")});
  return ports;
}

CommunicationSettingsDialog::CommunicationSettingsDialog(SessionClient& client, QWidget* parent)
    : QDialog(parent), client_(client), ports_(AvailablePorts()) {
  setObjectName(QStringLiteral("FComPort"));
  setWindowTitle(tr("Communication Settings"));

  port_ = new QComboBox;
  port_->setObjectName(QStringLiteral("CPort"));
  port_->setEditable(true);
  port_->setInsertPolicy(QComboBox::NoInsert);
  port_->setMinimumContentsLength(18);
  for (const PortChoice& choice : ports_) {
    port_->addItem(choice.name);
    port_->setItemData(port_->count() - 1, choice.description, Qt::ToolTipRole);
  }
  portInfo_ = new QLabel;
  portInfo_->setObjectName(QStringLiteral("LPortInfo"));
  portInfo_->setEnabled(false);  // a quiet, grey line under the port

  QStringList rates;
  for (int32_t rate : kBaudRates) rates << QString::number(rate);
  baud_ = list("CBaud", rates);
  parity_ =
      list("CParity", {QStringLiteral("none"), QStringLiteral("odd"), QStringLiteral("even")});
  data_ = list("CData", {QStringLiteral("7 Bit"), QStringLiteral("8 Bit")});
  stop_ = list("CStop", {QStringLiteral("1"), QStringLiteral("2")});
  kline_ = new QCheckBox(QStringLiteral("KLINE"));
  kline_->setObjectName(QStringLiteral("CKline"));
  timeout_ = new QSpinBox;
  timeout_->setObjectName(QStringLiteral("TTimeout"));
  timeout_->setRange(1, 3600000);
  timeout_->setSingleStep(500);
  timeout_->setSuffix(tr(" ms"));

  auto* form = new QFormLayout;
  form->addRow(tr("&Port:"), port_);
  form->addRow(QString(), portInfo_);
  form->addRow(tr("&Baud rate:"), baud_);
  form->addRow(tr("P&arity:"), parity_);
  form->addRow(tr("&Data bits:"), data_);
  form->addRow(tr("&Stop bits:"), stop_);
  form->addRow(tr("&Time-out:"), timeout_);
  form->addRow(QString(), kline_);

  buttons_ = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons_->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  buttons_->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(buttons_);

  settings_ = client.snapshot().settings.communication;
  showSettings();

  // Only the user's changes write the working copy, so a rate the list does not hold
  // stays in force until another one is chosen.
  connect(port_, &QComboBox::editTextChanged, this, &CommunicationSettingsDialog::portTyped);
  connect(baud_, &QComboBox::activated, this,
          [this](int index) { settings_.baudRate = kBaudRates[static_cast<size_t>(index)]; });
  connect(parity_, &QComboBox::activated, this, [this](int index) { settings_.parity = index; });
  connect(data_, &QComboBox::activated, this,
          [this](int index) { settings_.dataBits = index + 7; });
  connect(stop_, &QComboBox::activated, this,
          [this](int index) { settings_.stopBits = index + 1; });
  connect(kline_, &QCheckBox::toggled, this, [this](bool on) { settings_.kline = on ? 1 : 0; });
  connect(timeout_, &QSpinBox::valueChanged, this, [this](int ms) { settings_.timeout = ms; });
  connect(buttons_, &QDialogButtonBox::accepted, this, &CommunicationSettingsDialog::accept);
  connect(buttons_, &QDialogButtonBox::rejected, this, &CommunicationSettingsDialog::reject);
}

void CommunicationSettingsDialog::showSettings() {
  const QString name = fromStd(settings_.PortText());
  const int known = port_->findText(name, Qt::MatchFixedString);
  if (known >= 0) port_->setCurrentIndex(known);
  port_->setEditText(known >= 0 ? port_->itemText(known) : name);
  portTyped(port_->currentText());
  for (size_t i = 0; i < kBaudRates.size(); ++i)
    if (kBaudRates[i] == settings_.baudRate) baud_->setCurrentIndex(static_cast<int>(i));
  if (settings_.parity >= 0 && settings_.parity <= 2) parity_->setCurrentIndex(settings_.parity);
  if (settings_.dataBits == 7 || settings_.dataBits == 8)
    data_->setCurrentIndex(settings_.dataBits - 7);
  if (settings_.stopBits == 1 || settings_.stopBits == 2)
    stop_->setCurrentIndex(settings_.stopBits - 1);
  kline_->setChecked(settings_.kline == 1);
  timeout_->setValue(settings_.timeout > 0 ? settings_.timeout : 1);
}

void CommunicationSettingsDialog::portTyped(const QString& typed) {
  const QString name = typed.trimmed();
  if (!name.isEmpty()) settings_.SetPort(name.toStdString());
  QString info;
  for (const PortChoice& choice : ports_)
    if (choice.name.compare(name, Qt::CaseInsensitive) == 0) info = choice.description;
  portInfo_->setText(info);
}

void CommunicationSettingsDialog::accept() {
  if (applying_) return;
  const CommunicationSettings edited = settings_;
  const bool started = client_.start<bool>(
      this, [edited](Session& s) {
        storeFields(s.settings.communication, edited);
        return ApplyCommunicationSettings(s.link());
      },
      [this](bool opened) { applied(opened); });
  if (!started) return;
  applying_ = true;
  buttons_->setEnabled(false);
}

void CommunicationSettingsDialog::applied(bool opened) {
  applying_ = false;
  buttons_->setEnabled(true);
  // Not opened: the box has said so; the user picks another port.
  if (opened) QDialog::accept();
}

void CommunicationSettingsDialog::reject() {
  if (applying_) return;
  const CommunicationSettings edited = settings_;
  client_.start([edited](Session& s) {
    storeFields(s.settings.communication, edited);
    // The port keeps the line settings it had; a failure to open it is not reported here.
    SerialPort& port = s.link().port();
    if (!port.IsOpen() &&
        port.Open(s.settings.communication.DevicePath(), s.link().currentLineSettings()))
      port.SetReceiveNotification(true);
  });
  QDialog::reject();
}

}  // namespace velmora::ui
