// The whole link through a real serial device: velmora-board serves a pseudo-terminal in
// a child process and the host talks to it with QtSerialPort.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/qt_serial_port.h"
#include "config/settings.h"
#include "core/image_ops.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/controller_types.h"
#include "formats/register_file.h"
#include "formats/register_table.h"
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

const std::vector<std::string> kConnectedLines = {
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
Bytes pattern(size_t count, uint32_t seed) {
  Bytes bytes(count);
  uint32_t state = seed;
  for (auto& byte : bytes) {
    state = state * 1103515245U + 12345U;
    byte = static_cast<uint8_t>(state >> 16);
  }
  return bytes;
}

class PtyConnection : public ::testing::Test {
 protected:
  void TearDown() override {
    link.reset();
    port.Close();
    board.Stop();
  }

  // Starts velmora-board on the program folder copy with the extra arguments and builds a
  // link to the device it names.
  void StartBoard(const std::vector<std::string>& arguments, bool kline = false,
                  int32_t timeout = 1000) {
    std::vector<std::string> all = {"--home", home.path().string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::string error;
    ASSERT_TRUE(board.Start(VELMORA_BOARD_PROGRAM, all, milliseconds(5000), error)) << error;
    ASSERT_EQ(board.DevicePath().rfind("/dev/", 0), 0U) << board.DevicePath();

    SetDefaultPreferences(settings, home.path());
    settings.communication.SetPort(board.DevicePath());
    settings.communication.baudRate = 115200;
    settings.communication.timeout = timeout;
    settings.communication.kline = kline ? 1 : 0;
    image.InitImage();
    ControllerTypeTable types;
    LoadControllerTypes((home.path() / "mctypes.dat").string(), home.path(), types, log);
    const int index = types.FindControllerType("TOLVANE");
    ASSERT_GE(index, 0);
    LoadRegisterFile(types.At(index).registerFile, registers, log);
    link = std::make_unique<Link>(port, LinkContext{settings, image, selections, log, frontend,
                                                    registers, monitorArea, home.path()});
  }

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (int i = 0; i + 1 < log.List().Count(); ++i) lines.push_back(log.List().Entry(i));
    return lines;
  }

  void ClearLines() { log.List() = MessageList(); }

  // Writes a block to the board, forgets it on the host and reads it back.
  void RoundTrip(int32_t address, const Bytes& block) {
    image.StoreLoaded(address, block);
    ASSERT_EQ(link->monitor().Cmd_Write(address, static_cast<int32_t>(block.size())), 0);
    EXPECT_TRUE(image.IsValid(address));
    image.InitImage();
    ASSERT_EQ(link->monitor().Cmd_Read(address, static_cast<int32_t>(block.size())), 0);
    Bytes back(block.size());
    image.ReadBytes(address, back);
    EXPECT_EQ(back, block);
    EXPECT_TRUE(image.IsValid(address));
    EXPECT_TRUE(image.IsValid(address + static_cast<int32_t>(block.size()) - 1));
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

TEST_F(PtyConnection, BootstrapSequenceBringsTheMonitorUp) {
  StartBoard({});
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(Lines(), kConnectedLines);
  EXPECT_TRUE(port.IsOpen());
  EXPECT_EQ(monitorArea, (MonitorArea{0xE00024, 0xE002E7}));
  EXPECT_TRUE(image.IsProtected(0xE00024));
  EXPECT_EQ(selections.Count(), 0);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, "Please reset your Hardware NOW !");
}

TEST_F(PtyConnection, BlockOf1024BytesGoesThereAndBack) {
  StartBoard({});
  ASSERT_EQ(ConnectTarget(*link), 0);
  RoundTrip(0x010000, pattern(1024, 7));
  // A second block right behind it: the board keeps both, the first is not overwritten.
  RoundTrip(0x010400, pattern(1024, 8));
  image.InitImage();
  ASSERT_EQ(link->monitor().Cmd_Read(0x010000, 2048), 0);
  Bytes both(2048);
  image.ReadBytes(0x010000, both);
  Bytes expected = pattern(1024, 7);
  const Bytes second = pattern(1024, 8);
  expected.insert(expected.end(), second.begin(), second.end());
  EXPECT_EQ(both, expected);
}

TEST_F(PtyConnection, KLineEchoesAreConsumed) {
  StartBoard({"--kline"}, true);
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(Lines(), kConnectedLines);
  // Every command byte comes back as an echo before the answer; a block survives that.
  RoundTrip(0x020000, pattern(1024, 9));
}

TEST_F(PtyConnection, BoardKeepsServingWhenThePortIsOpenedAgain) {
  StartBoard({});
  ASSERT_EQ(ConnectTarget(*link), 0);
  link->ClosePort();
  ASSERT_FALSE(port.IsOpen());
  ASSERT_TRUE(link->EnsurePortOpen());
  // The monitor still runs: it answers without a new bootstrap.
  EXPECT_EQ(link->monitor().Cmd_reconnect(), 0);
  RoundTrip(0x010000, pattern(256, 10));
}

TEST_F(PtyConnection, ResetSignalBringsBackTheBootstrapLoader) {
  StartBoard({});
  ASSERT_EQ(ConnectTarget(*link), 0);
  link->ClosePort();
  ASSERT_TRUE(board.Signal(SIGUSR1));
  // The board takes the signal when it next wakes, which is at once; give it ample time.
  std::this_thread::sleep_for(milliseconds(100));
  ClearLines();
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(Lines(), kConnectedLines);
  RoundTrip(0x010000, pattern(128, 13));
}

TEST_F(PtyConnection, SilentBoardGivesEachErrorLine) {
  StartBoard({"--silent"}, false, 150);
  EXPECT_EQ(ConnectTarget(*link), -2);
  EXPECT_EQ(link->state(), TargetState::NotConnected);
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[3], "*ERROR: No ID Byte received");
  EXPECT_EQ(lines[4], "*ERROR: No Loader_ACK Byte received (VelmoraKordaCore not loaded)");
  EXPECT_EQ(lines[5], "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)");
}

TEST_F(PtyConnection, ReplacedOutputByteReachesTheHost) {
  // Byte 1 is the loader's acknowledge.
  StartBoard({"--replace-output", "1:02"});
  EXPECT_EQ(ConnectTarget(*link), 0);
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), kConnectedLines.size());
  EXPECT_EQ(lines[4], "*RECEIVE - LoaderACK ERROR: Incorrect LoaderAck received 02");
}

