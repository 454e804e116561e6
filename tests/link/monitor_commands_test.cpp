// The monitor commands on the wire: the exact bytes each sends and takes with the virtual
// board at the other end, what they change there, and the register procedures built on
// the block read.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "link/monitor_protocol.h"
#include "link/register_access.h"
#include "observing_port.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

struct GoldenRow {
  const char* name;
  Bytes sent, answers;
  std::function<int16_t(Link&, Board&, MemoryImage&)> run;  // runs it and checks its effects
};

// R8 = 1234 and R9 = 0001 go in; the routine sets R8 = 5678 and R9 = 0102.
BoardRoutine Routine() {
  return {[](const BoardRegisters& in, Board&) {
            EXPECT_EQ(in, (BoardRegisters{0x1234, 0x0001, 0, 0, 0, 0, 0, 0xABCD}));
            return BoardRegisters{0x5678, 0x0102, 0, 0, 0, 0, 0, 0x8000};
          },
          {}};
}

const GoldenRow kGoldenRows[] = {
    {"Einit", {0x31}, {0xAA, 0xEA}, [](Link& l, Board&, auto&) { return l.monitor().Cmd_Einit(); }},
    {"Reconnect",
     {0x93},
     {0xAA, 0xEA},
     [](Link& l, Board&, auto&) { return l.monitor().Cmd_reconnect(); }},
    {"Swreset",
     {0x32},
     {0xAA, 0xEA},
     [](Link& l, Board& b, auto&) {
       const int16_t status = l.monitor().Cmd_Swreset();
       EXPECT_EQ(b.mode(), Board::Mode::Running);
       return status;
     }},
    {"Jmp012000",
     {0x41, 0x00, 0x20, 0x01},
     {0xAA, 0xEA},
     [](Link& l, Board&, auto&) { return l.monitor().Cmd_Jmp(0x012000); }},
    {"WriteWordBEEFAtF700",
     {0x82, 0x00, 0xF7, 0x00, 0xEF, 0xBE},
     {0xAA, 0xEA},
     [](Link& l, Board& b, MemoryImage& image) {
       const int16_t status = l.monitor().Cmd_WriteWord(0x00F700, 0xBEEF);
       EXPECT_EQ(b.ReadWord(0x00F700), 0xBEEF);
       EXPECT_EQ(image.Flags(0x00F700), 0);  // the image is left alone
       return status;
     }},
    {"Write123456AtF600",
     {0x84, 0x00, 0xF6, 0x00, 0x03, 0x00, 0x12, 0x34, 0x56, 0x33},
     {0xAA, 0xEA, 0xAA, 0x70, 0xEA},
     [](Link& l, Board& b, MemoryImage& image) {
       image.StoreLoaded(0x00F600, Bytes{0x12, 0x34, 0x56});
       const int16_t status = l.monitor().Cmd_Write(0x00F600, 3);
       EXPECT_EQ(b.ReadWord(0x00F601), 0x5634);
       EXPECT_EQ(image.Flags(0x00F602), kDefined | kValid);
       return status;
     }},
    {"ReadThreeBytesAtF600",
     {0x85, 0x00, 0xF6, 0x00, 0x03, 0x00, 0x33},
     {0xAA, 0x12, 0x34, 0x56, 0xEA, 0xAA, 0x70, 0xEA},
     [](Link& l, Board& b, MemoryImage& image) {
       b.memory().StoreLoaded(0x00F600, Bytes{0x12, 0x34, 0x56, 0x78});
       const int16_t status = l.monitor().Cmd_Read(0x00F600, 3);
       EXPECT_EQ(image.GetByte(0x00F602), 0x56);
       EXPECT_EQ(image.Flags(0x00F600), kDefined | kValid);
       EXPECT_EQ(image.Flags(0x00F603), 0);  // only the bytes asked for
       return status;
     }},
    {"CallWithR8_1234",
     Bytes{0x9F, 0x00, 0xA0, 0x01, 0x34, 0x12, 0x01, 0x00} + Bytes(10, 0) + Bytes{0xCD, 0xAB},
     Bytes{0xAA, 0x78, 0x56, 0x02, 0x01} + Bytes(10, 0) + Bytes{0x00, 0x80, 0xEA},
     [](Link& l, Board& b, auto&) {
       b.SetRoutine(0x01A000, Routine());
       CallRegisters r = {0x1234, 0x0001, 0, 0, 0, 0, 0, 0xABCD};
       const int16_t status = l.monitor().Cmd_Call(0x01A000, r);
       EXPECT_EQ(r, (CallRegisters{0x5678, 0x0102, 0, 0, 0, 0, 0, 0x8000}));
       return status;
     }},
};

class OnTheBoard : public test::ObservedLinkFixture {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Connect());
    line.read.clear();
  }
};

class MonitorWire : public OnTheBoard, public ::testing::WithParamInterface<GoldenRow> {};

TEST_P(MonitorWire, SendsItsBytesAndTakesItsAnswers) {
  EXPECT_EQ(GetParam().run(*link, *board, image), 0);
  EXPECT_EQ(TakeSent(), GetParam().sent);
  EXPECT_EQ(line.read, GetParam().answers);
  EXPECT_EQ(port->BytesAvailable(), 0U);
  EXPECT_EQ(link->state(), TargetState::Ready);
}

INSTANTIATE_TEST_SUITE_P(Commands, MonitorWire, ::testing::ValuesIn(kGoldenRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(OnTheBoard, CommandBytesFromThePreferencesTakeEffectWithTheNextCommand) {
  settings.bytes.einit = 0x51;
  EXPECT_EQ(link->monitor().Cmd_Einit(), -2);  // the board does not know it
  settings.bytes.einit = 0x31;
  settings.bytes.ack1 = 0x5A;
  EXPECT_EQ(link->monitor().Cmd_Einit(), -1);
  EXPECT_EQ(TakeSent(), (Bytes{0x51, 0x31}));
}

// ---------------------------------------------------------------------------------------
// The register procedures

Bytes ReadWordWire(int32_t address) {
  return {0x85, static_cast<uint8_t>(address), static_cast<uint8_t>(address >> 8), 0x00, 0x02, 0x00,
          0x33};
}

TEST_F(OnTheBoard, RegisterProceduresReadTheBankAtCpAndTheStackAtSp) {
  RegisterAccess& access = link->registerAccess();
  board->WriteWord(0x00FC0A, 0x4321);  // R5 of the bank at CP = FC00
  EXPECT_EQ(access.cmd_readgpr(5), 0x4321);
  EXPECT_EQ(TakeSent(), ReadWordWire(0xFE10) + ReadWordWire(0xFC0A));

  board->WriteWord(0x00FC00, 0x5678);  // above the word at SP = FBFE; popping is in the break
  EXPECT_EQ(access.cmd_pop2nd(false), 0x5678);
  EXPECT_EQ(TakeSent(), ReadWordWire(0xFE12) + ReadWordWire(0xFC00));
}

TEST_F(OnTheBoard, RegisterProceduresSayWhichRegisterIsMissingAndSendNothing) {
  RegisterTable empty;
  RegisterAccess access(link->monitor(), image, empty, log);
  log.List() = MessageList();
  EXPECT_EQ(access.cmd_readgpr(3), -1);
  EXPECT_EQ(access.cmd_pop2nd(true), -1);
  EXPECT_TRUE(TakeSent().empty());
  EXPECT_EQ(Lines(), (std::vector<std::string>{"*ERROR: Register CP not defined",
                                               "*ERROR: Register SP not defined"}));
}

}  // namespace
}  // namespace velmora
