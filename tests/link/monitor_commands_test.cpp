// The monitor commands on the wire: the exact bytes the host sends and the answers it
// accepts, first against a scripted line, then against the virtual board with the
// image flags and the register procedures built on the block read.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "core/frontend.h"
#include "link/monitor_protocol.h"
#include "link/register_access.h"
#include "link/transport.h"
#include "link_fixture.h"
#include "recording_frontend.h"
#include "scripted_port.h"

namespace velmora {
namespace {

using test::LinkFixture;
using test::RecordingFrontend;
using test::ScriptedPort;
using Bytes = std::vector<uint8_t>;

Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// The monitor protocol over a scripted line, with a short time-out.
struct ScriptedMonitor {
  ScriptedMonitor() : transport(port, communication, frontend), monitor(transport, bytes, image) {
    communication.timeout = 40;
  }

  ScriptedPort port;
  CommunicationSettings communication;
  RecordingFrontend frontend;
  MonitorBytes bytes;
  MemoryImage image;
  Transport transport;
  MonitorProtocol monitor;
};

// ---------------------------------------------------------------------------------------
// Golden sequences on a scripted line

struct SimpleCommand {
  const char* name;
  int16_t (MonitorProtocol::*run)();
  uint8_t commandByte;
};

const SimpleCommand kSimpleCommands[] = {
    {"Cmd_Einit", &MonitorProtocol::Cmd_Einit, 0x31},
    {"Cmd_reconnect", &MonitorProtocol::Cmd_reconnect, 0x93},
    {"Cmd_Swreset", &MonitorProtocol::Cmd_Swreset, 0x32},
};

struct AckCase {
  const char* name;
  Bytes answer;
  int16_t status;
};

// Missing bytes time out; a later failure overwrites an earlier one.
const AckCase kAckCases[] = {
    {"both acknowledges", {0xAA, 0xEA}, 0},
    {"wrong first", {0x55, 0xEA}, -1},
    {"second acknowledge twice", {0xEA, 0xEA}, -1},
    {"wrong second", {0xAA, 0x55}, -2},
    {"both wrong", {0x55, 0x55}, -2},
    {"second missing", {0xAA}, -2},
    {"no answer", {}, -2},
};

TEST(MonitorWire, SimpleCommandsSendOneByteAndJudgeBothAcknowledges) {
  for (const auto& command : kSimpleCommands) {
    for (const auto& ack : kAckCases) {
      SCOPED_TRACE(std::string(command.name) + ", " + ack.name);
      ScriptedMonitor line;
      line.port.expect({command.commandByte}).reply(ack.answer);
      EXPECT_EQ((line.monitor.*command.run)(), ack.status);
      EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
      EXPECT_EQ(line.port.Pending(), 0U);
      EXPECT_TRUE(line.frontend.boxes.empty());
    }
  }
}

TEST(MonitorWire, CommandBytesFromThePreferencesTakeEffectWithTheNextByte) {
  ScriptedMonitor line;
  line.bytes.einit = 0x51;
  line.bytes.ack1 = 0x5A;
  line.bytes.ack2 = 0xA5;
  line.port.expect({0x51}).reply({0x5A, 0xA5}).expect({0x51}).reply({0xAA, 0xEA});
  EXPECT_EQ(line.monitor.Cmd_Einit(), 0);
  // The default acknowledges are no longer the monitor's.
  EXPECT_EQ(line.monitor.Cmd_Einit(), -2);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
}

TEST(MonitorWire, JmpSendsTheAddressLowByteFirstBetweenTheAcknowledges) {
  ScriptedMonitor line;
  line.port.expect({0x41}).reply({0xAA}).expect({0x56, 0x34, 0x12}).reply({0xEA});
  EXPECT_EQ(line.monitor.Cmd_Jmp(0x123456), 0);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
}

TEST(MonitorWire, JmpCompletesItsSequenceAfterAMissingFirstAcknowledge) {
  ScriptedMonitor line;
  line.port.expect({0x41}).expect({0x00, 0x10, 0x00}).reply({0xEA});
  EXPECT_EQ(line.monitor.Cmd_Jmp(0x001000), -1);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
}

TEST(MonitorWire, WriteWordSendsAddressAndWordAndLeavesTheImageAlone) {
  ScriptedMonitor line;
  line.port.expect({0x82}).reply({0xAA}).expect({0x12, 0xFE, 0x00, 0xEF, 0xBE}).reply({0xEA});
  EXPECT_EQ(line.monitor.Cmd_WriteWord(0x00FE12, 0xBEEF), 0);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
  EXPECT_EQ(line.image.Flags(0x00FE12), 0);
  EXPECT_EQ(line.image.Flags(0x00FE13), 0);
  EXPECT_EQ(line.image.GetByte(0x00FE12), 0);
}

TEST(MonitorWire, WriteOfThreeBytesAtF600) {
  ScriptedMonitor line;
  const Bytes data = {0x12, 0x34, 0x56};
  line.image.StoreLoaded(0x00F600, data);
  line.port.expect({0x84})
      .reply({0xAA})
      .expect({0x00, 0xF6, 0x00, 0x03, 0x00, 0x12, 0x34, 0x56})
      .reply({0xEA})
      .expect({0x33})
      .reply({0xAA, 0x70, 0xEA});
  EXPECT_EQ(line.monitor.Cmd_Write(0x00F600, 3), 0);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
  for (int32_t a = 0x00F600; a <= 0x00F602; ++a) {
    EXPECT_EQ(line.image.Flags(a), kDefined | kValid) << std::hex << a;
  }
  EXPECT_EQ(line.image.Flags(0x00F603), 0);
}

TEST(MonitorWire, ReadOfThreeBytesAtF600StoresThemAsTheTargets) {
  ScriptedMonitor line;
  line.port.expect({0x85})
      .reply({0xAA})
      .expect({0x00, 0xF6, 0x00, 0x03, 0x00})
      .reply({0x12, 0x34, 0x56, 0xEA})
      .expect({0x33})
      .reply({0xAA, 0x70, 0xEA});
  EXPECT_EQ(line.monitor.Cmd_Read(0x00F600, 3), 0);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
  const Bytes expected = {0x12, 0x34, 0x56};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(line.image.GetByte(0x00F600 + i), expected[static_cast<size_t>(i)]);
    EXPECT_EQ(line.image.Flags(0x00F600 + i), kDefined | kValid);
  }
  EXPECT_EQ(line.image.Flags(0x00F603), 0);
}

TEST(MonitorWire, CallSendsAddressAndR8ToR15AndTakesTheReply) {
  ScriptedMonitor line;
  CallRegisters registers = {0x1234, 0x0001, 0x0203, 0x0405, 0x0607, 0x0809, 0x0A0B, 0xFFFF};
  line.port.expect({0x9F})
      .reply({0xAA})
      .expect({0x00, 0xA0, 0x01,                                 // address 01A000
               0x34, 0x12, 0x01, 0x00, 0x03, 0x02, 0x05, 0x04,   // R8 .. R11
               0x07, 0x06, 0x09, 0x08, 0x0B, 0x0A, 0xFF, 0xFF})  // R12 .. R15
      .reply({0x78, 0x56, 0x00, 0x00, 0x11, 0x11, 0x22, 0x22, 0x33, 0x33, 0x44, 0x44, 0x55, 0x55,
              0xCD, 0xAB, 0xEA});
  EXPECT_EQ(line.monitor.Cmd_Call(0x01A000, registers), 0);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
  EXPECT_EQ(registers,
            (CallRegisters{0x5678, 0x0000, 0x1111, 0x2222, 0x3333, 0x4444, 0x5555, 0xABCD}));
  EXPECT_TRUE(line.frontend.boxes.empty());
}

TEST(MonitorWire, CallWithoutTheClosingAcknowledgeKeepsTheCallersRegisters) {
  ScriptedMonitor line;
  CallRegisters registers = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  Bytes parameters = {0x00, 0xA0, 0x00, 0x34, 0x12};
  parameters.resize(19, 0x00);
  Bytes reply(16, 0x77);
  reply.push_back(0x55);
  line.port.expect({0x9F}).reply({0xAA}).expect(parameters).reply(reply);
  EXPECT_EQ(line.monitor.Cmd_Call(0x00A000, registers), -1);
  EXPECT_EQ(registers[0], 0x1234);
  EXPECT_EQ(registers[7], 0);
  EXPECT_TRUE(line.port.allConsumed()) << line.port.Problems();
}

// ---------------------------------------------------------------------------------------
// The same commands against the virtual board

class MonitorCommands : public LinkFixture {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Connect()); }

  MonitorProtocol& monitor() { return link->monitor(); }
  RegisterAccess& access() { return link->registerAccess(); }
  Bytes BoardBytes(int32_t address, size_t count) {
    Bytes bytes(count);
    board->memory().ReadBytes(address, bytes);
    return bytes;
  }
};

