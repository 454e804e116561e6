// The "Communication Settings" dialog ("FComPort"): the serial port (any device name can
// be typed; the list offers the system's ports, COM1..COM4 and the virtual board), baud
// rate, parity, data bits, stop bits, the K-line switch and the time-out.
//
// Every list writes its field of a working copy as soon as it is changed, and both OK and
// Cancel store that copy: Cancel does not take the changes back, it only leaves the open
// port as it is (opening it, quietly, when it is closed). OK opens the port anew with the
// settings (and tells a connected target its new baud rate); a port that cannot be opened
// keeps the dialog on screen with the core's box.
#pragma once

#include <QDialog>
#include <QList>
#include <QString>

#include "config/communication_settings.h"

class QCheckBox;
class QComboBox;
class QDialogButtonBox;
class QLabel;
class QSpinBox;

namespace velmora::ui {

class SessionClient;

struct PortChoice {
  QString name;         // what is opened: "/dev/ttyUSB0", "COM1", "virtual"
  QString description;  // what the system says of it, with USB ids where known
};

// The system's serial ports, then COM1..COM4, then the virtual board.
QList<PortChoice> AvailablePorts();

class CommunicationSettingsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit CommunicationSettingsDialog(SessionClient& client, QWidget* parent = nullptr);

  // The working copy of the settings.
  const CommunicationSettings& settings() const { return settings_; }

  void accept() override;
  void reject() override;

 private:
  void showSettings();
  void portTyped(const QString& name);
  void applied(bool opened);

  SessionClient& client_;
  CommunicationSettings settings_;
  QList<PortChoice> ports_;
  QComboBox* port_;
  QLabel* portInfo_;
  QComboBox* baud_;
  QComboBox* parity_;
  QComboBox* data_;
  QComboBox* stop_;
  QCheckBox* kline_;
  QSpinBox* timeout_;
  QDialogButtonBox* buttons_;
  bool applying_ = false;
};

}  // namespace velmora::ui
