// What follows the monitor's start: the reset configuration read from the board and
// decoded, the configured registers written in their order, EINIT, and the
// identification registers decoded.
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "commands/target_setup.h"
#include "core/hex_text.h"
#include "link_fixture.h"

namespace velmora {
namespace {

using test::LinkFixture;
using Bytes = std::vector<uint8_t>;

// One monitor command as the host put it on the line (reads, word writes and the simple
// commands are all this suite sends).
struct WireCommand {
  uint8_t code;
  int32_t address = -1;
  int32_t word = 0;  // the count of a read, the value of a word write
  friend bool operator==(const WireCommand&, const WireCommand&) = default;
};

std::vector<WireCommand> ParseCommands(const Bytes& sent) {
  std::vector<WireCommand> commands;
  size_t i = 0;
  const auto take = [&](size_t n) {
    int32_t value = 0;
    for (size_t k = 0; k < n && i < sent.size(); ++k, ++i) value |= sent[i] << (8 * k);
    return value;
  };
  while (i < sent.size()) {
    WireCommand command{sent[i++]};
    if (command.code == 0x85 || command.code == 0x82) {
      command.address = take(3);
      command.word = take(2);
    }
    commands.push_back(command);
  }
  return commands;
}

constexpr uint8_t kRead = 0x85;
constexpr uint8_t kWriteWord = 0x82;
constexpr uint8_t kEinit = 0x31;

// The addresses of the block reads on the wire, in order.
std::vector<int32_t> ReadAddresses(const Bytes& sent) {
  std::vector<int32_t> addresses;
  for (const auto& command : ParseCommands(sent)) {
    if (command.code == kRead) addresses.push_back(command.address);
  }
  return addresses;
}

// Sets LC_ALL for the life of the guard, so that the decimal separator is known.
class LocaleGuard {
 public:
  explicit LocaleGuard(const char* value) {
    if (const char* old = std::getenv("LC_ALL")) saved_ = old;
    setenv("LC_ALL", value, 1);
  }
  ~LocaleGuard() {
    if (saved_) {
      setenv("LC_ALL", saved_->c_str(), 1);
    } else {
      unsetenv("LC_ALL");
    }
  }
  LocaleGuard(const LocaleGuard&) = delete;
  LocaleGuard& operator=(const LocaleGuard&) = delete;

 private:
  std::optional<std::string> saved_;
};

class TargetSetup : public LinkFixture {
 protected:
  void ConnectAndMark() {
    Connect();
    Mark();
  }
  void Mark() {
    seen_ = Lines().size();
    TakeSent();
  }
  std::vector<std::string> NewLines() const {
    const auto all = Lines();
    return {all.begin() + static_cast<long>(std::min(seen_, all.size())), all.end()};
  }
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

