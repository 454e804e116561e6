#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/message_log.h"
#include "formats/controller_types.h"
#include "formats/memory_file.h"
#include "formats/register_file.h"
#include "formats/register_table.h"
#include "temp_folder.h"

namespace velmora {
namespace {

// The messages written to the log: its closed lines, with the lines that the list wrapped
// at 76 characters (long paths) joined again.
std::vector<std::string> closedLines(const MessageLog& log) {
  std::vector<std::string> lines;
  bool continued = false;
  for (int i = 0; i + 1 < log.List().Count(); ++i) {
    const std::string& entry = log.List().Entry(i);
    if (continued) {
      lines.back() += entry;
    } else {
      lines.push_back(entry);
    }
    continued = entry.size() == MessageList::kWrapAfter + 1;
  }
  return lines;
}

std::vector<long> issueLines(const LineIssues& issues) {
  std::vector<long> lines;
  for (const auto& issue : issues) lines.push_back(issue.line);
  return lines;
}

int errorLinesContaining(const MessageLog& log, const std::string& part) {
  const auto lines = closedLines(log);
  return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&part](const std::string& l) {
    return l.rfind("*ERROR: ", 0) == 0 && l.find(part) != std::string::npos;
  }));
}

// ---------------------------------------------------------------------------------------
// Controller type database

class ControllerDatabase : public ::testing::Test {
 protected:
  test::TempFolder home;
  MessageLog log{"unused-log.txt"};
  ControllerTypeTable table;

  LineIssues load(const std::string& text) {
    return LoadControllerTypes(home.Write("mctypes.dat", text), home.path(), table, log);
  }
};

TEST_F(ControllerDatabase, SpacesAndCaseDoNotMatter) {
  const LineIssues issues = load(
      "; the types of a test bench\r\n"   // 1
      "REGDEF=SFRDEF\\ORPHAN.SFR\r\n"     // 2: before the first type
      "[ brask ]\r\n"                     // 3
      "regdef = sfrdef\\brask.sfr\r\n"    // 4
      "memdef = memdef\\brask.mem\r\n"    // 5
      "ID=0X55,0X5A\r\n"                  // 6
      "\r\n"                              // 7
      "[Tolvane]\r\n"                     // 8
      "REGDEF=C:\\defs\\TOLVANE.SFR\r\n"  // 9
      "id = 0xd5, 0x1820 ,0x3020\r\n");   // 10
  ASSERT_EQ(table.Count(), 2);
  const ControllerType& brask = table.At(0);
  EXPECT_EQ(brask.name, "BRASK");
  EXPECT_EQ(std::filesystem::path(brask.registerFile), home.path() / "SFRDEF" / "BRASK.SFR");
  EXPECT_EQ(std::filesystem::path(brask.memoryFile), home.path() / "MEMDEF" / "BRASK.MEM");
  EXPECT_EQ(brask.ids, (std::vector<int32_t>{0x55, 0x5A}));

  const ControllerType& tolvane = table.At(1);
  EXPECT_EQ(tolvane.name, "TOLVANE");
  // Database lines are upper-cased, paths included.
  EXPECT_EQ(std::filesystem::path(tolvane.registerFile), "/DEFS/TOLVANE.SFR");
  EXPECT_EQ(tolvane.memoryFile, "");
  EXPECT_EQ(tolvane.ids, (std::vector<int32_t>{0xD5, 0x1820, 0x3020}));

  EXPECT_EQ(table.FindControllerType("BRASK"), 0);
  EXPECT_EQ(table.FindControllerType("brask"), 0);
  EXPECT_EQ(table.FindControllerType("Tolvane"), 1);
  EXPECT_EQ(table.FindControllerType("KESSEL"), -1);
  EXPECT_EQ(table.FindControllerType(""), -1);

  // The key before the first header belongs to no type and is reported.
  EXPECT_EQ(issueLines(issues), (std::vector<long>{2}));
  EXPECT_TRUE(closedLines(log).empty());
}

