// The link on a bad line: lost, wrong and late answer bytes, a silent board, wrong
// checksums, short blocks, slow routines, a K-line without echo and a port that fails.
// Every command gives its status, completes its byte sequence, marks the image as it
// says and keeps to its time-outs (the fixture checks event reception after each); a
// second exchange started from inside a wait is refused.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "link/bootstrap.h"
#include "link/channel_switch.h"
#include "observing_port.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPeriod{40};  // the fixture's time-out
// Room for a loaded machine; a command that hangs overruns it by far.
constexpr milliseconds kSlack{250};

milliseconds Since(Clock::time_point start) {
  return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
}
Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// A fault on the board's answer bytes (counted from the command) or on the line.
struct Fault {
  enum Kind { None, Drop, Replace, Delay, Silent, BadChecksum, ShortBlock, KLine, SlowRoutine };
  Kind kind = None;
  std::vector<size_t> at = {};
  int value = 0;  // Replace: the byte; Delay: milliseconds; SlowRoutine: time-out periods
};

void Arm(const Fault& fault, Board& board, CommunicationSettings& communication) {
  BoardFaults& faults = board.faults();
  for (size_t n : fault.at) {
    if (fault.kind == Fault::Drop) faults.DropOutput(n);
    if (fault.kind == Fault::Replace) faults.ReplaceOutput(n, static_cast<uint8_t>(fault.value));
    if (fault.kind == Fault::Delay) faults.DelayOutput(n, milliseconds(fault.value));
  }
  faults.SetSilent(fault.kind == Fault::Silent);
  if (fault.kind == Fault::BadChecksum) faults.CorruptNextChecksum();
  if (fault.kind == Fault::ShortBlock) faults.ShortenNextRead(2);
  if (fault.kind == Fault::KLine) communication.kline = 1;
  // The routine at A000 sets R8 to 5678.
  const milliseconds runs =
      fault.kind == Fault::SlowRoutine ? fault.value * kPeriod : milliseconds(0);
  board.SetRoutine(0x00A000, {[](const BoardRegisters& in, Board&) {
                                BoardRegisters out = in;
                                out[0] = 0x5678;
                                return out;
                              },
                              runs});
}

// ---------------------------------------------------------------------------------------
// The fault matrix

enum Command { Einit, Jmp, WriteWord, Call, Write, Read };
constexpr int32_t kBlock = 0x00F600;
const Bytes kWriteData = {0x12, 0x34, 0x56};
const Bytes kTargetData = {0x11, 0x22, 0x33, 0x44};
const Bytes kKnown = {0x01, 0x02, 0x03, 0x04};  // what the image held from an earlier read

// How each command is run, and the bytes the host must send whatever the answers.
const std::pair<std::function<int16_t(MonitorProtocol&, CallRegisters&)>, Bytes> kCommands[] = {
    {[](auto& m, auto&) { return m.Cmd_Einit(); }, {0x31}},
    {[](auto& m, auto&) { return m.Cmd_Jmp(0x001000); }, {0x41, 0x00, 0x10, 0x00}},
    {[](auto& m, auto&) { return m.Cmd_WriteWord(0x00F700, 0xBEEF); },
     {0x82, 0x00, 0xF7, 0x00, 0xEF, 0xBE}},
    {[](auto& m, auto& r) { return m.Cmd_Call(0x00A000, r); },
     Bytes{0x9F, 0x00, 0xA0, 0x00, 0x34, 0x12} + Bytes(14, 0x00)},
    {[](auto& m, auto&) { return m.Cmd_Write(kBlock, 3); },
     Bytes{0x84, 0x00, 0xF6, 0x00, 0x03, 0x00} + kWriteData + Bytes{0x33}},
    {[](auto& m, auto&) { return m.Cmd_Read(kBlock, 4); },
     {0x85, 0x00, 0xF6, 0x00, 0x04, 0x00, 0x33}},
};

constexpr int kAny = -1;
constexpr int kConfirmed = kDefined | kValid;

struct FaultRow {
  const char* name;
  Command command;
  Fault fault;
  int16_t status;
  int periods;                    // time-out periods the command may wait at most
  int flags = kAny;               // of every block byte afterwards
  int32_t r8 = kAny;              // after a call: 5678 from the routine, or 1234 kept
  size_t boxes = 0;               // "a reply byte is missing"
  const Bytes* stored = nullptr;  // after a read: the image's bytes of the block
};