 private:
  size_t seen_ = 0;
};

// ---------------------------------------------------------------------------------------
// Decoding the reset configuration

TEST(ResetConfigLines, DocumentedExample) {
  ResetConfiguration record;
  record.resetConfig = 0x6600;
  record.systemStatus = 0xC000;
  record.chipSelect0 = 0x0021;
  record.testMode = 0x4000;
  record.resetControl2 = 0x0200;
  record.memoryId = 0x3020;
  EXPECT_EQ(ResetConfigLines(record), (std::vector<std::string>{
                                          "*Reset: SYSSTAT=C000",
                                          "*Chip: FLASH_128 Pins",
                                          "*Reset Configuration: Single Chip Mode",
                                          "*Reset Configuration: 16 Bit demultiplexed Bus",
                                          "*Reset Configuration: CS0-CS4",
                                          "*Reset Configuration: A16-A19",
                                          "*PLL Reset Configuration: Direct Drive. OSC=4-40MHZ",
                                          "*Oscillator is locked, PLL is locked",
                                      }));
}

// The line each field value decodes to; the other bits of the register must not matter,
// so each value is also tried with every other bit set.
struct DecodeCase {
  int32_t ResetConfiguration::*field;
  int32_t mask;  // the bits the line depends on
  int32_t value;
  size_t line;  // index of the decoded line
  const char* text;
};

const DecodeCase kDecodeCases[] = {
    {&ResetConfiguration::systemStatus, 0xFFFF, 0x1234, 0, "*Reset: SYSSTAT=1234"},
    {&ResetConfiguration::systemStatus, 0xFFFF, 0x0000, 0, "*Reset: SYSSTAT=0000"},
    // memory identification F000 == 1000 gives ROM; test mode C000 the package
    {&ResetConfiguration::memoryId, 0xF000, 0x1000, 1, "*Chip: ROM_100 Pins"},
    {&ResetConfiguration::memoryId, 0xF000, 0x3000, 1, "*Chip: FLASH_100 Pins"},
    {&ResetConfiguration::memoryId, 0xF000, 0x0000, 1, "*Chip: FLASH_100 Pins"},
    {&ResetConfiguration::testMode, 0xC000, 0x0000, 1, "*Chip: FLASH_100 Pins"},
    {&ResetConfiguration::testMode, 0xC000, 0x4000, 1, "*Chip: FLASH_128 Pins"},
    {&ResetConfiguration::testMode, 0xC000, 0x8000, 1, "*Chip: FLASH_144 Pins"},
    {&ResetConfiguration::testMode, 0xC000, 0xC000, 1, "*Chip: FLASH_144 Pins"},
    {&ResetConfiguration::resetControl2, 0x0200, 0x0200, 2,
     "*Reset Configuration: Single Chip Mode"},
    {&ResetConfiguration::resetControl2, 0x0200, 0x0000, 2, "*Reset Configuration: Bus Mode"},
    {&ResetConfiguration::chipSelect0, 0x0030, 0x0000, 3,
     "*Reset Configuration: 8 Bit demultiplexed Bus"},
    {&ResetConfiguration::chipSelect0, 0x0030, 0x0010, 3,
     "*Reset Configuration: 8 Bit multiplexed Bus"},
    {&ResetConfiguration::chipSelect0, 0x0030, 0x0020, 3,
     "*Reset Configuration: 16 Bit demultiplexed Bus"},
    {&ResetConfiguration::chipSelect0, 0x0030, 0x0030, 3,
     "*Reset Configuration: 16 Bit multiplexed Bus"},
    {&ResetConfiguration::resetConfig, 0x0600, 0x0000, 4, "*Reset Configuration: CS0-CS2"},
    {&ResetConfiguration::resetConfig, 0x0600, 0x0200, 4, "*Reset Configuration: CS0-CS1"},
    {&ResetConfiguration::resetConfig, 0x0600, 0x0400, 4, "*Reset Configuration: No CS Lines"},
    {&ResetConfiguration::resetConfig, 0x0600, 0x0600, 4, "*Reset Configuration: CS0-CS4"},
    {&ResetConfiguration::resetConfig, 0x1800, 0x0000, 5, "*Reset Configuration: A16-A19"},
    {&ResetConfiguration::resetConfig, 0x1800, 0x0800, 5,
     "*Reset Configuration: No Segment Address Lines"},
    {&ResetConfiguration::resetConfig, 0x1800, 0x1000, 5, "*Reset Configuration: A16-A23"},
    {&ResetConfiguration::resetConfig, 0x1800, 0x1800, 5, "*Reset Configuration: A16-A17"},
    {&ResetConfiguration::resetConfig, 0xE000, 0x0000, 6,
     "*PLL Reset Configuration: Prescaler Mode. OSC=4-50MHz"},
    {&ResetConfiguration::resetConfig, 0xE000, 0x2000, 6,
     "*PLL Reset Configuration: factor=2,5. OSC=12-16MHz"},
    {&ResetConfiguration::resetConfig, 0xE000, 0x4000, 6,
     "*PLL Reset Configuration: factor=2,5. OSC=8-12MHZ"},
    {&ResetConfiguration::resetConfig, 0xE000, 0x6000, 6,
     "*PLL Reset Configuration: Direct Drive. OSC=4-40MHZ"},
    {&ResetConfiguration::resetConfig, 0xE000, 0x8000, 6,
     "*PLL Reset Configuration: factor=5. OSC=4-6MHZ"},
    {&ResetConfiguration::resetConfig, 0xE000, 0xA000, 6,
     "*PLL Reset Configuration: factor=2. OSC=12,5-18,7MHZ"},
    {&ResetConfiguration::resetConfig, 0xE000, 0xC000, 6,
     "*PLL Reset Configuration: factor=4,5. OSC=5,6-8,3MHZ"},
    {&ResetConfiguration::resetConfig, 0xE000, 0xE000, 6,
     "*PLL Reset Configuration: factor=3. OSC=8,3-12,5MHZ"},
    {&ResetConfiguration::systemStatus, 0xC000, 0x0000, 7,
     "*Oscillator is unlocked, PLL is unlocked"},
    {&ResetConfiguration::systemStatus, 0xC000, 0x4000, 7,
     "*Oscillator is unlocked, PLL is locked"},
    {&ResetConfiguration::systemStatus, 0xC000, 0x8000, 7,
     "*Oscillator is locked, PLL is unlocked"},
    {&ResetConfiguration::systemStatus, 0xC000, 0xC000, 7, "*Oscillator is locked, PLL is locked"},
};

TEST(ResetConfigLines, EveryFieldValue) {
  for (const auto& row : kDecodeCases) {
    for (const int32_t others : {0x0000, 0xFFFF}) {
      SCOPED_TRACE(std::string(row.text) + (others ? " (other bits set)" : ""));
      ResetConfiguration record;
      record.*row.field = (row.value & row.mask) | (others & ~row.mask);
      if (row.mask == 0xFFFF && others) continue;  // the whole register is shown
      const auto lines = ResetConfigLines(record);
      ASSERT_EQ(lines.size(), 8U);
      EXPECT_EQ(lines[row.line], row.text);
    }
  }
}

// ---------------------------------------------------------------------------------------
// Reading the reset configuration from the board

TEST_F(TargetSetup, ReadResetConfigFromTheBoard) {
  ConnectAndMark();
  ResetConfiguration record;
  EXPECT_EQ(ReadResetConfig(*link, record), 0);
  EXPECT_EQ(record.resetConfig, 0x6600);
  EXPECT_EQ(record.systemStatus, 0xC000);
  EXPECT_EQ(record.chipSelect0, 0x0021);
  EXPECT_EQ(record.testMode, 0x4000);
  EXPECT_EQ(record.resetControl2, 0x0200);
  EXPECT_EQ(record.memoryId, 0x3020);
  EXPECT_TRUE(NewLines().empty());
  EXPECT_EQ(ReadAddresses(TakeSent()),
            (std::vector<int32_t>{AddressOf("RSTCFG"), AddressOf("FCONCS0"), AddressOf("TSTMOD"),
                                  AddressOf("RSTCON2"), AddressOf("SYSSTAT"), AddressOf("IDMEM")}));

  ShowResetConfig(*link, record);
  EXPECT_EQ(NewLines(), ResetConfigLines(record));
}

// What the board answers to one 2-byte read: A_ACK1, two data bytes, A_ACK2, then A_ACK1,
// checksum and A_ACK2 for the checksum request.
constexpr size_t kWordReadAnswer = 7;

TEST_F(TargetSetup, ReadResetConfigStopsAtTheFirstFailedRead) {
  const char* const kOrder[] = {"RSTCFG", "FCONCS0", "TSTMOD", "RSTCON2", "SYSSTAT", "IDMEM"};
  ConnectAndMark();
  for (size_t failing = 0; failing < std::size(kOrder); ++failing) {
    SCOPED_TRACE(kOrder[failing]);
    Mark();
    board->faults().ReplaceOutput(failing * kWordReadAnswer, 0x00);  // its A_ACK1
    ResetConfiguration record;
    EXPECT_EQ(ReadResetConfig(*link, record), -1 - static_cast<int>(failing));
    EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: reading reset configuration"});
    const auto reads = ReadAddresses(TakeSent());
    ASSERT_EQ(reads.size(), failing + 1);  // the registers after it are not read
    EXPECT_EQ(reads.back(), AddressOf(kOrder[failing]));
  }
}

TEST_F(TargetSetup, ReadResetConfigWithARegisterMissingFromTheDefinitions) {
  RemoveRegister("TSTMOD");
  ConnectAndMark();
  ResetConfiguration record;
  EXPECT_EQ(ReadResetConfig(*link, record), -3);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*ERROR: Register TSTMOD not defined",
                                                  "*ERROR: reading reset configuration"}));
  EXPECT_EQ(ReadAddresses(TakeSent()),
            (std::vector<int32_t>{AddressOf("RSTCFG"), AddressOf("FCONCS0")}));
}

