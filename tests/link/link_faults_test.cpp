// The link on a bad line: lost, wrong and late answer bytes, a silent board, wrong
// checksums, short blocks, slow routines and a K-line without echo. Every command must
// give its status, complete its byte sequence, mark the image as it says, keep to its
// time-outs, and switch event reception back on; a second exchange started from inside
// a wait is refused.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "core/frontend.h"
#include "link/bootstrap.h"
#include "link/channel_switch.h"
#include "link/monitor_protocol.h"
#include "link/transport.h"
#include "link/unsolicited_bytes.h"
#include "link_fixture.h"
#include "observing_port.h"
#include "recording_frontend.h"
#include "scripted_port.h"

namespace velmora {
namespace {

using test::LinkFixture;
using test::ObservingPort;
using test::RecordingFrontend;
using test::ScriptedPort;
using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPeriod{40};  // the fixture's time-out
// Room for a loaded machine; a command that hangs overruns it by far.
constexpr milliseconds kSlack{250};

milliseconds Since(Clock::time_point start) {
  return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
}

Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// ---------------------------------------------------------------------------------------
// The fault matrix

enum class Command { Einit, Jmp, WriteWord, Call, Write, Read };

// What the command must leave behind besides its status.
enum class Effect {
  None,
  Confirmed,      // block bytes defined and valid (a read: with the target's values)
  Unconfirmed,    // block bytes defined, valid cleared
  NotStored,      // read: nothing defined, nothing valid
  RegistersSet,   // call: R8 = 5678 from the routine
  RegistersKept,  // call: R8 still 1234
};

using Arm = std::function<void(BoardFaults&, CommunicationSettings&)>;

struct FaultRow {
  const char* name;
  Command command;
  Arm arm;
  int16_t status;
  int periods;  // time-out periods the command may wait at most
  Effect effect = Effect::None;
  size_t boxes = 0;
};
void PrintTo(const FaultRow& row, std::ostream* out) {
  *out << row.name;
}

Arm NoFault() {
  return [](BoardFaults&, CommunicationSettings&) {};
}
Arm Drop(std::initializer_list<size_t> nth) {
  return [list = std::vector<size_t>(nth)](BoardFaults& f, CommunicationSettings&) {
    for (size_t n : list) f.DropOutput(n);
  };
}
Arm Replace(std::initializer_list<size_t> nth, uint8_t value) {
  return [list = std::vector<size_t>(nth), value](BoardFaults& f, CommunicationSettings&) {
    for (size_t n : list) f.ReplaceOutput(n, value);
  };
}
Arm Delay(size_t nth, milliseconds delay) {
  return [=](BoardFaults& f, CommunicationSettings&) { f.DelayOutput(nth, delay); };
}
Arm Silent() {
  return [](BoardFaults& f, CommunicationSettings&) { f.SetSilent(true); };
}
Arm BadChecksum() {
  return [](BoardFaults& f, CommunicationSettings&) { f.CorruptNextChecksum(); };
}
Arm ShortBlock(size_t missing) {
  return [=](BoardFaults& f, CommunicationSettings&) { f.ShortenNextRead(missing); };
}
// K-line switched on at the host while the line gives no echo.
Arm KLineWithoutEcho(bool silent) {
  return [=](BoardFaults& f, CommunicationSettings& c) {
    c.kline = 1;
    f.SetSilent(silent);
  };
}

const milliseconds kHalfPeriod{20};
const milliseconds kPeriodAndAHalf{60};

// Answer byte numbers count from the command: Einit, Jmp, WriteWord: ACK1 0, ACK2 1.
// Call: ACK1 0, R8..R15 1..16, ACK2 17. Write: ACK1 0, ACK2 1, ACK1 2, checksum 3,
// ACK2 4. Read of 4 bytes: ACK1 0, data 1..4, ACK2 5, ACK1 6, checksum 7, ACK2 8.
const FaultRow kFaultRows[] = {
    {"Einit_NoFault", Command::Einit, NoFault(), 0, 0},
    {"Einit_FirstAckLost", Command::Einit, Drop({0}), -2, 1},
    {"Einit_SecondAckLost", Command::Einit, Drop({1}), -2, 1},
    {"Einit_WrongFirstAck", Command::Einit, Replace({0}, 0x55), -1, 0},
    {"Einit_WrongSecondAck", Command::Einit, Replace({1}, 0x55), -2, 0},
    {"Einit_BothAcksWrong", Command::Einit, Replace({0, 1}, 0x55), -2, 0},
    {"Einit_FirstAckLateWithinAPeriod", Command::Einit, Delay(0, kHalfPeriod), 0, 1},
    {"Einit_SecondAckLaterThanAPeriod", Command::Einit, Delay(1, kPeriodAndAHalf), -2, 1},
    {"Einit_SilentBoard", Command::Einit, Silent(), -2, 2},
    {"Einit_KLineWithoutEcho", Command::Einit, KLineWithoutEcho(false), -2, 1},
    {"Einit_KLineWithoutEchoSilentBoard", Command::Einit, KLineWithoutEcho(true), -2, 3},

    {"Jmp_NoFault", Command::Jmp, NoFault(), 0, 0},
    {"Jmp_FirstAckLost", Command::Jmp, Drop({0}), -1, 1},
    {"Jmp_SecondAckLost", Command::Jmp, Drop({1}), -2, 1},
    {"Jmp_SilentBoard", Command::Jmp, Silent(), -2, 2},

    {"WriteWord_NoFault", Command::WriteWord, NoFault(), 0, 0},
    {"WriteWord_WrongFirstAck", Command::WriteWord, Replace({0}, 0x55), -1, 0},
    {"WriteWord_SecondAckLost", Command::WriteWord, Drop({1}), -2, 1},
    {"WriteWord_SilentBoard", Command::WriteWord, Silent(), -2, 2},

    {"Call_NoFault", Command::Call, NoFault(), 0, 0, Effect::RegistersSet},
    {"Call_FirstAckLost", Command::Call, Drop({0}), -1, 1, Effect::RegistersSet},
    {"Call_ClosingAckLost", Command::Call, Drop({17}), -1, 1, Effect::RegistersKept},
    {"Call_WrongClosingAck", Command::Call, Replace({17}, 0x55), -1, 0, Effect::RegistersKept},
    {"Call_TwoReplyBytesLost", Command::Call, Drop({5, 6}), -1, 2, Effect::RegistersKept, 1},
    {"Call_ReplyLateWithinAPeriod", Command::Call, Delay(1, kHalfPeriod), 0, 1,
     Effect::RegistersSet},

    {"Write_NoFault", Command::Write, NoFault(), 0, 0, Effect::Confirmed},
    {"Write_FirstAckLost", Command::Write, Drop({0}), -1, 1, Effect::Confirmed},
    {"Write_BlockAckLost", Command::Write, Drop({1}), -2, 1, Effect::Unconfirmed},
    {"Write_WrongBlockAck", Command::Write, Replace({1}, 0x55), -2, 0, Effect::Unconfirmed},
    {"Write_ChecksumAck1Lost", Command::Write, Drop({2}), -4, 1, Effect::Unconfirmed},
    {"Write_WrongChecksumAck1", Command::Write, Replace({2}, 0x55), -5, 0, Effect::Confirmed},
    {"Write_CorruptChecksum", Command::Write, BadChecksum(), -3, 0, Effect::Unconfirmed},
    {"Write_ChecksumAck2Lost", Command::Write, Drop({4}), -4, 1, Effect::Unconfirmed},
    {"Write_BlockAckLaterThanAPeriod", Command::Write, Delay(1, kPeriodAndAHalf), -4, 2,
     Effect::Unconfirmed},
    {"Write_SilentBoard", Command::Write, Silent(), -4, 5, Effect::Unconfirmed},

    {"Read_NoFault", Command::Read, NoFault(), 0, 0, Effect::Confirmed},
    {"Read_FirstAckLost", Command::Read, Drop({0}), -1, 1, Effect::Confirmed},
    {"Read_DataByteLost", Command::Read, Drop({3}), -3, 1, Effect::Unconfirmed},
    // The checksum tells; the flags stay as they are on a read.
    {"Read_DataByteReplaced", Command::Read, Replace({2}, 0x99), -3, 0, Effect::Confirmed},
    {"Read_BlockAckLost", Command::Read, Drop({5}), -2, 1, Effect::Unconfirmed},
    {"Read_ChecksumAck1Lost", Command::Read, Drop({6}), -4, 1, Effect::Unconfirmed},
    {"Read_CorruptChecksum", Command::Read, BadChecksum(), -3, 0, Effect::Confirmed},
    {"Read_ChecksumAck2Lost", Command::Read, Drop({8}), -4, 1, Effect::Unconfirmed},
    {"Read_ShortBlock", Command::Read, ShortBlock(2), -4, 1, Effect::NotStored},
    {"Read_DataLateWithinAPeriod", Command::Read, Delay(3, kHalfPeriod), 0, 1, Effect::Confirmed},
    {"Read_DataLaterThanAPeriod", Command::Read, Delay(3, kPeriodAndAHalf), -4, 2,
     Effect::NotStored},
    {"Read_SilentBoard", Command::Read, Silent(), -4, 5, Effect::NotStored},
};

class FaultMatrix : public LinkFixture, public ::testing::WithParamInterface<FaultRow> {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Connect()); }
};

