#include "link/port_selector.h"

#include <thread>

namespace velmora {

bool PortSelector::Open(const std::string& device, const LineSettings& settings) {
  if (!current_ || device != device_) {
    if (current_) current_->Close();
    current_ = factory_ ? factory_(device) : nullptr;
    device_ = device;
    if (!current_) return false;
    current_->SetReceivedHandler([this] { NotifyReceived(); });
    current_->SetReceiveNotification(notify_);
  }
  return current_->Open(device, settings);
}

void PortSelector::WaitForInput(std::chrono::milliseconds timeout) {
  if (current_) {
    current_->WaitForInput(timeout);
  } else {
    std::this_thread::sleep_for(timeout);
  }
}

void PortSelector::SetReceiveNotification(bool enabled) {
  notify_ = enabled;
  if (current_) current_->SetReceiveNotification(enabled);
}

}  // namespace velmora