TEST_F(MonitorCommands, SimpleCommandsOnTheBoard) {
  EXPECT_EQ(monitor().Cmd_Einit(), 0);
  EXPECT_EQ(TakeSent(), Bytes{0x31});
  EXPECT_EQ(monitor().Cmd_reconnect(), 0);
  EXPECT_EQ(TakeSent(), Bytes{0x93});
  EXPECT_EQ(board->mode(), Board::Mode::Monitor);
  EXPECT_EQ(monitor().Cmd_Swreset(), 0);
  EXPECT_EQ(TakeSent(), Bytes{0x32});
  EXPECT_EQ(board->mode(), Board::Mode::Running);
  // None of them changes the state of the connection.
  EXPECT_EQ(link->state(), TargetState::Ready);
}

TEST_F(MonitorCommands, JmpStartsTheProgramAtTheAddress) {
  EXPECT_EQ(monitor().Cmd_Jmp(0x012000), 0);
  EXPECT_EQ(TakeSent(), (Bytes{0x41, 0x00, 0x20, 0x01}));
  EXPECT_EQ(board->mode(), Board::Mode::Running);
  EXPECT_EQ(link->state(), TargetState::Ready);
}

TEST_F(MonitorCommands, WriteWordChangesTheTargetButNotTheImage) {
  image.StoreFromTarget(0x00F700, Bytes{0x11, 0x22});
  EXPECT_EQ(monitor().Cmd_WriteWord(0x00F700, 0xBEEF), 0);
  EXPECT_EQ(TakeSent(), (Bytes{0x82, 0x00, 0xF7, 0x00, 0xEF, 0xBE}));
  EXPECT_EQ(board->ReadWord(0x00F700), 0xBEEF);
  EXPECT_EQ(image.GetByte(0x00F700), 0x11);
  EXPECT_EQ(image.GetByte(0x00F701), 0x22);
  EXPECT_EQ(image.Flags(0x00F700), kDefined | kValid);
}