// Answer bytes: Einit, Jmp, WriteWord: ACK1 0, ACK2 1. Call: ACK1 0, R8..R15 1..16, ACK2
// 17. Write: ACK1 0, ACK2 1, ACK1 2, checksum 3, ACK2 4. Read of 4 bytes: ACK1 0, data
// 1..4, ACK2 5, ACK1 6, checksum 7, ACK2 8.
// clang-format off
const FaultRow kFaultRows[] = {
    {"Einit_NoFault", Einit, {}, 0, 0},
    {"Einit_FirstAckLost", Einit, {Fault::Drop, {0}}, -2, 1},
    {"Einit_WrongFirstAck", Einit, {Fault::Replace, {0}, 0x55}, -1, 0},
    {"Einit_BothAcksWrong", Einit, {Fault::Replace, {0, 1}, 0x55}, -2, 0},
    {"Einit_FirstAckLateWithinAPeriod", Einit, {Fault::Delay, {0}, 20}, 0, 1},
    {"Einit_SecondAckLaterThanAPeriod", Einit, {Fault::Delay, {1}, 60}, -2, 1},
    {"Einit_SilentBoard", Einit, {Fault::Silent}, -2, 2},
    {"Einit_KLineWithoutEcho", Einit, {Fault::KLine}, -2, 1},
    {"Jmp_FirstAckLost", Jmp, {Fault::Drop, {0}}, -1, 1},
    {"WriteWord_SecondAckLost", WriteWord, {Fault::Drop, {1}}, -2, 1},
    {"Call_NoFault", Call, {}, 0, 0, kAny, 0x5678},
    {"Call_FirstAckLost", Call, {Fault::Drop, {0}}, -1, 1, kAny, 0x5678},
    {"Call_ClosingAckLost", Call, {Fault::Drop, {17}}, -1, 1, kAny, 0x1234},
    {"Call_TwoReplyBytesLost", Call, {Fault::Drop, {5, 6}}, -1, 2, kAny, 0x1234, 1},
    {"Call_RoutineRunsFivePeriods", Call, {Fault::SlowRoutine, {}, 5}, 0, 6, kAny, 0x5678},
    {"Call_RoutineRunsFifteenPeriods", Call, {Fault::SlowRoutine, {}, 15}, -2, 11, kAny, 0x1234},
    {"Write_NoFault", Write, {}, 0, 0, kConfirmed},
    {"Write_BlockAckLost", Write, {Fault::Drop, {1}}, -2, 1, kDefined},
    {"Write_WrongChecksumAck1", Write, {Fault::Replace, {2}, 0x55}, -5, 0, kConfirmed},
    {"Write_CorruptChecksum", Write, {Fault::BadChecksum}, -3, 0, kDefined},
    {"Write_ChecksumAck1Lost", Write, {Fault::Drop, {2}}, -4, 1, kDefined},
    {"Write_SilentBoard", Write, {Fault::Silent}, -4, 5, kDefined},
    {"Read_NoFault", Read, {}, 0, 0, kConfirmed, kAny, 0, &kTargetData},
    // Every gap is shorter than a period, the whole block is not.
    {"Read_SlowDataWithinThePeriod", Read, {Fault::Delay, {1, 2, 3, 4}, 30}, 0, 4, kConfirmed, kAny, 0, &kTargetData},
    // A failed read stores nothing: the image keeps what it knew. The checksum tells of a
    // changed byte, and the flags stay as they were.
    {"Read_DataByteReplaced", Read, {Fault::Replace, {2}, 0x99}, -3, 0, kConfirmed, kAny, 0, &kKnown},
    {"Read_CorruptChecksum", Read, {Fault::BadChecksum}, -3, 0, kConfirmed, kAny, 0, &kKnown},
    {"Read_DataByteLost", Read, {Fault::Drop, {3}}, -3, 1, kDefined, kAny, 0, &kKnown},
    {"Read_BlockAckLost", Read, {Fault::Drop, {5}}, -2, 1, kDefined, kAny, 0, &kKnown},
    {"Read_ChecksumAck2Lost", Read, {Fault::Drop, {8}}, -4, 1, kDefined, kAny, 0, &kKnown},
    // What the image knew is no longer known valid.
    {"Read_ShortBlock", Read, {Fault::ShortBlock}, -4, 1, kDefined, kAny, 0, &kKnown},
    {"Read_DataLaterThanAPeriod", Read, {Fault::Delay, {3}, 60}, -4, 2, kDefined, kAny, 0, &kKnown},
    {"Read_SilentBoard", Read, {Fault::Silent}, -4, 5, kDefined, kAny, 0, &kKnown},
};
// clang-format on

class FaultMatrix : public test::ObservedLinkFixture,
                    public ::testing::WithParamInterface<FaultRow> {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Connect()); }
};

TEST_P(FaultMatrix, StatusWireImageAndTime) {
  const FaultRow& row = GetParam();
  board->memory().StoreLoaded(kBlock, kTargetData);
  image.InitImage();
  if (row.command == Write) image.StoreLoaded(kBlock, kWriteData);
  if (row.command == Read) image.StoreFromTarget(kBlock, kKnown);
  CallRegisters r = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  const size_t boxesBefore = frontend.boxes.size();
  const size_t linesBefore = Lines().size();
  Arm(row.fault, *board, settings.communication);

  const auto start = Clock::now();
  EXPECT_EQ(kCommands[row.command].first(link->monitor(), r), row.status);
  EXPECT_LT(Since(start), row.periods * kPeriod + kSlack);
  EXPECT_EQ(TakeSent(), kCommands[row.command].second);
  EXPECT_EQ(frontend.boxes.size() - boxesBefore, row.boxes);
  for (size_t i = boxesBefore; i < frontend.boxes.size(); ++i) {
    EXPECT_EQ(frontend.boxes[i].text, kMissingReplyByteMessage);
  }
  EXPECT_EQ(Lines().size(), linesBefore);
  EXPECT_EQ(row.r8 == kAny ? kAny : r[0], row.r8);
  for (int32_t i = 0; row.flags != kAny && i < (row.command == Read ? 4 : 3); ++i) {
    EXPECT_EQ(image.Flags(kBlock + i), row.flags) << "byte " << i;
  }
  Bytes stored(4);
  image.ReadBytes(kBlock, stored);
  EXPECT_EQ(row.stored ? stored : Bytes{}, row.stored ? *row.stored : Bytes{});
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultMatrix, ::testing::ValuesIn(kFaultRows),
                         [](const auto& row) { return std::string(row.param.name); });

