// The whole link through a real serial device: velmora-board serves a pseudo-terminal in
// a child process and the host talks to it with QtSerialPort.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/qt_serial_port.h"
#include "formats/controller_types.h"
#include "formats/register_file.h"
#include "link/bootstrap.h"
#include "link/link.h"
#include "program_folder.h"
#include "recording_frontend.h"
#include "sim/board_process.h"

namespace velmora {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using Bytes = std::vector<uint8_t>;
using Args = std::vector<std::string>;
using TextLines = std::vector<std::string>;

const TextLines kConnectedLines = {
    "*Loader file Prepare",
    "*VelmoraKorda file Prepare",
    "*send 0 Byte + Loader + VelmoraCore",
    "*RECEIVE - MC-Identifier: D5",
    "*RECEIVE - LoaderACK 01 received",
    "*RECEIVE - VelmoraKorda ACK 03 received",
    "*VelmoraKorda successfully launched",
};

// Pseudo-random bytes that differ from block to block, so that a shifted or stale block
// shows.
Bytes Pattern(size_t count, uint32_t seed) {
  Bytes bytes(count);
  for (auto& byte : bytes) {
    seed = seed * 1103515245U + 12345U;
    byte = static_cast<uint8_t>(seed >> 16);
  }
  return bytes;
}

class PtyConnection : public ::testing::Test {
 public:
  // The board has said which device it serves, and ends cleanly on SIGTERM.
  void TearDown() override {
    link.reset();
    port.Close();
    if (!board.Running()) return;
    EXPECT_EQ(board.Stop(), 0);
    EXPECT_NE(board.ErrorOutput().find("TOLVANE board on "), std::string::npos);
    EXPECT_NE(board.ErrorOutput().find(" on " + board.DevicePath()), std::string::npos)
        << board.ErrorOutput();
  }

