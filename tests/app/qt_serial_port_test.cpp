// QtSerialPort on a bare pseudo-terminal pair: the test plays the far end of the line on
// the master side, so that line settings, discarded input and the received-byte
// notification can be checked. The data path is tested through velmora-board.
#include "app/qt_serial_port.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "temp_folder.h"

namespace velmora {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using Bytes = std::vector<uint8_t>;

class QtSerialPortOnPty : public ::testing::Test {
 protected:
  void SetUp() override {
    master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    device = ptsname(master);
    ASSERT_TRUE(port.Open(device, {115200, 0, 8, 1})) << port.ErrorText();
  }
  void TearDown() override {
    port.Close();
    if (master >= 0) close(master);
  }

  void Send(const Bytes& bytes) const {
    ASSERT_EQ(write(master, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // What the port has sent, once count bytes are there or a second has passed.
  Bytes Take(size_t count) const {
    Bytes bytes;
    pollfd pollFd{master, POLLIN, 0};
    for (const auto end = Clock::now() + milliseconds(1000);
         bytes.size() < count && Clock::now() < end;) {
      uint8_t buffer[256];
      const ssize_t got = poll(&pollFd, 1, 50) > 0 ? read(master, buffer, sizeof buffer) : 0;
      if (got > 0) bytes.insert(bytes.end(), buffer, buffer + got);
    }
    return bytes;
  }
  tcflag_t DeviceFlags(speed_t speed) const {
    termios tio{};
    EXPECT_EQ(tcgetattr(master, &tio), 0);
    EXPECT_EQ(cfgetospeed(&tio), speed);
    return tio.c_cflag;
  }

  int master = -1;
  std::string device;
  QtSerialPort port;
};

TEST_F(QtSerialPortOnPty, LineSettingsReachTheDeviceAsFarAsItTakesThem) {
  ASSERT_TRUE(port.Configure({57600, 0, 8, 2}));
  EXPECT_FALSE(port.LastSettingsRefused());
  EXPECT_EQ(DeviceFlags(B57600) & (CSIZE | PARENB | CSTOPB), static_cast<tcflag_t>(CS8 | CSTOPB));
  // A pseudo-terminal carries 8 bits without parity: 7 bits, even parity and 4 bits are
  // refused, the rest is applied and the port stays usable, also when opened so.
  EXPECT_TRUE(port.Configure({19200, 2, 7, 1}));
  EXPECT_TRUE(port.LastSettingsRefused());
  EXPECT_EQ(DeviceFlags(B19200) & CSTOPB, 0U);
  EXPECT_TRUE(port.Configure({9600, 0, 4, 1}));
  EXPECT_TRUE(port.LastSettingsRefused());
  port.Close();
  ASSERT_TRUE(port.Open(device, {38400, 1, 7, 2}));
  EXPECT_TRUE(port.LastSettingsRefused());
  EXPECT_NE(DeviceFlags(B38400) & CSTOPB, 0U);
  ASSERT_TRUE(port.Write(Bytes{0x5A}));
  EXPECT_TRUE(port.WaitForBytesWritten(milliseconds(1000)));
  EXPECT_EQ(Take(1), Bytes{0x5A});
}

TEST_F(QtSerialPortOnPty, ALongBlockLeavesWholeAndDiscardDropsWhatHasComeIn) {
  Bytes block(5000);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<uint8_t>(i * 7);
  ASSERT_TRUE(port.Write(block));
  Bytes received;  // the far end reads while the port drains its buffer into the device
  std::thread reader([&] { received = Take(block.size()); });
  EXPECT_TRUE(port.WaitForBytesWritten(milliseconds(2000)));
  reader.join();
  EXPECT_EQ(received, block);

  Send({1, 2, 3});
  port.WaitForInput(milliseconds(100));  // taken by the port
  Send({4, 5});                          // still in the device
  std::this_thread::sleep_for(milliseconds(50));
  port.DiscardInput();
  port.WaitForInput(milliseconds(50));
  EXPECT_EQ(port.BytesAvailable(), 0U);
}

void RunEventLoop(milliseconds span, const std::function<bool()>& done) {
  for (const auto end = Clock::now() + span; Clock::now() < end && !done();) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    std::this_thread::sleep_for(milliseconds(1));
  }
}

TEST_F(QtSerialPortOnPty, ReceivedNotificationRunsOnlyWhileEnabled) {
  int calls = 0;
  port.SetReceivedHandler([&] { ++calls; });
  port.SetReceiveNotification(true);
  Send({0x10});
  RunEventLoop(milliseconds(2000), [&] { return calls > 0; });
  EXPECT_GT(calls, 0);
  EXPECT_EQ(port.Read(1), Bytes{0x10});

  port.SetReceiveNotification(false);
  calls = 0;
  Send({0x20});
  RunEventLoop(milliseconds(150), [] { return false; });
  EXPECT_EQ(calls, 0);
  // Switched on again with a byte waiting: the handler hears of it from the event loop.
  port.SetReceiveNotification(true);
  EXPECT_EQ(calls, 0);
  RunEventLoop(milliseconds(2000), [&] { return calls > 0; });
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(port.Read(1), Bytes{0x20});
}

// A port that would not open says why, from what the system shows of the device.
TEST(QtSerialPortOpen, SaysWhyTheDeviceWouldNotOpen) {
  test::TempFolder folder;
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
  const std::string terminal = ptsname(master);
  QtSerialPort holder;  // another program's port
  ASSERT_TRUE(holder.Open(terminal, {9600, 0, 8, 1}));
  const std::pair<std::string, PortProblem> kDevices[] = {
      {folder.File("ttyUSB9"), PortProblem::NoSuchDevice},
      {folder.path().string(), PortProblem::NotSerialDevice},
      {folder.Write("plain", "not a device"), PortProblem::NotSerialDevice},
      {terminal, PortProblem::InUse},
  };
  for (const auto& [device, problem] : kDevices) {
    SCOPED_TRACE(device);
    QtSerialPort port;
    EXPECT_FALSE(port.Open(device, {9600, 0, 8, 1}));
    EXPECT_EQ(port.Fault().problem, problem);
  }
  holder.Close();
  QtSerialPort port;
  EXPECT_TRUE(port.Open(terminal, {9600, 0, 8, 1}));
  EXPECT_EQ(port.Fault().problem, PortProblem::None);
  close(master);
}

// The far end goes away (the board's pseudo-terminal closes, an adapter is pulled): the
// wait returns and the port says it hung up, rather than looking like a silent line.
TEST_F(QtSerialPortOnPty, AFarEndThatGoesAwayIsAHangUp) {
  EXPECT_EQ(port.Fault().problem, PortProblem::None);
  close(master);
  master = -1;
  const auto start = Clock::now();
  for (int i = 0; i < 10 && port.Fault().problem == PortProblem::None; ++i) {
    port.WaitForInput(milliseconds(3000));
  }
  EXPECT_LT(Clock::now() - start, milliseconds(15000));  // ten silent waits take 30 s
  EXPECT_EQ(port.Fault().problem, PortProblem::HungUp);
  EXPECT_FALSE(port.Write(Bytes{0x01}) && port.WaitForBytesWritten(milliseconds(100)));
}

}  // namespace
}  // namespace velmora
