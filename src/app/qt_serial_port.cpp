#include "app/qt_serial_port.h"

#include <poll.h>
#ifdef __linux__
#include <linux/serial.h>
#include <sys/ioctl.h>
#endif

#include <QByteArray>
#include <QSerialPort>
#include <QString>
#include <algorithm>
#include <limits>

#include "link/device_diagnosis.h"

namespace velmora {

namespace {

using Clock = std::chrono::steady_clock;

QSerialPort::Parity parityOf(int32_t parity) {
  switch (parity) {
    case 1:
      return QSerialPort::OddParity;
    case 2:
      return QSerialPort::EvenParity;
    default:
      return QSerialPort::NoParity;
  }
}

int msecs(std::chrono::milliseconds timeout) {
  const auto count = std::clamp<std::chrono::milliseconds::rep>(timeout.count(), 0,
                                                                std::numeric_limits<int>::max());
  return static_cast<int>(count);
}

// A USB serial adapter holds received bytes for several milliseconds before it hands them
// on; every acknowledge of the protocol would wait for that. A device without the setting
// (a pseudo-terminal) refuses it and works as before.
void askForLowLatency([[maybe_unused]] qintptr handle) {
#ifdef __linux__
  serial_struct serial{};
  const int descriptor = static_cast<int>(handle);
  if (descriptor < 0 || ::ioctl(descriptor, TIOCGSERIAL, &serial) != 0) return;
  serial.flags |= ASYNC_LOW_LATENCY;
  ::ioctl(descriptor, TIOCSSERIAL, &serial);
#endif
}

}  // namespace

QtSerialPort::QtSerialPort() : port_(std::make_unique<QSerialPort>()) {}

QtSerialPort::~QtSerialPort() {
  Close();
}

bool QtSerialPort::Open(const std::string& device, const LineSettings& settings) {
  Close();
  // Open with settings every device takes, then apply the wanted ones: QSerialPort fails
  // the whole open when the device refuses one setting, and a pseudo-terminal refuses
  // some that mean nothing without a line.
  port_->setPortName(QString::fromStdString(device));
  port_->setBaudRate(QSerialPort::Baud9600);
  port_->setDataBits(QSerialPort::Data8);
  port_->setParity(QSerialPort::NoParity);
  port_->setStopBits(QSerialPort::OneStop);
  port_->setFlowControl(QSerialPort::NoFlowControl);
  fault_ = {};
  if (!port_->open(QIODevice::ReadWrite)) {
    fault_ = openFault(device);
    return false;
  }
  applySettings(settings);
  askForLowLatency(port_->handle());
  return true;
}

PortFault QtSerialPort::openFault(const std::string& device) const {
  const PortFault seen = DiagnoseDevice(device);
  if (seen.problem != PortProblem::None) return seen;
  switch (port_->error()) {
    case QSerialPort::PermissionError:
      // The device lets this process in, so what refused it is the lock another
      // program's port holds.
      return {PortProblem::InUse, {}};
    case QSerialPort::DeviceNotFoundError:
      return {PortProblem::NoSuchDevice, {}};
    default:
      return {PortProblem::Other, port_->errorString().toStdString()};
  }
}

bool QtSerialPort::hungUp() {
  if (fault_.problem == PortProblem::HungUp) return true;
  if (!port_->isOpen()) return false;
  // Qt reports a device that went away as a resource error once it has tried to read;
  // the system says so at once with a hang-up on the descriptor.
  bool gone = port_->error() == QSerialPort::ResourceError;
  if (!gone && port_->handle() >= 0) {
    pollfd descriptor{static_cast<int>(port_->handle()), POLLIN, 0};
    gone =
        poll(&descriptor, 1, 0) > 0 && (descriptor.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
  }
  if (gone) fault_ = {PortProblem::HungUp, {}};
  return gone;
}

bool QtSerialPort::applySettings(const LineSettings& settings) {
  bool ok = port_->setBaudRate(settings.baudRate);
  if (settings.dataBits >= 5 && settings.dataBits <= 8) {
    ok = port_->setDataBits(static_cast<QSerialPort::DataBits>(settings.dataBits)) && ok;
  } else {
    ok = false;
  }
  ok = port_->setParity(parityOf(settings.parity)) && ok;
  ok = port_->setStopBits(settings.stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop) &&
       ok;
  ok = port_->setFlowControl(QSerialPort::NoFlowControl) && ok;
  settingsRefused_ = !ok;
  // A refused setting leaves an error behind that says nothing about the data path.
  if (!ok) port_->clearError();
  return ok;
}

void QtSerialPort::Close() {
  SetReceiveNotification(false);
  if (port_->isOpen()) port_->close();
}

bool QtSerialPort::IsOpen() const {
  return port_->isOpen();
}

bool QtSerialPort::Configure(const LineSettings& settings) {
  if (!IsOpen()) return false;
  // As at opening, a device without a line keeps working with the settings it refused.
  applySettings(settings);
  return true;
}

bool QtSerialPort::Write(std::span<const uint8_t> bytes) {
  if (!IsOpen() || hungUp()) return false;
  if (bytes.empty()) return true;
  const auto size = static_cast<qint64>(bytes.size());
  return port_->write(reinterpret_cast<const char*>(bytes.data()), size) == size;
}

bool QtSerialPort::WaitForBytesWritten(std::chrono::milliseconds timeout) {
  if (!IsOpen()) return false;
  const auto deadline = Clock::now() + timeout;
  // Each wait returns after one chunk has gone to the device; a long block takes several.
  while (port_->bytesToWrite() > 0) {
    const auto remaining =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (remaining.count() <= 0) return false;
    if (!port_->waitForBytesWritten(msecs(remaining))) {
      return port_->bytesToWrite() == 0 && !hungUp();
    }
  }
  return true;
}

size_t QtSerialPort::BytesAvailable() {
  if (!IsOpen()) return 0;
  return static_cast<size_t>(port_->bytesAvailable());
}

std::vector<uint8_t> QtSerialPort::Read(size_t count) {
  if (!IsOpen() || count == 0) return {};
  const QByteArray data = port_->read(static_cast<qint64>(count));
  return std::vector<uint8_t>(data.begin(), data.end());
}

void QtSerialPort::DiscardInput() {
  if (!IsOpen()) return;
  // Drops what the device holds and what Qt has already taken from it.
  port_->clear(QSerialPort::Input);
}

void QtSerialPort::WaitForInput(std::chrono::milliseconds timeout) {
  if (!IsOpen() || hungUp()) return;
  // Waits for bytes beyond those already buffered even when some are: the link asks only
  // when it needs more than it has, and returning at once on a partly filled block would
  // spin a core for as long as the block takes on the line.
  if (port_->waitForReadyRead(msecs(timeout))) return;
  // A time-out is an answer here, not a fault of the device; a wait that ended early
  // may have been ended by the device going away.
  if (port_->error() == QSerialPort::TimeoutError) port_->clearError();
  hungUp();
}

void QtSerialPort::SetReceiveNotification(bool enabled) {
  if (!enabled) {
    if (readyRead_) QObject::disconnect(readyRead_);
    readyRead_ = {};
    return;
  }
  if (readyRead_) return;
  readyRead_ = QObject::connect(port_.get(), &QSerialPort::readyRead, port_.get(),
                                [this] { NotifyReceived(); });
  // Bytes that came in while the notification was off raise no further readyRead; hand
  // them over from the event loop as if they had just arrived.
  if (IsOpen() && port_->bytesAvailable() > 0) {
    QMetaObject::invokeMethod(
        port_.get(),
        [this] {
          if (readyRead_ && IsOpen() && port_->bytesAvailable() > 0) NotifyReceived();
        },
        Qt::QueuedConnection);
  }
}

std::string QtSerialPort::ErrorText() const {
  return port_->errorString().toStdString();
}

}  // namespace velmora