TEST_F(ControllerDatabase, DefinitionFilesAreFoundInAnotherCase) {
  home.Write("MemDef/Brask.mem", "[XRAM]\r\n");
  load("[BRASK]\r\nMEMDEF=MEMDEF\\BRASK.MEM\r\n");
  ASSERT_EQ(table.Count(), 1);
  EXPECT_EQ(std::filesystem::path(table.At(0).memoryFile), home.path() / "MemDef" / "Brask.mem");
}

TEST_F(ControllerDatabase, AMissingFileEmptiesTheTable) {
  load("[BRASK]\r\n[TOLVANE]\r\n");
  ASSERT_EQ(table.Count(), 2);
  const std::string path = home.File("nowhere/mctypes.dat");
  LoadControllerTypes(path, home.path(), table, log);
  EXPECT_EQ(table.Count(), 0);
  EXPECT_EQ(table.FindControllerType("BRASK"), -1);
  EXPECT_EQ(closedLines(log), (std::vector<std::string>{"*ERROR: File " + path + " not found"}));
}

TEST_F(ControllerDatabase, NoMoreThanSixtyFiveTypes) {
  std::string text;
  for (int i = 0; i < 70; ++i) {
    text += "[T" + std::to_string(i) + "]\r\nID=0x" + std::to_string(i) + "\r\n";
  }
  const LineIssues issues = load(text);
  ASSERT_EQ(table.Count(), ControllerTypeTable::kCapacity);
  EXPECT_EQ(table.At(64).name, "T64");
  // The keys of the types that found no room change nothing.
  EXPECT_EQ(table.At(64).ids, (std::vector<int32_t>{0x64}));
  EXPECT_EQ(table.FindControllerType("T65"), -1);
  EXPECT_EQ(errorLinesContaining(log, "65"), 1);
  EXPECT_FALSE(issues.empty());
}

// ---------------------------------------------------------------------------------------
// Register definition file

class RegisterFile : public ::testing::Test {
 protected:
  test::TempFolder home;
  MessageLog log{"unused-log.txt"};
  RegisterTable table;

  RegisterFileResult load(const std::string& text) {
    return LoadRegisterFile(home.Write("TEST.SFR", text), table, log);
  }
  const RegisterDefinition& reg(std::string_view name) {
    const int index = table.FindRegister(name);
    EXPECT_GE(index, 0) << name;
    return table.At(std::max(index, 0));
  }
};

const char* const kRegisterText =
    "; registers of a test controller\r\n"   // 1
    "SFR  0xFE00 DPP0\r\n"                   // 2
    "BFLD DPP0.0-9 DPP0PN\r\n"               // 3
    "SFR  0xFF10 PSW\r\n"                    // 4
    "BIT  PSW.0 N\r\n"                       // 5
    "BIT  PSW.1 C, carry out of bit 15\r\n"  // 6
    "bit psw.3 Z\r\n"                        // 7
    "BFLD PSW.12-15 ILVL\r\n"                // 8
    "SFR 0xFF12 SYSCON\r\n"                  // 9
    "BFLD SYSCON.13-15 STKSZ\r\n"            // 10
    "BITFLD SYSCON.8 ROMS,2\r\n"             // 11
    "BITFLD SYSCON.4 CLKEN\r\n"              // 12
    "BIT LATER.0 EARLY\r\n"                  // 13: LATER is defined below
    "BIT PSW.16 TOOHIGH\r\n"                 // 14
    "ESFR 0xF100 XADRS\r\n"                  // 15
    "SFR\t0xF1FE\tADDAT\r\n"                 // 16
    "SFR 0xFDFE LASTEXT\r\n"                 // 17
    "SFR 0xFFFE TOPSFR\r\n"                  // 18
    "sfr 0xff14 Later\r\n";                  // 19

