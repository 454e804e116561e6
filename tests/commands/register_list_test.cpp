// The shown-register list and the editor's reads and writes of one register, against the
// virtual board: what goes on the wire, what the image holds, and what the views are told.
#include "commands/register_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/hex_text.h"
#include "wire_reader.h"

namespace velmora {
namespace {

using namespace test;

class RegisterListCore : public WireFixture {
 protected:
  int IndexOf(const char* name) const { return registers.FindRegister(name); }
  int32_t AddressOf(const char* name) const { return registers.At(IndexOf(name)).address; }
  const std::vector<std::string>& Shown() const { return settings.frontend.display; }
};

TEST_F(RegisterListCore, AddsEachRegisterOnceUnderItsDefinedName) {
  settings.frontend.display.clear();
  EXPECT_TRUE(AddSfr(*link, "psw"));
  EXPECT_FALSE(AddSfr(*link, "PSW"));
  EXPECT_FALSE(AddSfr(*link, "Psw"));
  EXPECT_FALSE(AddSfr(*link, "NOSUCHREG"));
  EXPECT_EQ(Shown(), std::vector<std::string>{"PSW"});
  EXPECT_TRUE(RemoveSfr(*link, "pSw"));
  EXPECT_FALSE(RemoveSfr(*link, "PSW"));
  EXPECT_TRUE(Shown().empty());
}

TEST_F(RegisterListCore, ReadsOneRegisterOnlyFromAReadyTarget) {
  const int index = IndexOf("S0CON");
  ASSERT_GE(index, 0);
  EXPECT_FALSE(ReadSfr(*link, index));
  EXPECT_TRUE(TakeSent().empty()) << "nothing may be sent while not connected";

  ConnectAndMark();
  const int32_t address = AddressOf("S0CON");
  board->WriteWord(address, 0x1B2C);
  EXPECT_TRUE(ReadSfr(*link, index));
  EXPECT_EQ(Blocks(TakeSent(), kReadBlock),
            (std::vector<std::pair<int32_t, int32_t>>{{address, 2}}));
  EXPECT_EQ(SfrValue(image, address), 0x1B2C);
  EXPECT_TRUE(image.IsValid(address) && image.IsValid(address + 1));
  EXPECT_FALSE(ReadSfr(*link, -1));
  EXPECT_FALSE(ReadSfr(*link, registers.Count()));
}

TEST_F(RegisterListCore, WriteGoesToTheImageAloneWhileNotConnected) {
  const int32_t address = AddressOf("PSW");
  EXPECT_TRUE(WriteSfr(*link, IndexOf("PSW"), 0xA55A));
  EXPECT_TRUE(TakeSent().empty());
  EXPECT_EQ(image.GetByte(address), 0x5A);
  EXPECT_EQ(image.GetByte(address + 1), 0xA5);
  EXPECT_TRUE(image.IsDefined(address) && image.IsDefined(address + 1));
  EXPECT_FALSE(image.IsValid(address)) << "the target has not seen the value";
  EXPECT_EQ(frontend.ChangesOf(RefreshTarget::RegisterList).back(), Change::Register(address));
}

TEST_F(RegisterListCore, WriteToAReadyTargetSendsTheWordAndRereadsTheShownRegisters) {
  settings.frontend.display = {"SP", "S0CON"};
  ConnectAndMark();
  const int32_t address = AddressOf("S0CON");
  EXPECT_TRUE(WriteSfr(*link, IndexOf("S0CON"), 0x0811));
  const Bytes sent = TakeSent();
  const auto words = Only(sent, kWriteWord);
  ASSERT_EQ(words.size(), 1u);
  EXPECT_EQ(words[0].address, address);
  EXPECT_EQ(words[0].count, 0x0811);
  EXPECT_EQ(board->ReadWord(address), 0x0811);
  EXPECT_EQ(Blocks(sent, kReadBlock),
            (std::vector<std::pair<int32_t, int32_t>>{{AddressOf("SP"), 2}, {address, 2}}));
  EXPECT_EQ(SfrValue(image, address), 0x0811);
  EXPECT_TRUE(image.IsValid(address));
  EXPECT_FALSE(WriteSfr(*link, -1, 0));
}

TEST_F(RegisterListCore, ValueTakesTheByteAboveTheAddressAsHighByte) {
  image.StoreLoaded(0xFF10, Bytes{0x34, 0x12});
  EXPECT_EQ(SfrValue(image, 0xFF10), 0x1234);
  image.StoreLoaded(0x1FFFE, Bytes{0xFF, 0x00});
  EXPECT_EQ(SfrValue(image, 0x1FFFE), 0x00FF);
}

TEST_F(RegisterListCore, CheckDropsNamesTheNewDefinitionsLack) {
  settings.frontend.display = {"PSW", "S0CON", "CCM0", "SP"};
  // A type that knows only two of them.
  RegisterTable narrower;
  narrower.Add(registers.At(IndexOf("SP")));
  narrower.Add(registers.At(IndexOf("PSW")));
  registers = narrower;
  CheckSfr(*link);
  EXPECT_EQ(Shown(), (std::vector<std::string>{"PSW", "SP"}));
  EXPECT_EQ(frontend.ChangesOf(RefreshTarget::RegisterList).back(),
            Change::All(RefreshTarget::RegisterList));
}

}  // namespace
}  // namespace velmora