TEST_F(PtyConnection, DroppedOutputByteIsMissed) {
  // Byte 2 is the monitor's acknowledge.
  StartBoard({"--drop-output", "2"}, false, 200);
  EXPECT_EQ(ConnectTarget(*link), -2);
  EXPECT_EQ(Lines().back(), "*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)");
}

TEST_F(PtyConnection, BadChecksumFailsTheWrite) {
  StartBoard({"--bad-checksum"});
  ASSERT_EQ(ConnectTarget(*link), 0);
  const Bytes block = pattern(64, 11);
  image.StoreLoaded(0x010000, block);
  EXPECT_EQ(link->monitor().Cmd_Write(0x010000, 64), monitor_status::kChecksum);
  EXPECT_FALSE(image.IsValid(0x010000));
  // Only the first checksum was wrong.
  EXPECT_EQ(link->monitor().Cmd_Write(0x010000, 64), 0);
}

TEST_F(PtyConnection, ShortReadFailsTheRead) {
  StartBoard({"--short-read", "10"}, false, 200);
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_LT(link->monitor().Cmd_Read(0x010000, 100), 0);
  EXPECT_FALSE(image.IsDefined(0x010000));
  EXPECT_FALSE(image.IsValid(0x010000));
  EXPECT_FALSE(image.IsValid(0x010000 + 99));
}

TEST_F(PtyConnection, DelayedOutputByteArrivesLate) {
  StartBoard({"--delay-output", "0:300"});
  const auto start = Clock::now();
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_GE(Clock::now() - start, milliseconds(300));
}

TEST_F(PtyConnection, LineRateModelPacesTheBytes) {
  // 2 + 5 + 1024 + 1 + 1 + 3 bytes at 10 bits each take at least 269 ms at 38400 baud.
  StartBoard({"--line-rate", "38400"});
  ASSERT_EQ(ConnectTarget(*link), 0);
  image.StoreLoaded(0x010000, pattern(1024, 12));
  const auto start = Clock::now();
  ASSERT_EQ(link->monitor().Cmd_Write(0x010000, 1024), 0);
  const auto took = Clock::now() - start;
  EXPECT_GE(took, milliseconds(269));
  EXPECT_LT(took, milliseconds(2000));
}

TEST(VelmoraBoardProgram, RefusesAnUnknownArgument) {
  BoardProcess board;
  std::string error;
  EXPECT_FALSE(board.Start(VELMORA_BOARD_PROGRAM, {"--no-such-option"}, milliseconds(5000), error));
  EXPECT_NE(error.find("ended before"), std::string::npos) << error;
  EXPECT_EQ(board.LastExitStatus(), 2);
  EXPECT_NE(board.ErrorOutput().find("unknown argument --no-such-option"), std::string::npos)
      << board.ErrorOutput();
}

TEST(VelmoraBoardProgram, EndsWithStatus1ForAnUnknownType) {
  test::ProgramFolderCopy home;
  BoardProcess board;
  std::string error;
  EXPECT_FALSE(board.Start(VELMORA_BOARD_PROGRAM,
                           {"--home", home.path().string(), "--type", "NOSUCHTYPE"},
                           milliseconds(5000), error));
  EXPECT_EQ(board.LastExitStatus(), 1);
  EXPECT_NE(board.ErrorOutput().find("*ERROR: Controller type NOSUCHTYPE not found"),
            std::string::npos)
      << board.ErrorOutput();
}

TEST(VelmoraBoardProgram, EndsCleanlyOnSigterm) {
  test::ProgramFolderCopy home;
  BoardProcess board;
  std::string error;
  ASSERT_TRUE(board.Start(VELMORA_BOARD_PROGRAM, {"--home", home.path().string()},
                          milliseconds(5000), error))
      << error;
  EXPECT_TRUE(board.Running());
  EXPECT_EQ(board.Stop(), 0);
  EXPECT_FALSE(board.Running());
  EXPECT_NE(board.ErrorOutput().find("TOLVANE board on " + board.DevicePath()), std::string::npos)
      << board.ErrorOutput();
}

TEST(VelmoraBoardProgram, RefusesMalformedFaultArguments) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--replace-output", "3"},
        {"--replace-output", "3:1FF"},
        {"--delay-output", "x:10"},
        {"--drop-output"},
        {"--line-rate", "0"}}) {
    BoardProcess board;
    std::string error;
    EXPECT_FALSE(board.Start(VELMORA_BOARD_PROGRAM, arguments, milliseconds(5000), error))
        << arguments[0];
    EXPECT_EQ(board.LastExitStatus(), 2) << arguments[0];
  }
}

}  // namespace
}  // namespace velmora