TEST_F(RegisterFile, RegistersInFileOrderThenZerosAndOnes) {
  const RegisterFileResult result = load(kRegisterText);
  ASSERT_TRUE(result.found);
  const char* const names[] = {"DPP0",    "PSW",    "SYSCON", "XADRS", "ADDAT",
                               "LASTEXT", "TOPSFR", "Later",  "ZEROS", "ONES"};
  ASSERT_EQ(table.Count(), static_cast<int>(std::size(names)));
  for (int i = 0; i < table.Count(); ++i) EXPECT_EQ(table.At(i).name, names[i]) << i;

  const RegisterDefinition& zeros = table.At(8);
  EXPECT_EQ(zeros.address, 0xFF1C);
  EXPECT_EQ(zeros.shortNumber, 0x8E);
  const RegisterDefinition& ones = table.At(9);
  EXPECT_EQ(ones.address, 0xFF1E);
  EXPECT_EQ(ones.shortNumber, 0x8F);
  for (int bit = 0; bit < 16; ++bit) {
    EXPECT_EQ(zeros.bitNames[bit], "");
    EXPECT_EQ(ones.bitNames[bit], "");
    EXPECT_EQ(ones.fieldWidths[bit], 0);
  }
  // Only the bit beyond 15 is said; the forward reference is merely skipped.
  const auto lines = closedLines(log);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].rfind("*ERROR: Bit 16 of PSW beyond bit 15 in line 14 of ", 0), 0U);
}

struct AddressCase {
  const char* name;
  int32_t address;
  int32_t shortNumber;
  bool extended;
};

const AddressCase kAddresses[] = {
    {"DPP0", 0xFE00, 0x00, false},   {"PSW", 0xFF10, 0x88, false},
    {"SYSCON", 0xFF12, 0x89, false}, {"XADRS", 0xF100, 0x80, true},
    {"ADDAT", 0xF1FE, 0xFF, true},   {"LASTEXT", 0xFDFE, 0xFF, true},
    {"TOPSFR", 0xFFFE, 0xFF, false}, {"LATER", 0xFF14, 0x8A, false},
};

TEST_F(RegisterFile, AddressesShortNumbersAndTheExtendedArea) {
  load(kRegisterText);
  for (const auto& c : kAddresses) {
    SCOPED_TRACE(c.name);
    const RegisterDefinition& r = reg(c.name);
    EXPECT_EQ(r.address, c.address);
    EXPECT_EQ(r.shortNumber, c.shortNumber);
    EXPECT_EQ(r.extended, c.extended);
  }
}

TEST_F(RegisterFile, BitsAndFields) {
  load(kRegisterText);
  struct BitCase {
    const char* reg;
    int bit;
    const char* name;
    int width;
  };
  const BitCase kBits[] = {
      {"DPP0", 9, "DPP0PN", 10}, {"PSW", 0, "N", 1},        {"PSW", 1, "C", 1},
      {"PSW", 3, "Z", 1},        {"PSW", 15, "ILVL", 4},    {"SYSCON", 15, "STKSZ", 3},
      {"SYSCON", 8, "ROMS", 2},  {"SYSCON", 4, "CLKEN", 1},
  };
  for (const auto& c : kBits) {
    SCOPED_TRACE(std::string(c.reg) + "." + std::to_string(c.bit));
    EXPECT_EQ(reg(c.reg).bitNames[c.bit], c.name);
    EXPECT_EQ(reg(c.reg).fieldWidths[c.bit], c.width);
  }
  // Every other bit stays unnamed; the refused PSW.16 wrote nothing.
  int named = 0;
  for (int i = 0; i < table.Count(); ++i) {
    for (int bit = 0; bit < 16; ++bit) {
      const bool hasName = !table.At(i).bitNames[bit].empty();
      EXPECT_EQ(hasName, table.At(i).fieldWidths[bit] != 0) << table.At(i).name << "." << bit;
      named += hasName ? 1 : 0;
    }
  }
  EXPECT_EQ(named, static_cast<int>(std::size(kBits)));
}

