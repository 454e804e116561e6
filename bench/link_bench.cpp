// Download speed of the monitor's block write (Cmd_Write, 1024-byte blocks, 256 KB).
//
//   link_bench [--home DIR]
//
// (a) Over the in-process virtual port with the line-rate model at 115200 baud: payload
//     bytes per second and that figure against the 11520 bytes/s the line carries. Each
//     block also costs 12 bytes of protocol on the half-duplex line (command, A_ACK1,
//     3 address and 2 count bytes, A_ACK2, the checksum command, and A_ACK1, checksum and
//     A_ACK2 back), so 1024 / 1036 = 98.8 % is the most a block can reach; the rest of
//     the gap is the host's time between the bytes.
// (b) Over a pseudo-terminal to velmora-board (no line model) through QtSerialPort: what a
//     block costs the host, the board process and the pseudo-terminal together.
//
// Prints the figures and never fails.
#include <QCoreApplication>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "bench_support.h"
#include "app/qt_serial_port.h"
#include "config/settings.h"
#include "core/frontend.h"
#include "core/image_ops.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/controller_types.h"
#include "formats/register_file.h"
#include "formats/register_table.h"
#include "link/wait_precision.h"
#include "link/bootstrap.h"
#include "link/link.h"
#include "session/session.h"
#include "sim/board.h"
#include "sim/board_process.h"
#include "sim/board_setup.h"
#include "sim/virtual_port.h"

namespace {

using Clock = std::chrono::steady_clock;
using velmora::Link;

constexpr int32_t kBaud = 115200;
constexpr int32_t kBlock = 1024;
constexpr int32_t kTotal = 256 * 1024;
constexpr int32_t kStart = 0x000000;
// Line bytes of one block beyond its data (see the top of the file).
constexpr int32_t kProtocolBytes = 12;

// What a link needs around it, as a session would hold it.
struct Host {
  explicit Host(const std::filesystem::path& home) : folder(home) {
    velmora::SetDefaultPreferences(settings, home);
    settings.communication.baudRate = kBaud;
    settings.communication.timeout = 2000;
    image.InitImage();
    velmora::ControllerTypeTable types;
    velmora::LoadControllerTypes((home / "mctypes.dat").string(), home, types, log);
    const int index = types.FindControllerType("TOLVANE");
    if (index >= 0) velmora::LoadRegisterFile(types.At(index).registerFile, registers, log);
    // A block pattern that is not all one value, so the checksums mean something.
    std::vector<uint8_t> bytes(kTotal);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 31 + (i >> 10));
    image.StoreLoaded(kStart, bytes);
  }

  std::unique_ptr<Link> MakeLink(velmora::SerialPort& port) {
    return std::make_unique<Link>(
        port, velmora::LinkContext{settings, image, selections, log, frontend, registers,
                                   monitorArea, folder});
  }

  std::filesystem::path folder;
  velmora::Settings settings;
  velmora::MemoryImage image;
  velmora::SelectionList selections;
  velmora::MessageLog log;
  velmora::bench::QuietFrontend frontend;
  velmora::RegisterTable registers;
  velmora::MonitorArea monitorArea = velmora::kDefaultMonitorArea;
};

struct Download {
  bool ok = false;
  double seconds = 0;
  int failures = 0;
};

Download download(Link& link) {
  Download result;
  if (velmora::ConnectTarget(link) != 0) return result;
  const auto start = Clock::now();
  for (int32_t at = kStart; at < kStart + kTotal; at += kBlock) {
    if (link.monitor().Cmd_Write(at, kBlock) != 0) ++result.failures;
  }
  result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  result.ok = true;
  return result;
}

void virtualPortRun(const std::filesystem::path& home, bool lineRate) {
  Host host(home);
  host.settings.communication.SetPort("virtual");
  auto config = velmora::LoadBoardConfig(home, "TOLVANE", {}, host.log);
  if (!config) {
    std::printf("  no TOLVANE board in %s\n", home.c_str());
    return;
  }
  velmora::Board board(*config);
  velmora::VirtualPort port(board);
  port.SetLineRateModel(lineRate);
  auto link = host.MakeLink(port);
  const Download result = download(*link);
  if (!result.ok) {
    std::printf("  the connection failed\n");
    return;
  }
  const int blocks = kTotal / kBlock;
  const double perBlockUs = result.seconds * 1e6 / blocks;
  const double rate = kTotal / result.seconds;
  if (!lineRate) {
    std::printf("  without the line model: %.1f us per block (the host's own time)%s\n", perBlockUs,
                result.failures ? " WITH FAILED BLOCKS" : "");
    return;
  }
  const double lineRateBytes = kBaud / 10.0;
  const double wireUs = (kBlock + kProtocolBytes) * 1e6 / lineRateBytes;
  std::printf("  %d blocks in %.3f s (%d failed)\n", blocks, result.seconds, result.failures);
  std::printf("  payload: %.0f bytes/s = %.2f %% of %.0f bytes/s\n", rate,
              100.0 * rate / lineRateBytes, lineRateBytes);
  std::printf(
      "  per block: %.1f us, of which %.1f us on the wire (%d + %d bytes, at most "
      "%.2f %%) and %.1f us between bytes\n",
      perBlockUs, wireUs, kBlock, kProtocolBytes, 100.0 * kBlock / (kBlock + kProtocolBytes),
      perBlockUs - wireUs);
}

void ptyRun(const std::filesystem::path& home) {
  velmora::BoardProcess process;
  std::string error;
  if (!process.Start(VELMORA_BOARD_PROGRAM, {"--home", home.string()}, std::chrono::seconds(5),
                     error)) {
    std::printf("  velmora-board did not start: %s\n", error.c_str());
    return;
  }
  Host host(home);
  host.settings.communication.SetPort(process.DevicePath());
  velmora::QtSerialPort port;
  auto link = host.MakeLink(port);
  const Download result = download(*link);
  link.reset();
  port.Close();
  process.Stop();
  if (!result.ok) {
    std::printf("  the connection over %s failed\n", process.DevicePath().c_str());
    return;
  }
  const int blocks = kTotal / kBlock;
  std::printf("  %d blocks in %.3f s (%d failed): %.1f us per block, %.0f bytes/s\n", blocks,
              result.seconds, result.failures, result.seconds * 1e6 / blocks,
              kTotal / result.seconds);
}

}  // namespace

int main(int argc, char** argv) {
  velmora::UseFineTimerSlack();  // as the programs do
  std::string homeOption;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) homeOption = argv[++i];
  }
  QCoreApplication application(argc, argv);
  const auto home = velmora::ProgramFolder(homeOption, argv[0]);

  std::printf("link_bench: 256 KB as 1024-byte Cmd_Write blocks, program folder %s\n",
              home.c_str());
  std::printf("(a) virtual port, line model at %d baud:\n", kBaud);
  virtualPortRun(home, true);
  virtualPortRun(home, false);
  std::printf("(b) pseudo-terminal to velmora-board, no line model, QtSerialPort:\n");
  ptyRun(home);
  return 0;
}