TEST_F(MonitorCommands, WriteOfThreeBytesAtF600) {
  image.StoreLoaded(0x00F600, Bytes{0x12, 0x34, 0x56});
  EXPECT_EQ(monitor().Cmd_Write(0x00F600, 3), 0);
  EXPECT_EQ(TakeSent(), (Bytes{0x84, 0x00, 0xF6, 0x00, 0x03, 0x00, 0x12, 0x34, 0x56, 0x33}));
  EXPECT_EQ(BoardBytes(0x00F600, 3), (Bytes{0x12, 0x34, 0x56}));
  for (int32_t a = 0x00F600; a <= 0x00F602; ++a) EXPECT_EQ(image.Flags(a), kDefined | kValid);
  EXPECT_EQ(image.Flags(0x00F5FF), 0);
  EXPECT_EQ(image.Flags(0x00F603), 0);
}

TEST_F(MonitorCommands, ReadFetchesTheTargetsBytesIntoTheImage) {
  board->memory().StoreLoaded(0x00F600, Bytes{0x12, 0x34, 0x56, 0x78});
  image.StoreLoaded(0x00F600, Bytes{0x00, 0x00, 0x00, 0x00});
  EXPECT_EQ(monitor().Cmd_Read(0x00F600, 3), 0);
  EXPECT_EQ(TakeSent(), (Bytes{0x85, 0x00, 0xF6, 0x00, 0x03, 0x00, 0x33}));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(image.Flags(0x00F600 + i), kDefined | kValid);
  EXPECT_EQ(image.GetByte(0x00F600), 0x12);
  EXPECT_EQ(image.GetByte(0x00F602), 0x56);
  // Only the bytes asked for.
  EXPECT_EQ(image.GetByte(0x00F603), 0x00);
  EXPECT_EQ(image.Flags(0x00F603), kDefined);
}

