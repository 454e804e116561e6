// QtSerialPort on a bare pseudo-terminal pair: the test plays the far end of the line on
// the master side, so every byte and every line setting can be checked.
#include "app/qt_serial_port.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace velmora {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using Bytes = std::vector<uint8_t>;

class PtyPair {
 public:
  PtyPair() {
    master_ = posix_openpt(O_RDWR | O_NOCTTY);
    if (master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0) {
      if (const char* name = ptsname(master_)) device_ = name;
    }
  }
  ~PtyPair() {
    if (master_ >= 0) close(master_);
  }
  PtyPair(const PtyPair&) = delete;
  PtyPair& operator=(const PtyPair&) = delete;

  const std::string& device() const { return device_; }
  int master() const { return master_; }

  void Send(const Bytes& bytes) const {
    ASSERT_EQ(write(master_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // What the port has sent, once count bytes are there or a second has passed.
  Bytes Take(size_t count) const {
    Bytes bytes;
    const auto deadline = Clock::now() + milliseconds(1000);
    while (bytes.size() < count && Clock::now() < deadline) {
      pollfd pollFd{master_, POLLIN, 0};
      if (poll(&pollFd, 1, 50) <= 0) continue;
      uint8_t buffer[256];
      const ssize_t got = read(master_, buffer, sizeof buffer);
      if (got > 0) bytes.insert(bytes.end(), buffer, buffer + got);
    }
    return bytes;
  }

 private:
  int master_ = -1;
  std::string device_;
};

// Waits through the port until at least count bytes are buffered or a second has passed.
size_t awaitBytes(QtSerialPort& port, size_t count) {
  const auto deadline = Clock::now() + milliseconds(1000);
  while (port.BytesAvailable() < count && Clock::now() < deadline) {
    port.WaitForInput(milliseconds(20));
  }
  return port.BytesAvailable();
}

void runEventLoopFor(milliseconds span, const std::function<bool()>& done = {}) {
  const auto deadline = Clock::now() + span;
  while (Clock::now() < deadline && !(done && done())) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    std::this_thread::sleep_for(milliseconds(1));
  }
}

class QtSerialPortOnPty : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(pty.device().empty());
    ASSERT_TRUE(port.Open(pty.device(), {115200, 0, 8, 1})) << port.ErrorText();
  }

  PtyPair pty;
  QtSerialPort port;
};

TEST_F(QtSerialPortOnPty, BytesCrossInBothDirections) {
  EXPECT_TRUE(port.IsOpen());
  const Bytes out = {0x00, 0x0A, 0x0D, 0x11, 0x13, 0x7F, 0xFF};  // none may be translated
  ASSERT_TRUE(port.Write(out));
  EXPECT_TRUE(port.WaitForBytesWritten(milliseconds(1000)));
  EXPECT_EQ(pty.Take(out.size()), out);

  pty.Send({0x0D, 0x0A, 0x03, 0x1A});
  ASSERT_EQ(awaitBytes(port, 4), 4U);
  EXPECT_EQ(port.Read(2), (Bytes{0x0D, 0x0A}));
  EXPECT_EQ(port.Read(10), (Bytes{0x03, 0x1A}));
  EXPECT_EQ(port.BytesAvailable(), 0U);
}

TEST_F(QtSerialPortOnPty, LongBlockIsWrittenWhole) {
  Bytes block(5000);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<uint8_t>(i * 7);
  ASSERT_TRUE(port.Write(block));
  // The far end reads while the port drains its buffer into the device.
  Bytes received;
  std::thread reader([&] { received = pty.Take(block.size()); });
  EXPECT_TRUE(port.WaitForBytesWritten(milliseconds(2000)));
  reader.join();
  EXPECT_EQ(received, block);
}