// ---------------------------------------------------------------------------------------
// Faults that need more than one command to show

class LinkFaults : public test::ObservedLinkFixture {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Connect()); }
};

TEST_F(LinkFaults, PortFailureEndsTheExchangeAtOnceWithOneBox) {
  image.StoreLoaded(0x00F600, Bytes{0x12, 0x34, 0x56});
  const size_t boxes = frontend.boxes.size();
  port->Close();
  const auto start = Clock::now();
  EXPECT_LT(link->monitor().Cmd_Write(0x00F600, 3), 0);
  EXPECT_LT(Since(start), kPeriod);
  ASSERT_EQ(frontend.boxes.size(), boxes + 1);
  EXPECT_EQ(frontend.boxes.back().text, kPortInUseMessage);
  EXPECT_EQ(image.Flags(0x00F600), kDefined);
  EXPECT_TRUE(line.changes.back());  // event reception is on again
  // The next exchange starts afresh.
  ASSERT_TRUE(link->EnsurePortOpen());
  EXPECT_EQ(link->monitor().Cmd_Einit(), 0);
  EXPECT_EQ(frontend.boxes.size(), boxes + 1);
}

// A failed read leaves the image as it was, values and flags, where a file had put bytes
// and where there was nothing: what an upload could not confirm must not reach a save.
TEST_F(LinkFaults, AFailedReadLeavesTheImageAsItWas) {
  const std::pair<const char*, std::function<void(BoardFaults&)>> kReadFaults[] = {
      {"short block", [](BoardFaults& f) { f.ShortenNextRead(2); }},
      {"dropped byte", [](BoardFaults& f) { f.DropOutput(3); }},
      {"changed byte", [](BoardFaults& f) { f.ReplaceOutput(2, 0x99); }},
      {"wrong checksum", [](BoardFaults& f) { f.CorruptNextChecksum(); }},
  };
  board->memory().StoreLoaded(kBlock, kTargetData);
  for (const auto& [name, arm] : kReadFaults) {
    SCOPED_TRACE(name);
    image.InitImage();
    image.StoreLoaded(kBlock, Bytes{0x01, 0x02});  // the last two bytes never had a value
    Bytes values(4), flags(4), valuesAfter(4), flagsAfter(4);
    image.ReadBytes(kBlock, values);
    image.ReadFlags(kBlock, flags);
    arm(board->faults());
    EXPECT_NE(link->monitor().Cmd_Read(kBlock, 4), 0);
    image.ReadBytes(kBlock, valuesAfter);
    image.ReadFlags(kBlock, flagsAfter);
    EXPECT_EQ(valuesAfter, values);
    EXPECT_EQ(flagsAfter, flags);
  }
}

// A reply that comes after its time-out waits in the input; the next command, the
// reconnect and the bootstrap each read their own answer.
TEST_F(LinkFaults, ALateReplyIsNotTakenForTheNextAnswer) {
  struct Row {
    const char* name;
    std::function<int16_t(Link&)> next;
    Bytes answer;  // what the host reads from the line for it
  };
  const Row kRows[] = {
      {"block read",
       [](Link& l) { return l.monitor().Cmd_Read(kBlock, 4); },
       {0xAA, 0x11, 0x22, 0x33, 0x44, 0xEA, 0xAA, 0x44, 0xEA}},
      {"reconnect", [](Link& l) { return ReconnectTarget(l); }, {0xAA, 0xEA}},
      {"bootstrap",
       [this](Link& l) {
         board->ResetToBootstrap();
         return ConnectTarget(l);
       },
       {0xD5, 0x01, 0x03}},
  };
  board->memory().StoreLoaded(kBlock, kTargetData);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    board->faults().DelayOutput(1, 2 * kPeriod);  // the second acknowledge comes too late
    EXPECT_EQ(link->monitor().Cmd_Einit(), monitor_status::kNoAck2);
    std::this_thread::sleep_for(3 * kPeriod);  // and is in the input now
    const size_t before = line.read.size();
    EXPECT_EQ(row.next(*link), 0);
    EXPECT_EQ(Bytes(line.read.begin() + static_cast<long>(before), line.read.end()), row.answer);
  }
  Bytes stored(4);
  image.ReadBytes(kBlock, stored);
  EXPECT_EQ(stored, kTargetData);
}

}  // namespace
}  // namespace velmora