constexpr int32_t kBlock = 0x00F600;
const Bytes kWriteData = {0x12, 0x34, 0x56};
const Bytes kTargetData = {0x11, 0x22, 0x33, 0x44};

TEST_P(FaultMatrix, StatusWireImageAndTime) {
  const FaultRow& row = GetParam();
  image.StoreLoaded(kBlock, kWriteData);
  board->memory().StoreLoaded(kBlock, kTargetData);
  board->SetRoutine(0x00A000, {[](const BoardRegisters& in, Board&) {
                                 BoardRegisters out = in;
                                 out[0] = 0x5678;
                                 return out;
                               },
                               milliseconds(0)});
  CallRegisters r = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  const size_t boxesBefore = frontend.boxes.size();
  const size_t linesBefore = Lines().size();
  if (row.command == Command::Read) image.InitImage();  // a fresh area: nothing known yet

  row.arm(board->faults(), settings.communication);
  const auto start = Clock::now();
  int16_t status = 0;
  Bytes wire;
  switch (row.command) {
    case Command::Einit:
      status = link->monitor().Cmd_Einit();
      wire = {0x31};
      break;
    case Command::Jmp:
      status = link->monitor().Cmd_Jmp(0x001000);
      wire = {0x41, 0x00, 0x10, 0x00};
      break;
    case Command::WriteWord:
      status = link->monitor().Cmd_WriteWord(0x00F700, 0xBEEF);
      wire = {0x82, 0x00, 0xF7, 0x00, 0xEF, 0xBE};
      break;
    case Command::Call:
      status = link->monitor().Cmd_Call(0x00A000, r);
      wire = Concat({{0x9F, 0x00, 0xA0, 0x00, 0x34, 0x12}, Bytes(14, 0x00)});
      break;
    case Command::Write:
      status = link->monitor().Cmd_Write(kBlock, 3);
      wire = Concat({{0x84, 0x00, 0xF6, 0x00, 0x03, 0x00}, kWriteData, {0x33}});
      break;
    case Command::Read:
      status = link->monitor().Cmd_Read(kBlock, 4);
      wire = {0x85, 0x00, 0xF6, 0x00, 0x04, 0x00, 0x33};
      break;
  }
  const milliseconds elapsed = Since(start);

  EXPECT_EQ(status, row.status);
  // The byte sequence is completed whatever the answers were.
  EXPECT_EQ(TakeSent(), wire);
  EXPECT_LT(elapsed, row.periods * kPeriod + kSlack);
  EXPECT_EQ(frontend.boxes.size() - boxesBefore, row.boxes);
  for (size_t i = boxesBefore; i < frontend.boxes.size(); ++i) {
    EXPECT_EQ(frontend.boxes[i].text, kMissingReplyByteMessage);
  }
  // The commands themselves write no message lines.
  EXPECT_EQ(Lines().size(), linesBefore);

  const int32_t count = row.command == Command::Read ? 4 : 3;
  for (int32_t i = 0; i < count; ++i) {
    const int32_t a = kBlock + i;
    SCOPED_TRACE("byte " + std::to_string(i));
    switch (row.effect) {
      case Effect::None:
        break;
      case Effect::Confirmed:
        EXPECT_EQ(image.Flags(a), kDefined | kValid);
        if (row.command == Command::Read && row.status == 0) {
          EXPECT_EQ(image.GetByte(a), kTargetData[static_cast<size_t>(i)]);
        }
        break;
      case Effect::Unconfirmed:
        EXPECT_EQ(image.Flags(a), kDefined);
        break;
      case Effect::NotStored:
        EXPECT_EQ(image.Flags(a), 0);
        break;
      case Effect::RegistersSet:
      case Effect::RegistersKept:
        break;
    }
  }
  if (row.effect == Effect::RegistersSet) {
    EXPECT_EQ(r[0], 0x5678);
  }
  if (row.effect == Effect::RegistersKept) {
    EXPECT_EQ(r[0], 0x1234);
  }
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultMatrix, ::testing::ValuesIn(kFaultRows),
                         [](const auto& row) { return std::string(row.param.name); });