TEST_F(QtSerialPortOnPty, LineSettingsReachTheDeviceAsFarAsItTakesThem) {
  termios tio{};
  ASSERT_TRUE(port.Configure({57600, 0, 8, 2}));
  EXPECT_FALSE(port.LastSettingsRefused());
  ASSERT_EQ(tcgetattr(pty.master(), &tio), 0);
  EXPECT_EQ(cfgetospeed(&tio), static_cast<speed_t>(B57600));
  EXPECT_EQ(tio.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
  EXPECT_EQ(tio.c_cflag & PARENB, 0U);
  EXPECT_NE(tio.c_cflag & CSTOPB, 0U);

  // A pseudo-terminal always carries 8 bits without parity: 7 bits and even parity are
  // refused, the rest is applied and the port stays open.
  EXPECT_TRUE(port.Configure({19200, 2, 7, 1}));
  EXPECT_TRUE(port.LastSettingsRefused());
  EXPECT_TRUE(port.IsOpen());
  ASSERT_EQ(tcgetattr(pty.master(), &tio), 0);
  EXPECT_EQ(cfgetospeed(&tio), static_cast<speed_t>(B19200));
  EXPECT_EQ(tio.c_cflag & CSTOPB, 0U);

  // Opening with such settings succeeds all the same.
  port.Close();
  ASSERT_TRUE(port.Open(pty.device(), {38400, 1, 7, 2}));
  EXPECT_TRUE(port.LastSettingsRefused());
  ASSERT_EQ(tcgetattr(pty.master(), &tio), 0);
  EXPECT_EQ(cfgetospeed(&tio), static_cast<speed_t>(B38400));
  EXPECT_NE(tio.c_cflag & CSTOPB, 0U);
  ASSERT_TRUE(port.Write(Bytes{0x5A}));
  EXPECT_TRUE(port.WaitForBytesWritten(milliseconds(1000)));
  EXPECT_EQ(pty.Take(1), Bytes{0x5A});
}

TEST_F(QtSerialPortOnPty, RefusedSettingDoesNotCloseThePort) {
  // Four data bits exist on no line; the port stays usable with what it had.
  EXPECT_TRUE(port.Configure({9600, 0, 4, 1}));
  EXPECT_TRUE(port.LastSettingsRefused());
  EXPECT_TRUE(port.IsOpen());
  ASSERT_TRUE(port.Write(Bytes{0x42}));
  EXPECT_TRUE(port.WaitForBytesWritten(milliseconds(1000)));
  EXPECT_EQ(pty.Take(1), Bytes{0x42});
}

TEST_F(QtSerialPortOnPty, DiscardInputDropsBufferedAndPendingBytes) {
  pty.Send({1, 2, 3});
  ASSERT_EQ(awaitBytes(port, 3), 3U);
  pty.Send({4, 5});  // still in the device, not yet taken by the port
  std::this_thread::sleep_for(milliseconds(50));
  port.DiscardInput();
  EXPECT_EQ(port.BytesAvailable(), 0U);
  port.WaitForInput(milliseconds(50));
  EXPECT_EQ(port.BytesAvailable(), 0U);
  pty.Send({6});
  ASSERT_EQ(awaitBytes(port, 1), 1U);
  EXPECT_EQ(port.Read(5), Bytes{6});
}

TEST_F(QtSerialPortOnPty, WaitForInputEndsAtItsTimeOutWhenNothingComes) {
  const auto start = Clock::now();
  port.WaitForInput(milliseconds(120));
  const auto took = Clock::now() - start;
  EXPECT_GE(took, milliseconds(100));
  EXPECT_LT(took, milliseconds(1000));
  EXPECT_EQ(port.BytesAvailable(), 0U);
}

TEST_F(QtSerialPortOnPty, WaitForInputEndsWhenAByteArrives) {
  std::thread sender([&] {
    std::this_thread::sleep_for(milliseconds(30));
    pty.Send({0x55});
  });
  const auto start = Clock::now();
  port.WaitForInput(milliseconds(3000));
  const auto took = Clock::now() - start;
  sender.join();
  EXPECT_LT(took, milliseconds(1000));
  EXPECT_EQ(port.BytesAvailable(), 1U);
}

TEST_F(QtSerialPortOnPty, ReceivedNotificationRunsOnlyWhileEnabled) {
  int calls = 0;
  port.SetReceivedHandler([&] { ++calls; });

  port.SetReceiveNotification(true);
  pty.Send({0x10});
  runEventLoopFor(milliseconds(2000), [&] { return calls > 0; });
  EXPECT_GT(calls, 0);
  EXPECT_EQ(port.Read(1), Bytes{0x10});

  port.SetReceiveNotification(false);
  calls = 0;
  pty.Send({0x20});
  runEventLoopFor(milliseconds(150));
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(awaitBytes(port, 1), 1U);

  // Switched on again with a byte waiting: the handler hears of it from the event loop.
  port.SetReceiveNotification(true);
  EXPECT_EQ(calls, 0);
  runEventLoopFor(milliseconds(2000), [&] { return calls > 0; });
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(port.Read(1), Bytes{0x20});
}

TEST_F(QtSerialPortOnPty, ClosedPortRefusesEverything) {
  port.Close();
  EXPECT_FALSE(port.IsOpen());
  EXPECT_FALSE(port.Write(Bytes{1}));
  EXPECT_FALSE(port.WaitForBytesWritten(milliseconds(10)));
  EXPECT_EQ(port.BytesAvailable(), 0U);
  EXPECT_TRUE(port.Read(4).empty());
  EXPECT_FALSE(port.Configure({9600, 0, 8, 1}));
  // And it opens again on the same device.
  ASSERT_TRUE(port.Open(pty.device(), {9600, 0, 8, 1}));
  pty.Send({0x77});
  ASSERT_EQ(awaitBytes(port, 1), 1U);
  EXPECT_EQ(port.Read(1), Bytes{0x77});
}

TEST(QtSerialPort, MissingDeviceDoesNotOpen) {
  QtSerialPort port;
  EXPECT_FALSE(port.Open("/dev/velmora-no-such-device", {9600, 0, 8, 1}));
  EXPECT_FALSE(port.IsOpen());
  EXPECT_FALSE(port.ErrorText().empty());
}

}  // namespace
}  // namespace velmora