TEST_F(TargetSetup, AfterConnectionShowsTheConfigurationThenInitialises) {
  ConnectAndMark();
  settings.target.SetEnabled(InitRegister::SYSCON0, true);
  ResetConfiguration record;
  AfterConnection(*link, record);
  auto expected = ResetConfigLines(record);
  expected.push_back("*Initialisation: Write to SYSCON0");
  EXPECT_EQ(NewLines(), expected);
}

TEST_F(TargetSetup, AfterConnectionSkipsTheDisplayWhenTheReadFails) {
  ConnectAndMark();
  settings.target.SetEnabled(InitRegister::SYSCON0, true);
  board->faults().ReplaceOutput(0, 0x00);
  ResetConfiguration record;
  AfterConnection(*link, record);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*ERROR: reading reset configuration",
                                                  "*Initialisation: Write to SYSCON0"}));
}

// ---------------------------------------------------------------------------------------
// Initialisation

TEST_F(TargetSetup, NothingEnabledWritesNothing) {
  ConnectAndMark();
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_TRUE(NewLines().empty());
  EXPECT_TRUE(TakeSent().empty());
}

TEST_F(TargetSetup, Syscon1IsWrittenBeforeSyscon0) {
  ConnectAndMark();
  auto& target = settings.target;
  target.SetEnabled(InitRegister::SYSCON0, true);
  target.SetEnabled(InitRegister::SYSCON1, true);
  target.SetValue(InitValue::SYSCON0, 0x1234);
  target.SetValue(InitValue::SYSCON1, 0x5678);
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*Initialisation: Write to SYSCON1",
                                                  "*Initialisation: Write to SYSCON0"}));
  EXPECT_EQ(ParseCommands(TakeSent()),
            (std::vector<WireCommand>{{kWriteWord, AddressOf("SYSCON1"), 0x5678},
                                      {kWriteWord, AddressOf("SYSCON0"), 0x1234}}));
  EXPECT_EQ(board->ReadWord(AddressOf("SYSCON1")), 0x5678);
  EXPECT_EQ(board->ReadWord(AddressOf("SYSCON0")), 0x1234);
  // The image holds the values as defined bytes.
  EXPECT_EQ(image.GetByte(AddressOf("SYSCON0")), 0x34);
  EXPECT_EQ(image.GetByte(AddressOf("SYSCON0") + 1), 0x12);
  EXPECT_TRUE(image.IsDefined(AddressOf("SYSCON0")));
  EXPECT_TRUE(image.IsDefined(AddressOf("SYSCON0") + 1));
}