TEST_F(RegisterFile, BitLinesForUnknownRegistersAndBitsAboveFifteenAreReported) {
  const RegisterFileResult result = load(kRegisterText);
  // Line 13 names LATER before its definition, line 14 a bit number of 16.
  EXPECT_EQ(issueLines(result.issues), (std::vector<long>{13, 14}));
  for (int bit = 0; bit < 16; ++bit) EXPECT_EQ(reg("LATER").bitNames[bit], "") << bit;
}

TEST_F(RegisterFile, Lookups) {
  load(kRegisterText);
  const int psw = table.FindRegister("PSW");
  ASSERT_EQ(psw, 1);
  EXPECT_EQ(table.FindRegister("psw"), psw);
  EXPECT_EQ(table.FindRegister("LATER"), 7);
  EXPECT_EQ(table.FindRegister("NOPE"), -1);
  EXPECT_EQ(table.FindRegister(""), -1);

  EXPECT_EQ(table.FindByAddress(0xFF12), 2);
  EXPECT_EQ(table.FindByAddress(0xF100), 3);
  EXPECT_EQ(table.FindByAddress(0x1234), -1);

  EXPECT_EQ(table.FindByShortNumber(0x88, false), psw);
  EXPECT_EQ(table.FindByShortNumber(0x00, false), 0);
  EXPECT_EQ(table.FindByShortNumber(0xFF, false), table.FindRegister("TOPSFR"));
  EXPECT_EQ(table.FindByShortNumber(0x8E, false), table.FindRegister("ZEROS"));
  EXPECT_EQ(table.FindByShortNumber(0x80, true), table.FindRegister("XADRS"));
  EXPECT_EQ(table.FindByShortNumber(0xFF, true), table.FindRegister("ADDAT"));
  EXPECT_EQ(table.FindByShortNumber(0x81, true), -1);

  EXPECT_EQ(table.BitName(psw, 15), "ILVL");
  EXPECT_EQ(table.BitName(psw, 1), "C");
  EXPECT_EQ(table.BitName(psw, 2), "");
  EXPECT_EQ(table.BitName(psw, 16), "");
  EXPECT_EQ(table.BitName(psw, -1), "");
  EXPECT_EQ(table.BitName(-1, 0), "");
  EXPECT_EQ(table.BitName(table.Count(), 0), "");
}

TEST_F(RegisterFile, AFileThatDefinesZerosKeepsItAndGetsOnlyOnes) {
  load(
      "SFR 0xFF1C ZEROS\r\n"
      "BIT ZEROS.0 Z0\r\n"
      "SFR 0xFF10 PSW\r\n");
  ASSERT_EQ(table.Count(), 3);
  EXPECT_EQ(table.At(0).name, "ZEROS");
  EXPECT_EQ(table.At(0).bitNames[0], "Z0");
  EXPECT_EQ(table.At(1).name, "PSW");
  EXPECT_EQ(table.At(2).name, "ONES");
  EXPECT_EQ(table.At(2).address, 0xFF1E);
}

TEST_F(RegisterFile, AMissingFileEmptiesTheTable) {
  load(kRegisterText);
  ASSERT_GT(table.Count(), 0);
  log = MessageLog();
  const std::string path = home.File("SFRDEF/NONE.SFR");
  const RegisterFileResult result = LoadRegisterFile(path, table, log);
  EXPECT_FALSE(result.found);
  EXPECT_EQ(table.Count(), 0);
  EXPECT_EQ(table.FindRegister("ZEROS"), -1);
  EXPECT_EQ(closedLines(log), (std::vector<std::string>{"*ERROR: File " + path + " not found"}));
}

TEST_F(RegisterFile, NoMoreThan1025Registers) {
  std::string text;
  for (int i = 0; i < 1030; ++i)
    text += "SFR 0x" + std::to_string(100000 + i) + " R" + std::to_string(i) + "\r\n";
  const RegisterFileResult result = load(text);
  EXPECT_EQ(table.Count(), RegisterTable::kCapacity);
  EXPECT_EQ(table.At(1024).name, "R1024");
  EXPECT_EQ(table.FindRegister("R1025"), -1);
  EXPECT_EQ(errorLinesContaining(log, "1025"), 1);
  EXPECT_FALSE(result.issues.empty());
}

