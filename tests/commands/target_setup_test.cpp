// What follows the monitor's start: the reset configuration read from the board and
// decoded, the configured registers written in their order, EINIT, and the
// identification registers decoded.
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "commands/target_setup.h"
#include "core/hex_text.h"
#include "wire_reader.h"

namespace velmora {
namespace {

using namespace test;

// LC_ALL=C while it lives, so that the decimal separator is ".".
struct CLocale {
  CLocale() : saved(std::getenv("LC_ALL") ? std::getenv("LC_ALL") : "") {
    setenv("LC_ALL", "C", 1);
  }
  ~CLocale() { saved.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", saved.c_str(), 1); }
  std::string saved;
};

// What the board answers to a word read: A_ACK1, 2 bytes, A_ACK2; A_ACK1, checksum, A_ACK2.
constexpr size_t kWordReadAnswer = 7;

class TargetSetup : public WireFixture {
 protected:
  int32_t AddressOf(const char* name) const {
    const int index = registers.FindRegister(name);
    return index >= 0 ? registers.At(index).address : -1;
  }
  // Takes a register out of the definitions the link works with.
  void RemoveRegister(std::string_view name) {
    RegisterTable kept;
    for (int i = 0; i < registers.Count(); ++i) {
      if (!EqualsNoCase(registers.At(i).name, name)) kept.Add(registers.At(i));
    }
    ASSERT_EQ(kept.Count(), registers.Count() - 1) << name;
    registers = kept;
  }
  std::vector<int32_t> ReadAddresses() {
    std::vector<int32_t> addresses;
    for (const auto& [address, count] : Blocks(TakeSent(), kReadBlock))
      addresses.push_back(address);
    return addresses;
  }
};

// The line each field value decodes to; the other bits of the register must not matter.
TEST(ResetConfigLines, EveryFieldValue) {
  using R = ResetConfiguration;
  struct Case {
    int32_t R::*field;
    int32_t mask;  // the bits the line depends on
    int32_t value;
    size_t line;
    const char* text;
  };
  const Case kCases[] = {
      {&R::systemStatus, 0xFFFF, 0x1234, 0, "*Reset: SYSSTAT=1234"},
      {&R::memoryId, 0xF000, 0x1000, 1, "*Chip: ROM_100 Pins"},
      {&R::memoryId, 0xF000, 0x3000, 1, "*Chip: FLASH_100 Pins"},
      {&R::testMode, 0xC000, 0x4000, 1, "*Chip: FLASH_128 Pins"},
      {&R::testMode, 0xC000, 0x8000, 1, "*Chip: FLASH_144 Pins"},
      {&R::testMode, 0xC000, 0xC000, 1, "*Chip: FLASH_144 Pins"},
      {&R::resetControl2, 0x0200, 0x0200, 2, "*Reset Configuration: Single Chip Mode"},
      {&R::resetControl2, 0x0200, 0x0000, 2, "*Reset Configuration: Bus Mode"},
      {&R::chipSelect0, 0x0030, 0x0000, 3, "*Reset Configuration: 8 Bit demultiplexed Bus"},
      {&R::chipSelect0, 0x0030, 0x0010, 3, "*Reset Configuration: 8 Bit multiplexed Bus"},
      {&R::chipSelect0, 0x0030, 0x0020, 3, "*Reset Configuration: 16 Bit demultiplexed Bus"},
      {&R::chipSelect0, 0x0030, 0x0030, 3, "*Reset Configuration: 16 Bit multiplexed Bus"},
      {&R::resetConfig, 0x0600, 0x0000, 4, "*Reset Configuration: CS0-CS2"},
      {&R::resetConfig, 0x0600, 0x0200, 4, "*Reset Configuration: CS0-CS1"},
      {&R::resetConfig, 0x0600, 0x0400, 4, "*Reset Configuration: No CS Lines"},
      {&R::resetConfig, 0x0600, 0x0600, 4, "*Reset Configuration: CS0-CS4"},
      {&R::resetConfig, 0x1800, 0x0000, 5, "*Reset Configuration: A16-A19"},
      {&R::resetConfig, 0x1800, 0x0800, 5, "*Reset Configuration: No Segment Address Lines"},
      {&R::resetConfig, 0x1800, 0x1000, 5, "*Reset Configuration: A16-A23"},
      {&R::resetConfig, 0x1800, 0x1800, 5, "*Reset Configuration: A16-A17"},
      {&R::resetConfig, 0xE000, 0x0000, 6, "*PLL Reset Configuration: Prescaler Mode. OSC=4-50MHz"},
      {&R::resetConfig, 0xE000, 0x2000, 6, "*PLL Reset Configuration: factor=2,5. OSC=12-16MHz"},
      {&R::resetConfig, 0xE000, 0x4000, 6, "*PLL Reset Configuration: factor=2,5. OSC=8-12MHZ"},
      {&R::resetConfig, 0xE000, 0x6000, 6, "*PLL Reset Configuration: Direct Drive. OSC=4-40MHZ"},
      {&R::resetConfig, 0xE000, 0x8000, 6, "*PLL Reset Configuration: factor=5. OSC=4-6MHZ"},
      {&R::resetConfig, 0xE000, 0xA000, 6, "*PLL Reset Configuration: factor=2. OSC=12,5-18,7MHZ"},
      {&R::resetConfig, 0xE000, 0xC000, 6, "*PLL Reset Configuration: factor=4,5. OSC=5,6-8,3MHZ"},
      {&R::resetConfig, 0xE000, 0xE000, 6, "*PLL Reset Configuration: factor=3. OSC=8,3-12,5MHZ"},
      {&R::systemStatus, 0xC000, 0x0000, 7, "*Oscillator is unlocked, PLL is unlocked"},
      {&R::systemStatus, 0xC000, 0x4000, 7, "*Oscillator is unlocked, PLL is locked"},
      {&R::systemStatus, 0xC000, 0x8000, 7, "*Oscillator is locked, PLL is unlocked"},
      {&R::systemStatus, 0xC000, 0xC000, 7, "*Oscillator is locked, PLL is locked"},
  };
  for (const auto& c : kCases) {
    for (const int32_t others : {0x0000, 0xFFFF & ~c.mask}) {
      SCOPED_TRACE(std::string(c.text) + (others ? " (other bits set)" : ""));
      ResetConfiguration record;
      record.*c.field = c.value | others;
      const auto lines = ResetConfigLines(record);
      ASSERT_EQ(lines.size(), 8U);
      EXPECT_EQ(lines[c.line], c.text);
    }
  }
}

TEST(IdentificationLines, EveryFieldValue) {
  struct Case {
    IdentificationValues values;  // IDMANUF, IDCHIP, IDPROG, IDMEM, IDMEM2
    size_t line;
    const char* text;
  };
  const Case kCases[] = {
      {{0x1820, 0, 0, 0, 0}, 0, "*idreg: MANUF=00C1 >> Brannor Semiconductor Division"},
      {{0x1820, 0, 0, 0, 0}, 1, "*idreg: DEPT=0000 >> Microcontroller Division"},
      {{0x0401, 0, 0, 0, 0}, 0, "*idreg: MANUF=0020 >> Ostvik Microsystems"},
      {{0x0401, 0, 0, 0, 0}, 1, "*idreg: DEPT=0001 >> Automotive Controllers"},
      {{0x0022, 0, 0, 0, 0}, 1, "*idreg: DEPT=0002 >> Industrial Controllers"},
      {{0xFFE3, 0, 0, 0, 0}, 0, "*idreg: MANUF=07FF >> Unknown Manufacturer"},
      {{0xFFE3, 0, 0, 0, 0}, 1, "*idreg: DEPT=0003 >> Memory Products"},
      {{0x1824, 0, 0, 0, 0}, 1, "*idreg: DEPT=0004 >> Unknown Department "},
      {{0, 0x0C02, 0, 0, 0}, 2, "*idreg: CHIPID=0C"},
      {{0, 0x0C02, 0, 0, 0}, 3, "*idreg: REVISION=02"},
      {{0, 0, 0x4040, 0, 0}, 4, "*idreg: PROGVDD=40 >> 5.0 Volt"},
      {{0, 0, 0x4040, 0, 0}, 5, "*idreg: PROGVPP=40 >> 5.0 Volt"},
      {{0, 0, 0x8041, 0, 0}, 4, "*idreg: PROGVDD=41 >> 5.1 Volt"},
      {{0, 0, 0x8041, 0, 0}, 5, "*idreg: PROGVPP=80 >> 10.0 Volt"},
      {{0, 0, 0x00FF, 0, 0}, 4, "*idreg: PROGVDD=FF >> 19.9 Volt"},
      {{0, 0, 0, 0x0000, 0}, 6, "*idreg: IDMEM/TYPE=00 >> Romless"},
      {{0, 0, 0, 0x3010, 0}, 6, "*idreg: IDMEM/TYPE=03 >> Flash"},
      {{0, 0, 0, 0x3010, 0}, 7, "*idreg: IDMEM/Size= 64 KByte"},
      {{0, 0, 0, 0, 0x6002}, 8, "*idreg: IDMEM2/TYPE=06 >> DRAM/SRAM"},
      {{0, 0, 0, 0, 0x6002}, 9, "*idreg: IDMEM2/Size= 8 KByte"},
      {{0, 0, 0, 0, 0xFFFF}, 8, "*idreg: IDMEM2/TYPE=0F >> Unknown memory type"},
      {{0, 0, 0, 0, 0xFFFF}, 9, "*idreg: IDMEM2/Size= 16380 KByte"},
  };
  CLocale locale;
  // The program's own numeric locale (a Qt application sets it at start) stays as it was.
  ASSERT_NE(std::setlocale(LC_NUMERIC, "C.UTF-8"), nullptr);
  for (const auto& c : kCases) {
    const auto lines = IdentificationLines(c.values);
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[c.line], c.text);
  }
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C.UTF-8");
  std::setlocale(LC_NUMERIC, "C");
}

TEST_F(TargetSetup, ResetConfigurationReadInOrderUntilAReadFails) {
  ConnectAndMark();
  ResetConfiguration r;
  EXPECT_EQ(ReadResetConfig(*link, r), 0);
  EXPECT_EQ((std::array{r.resetConfig, r.chipSelect0, r.testMode, r.resetControl2, r.systemStatus,
                        r.memoryId}),
            (std::array{0x6600, 0x0021, 0x4000, 0x0200, 0xC000, 0x3020}));  // the TOLVANE board
  EXPECT_EQ(ReadAddresses(),
            (std::vector{AddressOf("RSTCFG"), AddressOf("FCONCS0"), AddressOf("TSTMOD"),
                         AddressOf("RSTCON2"), AddressOf("SYSSTAT"), AddressOf("IDMEM")}));
  EXPECT_TRUE(NewLines().empty());

  board->faults().ReplaceOutput(3 * kWordReadAnswer, 0x00);  // the A_ACK1 of RSTCON2
  EXPECT_EQ(ReadResetConfig(*link, r), -4);
  EXPECT_EQ(NewLines(), Texts{"*ERROR: reading reset configuration"});
  EXPECT_EQ(ReadAddresses().size(), 4U);

  // After a connection: the configuration shown when it could be read, then initialisation.
  settings.target.SetEnabled(InitRegister::SYSCON0, true);
  Mark();
  board->faults().ReplaceOutput(0, 0x00);
  AfterConnection(*link, r);
  AfterConnection(*link, r);
  Texts expected = {"*ERROR: reading reset configuration", "*Initialisation: Write to SYSCON0"};
  for (const auto& line : ResetConfigLines(r)) expected.push_back(line);
  expected.push_back("*Initialisation: Write to SYSCON0");
  EXPECT_EQ(NewLines(), expected);
}

TEST_F(TargetSetup, EveryEnabledRegisterInItsOrderThenEinit) {
  ConnectAndMark();
  auto& target = settings.target;
  target.einitEnabled = -1;  // with every flag 0 and EINIT off nothing is written
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_TRUE(NewLines().empty());
  EXPECT_TRUE(TakeSent().empty());

  for (int r = 0; r < kInitRegisterCount; ++r)
    target.SetEnabled(static_cast<InitRegister>(r), true);
  for (int v = 0; v < kInitValueCount; ++v) target.SetValue(static_cast<InitValue>(v), 0x1100 + v);
  target.SetValue(InitValue::Generic1Address, 0xE00500);
  target.SetValue(InitValue::Generic2Address, 0x00C010);
  target.einitEnabled = 1;
  const char* const kOrder[] = {"FOCON",   "FCONCS0", "TCONCS0", "EBCMOD0", "EBCMOD1",
                                "SYSCON1", "SYSCON0", "SYSCON3", "RSTCON",  "DPP0",
                                "DPP1",    "DPP2",    "DPP3"};
  Texts lines;
  std::vector<int32_t> addresses;
  for (const char* name : kOrder) {
    lines.push_back(std::string("*Initialisation: Write to ") + name);
    addresses.push_back(AddressOf(name));
  }
  lines.insert(lines.end(), {"*Initialisation: Write to Generic Register 1",
                             "*Initialisation: Write to Generic Register 2",
                             "*Initialisation: Call EINIT Command"});
  addresses.insert(addresses.end(), {0xE00500, 0x00C010});

  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_EQ(NewLines(), lines);
  const auto sent = TakeSent();
  std::vector<int32_t> written;
  for (const auto& [address, value] : Blocks(sent, kWriteWord)) written.push_back(address);
  EXPECT_EQ(written, addresses);
  EXPECT_EQ(ParseCommands(sent).back().code, kEinit);
  EXPECT_EQ(board->ReadWord(0x00C010), 0x110B);  // Generic2Data
  EXPECT_EQ(board->ReadWord(AddressOf("SYSCON0")), 0x1105);
  EXPECT_EQ(board->ReadWord(AddressOf("SYSCON1")), 0x1106);
}

TEST_F(TargetSetup, IdRegistersReadFromTheBoard) {
  CLocale locale;
  ConnectAndMark();
  EXPECT_EQ(ShowIdRegisters(*link), 0);
  EXPECT_EQ(NewLines(), IdentificationLines({0x1820, 0x0C02, 0x4040, 0x3020, 0x6002}));
  for (size_t read : {3, 0}) board->faults().ReplaceOutput(read * kWordReadAnswer, 0x00);
  EXPECT_EQ(ShowIdRegisters(*link), -4);   // the last failed read in read order
  EXPECT_EQ(ReadAddresses().size(), 10U);  // the others are still read
}

// A register the definitions lack is never written; identification falls back to the
// usual addresses.
TEST_F(TargetSetup, RegistersMissingFromTheDefinitions) {
  for (const char* name : {"SYSCON3", "TSTMOD", "IDPROG", "IDMEM2"}) RemoveRegister(name);
  ConnectAndMark();
  settings.target.SetEnabled(InitRegister::SYSCON3, true);
  settings.target.SetEnabled(InitRegister::Generic1, true);
  settings.target.SetValue(InitValue::Generic1Address, -1);
  settings.target.SetEnabled(InitRegister::DPP0, true);
  settings.target.SetValue(InitValue::DPP0, 0x0004);
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_EQ(NewLines(),
            (Texts{"*ERROR: Register SYSCON3 not defined", "*Initialisation: Write to DPP0"}));
  EXPECT_EQ(Blocks(TakeSent(), kWriteWord), (std::vector{std::pair{AddressOf("DPP0"), 4}}));

  Mark();
  ResetConfiguration record;
  EXPECT_EQ(ReadResetConfig(*link, record), -3);
  EXPECT_EQ(NewLines(),
            (Texts{"*ERROR: Register TSTMOD not defined", "*ERROR: reading reset configuration"}));
  EXPECT_EQ(ReadAddresses(), (std::vector<int32_t>{AddressOf("RSTCFG"), AddressOf("FCONCS0")}));

  EXPECT_EQ(ShowIdRegisters(*link), 0);
  EXPECT_EQ(ReadAddresses(), (std::vector<int32_t>{AddressOf("IDMANUF"), AddressOf("IDCHIP"),
                                                   0xF078, AddressOf("IDMEM"), 0xF076}));
}

}  // namespace
}  // namespace velmora