TEST_F(TargetSetup, EveryRegisterInItsOrderThenEinit) {
  struct Step {
    InitRegister reg;
    InitValue value;
    const char* name;  // as the line says it
  };
  const Step kOrder[] = {
      {InitRegister::FOCON, InitValue::FOCON, "FOCON"},
      {InitRegister::FCONCS0, InitValue::FCONCS0, "FCONCS0"},
      {InitRegister::TCONCS0, InitValue::TCONCS0, "TCONCS0"},
      {InitRegister::EBCMOD0, InitValue::EBCMOD0, "EBCMOD0"},
      {InitRegister::EBCMOD1, InitValue::EBCMOD1, "EBCMOD1"},
      {InitRegister::SYSCON1, InitValue::SYSCON1, "SYSCON1"},
      {InitRegister::SYSCON0, InitValue::SYSCON0, "SYSCON0"},
      {InitRegister::SYSCON3, InitValue::SYSCON3, "SYSCON3"},
      {InitRegister::RSTCON, InitValue::RSTCON, "RSTCON"},
      {InitRegister::DPP0, InitValue::DPP0, "DPP0"},
      {InitRegister::DPP1, InitValue::DPP1, "DPP1"},
      {InitRegister::DPP2, InitValue::DPP2, "DPP2"},
      {InitRegister::DPP3, InitValue::DPP3, "DPP3"},
      {InitRegister::Generic1, InitValue::Generic1Data, "Generic Register 1"},
      {InitRegister::Generic2, InitValue::Generic2Data, "Generic Register 2"},
  };
  ConnectAndMark();
  auto& target = settings.target;
  target.SetValue(InitValue::Generic1Address, 0xE00500);
  target.SetValue(InitValue::Generic2Address, 0x00C010);
  std::vector<std::string> lines;
  std::vector<WireCommand> wire;
  int32_t value = 0x1100;
  for (const auto& step : kOrder) {
    target.SetEnabled(step.reg, true);
    target.SetValue(step.value, ++value);
    lines.push_back(std::string("*Initialisation: Write to ") + step.name);
    const int32_t address = step.reg == InitRegister::Generic1   ? 0xE00500
                            : step.reg == InitRegister::Generic2 ? 0x00C010
                                                                 : AddressOf(step.name);
    wire.push_back({kWriteWord, address, value});
  }
  target.einitEnabled = 1;
  lines.push_back("*Initialisation: Call EINIT Command");
  wire.push_back({kEinit});

  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_EQ(NewLines(), lines);
  EXPECT_EQ(ParseCommands(TakeSent()), wire);
  EXPECT_EQ(board->ReadWord(0xE00500), 0x110E);
  EXPECT_EQ(board->ReadWord(0x00C010), 0x110F);
}