// ---------------------------------------------------------------------------------------
// Memory definition file

class MemoryFile : public ::testing::Test {
 protected:
  test::TempFolder home;
  MessageLog log{"unused-log.txt"};
  std::vector<MemoryUnit> units;

  MemoryFileResult load(const std::string& text) {
    return LoadMemoryFile(home.Write("TEST.MEM", text), units, log);
  }
};

TEST_F(MemoryFile, UnitsWithTheirKeys) {
  const MemoryFileResult result = load(
      "; memory units of a test type\r\n"                // 1
      "[Iflash]\r\n"                                     // 2
      "type=iflash\r\n"                                  // 3
      "blank=0xff\r\n"                                   // 4
      "burstsize=0x0080\r\n"                             // 5
      "activateregister=syscon0\r\n"                     // 6
      "activatemask=0x0004\r\n"                          // 7
      "ACTIVATEREGISTER(1)=XPERCON\r\n"                  // 8
      "ACTIVATEMASK(1)=0x0001\r\n"                       // 9
      "SECTION(0).STARTADDRESS(0)=0xC00000\r\n"          // 10
      "SECTION(0).LENGTH(0)=0x002000\r\n"                // 11
      "SECTION(0).STARTADDRESS(1)=0xC02000\r\n"          // 12
      "SECTION(0).LENGTH(1)=0x002000\r\n"                // 13
      "SECTION(1).STARTADDRESS(0)=0xC10000\r\n"          // 14
      "SECTION(1).LENGTH(0)=0x010000\r\n"                // 15
      "SECTION(1).MAPADDRESS(0)=0x010000\r\n"            // 16
      "SECTION(1).MAPREGISTER(0)=syscon1\r\n"            // 17
      "SECTION(1).MAPMASK(0)=0x0010\r\n"                 // 18
      "driver.path=driver\\iflash.hex\r\n"               // 19
      "DRIVER.BUFFERADDRESS=00F600\r\n"                  // 20
      "DRIVER.FEATURES=ERASE,PROGRAM,FORMAT,STATUS\r\n"  // 21
      "STATUS(0).BIT(0)=BUSY\r\n"                        // 22
      "STATUS(0).BIT(4)=ERRCODE,3\r\n"                   // 23
      "STATUS(2).BIT(15)=locked\r\n"                     // 24
      "NAME=OTHER\r\n"                                   // 25: the header names a unit
      "\r\n"                                             // 26
      "[XRAM]\r\n"                                       // 27
      "SECTION(0).STARTADDRESS(0)=0x200000\r\n"          // 28
      "SECTION(0).LENGTH(0)=0x010000\r\n");              // 29
  ASSERT_TRUE(result.found);
  ASSERT_EQ(units.size(), 2U);

  const MemoryUnit& flash = units[0];
  EXPECT_EQ(flash.name, "IFLASH");
  EXPECT_EQ(flash.type, "IFLASH");
  EXPECT_EQ(flash.blank, 0xFF);
  EXPECT_EQ(flash.burstSize, 0x80);
  EXPECT_EQ(flash.activate, (std::vector<ActivateEntry>{{"SYSCON0", 0x0004}, {"XPERCON", 0x0001}}));
  EXPECT_FALSE(flash.activated);
  ASSERT_EQ(flash.sections.size(), 2U);
  ASSERT_EQ(flash.sections[0].regions.size(), 2U);
  EXPECT_EQ(flash.sections[0].regions[0].startAddress, 0xC00000);
  EXPECT_EQ(flash.sections[0].regions[0].length, 0x2000);
  EXPECT_FALSE(flash.sections[0].regions[0].hasMapping);
  EXPECT_EQ(flash.sections[0].regions[1].startAddress, 0xC02000);
  EXPECT_FALSE(flash.sections[0].regions[1].hasMapping);
  ASSERT_EQ(flash.sections[1].regions.size(), 1U);
  const MemoryRegion& mapped = flash.sections[1].regions[0];
  EXPECT_EQ(mapped.startAddress, 0xC10000);
  EXPECT_EQ(mapped.length, 0x10000);
  EXPECT_TRUE(mapped.hasMapping);
  EXPECT_EQ(mapped.mapAddress, 0x010000);
  EXPECT_EQ(mapped.mapRegister, "SYSCON1");
  EXPECT_EQ(mapped.mapMask, 0x0010);
  EXPECT_FALSE(mapped.mapped);
  EXPECT_TRUE(flash.HasMapping());
  EXPECT_EQ(flash.driverPath, "DRIVER\\IFLASH.HEX");
  EXPECT_EQ(flash.driverBufferAddress, 0xF600);
  EXPECT_EQ(flash.features, (std::vector<std::string>{"ERASE", "PROGRAM", "STATUS"}));

  ASSERT_EQ(flash.statusWords.size(), 3U);  // the highest word + 1
  StatusWord word0{};
  word0[0] = {"BUSY", 1};
  word0[4] = {"ERRCODE", 3};
  StatusWord word2{};
  word2[15] = {"LOCKED", 1};
  EXPECT_EQ(flash.statusWords[0], word0);
  EXPECT_EQ(flash.statusWords[1], StatusWord{});
  EXPECT_EQ(flash.statusWords[2], word2);

  // A unit with only a region has the defaults of a new unit otherwise.
  MemoryRegion whole;
  whole.startAddress = 0x200000;
  whole.length = 0x10000;
  MemoryUnit xram;
  xram.name = "XRAM";
  xram.sections.push_back(MemorySection{{whole}});
  EXPECT_EQ(units[1], xram);
  EXPECT_EQ(units[1].type, "RAM");
  EXPECT_EQ(units[1].driverBufferAddress, 0xFC80);
  EXPECT_FALSE(units[1].HasMapping());

  // The unknown feature FORMAT and the NAME= key are reported.
  EXPECT_EQ(issueLines(result.issues), (std::vector<long>{21, 25}));
  EXPECT_TRUE(closedLines(log).empty());
}