TEST_F(MonitorCommands, CallRunsTheRoutineWithR8ToR15) {
  BoardRegisters seen{};
  board->SetRoutine(0x00A000, {[&seen](const BoardRegisters& in, Board&) {
                                 seen = in;
                                 BoardRegisters out = in;
                                 out[0] = 0x5678;
                                 out[7] = 0x0000;  // the driver's result
                                 return out;
                               },
                               std::chrono::milliseconds(0)});
  CallRegisters r = {0x1234, 0x0009, 0, 0, 0, 0, 0, 0x00FF};
  EXPECT_EQ(monitor().Cmd_Call(0x00A000, r), 0);
  EXPECT_EQ(
      TakeSent(),
      Concat({{0x9F, 0x00, 0xA0, 0x00, 0x34, 0x12, 0x09, 0x00}, Bytes(10, 0x00), {0xFF, 0x00}}));
  EXPECT_EQ(seen, (BoardRegisters{0x1234, 0x0009, 0, 0, 0, 0, 0, 0x00FF}));
  EXPECT_EQ(r, (CallRegisters{0x5678, 0x0009, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(link->state(), TargetState::Ready);
}

TEST_F(MonitorCommands, ReadGprReadsTheRegisterBankAtTheContextPointer) {
  // The board's register bank lies at CP = FC00; R5 is at FC0A.
  board->WriteWord(0x00FC0A, 0x4321);
  EXPECT_EQ(access().cmd_readgpr(5), 0x4321);
  EXPECT_EQ(TakeSent(), (Bytes{0x85, 0x10, 0xFE, 0x00, 0x02, 0x00, 0x33,     // CP
                               0x85, 0x0A, 0xFC, 0x00, 0x02, 0x00, 0x33}));  // R5
  // Both reads also land in the image.
  EXPECT_EQ(image.GetByte(0x00FE10), 0x00);
  EXPECT_EQ(image.GetByte(0x00FE11), 0xFC);
  EXPECT_EQ(image.Flags(0x00FC0A), kDefined | kValid);
  EXPECT_EQ(image.GetByte(0x00FC0B), 0x43);
}

struct PopCase {
  const char* name;
  bool second;
  bool pop;
  int32_t word;
  uint16_t spAfter;
};

TEST_F(MonitorCommands, PopReadsTheStackAndMovesSpByOneWord) {
  // SP = FBFE at reset.
  const PopCase cases[] = {
      {"cmd_pop, peek", false, false, 0xABCD, 0xFBFE},
      {"cmd_pop2nd, peek", true, false, 0x5678, 0xFBFE},
      {"cmd_pop", false, true, 0xABCD, 0xFC00},
      {"cmd_pop2nd", true, true, 0x5678, 0xFC00},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    board->WriteWord(0x00FE12, 0xFBFE);
    board->WriteWord(0x00FBFE, 0xABCD);
    board->WriteWord(0x00FC00, 0x5678);
    const int32_t word = c.second ? access().cmd_pop2nd(c.pop) : access().cmd_pop(c.pop);
    EXPECT_EQ(word, c.word);
    EXPECT_EQ(board->ReadWord(0x00FE12), c.spAfter);
    Bytes expected = {0x85,
                      0x12,
                      0xFE,
                      0x00,
                      0x02,
                      0x00,
                      0x33,  // SP
                      0x85,
                      static_cast<uint8_t>(c.second ? 0x00 : 0xFE),
                      static_cast<uint8_t>(c.second ? 0xFC : 0xFB),
                      0x00,
                      0x02,
                      0x00,
                      0x33};
    if (c.pop) expected = Concat({expected, {0x82, 0x12, 0xFE, 0x00, 0x00, 0xFC}});
    EXPECT_EQ(TakeSent(), expected);
  }
}

class MissingRegisters : public LinkFixture {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Connect()); }
  RegisterTable empty;
};

TEST_F(MissingRegisters, RegisterProceduresSayWhichRegisterIsMissingAndSendNothing) {
  RegisterAccess access(link->monitor(), image, empty, log);
  const size_t before = Lines().size();
  EXPECT_EQ(access.cmd_readgpr(3), -1);
  EXPECT_EQ(access.cmd_pop(true), -1);
  EXPECT_EQ(access.cmd_pop2nd(false), -1);
  EXPECT_TRUE(TakeSent().empty());
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), before + 3);
  EXPECT_EQ(lines[before], "*ERROR: Register CP not defined");
  EXPECT_EQ(lines[before + 1], "*ERROR: Register SP not defined");
  EXPECT_EQ(lines[before + 2], "*ERROR: Register SP not defined");
  EXPECT_EQ(image.RangeErrors(), 0);
}

}  // namespace
}  // namespace velmora
