// The target link: the serial port and everything that crosses it, with the state of the
// connection. Operations of the link are in bootstrap.h, channel_switch.h and
// unsolicited_bytes.h; they write their own message lines.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "config/settings.h"
#include "core/image_ops.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/register_table.h"
#include "link/monitor_protocol.h"
#include "link/register_access.h"
#include "link/serial_port.h"
#include "link/target_state.h"
#include "link/transport.h"

namespace velmora {

class Frontend;

// What one bootstrap connection keeps between its steps.
struct BootstrapState {
  std::vector<uint8_t> loaderStream;
  std::vector<uint8_t> monitorStream;
  int16_t idByte = -1;
  int16_t loaderAck = -1;
  int16_t monitorAck = -1;
};

// The parts of a session the link works on.
struct LinkContext {
  Settings& settings;
  MemoryImage& image;
  SelectionList& selections;
  MessageLog& log;
  Frontend& frontend;
  const RegisterTable& registers;
  MonitorArea& monitorArea;
  std::filesystem::path programFolder;
};

class Link {
 public:
  Link(SerialPort& port, LinkContext context);
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  SerialPort& port() { return port_; }
  Transport& transport() { return transport_; }
  MonitorProtocol& monitor() { return monitor_; }
  RegisterAccess& registerAccess() { return registerAccess_; }
  LinkContext& context() { return context_; }

  TargetState state() const { return state_; }
  void SetState(TargetState state);

  // Opens the port with the settings when it is closed; false (with the port-in-use box)
  // when it cannot be opened.
  bool EnsurePortOpen();
  void ClosePort();
  // Re-applies the line settings to an open port.
  bool ApplyLineSettings();
  // The line settings the port was last opened or configured with.
  const LineSettings& currentLineSettings() const { return lineSettings_; }
  // Every memory unit's driver counts as no longer in target RAM.
  void ForgetDrivers();
  // Between exchanges: waits up to maxWait for bytes (not at all when some are already
  // buffered) and hands what arrived to the port's received-byte handler, so that a
  // started program's output and a break are seen while nothing else runs. Does nothing
  // while the port is closed or an exchange is open (its bytes are the exchange's).
  void ServeUnsolicited(std::chrono::milliseconds maxWait);

  BootstrapState boot;
  // Where the monitor is entered at a break; follows the monitor area.
  int32_t breakEntry = kDefaultMonitorArea.start;

  // Hooks for the layers above: after a connection succeeded (a reconnect only finds a
  // running monitor again and initialises nothing), and when
  // the monitor regains control at a break (with the break address). A break hook
  // returns true when it has dealt with the break.
  std::function<void()> afterConnection;
  std::function<bool(int32_t breakAddress)> onBreak;
  // The user has confirmed that the board was reset (the virtual board follows it).
  std::function<void()> onResetConfirmed;
  // The address the disassembly shows after a break.
  int32_t currentAddress = -1;

 private:
  SerialPort& port_;
  LinkContext context_;
  Transport transport_;
  MonitorProtocol monitor_;
  RegisterAccess registerAccess_;
  TargetState state_ = TargetState::NotConnected;
  LineSettings lineSettings_;
};

LineSettings LineSettingsOf(const CommunicationSettings& settings);

}  // namespace velmora
