// A serial port that passes everything on to another one and watches it: the bytes the
// host took from the line, and the received-byte notification. ObservedLinkFixture puts
// one between the fixture's link and its virtual board, and checks after every test that
// the host used the line only while the notification was off, and switched it on again.
#pragma once

#include <cstdint>
#include <vector>

#include "link/unsolicited_bytes.h"
#include "link_fixture.h"

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

  std::vector<uint8_t> read;  // every byte the host read
  std::vector<bool> changes;  // every switch of the notification, in order
  // Writes and reads while the notification was on, outside the notification itself.
  size_t usesWhileReceiving = 0;

  bool Open(const std::string& device, const LineSettings& settings) override {
    return inner_.Open(device, settings);
  }
  void Close() override { inner_.Close(); }
  bool IsOpen() const override { return inner_.IsOpen(); }
  bool Configure(const LineSettings& settings) override { return inner_.Configure(settings); }
  bool Write(std::span<const uint8_t> bytes) override {
    tally();
    return inner_.Write(bytes);
  }
  bool WaitForBytesWritten(std::chrono::milliseconds timeout) override {
    return inner_.WaitForBytesWritten(timeout);
  }
  size_t BytesAvailable() override { return inner_.BytesAvailable(); }
  std::vector<uint8_t> Read(size_t count) override {
    tally();
    std::vector<uint8_t> bytes = inner_.Read(count);
    read.insert(read.end(), bytes.begin(), bytes.end());
    return bytes;
  }
  void DiscardInput() override { inner_.DiscardInput(); }
  void WaitForInput(std::chrono::milliseconds timeout) override { inner_.WaitForInput(timeout); }
  void SetReceiveNotification(bool enabled) override {
    changes.push_back(enabled);
    inner_.SetReceiveNotification(enabled);
  }
  void Poll() override { inner_.Poll(); }
  PortFault Fault() const override { return inner_.Fault(); }

 private:
  void tally() {
    if (!changes.empty() && changes.back() && !inNotification_) ++usesWhileReceiving;
  }

  SerialPort& inner_;
  bool inNotification_ = false;
};

class ObservedLinkFixture : public LinkFixture {
 protected:
  explicit ObservedLinkFixture(bool kline = false) : LinkFixture("TOLVANE", kline), line(*port) {
    link = std::make_unique<Link>(line, link->context());
    line.SetReceivedHandler([this] { HandleUnsolicitedBytes(*link); });
  }
  void TearDown() override {
    EXPECT_EQ(line.usesWhileReceiving, 0U);
    EXPECT_TRUE(line.changes.empty() || line.changes.back()) << "event reception left off";
  }

  ObservingPort line;
};

}  // namespace velmora::test