// ---------------------------------------------------------------------------------------
// Faults that need more than one command to show

class LinkFaults : public LinkFixture {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Connect());
    port->SetReceivedHandler([this] { HandleUnsolicitedBytes(*link); });
  }

  void SetRoutine(milliseconds duration) {
    board->SetRoutine(0x00A000, {[](const BoardRegisters& in, Board&) {
                                   BoardRegisters out = in;
                                   out[0] = 0x5678;
                                   return out;
                                 },
                                 duration});
  }
};

TEST_F(LinkFaults, CallWhoseRoutineRunsFivePeriodsSucceeds) {
  SetRoutine(5 * kPeriod);
  CallRegisters r = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  const auto start = Clock::now();
  EXPECT_EQ(link->monitor().Cmd_Call(0x00A000, r), 0);
  const milliseconds elapsed = Since(start);
  EXPECT_EQ(r[0], 0x5678);
  EXPECT_GE(elapsed, 5 * kPeriod);
  EXPECT_LT(elapsed, 5 * kPeriod + kSlack);
}

TEST_F(LinkFaults, CallWhoseRoutineRunsFifteenPeriodsGivesUpAfterTen) {
  settings.communication.terminalMode = 1;
  SetRoutine(15 * kPeriod);
  CallRegisters r = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  const auto start = Clock::now();
  EXPECT_EQ(link->monitor().Cmd_Call(0x00A000, r), -2);
  const milliseconds elapsed = Since(start);
  EXPECT_EQ(r[0], 0x1234);
  EXPECT_GE(elapsed, 10 * kPeriod);
  EXPECT_LT(elapsed, 15 * kPeriod);
  EXPECT_EQ(frontend.boxes.size(), 1U);  // the reset prompt only

  // The reply comes after all and reaches the terminal once reception is on again.
  std::this_thread::sleep_until(start + 15 * kPeriod + 2 * kPeriod);
  port->Poll();
  std::string reply = " 78 56";
  for (int i = 0; i < 14; ++i) reply += " 00";
  EXPECT_EQ(log.List().OpenLine(), reply + " EA");
  EXPECT_EQ(port->BytesAvailable(), 0U);
}

