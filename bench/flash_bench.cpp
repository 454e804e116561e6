// Programming speed of the on-chip flash through ProgramSelections.
//
//   flash_bench [--home DIR] [--kb N] [--timer-slack NS]
//
// A BRASK board (256 KB of IFLASH at C00000, bursts of 80 hex) in process behind the
// virtual port with the line-rate model at 115200 baud: 11520 bytes/s cross the line, in
// either direction, one direction at a time. The driver is loaded first; then the whole
// flash (or the first N KB) is programmed with `_program` (no erase: the board starts
// blank) and timed.
//
// Every burst costs more than its payload: the block write of the staged buffer with its
// checksum exchange, the driver call and its reply, and R15 read back through the context
// pointer with two block reads. Those bytes are counted on the wire (what the board
// received and what the host read), and payload / all bytes per burst is the most the
// protocol allows at this burst size. The measured rate is printed beside that bound.
//
// What keeps the measured rate below the bound is the host's time between the bytes: the
// link sends most bytes one at a time and waits for each to leave, and waits for every
// acknowledge, so a burst holds dozens of waits, and each costs the sleep's wake-up
// latency on top of the line time. The waits are counted too, and the process's timer
// slack (Linux: 50 us by default, which each sleep may overrun by) can be set with
// --timer-slack to show how much of the gap it accounts for.
//
// Prints the figures and never fails.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#ifdef __linux__
#include <sys/prctl.h>
#endif

#include "bench_support.h"
#include "commands/flash_operations.h"
#include "config/settings.h"
#include "core/frontend.h"
#include "core/image_ops.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/controller_types.h"
#include "formats/memory_file.h"
#include "formats/register_file.h"
#include "formats/register_table.h"
#include "link/bootstrap.h"
#include "link/link.h"
#include "link/wait_precision.h"
#include "sim/board.h"
#include "sim/board_setup.h"
#include "sim/virtual_port.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kType = "BRASK";
constexpr int32_t kBaud = 115200;
constexpr double kLineBytesPerSecond = kBaud / 10.0;  // 8N1: ten bits a byte

// Passes everything on to the virtual port and counts the bytes the host reads (what the
// board sent, as it arrives at the host) and the host's waits on the line.
class CountingPort : public velmora::SerialPort {
 public:
  explicit CountingPort(velmora::SerialPort& inner) : inner_(inner) {
    inner_.SetReceivedHandler([this] { NotifyReceived(); });
  }
  size_t bytesRead() const { return bytesRead_; }
  size_t waits() const { return waits_; }

  bool Open(const std::string& device, const velmora::LineSettings& settings) override {
    return inner_.Open(device, settings);
  }
  void Close() override { inner_.Close(); }
  bool IsOpen() const override { return inner_.IsOpen(); }
  bool Configure(const velmora::LineSettings& settings) override {
    return inner_.Configure(settings);
  }
  bool Write(std::span<const uint8_t> bytes) override { return inner_.Write(bytes); }
  bool WaitForBytesWritten(std::chrono::milliseconds timeout) override {
    ++waits_;
    return inner_.WaitForBytesWritten(timeout);
  }
  size_t BytesAvailable() override { return inner_.BytesAvailable(); }
  std::vector<uint8_t> Read(size_t count) override {
    auto bytes = inner_.Read(count);
    bytesRead_ += bytes.size();
    return bytes;
  }
  void DiscardInput() override { inner_.DiscardInput(); }
  void WaitForInput(std::chrono::milliseconds timeout) override {
    ++waits_;
    inner_.WaitForInput(timeout);
  }
  void SetReceiveNotification(bool enabled) override { inner_.SetReceiveNotification(enabled); }

 private:
  velmora::SerialPort& inner_;
  size_t bytesRead_ = 0;
  size_t waits_ = 0;
};

// The process's timer slack in nanoseconds, -1 where it cannot be read.
long timerSlack() {
#ifdef __linux__
  return prctl(PR_GET_TIMERSLACK, 0, 0, 0, 0);
#else
  return -1;
#endif
}