TEST_F(TargetSetup, EinitAlone) {
  ConnectAndMark();
  settings.target.einitEnabled = 1;
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Initialisation: Call EINIT Command"});
  EXPECT_EQ(ParseCommands(TakeSent()), std::vector<WireCommand>{{kEinit}});
}

TEST_F(TargetSetup, OnlyAFlagOfOneEnablesARegister) {
  ConnectAndMark();
  settings.target.enabled[static_cast<size_t>(InitRegister::SYSCON0)] = 2;
  settings.target.enabled[static_cast<size_t>(InitRegister::DPP1)] = -1;
  settings.target.einitEnabled = -1;
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_TRUE(NewLines().empty());
  EXPECT_TRUE(TakeSent().empty());
}

TEST_F(TargetSetup, ARegisterMissingFromTheDefinitionsIsNotWritten) {
  RemoveRegister("SYSCON3");
  ConnectAndMark();
  settings.target.SetEnabled(InitRegister::SYSCON3, true);
  settings.target.SetEnabled(InitRegister::DPP0, true);
  settings.target.SetValue(InitValue::DPP0, 0x0004);
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*ERROR: Register SYSCON3 not defined",
                                                  "*Initialisation: Write to DPP0"}));
  EXPECT_EQ(ParseCommands(TakeSent()),
            (std::vector<WireCommand>{{kWriteWord, AddressOf("DPP0"), 4}}));
}

TEST_F(TargetSetup, AGenericRegisterWithoutAnAddressIsNotWritten) {
  ConnectAndMark();
  settings.target.SetEnabled(InitRegister::Generic1, true);
  settings.target.SetValue(InitValue::Generic1Address, -1);
  settings.target.SetValue(InitValue::Generic1Data, 0x1234);
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_TRUE(TakeSent().empty());
}

TEST_F(TargetSetup, AFailedWriteDoesNotStopTheSequence) {
  ConnectAndMark();
  settings.target.SetEnabled(InitRegister::SYSCON1, true);
  settings.target.SetEnabled(InitRegister::SYSCON0, true);
  settings.target.einitEnabled = 1;
  board->faults().ReplaceOutput(1, 0x00);  // A_ACK2 of the first word write
  EXPECT_EQ(InitializeTarget(*link), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*Initialisation: Write to SYSCON1",
                                                  "*Initialisation: Write to SYSCON0",
                                                  "*Initialisation: Call EINIT Command"}));
}

TEST_F(TargetSetup, InitialisationNeedsAConnection) {
  settings.target.SetEnabled(InitRegister::SYSCON0, true);
  settings.target.einitEnabled = 1;
  EXPECT_EQ(InitializeTarget(*link), -100);
  EXPECT_EQ(Lines(), std::vector<std::string>{"*ERROR: Not Connected to Target"});
  EXPECT_TRUE(TakeSent().empty());
}

// ---------------------------------------------------------------------------------------
// Identification

IdentificationValues Values(int32_t manufacturer, int32_t chip = 0, int32_t programming = 0,
                            int32_t memory = 0, int32_t memory2 = 0) {
  return {manufacturer, chip, programming, memory, memory2};
}