TEST_F(MemoryFile, ReadingEndsAtTheThirtyThirdUnit) {
  std::string text;
  for (int i = 0; i < 33; ++i) {
    text += "[U" + std::to_string(i) + "]\r\nTYPE=" + (i == 32 ? "FLASH" : "XRAM") + "\r\n";
  }
  const MemoryFileResult result = load(text);
  ASSERT_EQ(units.size(), static_cast<size_t>(kMaxUnitsInMemoryFile));
  EXPECT_EQ(units[31].name, "U31");
  EXPECT_EQ(units[31].type, "XRAM");
  EXPECT_EQ(issueLines(result.issues), (std::vector<long>{65}));
}

TEST_F(MemoryFile, AMissingFileKeepsTheUnits) {
  load("[XRAM]\r\nSECTION(0).STARTADDRESS(0)=0x200000\r\nSECTION(0).LENGTH(0)=0x010000\r\n");
  ASSERT_EQ(units.size(), 1U);
  const auto before = units;
  const std::string path = home.File("MEMDEF/NONE.MEM");
  const MemoryFileResult result = LoadMemoryFile(path, units, log);
  EXPECT_FALSE(result.found);
  EXPECT_EQ(units, before);
  EXPECT_EQ(closedLines(log), (std::vector<std::string>{"*ERROR: File " + path + " not found"}));
}

TEST_F(MemoryFile, AnExistingFileReplacesTheUnits) {
  units.resize(3);
  load("[DPRAM]\r\n");
  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0].name, "DPRAM");
}

}  // namespace
}  // namespace velmora