int run(const std::filesystem::path& home, int32_t kilobytes) {
  velmora::Settings settings;
  velmora::SetDefaultPreferences(settings, home);
  settings.communication.SetPort("virtual");
  settings.communication.baudRate = kBaud;
  settings.communication.timeout = 2000;
  settings.target.mcType = kType;
  velmora::MemoryImage image;
  image.InitImage();
  velmora::SelectionList selections;
  velmora::MessageLog log;
  velmora::bench::QuietFrontend frontend;
  velmora::RegisterTable registers;
  velmora::MonitorArea monitorArea = velmora::kDefaultMonitorArea;

  velmora::ControllerTypeTable types;
  velmora::LoadControllerTypes((home / "mctypes.dat").string(), home, types, log);
  const int type = types.FindControllerType(kType);
  if (type < 0) {
    std::printf("  no %s in %s\n", kType, (home / "mctypes.dat").c_str());
    return 0;
  }
  velmora::LoadRegisterFile(types.At(type).registerFile, registers, log);
  velmora::LoadMemoryFile(types.At(type).memoryFile, settings.target.units, log);
  auto config = velmora::LoadBoardConfig(home, kType, {}, log);
  if (!config) {
    std::printf("  no %s board in %s\n", kType, home.c_str());
    return 0;
  }
  velmora::Board board(*config);
  velmora::VirtualPort virtualPort(board);
  virtualPort.SetLineRateModel(true);
  CountingPort port(virtualPort);
  velmora::Link link(port, velmora::LinkContext{settings, image, selections, log, frontend,
                                                registers, monitorArea, home});

  const int unitIndex = velmora::FindMemoryUnit(settings.target.units, "IFLASH");
  if (unitIndex < 0) {
    std::printf("  %s has no IFLASH unit\n", kType);
    return 0;
  }
  const velmora::MemoryUnit& unit = settings.target.units[static_cast<size_t>(unitIndex)];
  int32_t flashLength = 0;
  for (const auto& section : unit.sections) {
    for (const auto& region : section.regions) flashLength += region.length;
  }
  const int32_t start = unit.sections.front().regions.front().startAddress;
  const int32_t length = kilobytes > 0 ? std::min(kilobytes * 1024, flashLength) : flashLength;
  const int32_t burst = unit.burstSize;

  if (velmora::ConnectTarget(link) != 0) {
    std::printf("  the connection failed\n");
    return 0;
  }
  // The driver first, so that only bursts cross the line while the clock runs.
  if (velmora::EnsureDriver(link, unitIndex, "*Program: loading driver ") != 0) {
    std::printf("  the driver could not be loaded\n");
    return 0;
  }

  std::vector<uint8_t> data(static_cast<size_t>(length));
  uint32_t seed = 0x2545F491;
  for (auto& byte : data) {
    seed = seed * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(seed >> 24);
  }
  image.StoreLoaded(start, data);
  selections.ClearSelections();
  if (!selections.AddSelection(start, start + length - 1)) return 0;

  std::printf("flash_bench: %s %s at %06X, %d bytes in bursts of %d (%X hex), program folder %s\n",
              kType, unit.name.c_str(), start, length, burst, burst, home.c_str());
  std::printf("  virtual port with the line model at %d baud (%.0f bytes/s)\n", kBaud,
              kLineBytesPerSecond);

  std::printf("  timer slack %ld ns\n", timerSlack());

  const size_t hostBefore = static_cast<size_t>(board.ReceivedCount());
  const size_t targetBefore = port.bytesRead();
  const size_t waitsBefore = port.waits();
  const auto begin = Clock::now();
  const int16_t status = velmora::ProgramSelections(link, false);
  const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  const size_t hostBytes = static_cast<size_t>(board.ReceivedCount()) - hostBefore;
  const size_t targetBytes = port.bytesRead() - targetBefore;
  const size_t waits = port.waits() - waitsBefore;

  std::vector<uint8_t> onBoard(data.size());
  board.memory().ReadBytes(start, onBoard);
  size_t differing = 0;
  for (size_t i = 0; i < data.size(); ++i) differing += onBoard[i] != data[i] ? 1 : 0;

  const int32_t bursts = (length + burst - 1) / burst;
  const double rate = length / seconds;
  const double measured = 100.0 * rate / kLineBytesPerSecond;
  const double hostPerBurst = static_cast<double>(hostBytes) / bursts;
  const double targetPerBurst = static_cast<double>(targetBytes) / bursts;
  const double wirePerBurst = hostPerBurst + targetPerBurst;
  const double bound = 100.0 * burst / wirePerBurst;
  const bool exact = hostBytes % static_cast<size_t>(bursts) == 0 &&
                     targetBytes % static_cast<size_t>(bursts) == 0;

  std::printf(
      "  ProgramSelections: status %d, %d bursts in %.3f s, %zu bytes differ on the board\n",
      status, bursts, seconds, differing);
  std::printf("  on the wire: %zu bytes from the host, %zu from the board\n", hostBytes,
              targetBytes);
  std::printf("  per burst: %.2f + %.2f = %.2f bytes%s\n", hostPerBurst, targetPerBurst,
              wirePerBurst, exact ? "" : " (not the same for every burst)");
  std::printf("  payload: %.0f bytes/s = %.2f %% of the line rate\n", rate, measured);
  std::printf("  bound for bursts of %d: %d / %.2f = %.2f %%; measured is %.2f points below it\n",
              burst, burst, wirePerBurst, bound, bound - measured);
  const double burstUs = seconds * 1e6 / bursts;
  const double wireUs = wirePerBurst * 1e6 / kLineBytesPerSecond;
  const double waitsPerBurst = static_cast<double>(waits) / bursts;
  std::printf(
      "  per burst: %.1f us, of which %.1f us on the wire; %.1f waits, %.1f us beyond the\n"
      "  wire time per wait\n",
      burstUs, wireUs, waitsPerBurst, (burstUs - wireUs) / waitsPerBurst);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  velmora::UseFineTimerSlack();  // as the programs do; --timer-slack overrides it
  std::string homeOption;
  int32_t kilobytes = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) {
      homeOption = argv[++i];
    } else if (std::strcmp(argv[i], "--kb") == 0 && i + 1 < argc) {
      kilobytes = std::atoi(argv[++i]);
    } else if (std::strcmp(argv[i], "--timer-slack") == 0 && i + 1 < argc) {
      const long slack = std::atol(argv[++i]);
#ifdef __linux__
      if (slack > 0) prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(slack), 0, 0, 0);
#else
      (void)slack;
#endif
    }
  }
  return run(velmora::bench::ProgramFolder(homeOption, argv[0]), kilobytes);
}