TEST_F(LinkFaults, ShortBlockOnAReadLeavesKnownBytesAsTheyWereButNotValid) {
  const Bytes known = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
  image.StoreFromTarget(0x00F600, known);
  board->memory().StoreLoaded(0x00F600, Bytes{0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28});
  board->faults().ShortenNextRead(3);
  const auto start = Clock::now();
  const int16_t status = link->monitor().Cmd_Read(0x00F600, 8);
  EXPECT_LT(status, 0);
  EXPECT_LT(Since(start), 2 * kPeriod + kSlack);
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(image.GetByte(0x00F600 + i), known[static_cast<size_t>(i)]) << i;
    EXPECT_EQ(image.Flags(0x00F600 + i), kDefined) << i;
  }
  // What the later reads did not take is shown as terminal output; then the monitor
  // answers as before.
  port->Poll();
  EXPECT_EQ(port->BytesAvailable(), 0U);
  EXPECT_EQ(link->monitor().Cmd_Read(0x00F600, 8), 0);
  EXPECT_EQ(image.GetByte(0x00F607), 0x28);
  EXPECT_EQ(image.Flags(0x00F607), kDefined | kValid);
}

TEST_F(LinkFaults, ReconnectToASilentBoardTakesTwoPeriods) {
  board->faults().SetSilent(true);
  const auto start = Clock::now();
  EXPECT_EQ(ReconnectTarget(*link), -2);
  const milliseconds elapsed = Since(start);
  EXPECT_GE(elapsed, 2 * kPeriod);
  EXPECT_LT(elapsed, 2 * kPeriod + kSlack);
  EXPECT_EQ(link->state(), TargetState::NotConnected);
}

// ---------------------------------------------------------------------------------------
// The transport's waits

struct TransportLine {
  TransportLine() : transport(port, communication, frontend) { communication.timeout = 40; }
  ScriptedPort port;
  CommunicationSettings communication;
  RecordingFrontend frontend;
  Transport transport;
};

TEST(TransportWaits, ReceiveGivesUpAfterOnePeriod) {
  TransportLine line;
  const auto start = Clock::now();
  EXPECT_EQ(line.transport.SSReceive(), -1);
  const milliseconds elapsed = Since(start);
  EXPECT_GE(elapsed, kPeriod);
  EXPECT_LT(elapsed, kPeriod + kSlack);
  EXPECT_GT(line.frontend.eventPasses, 0);
}

