// A serial port that becomes whatever the device name asks for when it is opened: a real
// device, a pseudo-terminal or the in-process virtual board. The link keeps one port for
// the whole run while the user changes the port name in the settings.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "link/serial_port.h"

namespace velmora {

using PortFactory = std::function<std::unique_ptr<SerialPort>(const std::string& device)>;

class PortSelector : public SerialPort {
 public:
  explicit PortSelector(PortFactory factory) : factory_(std::move(factory)) {}

  // The port now in use, or nullptr before the first open.
  SerialPort* current() { return current_.get(); }

  bool Open(const std::string& device, const LineSettings& settings) override;
  void Close() override {
    if (current_) current_->Close();
  }
  bool IsOpen() const override { return current_ && current_->IsOpen(); }
  bool Configure(const LineSettings& settings) override { return current_ && current_->Configure(settings); }
  bool Write(std::span<const uint8_t> bytes) override { return current_ && current_->Write(bytes); }
  bool WaitForBytesWritten(std::chrono::milliseconds timeout) override {
    return current_ && current_->WaitForBytesWritten(timeout);
  }
  size_t BytesAvailable() override { return current_ ? current_->BytesAvailable() : 0; }
  std::vector<uint8_t> Read(size_t count) override {
    return current_ ? current_->Read(count) : std::vector<uint8_t>{};
  }
  void DiscardInput() override {
    if (current_) current_->DiscardInput();
  }
  void WaitForInput(std::chrono::milliseconds timeout) override;
  PortFault Fault() const override {
    if (current_) return current_->Fault();
    return device_.empty() ? PortFault{} : PortFault{PortProblem::NoSuchDevice, {}};
  }
  void SetReceiveNotification(bool enabled) override;
  void Poll() override {
    if (current_) current_->Poll();
  }

 private:
  PortFactory factory_;
  std::unique_ptr<SerialPort> current_;
  std::string device_;
  bool notify_ = false;
};

}  // namespace velmora