TEST(IdentificationLines, DocumentedExamples) {
  LocaleGuard locale("C");
  const auto lines = IdentificationLines(Values(0x1820, 0x0C02, 0x4040, 0x3010, 0x6002));
  ASSERT_EQ(lines.size(), 10U);
  EXPECT_EQ(lines[0], "*idreg: MANUF=00C1 >> Brannor Semiconductor Division");
  EXPECT_EQ(lines[1].rfind("*idreg: DEPT=0000 >> ", 0), 0U) << lines[1];
  EXPECT_EQ(lines[1].find("Unknown"), std::string::npos) << lines[1];
  EXPECT_EQ(lines[2], "*idreg: CHIPID=0C");
  EXPECT_EQ(lines[3], "*idreg: REVISION=02");
  EXPECT_EQ(lines[4], "*idreg: PROGVDD=40 >> 5.0 Volt");
  EXPECT_EQ(lines[5], "*idreg: PROGVPP=40 >> 5.0 Volt");
  EXPECT_EQ(lines[6], "*idreg: IDMEM/TYPE=03 >> Flash");
  EXPECT_EQ(lines[7], "*idreg: IDMEM/Size= 64 KByte");
  EXPECT_EQ(lines[8], "*idreg: IDMEM2/TYPE=06 >> DRAM/SRAM");
  EXPECT_EQ(lines[9], "*idreg: IDMEM2/Size= 8 KByte");
}

TEST(IdentificationLines, Manufacturers) {
  const std::string brannor = IdentificationLines(Values(0xC1 << 5))[0];
  const std::string second = IdentificationLines(Values(0x20 << 5))[0];
  EXPECT_EQ(brannor, "*idreg: MANUF=00C1 >> Brannor Semiconductor Division");
  EXPECT_EQ(second.rfind("*idreg: MANUF=0020 >> ", 0), 0U) << second;
  EXPECT_EQ(second.find("Unknown"), std::string::npos) << second;
  EXPECT_NE(second, "*idreg: MANUF=0020 >> Brannor Semiconductor Division");
  EXPECT_EQ(IdentificationLines(Values(0x01 << 5))[0],
            "*idreg: MANUF=0001 >> Unknown Manufacturer");
  EXPECT_EQ(IdentificationLines(Values(0x7FF << 5))[0],
            "*idreg: MANUF=07FF >> Unknown Manufacturer");
}

TEST(IdentificationLines, Departments) {
  std::vector<std::string> known;
  for (int32_t department = 0; department < 4; ++department) {
    const std::string line = IdentificationLines(Values((0xC1 << 5) | department))[1];
    SCOPED_TRACE(line);
    EXPECT_EQ(line.rfind("*idreg: DEPT=000" + std::to_string(department) + " >> ", 0), 0U);
    EXPECT_EQ(line.find("Unknown"), std::string::npos);
    EXPECT_GT(line.size(), std::string("*idreg: DEPT=0000 >> ").size());
    known.push_back(line.substr(line.find(" >> ")));
  }
  std::sort(known.begin(), known.end());
  EXPECT_EQ(std::unique(known.begin(), known.end()), known.end()) << "two departments share a name";
  EXPECT_EQ(IdentificationLines(Values((0xC1 << 5) | 4))[1],
            "*idreg: DEPT=0004 >> Unknown Department ");
  EXPECT_EQ(IdentificationLines(Values((0xC1 << 5) | 0x1F))[1],
            "*idreg: DEPT=001F >> Unknown Department ");
}

TEST(IdentificationLines, MemoryTypesAndSizes) {
  struct Row {
    int32_t value;
    const char* type;
    const char* size;
  };
  const Row kRows[] = {
      {0x0000, "00 >> Romless", " 0 KByte"},
      {0x1001, "01 >> Mask ROM", " 4 KByte"},
      {0x2008, "02 >> EPROM", " 32 KByte"},
      {0x3010, "03 >> Flash", " 64 KByte"},
      {0x4020, "04 >> OTP", " 128 KByte"},
      {0x5040, "05 >> EEPROM", " 256 KByte"},
      {0x6002, "06 >> DRAM/SRAM", " 8 KByte"},
      {0x7100, "07 >> Unknown memory type", " 1024 KByte"},
      {0xFFFF, "0F >> Unknown memory type", " 16380 KByte"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.type);
    const auto lines = IdentificationLines(Values(0, 0, 0, row.value, row.value));
    EXPECT_EQ(lines[6], std::string("*idreg: IDMEM/TYPE=") + row.type);
    EXPECT_EQ(lines[7], std::string("*idreg: IDMEM/Size=") + row.size);
    EXPECT_EQ(lines[8], std::string("*idreg: IDMEM2/TYPE=") + row.type);
    EXPECT_EQ(lines[9], std::string("*idreg: IDMEM2/Size=") + row.size);
  }
}

