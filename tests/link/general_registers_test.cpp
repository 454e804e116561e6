// The general registers the debugger shows, read from and written to the virtual board
// through the monitor, and the PSW's flags as the shipped definitions name them.
#include "link/general_registers.h"

#include <gtest/gtest.h>

#include "link/link.h"
#include "link_fixture.h"

namespace velmora {
namespace {

constexpr int32_t kBank = 0xFC00;  // where the board's CP points after reset

class GeneralRegistersTest : public test::LinkFixture {
 protected:
  // Distinct values everywhere, so that a register read from the wrong place shows.
  void fillBoard(int32_t bank) {
    board->WriteWord(0xFE10, static_cast<uint16_t>(bank));
    for (int n = 0; n < kBankRegisters; ++n)
      board->WriteWord(bank + 2 * n, static_cast<uint16_t>(0x1100 * (n + 1) + n));
    board->WriteWord(0xFF10, 0x800D);  // PSW
    board->WriteWord(0xFE12, 0xFBF0);  // SP
    for (int k = 0; k < 4; ++k) board->WriteWord(0xFE00 + 2 * k, static_cast<uint16_t>(k + 0x10));
  }

  static int32_t expectedBankValue(int n) { return (0x1100 * (n + 1) + n) & 0xFFFF; }
};

TEST_F(GeneralRegistersTest, NamesFollowTheBankAndThenTheSpecialRegisters) {
  const char* expected[] = {"R0",  "R1", "R2",  "R3",   "R4",   "R5",   "R6",  "R7",
                            "R8",  "R9", "R10", "R11",  "R12",  "R13",  "R14", "R15",
                            "PSW", "SP", "CP",  "DPP0", "DPP1", "DPP2", "DPP3"};
  ASSERT_EQ(std::size(expected), static_cast<size_t>(kGeneralRegisterCount));
  for (int i = 0; i < kGeneralRegisterCount; ++i) EXPECT_EQ(GeneralRegisterName(i), expected[i]);
}

TEST_F(GeneralRegistersTest, ReadFromTheBoardInTheBankCpPointsTo) {
  Connect();
  for (int32_t bank : {kBank, 0xF600}) {
    SCOPED_TRACE(bank);
    fillBoard(bank);
    const GeneralRegisters read = ReadGeneralRegisters(*link);
    EXPECT_TRUE(read.fromTarget);
    for (int n = 0; n < kBankRegisters; ++n) EXPECT_EQ(read.values[n], expectedBankValue(n)) << n;
    EXPECT_EQ(read.values[kPswIndex], 0x800D);
    EXPECT_EQ(read.values[kPswIndex + 1], 0xFBF0);
    EXPECT_EQ(read.values[kCpIndex], bank);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(read.values[kCpIndex + 1 + k], k + 0x10);
    // What was read is in the image as the target's.
    EXPECT_EQ(image.GetByte(bank + 2), expectedBankValue(1) & 0xFF);
    EXPECT_TRUE(image.IsDefined(0xFF11));
  }
}

TEST_F(GeneralRegistersTest, WithoutAConnectionTheImageAnswersAndNothingIsSent) {
  fillBoard(kBank);
  GeneralRegisters read = ReadGeneralRegisters(*link);
  EXPECT_FALSE(read.fromTarget);
  for (int32_t value : read.values) EXPECT_EQ(value, -1);

  // Values read earlier stay readable from the image.
  image.StoreFromTarget(0xFE10, std::vector<uint8_t>{0x00, 0xFC});
  image.StoreFromTarget(kBank + 6, std::vector<uint8_t>{0x34, 0x12});
  read = ReadGeneralRegisters(*link);
  EXPECT_EQ(read.values[kCpIndex], kBank);
  EXPECT_EQ(read.values[3], 0x1234);
  EXPECT_EQ(read.values[2], -1);
  EXPECT_TRUE(TakeSent().empty());
  EXPECT_EQ(WriteGeneralRegister(*link, 3, 0x5555), -1);
  EXPECT_TRUE(TakeSent().empty());
}

TEST_F(GeneralRegistersTest, WritesReachTheBoardAndAreReadBack) {
  Connect();
  fillBoard(0xF600);
  struct Case {
    int index;
    int32_t address;
  };
  // R5 in the bank CP points to on the board, not in one the image remembers.
  image.StoreFromTarget(0xFE10, std::vector<uint8_t>{0x00, 0xFC});
  for (const Case c : {Case{5, 0xF600 + 10}, Case{15, 0xF600 + 30}, Case{kPswIndex, 0xFF10},
                       Case{kCpIndex + 2, 0xFE02}}) {
    SCOPED_TRACE(c.index);
    EXPECT_EQ(WriteGeneralRegister(*link, c.index, 0xBEEF), 0xBEEF);
    EXPECT_EQ(board->ReadWord(c.address), 0xBEEF);
    EXPECT_EQ(image.GetByte(c.address), 0xEF);
  }
  EXPECT_NE(board->ReadWord(kBank + 10), 0xBEEF);  // the bank the image remembered
  EXPECT_EQ(WriteGeneralRegister(*link, kGeneralRegisterCount, 1), -1);
}

TEST_F(GeneralRegistersTest, AMissingCpIsNamedAndLeavesTheBankUnknown) {
  Connect();
  fillBoard(kBank);
  RegisterTable withoutCp;
  for (int i = 0; i < registers.Count(); ++i)
    if (registers.At(i).name != "CP") withoutCp.Add(registers.At(i));
  registers = withoutCp;
  const GeneralRegisters read = ReadGeneralRegisters(*link);
  for (int n = 0; n < kBankRegisters; ++n) EXPECT_EQ(read.values[n], -1);
  EXPECT_EQ(read.values[kPswIndex], 0x800D);
  EXPECT_EQ(read.values[kCpIndex], -1);
  EXPECT_EQ(Lines().back(), "*ERROR: Register CP not defined");
  EXPECT_EQ(WriteGeneralRegister(*link, 0, 1), -1);
}

TEST_F(GeneralRegistersTest, PswFlagsAsTheDefinitionsNameThem) {
  struct Expected {
    const char* name;
    int bit;
    int width;
    int value;
  };
  // N, Z and E set, interrupts enabled at level 0Bh.
  const Expected expected[] = {{"N", 0, 1, 1},      {"C", 1, 1, 0},      {"V", 2, 1, 0},
                               {"Z", 3, 1, 1},      {"E", 4, 1, 1},      {"MULIP", 5, 1, 0},
                               {"USR0", 6, 1, 0},   {"HLDEN", 10, 1, 0}, {"IEN", 11, 1, 1},
                               {"ILVL", 12, 4, 0xB}};
  const auto fields = RegisterFields(registers, "PSW", 0xB819);
  ASSERT_EQ(fields.size(), std::size(expected));
  for (size_t i = 0; i < fields.size(); ++i) {
    SCOPED_TRACE(expected[i].name);
    EXPECT_EQ(fields[i].name, expected[i].name);
    EXPECT_EQ(fields[i].bit, expected[i].bit);
    EXPECT_EQ(fields[i].width, expected[i].width);
    EXPECT_EQ(fields[i].value, expected[i].value);
  }
  EXPECT_TRUE(RegisterFields(registers, "NOSUCH", 0xFFFF).empty());
}

}  // namespace
}  // namespace velmora