  // Starts velmora-board on the program folder copy and builds a link to its device.
  void StartBoard(const Args& arguments, int32_t timeout = 1000) {
    Args all = {"--home", home.path().string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::string error;
    ASSERT_TRUE(board.Start(VELMORA_BOARD_PROGRAM, all, milliseconds(5000), error)) << error;
    SetDefaultPreferences(settings, home.path());
    settings.communication.SetPort(board.DevicePath());
    settings.communication.baudRate = 115200;
    settings.communication.timeout = timeout;
    settings.communication.kline = arguments == Args{"--kline"} ? 1 : 0;
    image.InitImage();
    ControllerTypeTable types;
    LoadControllerTypes((home.path() / "mctypes.dat").string(), home.path(), types, log);
    ASSERT_GE(types.FindControllerType("TOLVANE"), 0);
    LoadRegisterFile(types.At(types.FindControllerType("TOLVANE")).registerFile, registers, log);
    log.List() = MessageList();
    link = std::make_unique<Link>(port, LinkContext{settings, image, selections, log, frontend,
                                                    registers, monitorArea, home.path()});
  }

  TextLines Lines() const {
    TextLines lines;
    for (int i = 0; i + 1 < log.List().Count(); ++i) lines.push_back(log.List().Entry(i));
    return lines;
  }

  // Writes a block to the board, forgets it on the host and reads it back.
  void RoundTrip(int32_t address, const Bytes& block) {
    const auto count = static_cast<int32_t>(block.size());
    image.StoreLoaded(address, block);
    ASSERT_EQ(link->monitor().Cmd_Write(address, count), 0);
    image.InitImage();
    ASSERT_EQ(link->monitor().Cmd_Read(address, count), 0);
    Bytes back(block.size());
    image.ReadBytes(address, back);
    EXPECT_EQ(back, block);
    EXPECT_TRUE(image.IsValid(address + count - 1));
  }

  test::ProgramFolderCopy home;
  Settings settings;
  MemoryImage image;
  SelectionList selections;
  MessageLog log;
  test::RecordingFrontend frontend;
  RegisterTable registers;
  MonitorArea monitorArea = kDefaultMonitorArea;
  BoardProcess board;
  QtSerialPort port;
  std::unique_ptr<Link> link;
};

TEST_F(PtyConnection, ConnectsMovesBlocksAndKeepsServingAcrossAReopenAndAReset) {
  ASSERT_NO_FATAL_FAILURE(StartBoard({}));
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(Lines(), kConnectedLines);
  EXPECT_EQ(monitorArea, (MonitorArea{0xE00024, 0xE002E7}));
  // Several buffers full each way: the port writes and reads a long block whole.
  RoundTrip(0x010000, Pattern(8192, 7));

  // The monitor still runs when the port is opened again: it answers without a bootstrap.
  link->ClosePort();
  ASSERT_TRUE(link->EnsurePortOpen());
  EXPECT_EQ(link->monitor().Cmd_reconnect(), 0);
  // A reset brings back the bootstrap loader.
  link->ClosePort();
  ASSERT_TRUE(board.Signal(SIGUSR1));
  std::this_thread::sleep_for(milliseconds(100));
  log.List() = MessageList();
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(Lines(), kConnectedLines);
  RoundTrip(0x010000, Pattern(128, 13));
}

TEST_F(PtyConnection, KLineEchoesAreConsumed) {
  ASSERT_NO_FATAL_FAILURE(StartBoard({"--kline"}));
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(Lines(), kConnectedLines);
  RoundTrip(0x020000, Pattern(1024, 9));
}

// velmora-board ends in the middle of a block read: the host sees the hang-up at once,
// says so and shows the box, instead of waiting out every time-out of the command.
TEST_F(PtyConnection, ABoardThatEndsMidTransferIsAHangUp) {
  ASSERT_NO_FATAL_FAILURE(StartBoard({"--line-rate", "9600"}, 6000));
  ASSERT_EQ(ConnectTarget(*link), 0);
  log.List() = MessageList();
  frontend.boxes.clear();  // the reset question
  const std::string device = board.DevicePath();
  std::thread pullThePlug([this] {
    std::this_thread::sleep_for(milliseconds(300));
    board.Signal(SIGKILL);
  });
  const auto start = Clock::now();
  // 16 KB take 17 s on the line; the time-outs of the read add up to 30 s.
  const int16_t status = link->monitor().Cmd_Read(0x010000, 0x4000);
  const auto elapsed = Clock::now() - start;
  pullThePlug.join();
  EXPECT_LT(status, 0);
  EXPECT_LT(elapsed, milliseconds(5000));
  EXPECT_EQ(Lines(), TextLines{"*ERROR: Port " + device + ": hung up, the device went away"});
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, kPortInUseMessage);
  EXPECT_FALSE(image.IsDefined(0x010000));
}

// Faults armed from velmora-board's command line reach the host.
struct FaultRow {
  const char* name;
  Args arguments;
  int32_t timeout;
  int16_t connect;  // the status of the connection
  size_t line;      // the evaluation line that shows the fault
  std::string text;
  std::function<void(PtyConnection&)> then = {};
};

// clang-format off
const FaultRow kFaultRows[] = {
    {"Silent", {"--silent"}, 150, -2, 3, "*ERROR: No ID Byte received"},
    {"ReplacedLoaderAck", {"--replace-output", "1:02"}, 1000, 0, 4,
     "*RECEIVE - LoaderACK ERROR: Incorrect LoaderAck received 02"},
    {"DroppedMonitorAck", {"--drop-output", "2"}, 200, -2, 5,
     "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)"},
    {"LineRate", {"--line-rate", "38400"}, 1000, 0, 6, kConnectedLines[6], [](PtyConnection& t) {
       // 2 + 5 + 1024 + 1 + 1 + 3 bytes of 10 bits take at least 269 ms at 38400 baud.
       t.image.StoreLoaded(0x010000, Pattern(1024, 12));
       const auto start = Clock::now();
       ASSERT_EQ(t.link->monitor().Cmd_Write(0x010000, 1024), 0);
       EXPECT_GE(Clock::now() - start, milliseconds(269));
       EXPECT_LT(Clock::now() - start, milliseconds(2000));
     }},
};
// clang-format on

class BoardFaultArguments : public PtyConnection, public ::testing::WithParamInterface<FaultRow> {};

TEST_P(BoardFaultArguments, ReachTheHost) {
  const FaultRow& row = GetParam();
  ASSERT_NO_FATAL_FAILURE(StartBoard(row.arguments, row.timeout));
  EXPECT_EQ(ConnectTarget(*link), row.connect);
  ASSERT_GT(Lines().size(), row.line);
  EXPECT_EQ(Lines()[row.line], row.text);
  if (row.then) row.then(*this);
}

INSTANTIATE_TEST_SUITE_P(Faults, BoardFaultArguments, ::testing::ValuesIn(kFaultRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(VelmoraBoardProgram, RefusesBadArgumentsWithItsExitStatus) {
  test::ProgramFolderCopy home;
  const std::string folder = home.path().string();
  const std::tuple<Args, int, std::string> rows[] = {
      {{"--no-such-option"}, 2, "unknown argument --no-such-option"},
      {{"--home", folder, "--type", "NOSUCHTYPE"}, 1, "Controller type NOSUCHTYPE not found"},
      {{"--replace-output", "3:1FF"}, 2, ""},
      {{"--delay-output", "x:10"}, 2, ""},
      {{"--drop-output"}, 2, ""},
      {{"--line-rate", "0"}, 2, ""},
  };
  for (const auto& [arguments, status, message] : rows) {
    SCOPED_TRACE(arguments.back());
    BoardProcess board;
    std::string error;
    EXPECT_FALSE(board.Start(VELMORA_BOARD_PROGRAM, arguments, milliseconds(5000), error));
    EXPECT_EQ(board.LastExitStatus(), status);
    EXPECT_NE(board.ErrorOutput().find(message), std::string::npos) << board.ErrorOutput();
  }
}

}  // namespace
}  // namespace velmora
