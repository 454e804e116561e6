// The serial line over QSerialPort: real devices and pseudo-terminals (velmora-board).
//
// The link drives it without an event loop of its own: the waits block in QSerialPort's
// waitFor... calls, which also move bytes between the device and Qt's buffers.
#pragma once

#include <QMetaObject>
#include <chrono>
#include <memory>
#include <string>

#include "link/serial_port.h"

class QSerialPort;

namespace velmora {

class QtSerialPort : public SerialPort {
 public:
  QtSerialPort();
  ~QtSerialPort() override;
  QtSerialPort(const QtSerialPort&) = delete;
  QtSerialPort& operator=(const QtSerialPort&) = delete;

  // device is a path such as /dev/ttyS0 or /dev/pts/3. A line setting the device refuses
  // (a pseudo-terminal has no line) does not fail the open: see LastSettingsRefused().
  bool Open(const std::string& device, const LineSettings& settings) override;
  void Close() override;
  bool IsOpen() const override;
  bool Configure(const LineSettings& settings) override;

  bool Write(std::span<const uint8_t> bytes) override;
  bool WaitForBytesWritten(std::chrono::milliseconds timeout) override;
  size_t BytesAvailable() override;
  std::vector<uint8_t> Read(size_t count) override;
  void DiscardInput() override;
  void WaitForInput(std::chrono::milliseconds timeout) override;
  void SetReceiveNotification(bool enabled) override;
  PortFault Fault() const override { return fault_; }

  // True when the last Open or Configure could not apply every line setting.
  bool LastSettingsRefused() const { return settingsRefused_; }
  // Qt's text for the last failure of the device, for diagnostics.
  std::string ErrorText() const;

 private:
  bool applySettings(const LineSettings& settings);
  // Why the device would not open: what the system shows of it, else Qt's reason.
  PortFault openFault(const std::string& device) const;
  // Notes a device that has gone away; true when it has.
  bool hungUp();

  std::unique_ptr<QSerialPort> port_;
  QMetaObject::Connection readyRead_;
  bool settingsRefused_ = false;
  PortFault fault_;
};

}  // namespace velmora