TEST(TransportWaits, AWaitingByteIsReturnedAtOnce) {
  TransportLine line;
  line.port.arrive(milliseconds(0), {0xC3});
  const auto start = Clock::now();
  EXPECT_EQ(line.transport.SSReceive(), 0xC3);
  EXPECT_LT(Since(start), kPeriod);
}

TEST(TransportWaits, SlowBlockSucceedsWhileEveryGapIsShorterThanThePeriod) {
  TransportLine line;
  // Twelve bytes 10 ms apart: the block takes almost three periods.
  for (uint8_t i = 0; i < 12; ++i) line.port.arrive(milliseconds(10 * (i + 1)), {i});
  Bytes block;
  const auto start = Clock::now();
  EXPECT_EQ(line.transport.SSReceiveN(block, 12), 0);
  EXPECT_GE(Since(start), milliseconds(110));
  EXPECT_EQ(block, (Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(line.port.Pending(), 0U);
}

TEST(TransportWaits, OneGapLongerThanThePeriodFailsAndKeepsThePartialBytesQueued) {
  TransportLine line;
  for (uint8_t i = 0; i < 4; ++i) line.port.arrive(milliseconds(10 * (i + 1)), {i});
  // The rest comes long after the wait has given up.
  line.port.arrive(milliseconds(300), {4, 5, 6, 7});
  Bytes block = {0xEE};
  const auto start = Clock::now();
  EXPECT_EQ(line.transport.SSReceiveN(block, 8), -1);
  const milliseconds elapsed = Since(start);
  EXPECT_GE(elapsed, milliseconds(40) + kPeriod);
  EXPECT_LT(elapsed, milliseconds(300));
  EXPECT_EQ(block, Bytes{0xEE});
  EXPECT_EQ(line.port.BytesAvailable(), 4U);
  EXPECT_EQ(line.port.Read(4), (Bytes{0, 1, 2, 3}));
}

TEST(TransportWaits, KLineSendWithoutEchoReturnsAfterOnePeriodWithoutError) {
  TransportLine line;
  line.communication.kline = 1;
  line.port.expect({0x5A});
  const auto start = Clock::now();
  line.transport.SSSend(0x5A);
  const milliseconds elapsed = Since(start);
  EXPECT_GE(elapsed, kPeriod);
  EXPECT_LT(elapsed, kPeriod + kSlack);
  EXPECT_FALSE(line.transport.PortFailed());
  EXPECT_TRUE(line.frontend.boxes.empty());
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
}

TEST(TransportWaits, KLineConsumesTheEchoOfEveryByteSent) {
  TransportLine line;
  line.communication.kline = 1;
  line.port.SetEcho(true);
  MonitorBytes bytes;
  MemoryImage image;
  MonitorProtocol monitor(line.transport, bytes, image);
  image.StoreLoaded(0x00F600, Bytes{0x12, 0x34, 0x56});
  line.port.expect({0x84})
      .reply({0xAA})
      .expect({0x00, 0xF6, 0x00, 0x03, 0x00, 0x12, 0x34, 0x56})
      .reply({0xEA})
      .expect({0x33})
      .reply({0xAA, 0x70, 0xEA});
  const auto start = Clock::now();
  EXPECT_EQ(monitor.Cmd_Write(0x00F600, 3), 0);
  EXPECT_LT(Since(start), kPeriod);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
  EXPECT_EQ(line.port.Pending(), 0U);
}

TEST(TransportWaits, PortFailureEndsTheExchangeAtOnceWithOneBox) {
  TransportLine line;
  MonitorBytes bytes;
  MemoryImage image;
  MonitorProtocol monitor(line.transport, bytes, image);
  image.StoreLoaded(0x00F600, Bytes{0x12, 0x34, 0x56});
  line.port.SetFailing(true);
  const auto start = Clock::now();
  EXPECT_LT(monitor.Cmd_Write(0x00F600, 3), 0);
  EXPECT_LT(Since(start), kPeriod);
  ASSERT_EQ(line.frontend.boxes.size(), 1U);
  EXPECT_EQ(line.frontend.boxes[0].text, kPortInUseMessage);
  EXPECT_TRUE(line.port.receiving());
  EXPECT_EQ(image.Flags(0x00F600), kDefined);

  // The next exchange starts afresh.
  line.port.SetFailing(false);
  line.port.expect({0x31}).reply({0xAA, 0xEA});
  EXPECT_EQ(monitor.Cmd_Einit(), 0);
  EXPECT_EQ(line.frontend.boxes.size(), 1U);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
}

// ---------------------------------------------------------------------------------------
// Event reception is off during every exchange and on again afterwards, on every path

class ObservedLink : public LinkFixture {
 protected:
  ObservedLink()
      : observing(*port),
        watched(std::make_unique<Link>(
            observing, LinkContext{settings, image, selections, log, frontend, registers,
                                   monitorArea, home.path()})) {
    observing.SetReceivedHandler([this] { HandleUnsolicitedBytes(*watched); });
  }

  void ConnectWatched() {
    ASSERT_EQ(ConnectTarget(*watched), 0);
    TakeSent();
    observing.ClearCounts();
  }

  void ExpectReceptionRestored() {
    EXPECT_TRUE(observing.receiving());
    EXPECT_EQ(observing.writesWhileReceiving(), 0U);
    EXPECT_EQ(observing.readsWhileReceiving(), 0U);
    ASSERT_FALSE(observing.notificationChanges().empty());
    EXPECT_FALSE(observing.notificationChanges().front());
    EXPECT_TRUE(observing.notificationChanges().back());
  }

  ObservingPort observing;
  std::unique_ptr<Link> watched;
};

struct PathRow {
  const char* name;
  Arm arm;
  std::function<void(Link&, Board&, VirtualPort&)> run;
};
void PrintTo(const PathRow& row, std::ostream* out) {
  *out << row.name;
}

void Block(Link&, Board& board, VirtualPort&) {
  board.memory().StoreLoaded(0x00F600, Bytes{1, 2, 3, 4});
}

const PathRow kPathRows[] = {
    {"Einit_Answered", NoFault(), [](Link& l, Board&, VirtualPort&) { l.monitor().Cmd_Einit(); }},
    {"Einit_Silent", Silent(), [](Link& l, Board&, VirtualPort&) { l.monitor().Cmd_Einit(); }},
    {"Jmp_Answered", NoFault(), [](Link& l, Board&, VirtualPort&) { l.monitor().Cmd_Jmp(0x1000); }},
    {"WriteWord_WrongAck", Replace({1}, 0x55),
     [](Link& l, Board&, VirtualPort&) { l.monitor().Cmd_WriteWord(0xF700, 1); }},
    {"Call_Answered", NoFault(),
     [](Link& l, Board&, VirtualPort&) {
       CallRegisters r{};
       l.monitor().Cmd_Call(0xA000, r);
     }},
    {"Call_ClosingAckLost", Drop({17}),
     [](Link& l, Board&, VirtualPort&) {
       CallRegisters r{};
       l.monitor().Cmd_Call(0xA000, r);
     }},
    {"Write_Answered", NoFault(),
     [](Link& l, Board&, VirtualPort&) { l.monitor().Cmd_Write(0xE00024, 16); }},
    {"Write_WrongChecksum", BadChecksum(),
     [](Link& l, Board&, VirtualPort&) { l.monitor().Cmd_Write(0xE00024, 16); }},
    {"Read_Answered", NoFault(),
     [](Link& l, Board& b, VirtualPort& p) {
       Block(l, b, p);
       l.monitor().Cmd_Read(0x00F600, 4);
     }},
    {"Read_ShortBlock", ShortBlock(2),
     [](Link& l, Board& b, VirtualPort& p) {
       Block(l, b, p);
       l.monitor().Cmd_Read(0x00F600, 4);
     }},
    {"ReadGpr_WrongAck", Replace({0}, 0x55),
     [](Link& l, Board&, VirtualPort&) { l.registerAccess().cmd_readgpr(2); }},
    {"Pop_Answered", NoFault(),
     [](Link& l, Board&, VirtualPort&) { l.registerAccess().cmd_pop(true); }},
    {"Connect_Answered", NoFault(),
     [](Link& l, Board& b, VirtualPort&) {
       b.ResetToBootstrap();
       ConnectTarget(l);
     }},
    {"Connect_NoMonitorAck", Drop({2}),
     [](Link& l, Board& b, VirtualPort&) {
       b.ResetToBootstrap();
       ConnectTarget(l);
     }},
    {"Reconnect_Answered", NoFault(), [](Link& l, Board&, VirtualPort&) { ReconnectTarget(l); }},
    {"Reconnect_Silent", Silent(), [](Link& l, Board&, VirtualPort&) { ReconnectTarget(l); }},
    {"Asc1_Answered", NoFault(), [](Link& l, Board&, VirtualPort&) { SwitchToAsc1(l); }},
    {"Asc1_Silent", Silent(), [](Link& l, Board&, VirtualPort&) { SwitchToAsc1(l); }},
    {"MoveMonitor_Answered", NoFault(),
     [](Link& l, Board&, VirtualPort&) { MoveMonitor(l, 0x008000); }},
    {"MoveMonitor_StartAckLost", Drop({7}),
     [](Link& l, Board&, VirtualPort&) { MoveMonitor(l, 0x008000); }},
    {"Break_Answered", NoFault(),
     [](Link& l, Board& b, VirtualPort& p) {
       l.SetState(TargetState::Debugging);
       b.HitBreak(0x012344);
       p.Poll();
     }},
    {"Break_WrongAck", Replace({1}, 0x55),
     [](Link& l, Board& b, VirtualPort& p) {
       l.SetState(TargetState::Debugging);
       b.HitBreak(0x012344);
       p.Poll();
     }},
};

class EventReception : public ObservedLink, public ::testing::WithParamInterface<PathRow> {};

TEST_P(EventReception, IsOffForTheExchangeAndOnAfterwards) {
  ASSERT_NO_FATAL_FAILURE(ConnectWatched());
  const PathRow& row = GetParam();
  row.arm(board->faults(), settings.communication);
  const auto start = Clock::now();
  row.run(*watched, *board, *port);
  EXPECT_LT(Since(start), 8 * kPeriod + kSlack);
  EXPECT_FALSE(TakeSent().empty());
  ExpectReceptionRestored();
}

INSTANTIATE_TEST_SUITE_P(Paths, EventReception, ::testing::ValuesIn(kPathRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ObservedLink, CancelledConnectionAndChannelSwitchRestoreReception) {
  ASSERT_NO_FATAL_FAILURE(ConnectWatched());
  frontend.QueueAnswer(BoxAnswer::Cancel);
  EXPECT_EQ(ConnectTarget(*watched), -1);
  ExpectReceptionRestored();
  observing.ClearCounts();
  frontend.QueueAnswer(BoxAnswer::Cancel);
  EXPECT_NE(SwitchToAsc1(*watched), 0);
  ExpectReceptionRestored();
  EXPECT_TRUE(TakeSent().empty());
}

// ---------------------------------------------------------------------------------------
// A second exchange started from inside a wait

// Runs a piece of work once, the first time the link lets the user interface run.
class ReentrantFrontend : public RecordingFrontend {
 public:
  void ProcessEvents(std::chrono::milliseconds wait) override {
    RecordingFrontend::ProcessEvents(wait);
    if (!duringWait) return;
    auto work = std::move(duringWait);
    duringWait = nullptr;
    work();
  }
  std::function<void()> duringWait;
};

class SecondExchange : public LinkFixture {
 protected:
  SecondExchange()
      : observing(*port),
        busy(std::make_unique<Link>(
            observing, LinkContext{settings, image, selections, log, reentrant, registers,
                                   monitorArea, home.path()})) {}

  void SetUp() override {
    ASSERT_EQ(ConnectTarget(*busy), 0);
    TakeSent();
    board->memory().StoreLoaded(0x00F600, Bytes{0x11, 0x22, 0x33, 0x44});
    // The first answer comes late, so the host waits and lets the user interface run.
    board->faults().DelayOutput(0, kHalfPeriod);
    linesBefore = Lines().size();
    boxesBefore = reentrant.boxes.size();
  }

  // Runs a block read with second running inside its wait; checks that the read went
  // through untouched.
  void ReadWithSecondInside(const std::function<void()>& second) {
    bool ran = false;
    reentrant.duringWait = [&] {
      ran = true;
      second();
    };
    EXPECT_EQ(busy->monitor().Cmd_Read(0x00F600, 4), 0);
    EXPECT_TRUE(ran);
    EXPECT_EQ(TakeSent(), (Bytes{0x85, 0x00, 0xF6, 0x00, 0x04, 0x00, 0x33}));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(image.Flags(0x00F600 + i), kDefined | kValid);
    EXPECT_EQ(image.GetByte(0x00F603), 0x44);
    EXPECT_TRUE(observing.receiving());
    EXPECT_EQ(busy->state(), TargetState::Ready);
  }

  ReentrantFrontend reentrant;
  ObservingPort observing;
  std::unique_ptr<Link> busy;
  size_t linesBefore = 0;
  size_t boxesBefore = 0;
};

struct SecondRow {
  const char* name;
  std::function<int16_t(Link&)> run;
};
void PrintTo(const SecondRow& row, std::ostream* out) {
  *out << row.name;
}

const SecondRow kSecondRows[] = {
    {"Cmd_Einit", [](Link& l) { return l.monitor().Cmd_Einit(); }},
    {"Cmd_reconnect", [](Link& l) { return l.monitor().Cmd_reconnect(); }},
    {"Cmd_Swreset", [](Link& l) { return l.monitor().Cmd_Swreset(); }},
    {"Cmd_Jmp", [](Link& l) { return l.monitor().Cmd_Jmp(0x1000); }},
    {"Cmd_WriteWord", [](Link& l) { return l.monitor().Cmd_WriteWord(0xF700, 0xBEEF); }},
    {"Cmd_Call",
     [](Link& l) {
       CallRegisters r{};
       return l.monitor().Cmd_Call(0xA000, r);
     }},
    {"Cmd_Write", [](Link& l) { return l.monitor().Cmd_Write(0xE00024, 4); }},
    {"Cmd_Read", [](Link& l) { return l.monitor().Cmd_Read(0xF600, 4); }},
    {"ConnectTarget", [](Link& l) { return ConnectTarget(l); }},
    {"ReconnectTarget", [](Link& l) { return ReconnectTarget(l); }},
    {"SwitchToAsc1", [](Link& l) { return SwitchToAsc1(l); }},
    {"Asc02Asc1_pre", [](Link& l) { return Asc02Asc1_pre(l); }},
    {"Asc02Asc1_ASC1Connection", [](Link& l) { return Asc02Asc1_ASC1Connection(l); }},
    {"MoveMonitor", [](Link& l) { return MoveMonitor(l, 0x008000); }},
};

class SecondExchangeRefused : public SecondExchange,
                              public ::testing::WithParamInterface<SecondRow> {};

TEST_P(SecondExchangeRefused, WithBusyWhileTheFirstCompletes) {
  int16_t status = 0;
  ReadWithSecondInside([&] { status = GetParam().run(*busy); });
  EXPECT_EQ(status, monitor_status::kBusy);
  EXPECT_EQ(Lines().size(), linesBefore);
  EXPECT_EQ(reentrant.boxes.size(), boxesBefore);
  EXPECT_EQ(monitorArea, (MonitorArea{0xE00024, 0xE002E7}));
}

INSTANTIATE_TEST_SUITE_P(Commands, SecondExchangeRefused, ::testing::ValuesIn(kSecondRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(SecondExchange, RegisterReadsInsideAWaitSendNothing) {
  ReadWithSecondInside([&] {
    busy->registerAccess().cmd_readgpr(1);
    busy->registerAccess().cmd_pop(true);
  });
}

struct BootstrapStepRow {
  const char* name;
  std::function<void(Link&)> run;
};
void PrintTo(const BootstrapStepRow& row, std::ostream* out) {
  *out << row.name;
}

const BootstrapStepRow kBootstrapSteps[] = {
    {"Loader_pre", [](Link& l) { Loader_pre(l); }},
    {"Velmora_pre", [](Link& l) { Velmora_pre(l); }},
    {"Initiate", [](Link& l) { Initiate(l); }},
    {"Loader_new", [](Link& l) { Loader_new(l); }},
    {"Velmora_new", [](Link& l) { Velmora_new(l); }},
    {"Receive_ID_VelmoraACK", [](Link& l) { Receive_ID_VelmoraACK(l); }},
};

class BootstrapStepInsideAWait : public SecondExchange,
                                 public ::testing::WithParamInterface<BootstrapStepRow> {};

TEST_P(BootstrapStepInsideAWait, SendsNothingIntoTheRunningExchange) {
  ReadWithSecondInside([&] { GetParam().run(*busy); });
  // Nothing of a connection happens inside the running exchange.
  EXPECT_EQ(reentrant.boxes.size(), boxesBefore);
  EXPECT_EQ(Lines().size(), linesBefore);
  EXPECT_EQ(selections.Count(), 0);
  EXPECT_EQ(image.Flags(0x00FA40), kDefined | kValid);
  EXPECT_EQ(monitorArea, (MonitorArea{0xE00024, 0xE002E7}));
}

INSTANTIATE_TEST_SUITE_P(Steps, BootstrapStepInsideAWait, ::testing::ValuesIn(kBootstrapSteps),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace velmora
