// A serial port that passes everything on to another one and watches the received-byte
// notification: a test can tell whether the host wrote to or read from the line while
// the notification was on, outside the notification itself.
#pragma once

#include <cstdint>
#include <vector>

#include "link/serial_port.h"

namespace velmora::test {

class ObservingPort : public SerialPort {
 public:
  explicit ObservingPort(SerialPort& inner) : inner_(inner) {
    inner_.SetReceivedHandler([this] {
      inNotification_ = true;
      NotifyReceived();
      inNotification_ = false;
    });
  }

  bool receiving() const { return receiving_; }
  // Every switch of the notification, in order.
  const std::vector<bool>& notificationChanges() const { return changes_; }
  // Port operations on the line while the notification was on and no notification ran.
  size_t writesWhileReceiving() const { return writesWhileReceiving_; }
  size_t readsWhileReceiving() const { return readsWhileReceiving_; }
  void ClearCounts() {
    changes_.clear();
    writesWhileReceiving_ = 0;
    readsWhileReceiving_ = 0;
  }

  bool Open(const std::string& device, const LineSettings& settings) override {
    return inner_.Open(device, settings);
  }
  void Close() override { inner_.Close(); }
  bool IsOpen() const override { return inner_.IsOpen(); }
  bool Configure(const LineSettings& settings) override { return inner_.Configure(settings); }
  bool Write(std::span<const uint8_t> bytes) override {
    if (receiving_) ++writesWhileReceiving_;
    return inner_.Write(bytes);
  }
  bool WaitForBytesWritten(std::chrono::milliseconds timeout) override {
    return inner_.WaitForBytesWritten(timeout);
  }
  size_t BytesAvailable() override { return inner_.BytesAvailable(); }
  std::vector<uint8_t> Read(size_t count) override {
    if (receiving_ && !inNotification_) ++readsWhileReceiving_;
    return inner_.Read(count);
  }
  void DiscardInput() override { inner_.DiscardInput(); }
  void WaitForInput(std::chrono::milliseconds timeout) override { inner_.WaitForInput(timeout); }
  void SetReceiveNotification(bool enabled) override {
    receiving_ = enabled;
    changes_.push_back(enabled);
    inner_.SetReceiveNotification(enabled);
  }

 private:
  SerialPort& inner_;
  bool receiving_ = false;
  bool inNotification_ = false;
  std::vector<bool> changes_;
  size_t writesWhileReceiving_ = 0;
  size_t readsWhileReceiving_ = 0;
};

}  // namespace velmora::test