TEST(IdentificationLines, ProgrammingVoltagesWithOneDecimalPlace) {
  LocaleGuard locale("C");
  struct Row {
    int32_t value;
    const char* vdd;
    const char* vpp;
  };
  const Row kRows[] = {
      {0x4040, "40 >> 5.0 Volt", "40 >> 5.0 Volt"},
      {0x8041, "41 >> 5.1 Volt", "80 >> 10.0 Volt"},  // 5.078 rounds up
      {0x00FF, "FF >> 19.9 Volt", "00 >> 0.0 Volt"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.vdd);
    const auto lines = IdentificationLines(Values(0, 0, row.value));
    EXPECT_EQ(lines[4], std::string("*idreg: PROGVDD=") + row.vdd);
    EXPECT_EQ(lines[5], std::string("*idreg: PROGVPP=") + row.vpp);
  }
}

// The separator comes from the user's locale, but the program's own numeric locale (which
// a Qt application sets from the environment at start) must be the same afterwards.
TEST(IdentificationLines, LeaveTheProgramsNumericLocaleAsItWas) {
  LocaleGuard locale("C");
  ASSERT_NE(std::setlocale(LC_NUMERIC, "C.UTF-8"), nullptr);
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  IdentificationLines(Values(0, 0, 0x4040));
  const std::string after = std::setlocale(LC_NUMERIC, nullptr);
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(after, before);
}

TEST_F(TargetSetup, IdRegistersReadFromTheBoard) {
  LocaleGuard locale("C");
  ConnectAndMark();
  EXPECT_EQ(ShowIdRegisters(*link), 0);
  EXPECT_EQ(ReadAddresses(TakeSent()),
            (std::vector<int32_t>{AddressOf("IDMANUF"), AddressOf("IDCHIP"), AddressOf("IDPROG"),
                                  AddressOf("IDMEM"), AddressOf("IDMEM2")}));
  // The TOLVANE board: IDMANUF 1820, IDCHIP 0C02, IDPROG 4040, IDMEM 3020, IDMEM2 6002.
  EXPECT_EQ(NewLines(), IdentificationLines(Values(0x1820, 0x0C02, 0x4040, 0x3020, 0x6002)));
}

TEST_F(TargetSetup, IdRegistersFallBackToTheirUsualAddresses) {
  RemoveRegister("IDPROG");
  RemoveRegister("IDMEM2");
  ConnectAndMark();
  EXPECT_EQ(ShowIdRegisters(*link), 0);
  EXPECT_EQ(ReadAddresses(TakeSent()),
            (std::vector<int32_t>{AddressOf("IDMANUF"), AddressOf("IDCHIP"), 0xF078,
                                  AddressOf("IDMEM"), 0xF076}));
  EXPECT_EQ(NewLines().size(), 10U);
}

TEST_F(TargetSetup, IdRegistersReportTheLastFailedRead) {
  struct Row {
    std::vector<size_t> failing;  // reads in the order IDMANUF, IDCHIP, IDPROG, IDMEM, IDMEM2
    int16_t result;
  };
  const Row kRows[] = {
      {{0}, -1}, {{1}, -2},    {{2}, -3},    {{3}, -4},
      {{4}, -5}, {{0, 2}, -3}, {{1, 4}, -5}, {{3, 0}, -4},
  };
  ConnectAndMark();
  for (const auto& row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row.failing));
    Mark();
    for (size_t read : row.failing) board->faults().ReplaceOutput(read * kWordReadAnswer, 0x00);
    EXPECT_EQ(ShowIdRegisters(*link), row.result);
    EXPECT_EQ(ReadAddresses(TakeSent()).size(), 5U);  // the decode goes on
    EXPECT_EQ(NewLines().size(), 10U);
  }
}

TEST_F(TargetSetup, IdRegistersNeedAConnection) {
  EXPECT_EQ(ShowIdRegisters(*link), -100);
  EXPECT_EQ(Lines(), std::vector<std::string>{"*ERROR: Not Connected to Target"});
  EXPECT_TRUE(TakeSent().empty());
}

}  // namespace
}  // namespace velmora
