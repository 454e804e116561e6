#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "formats/controller_types.h"
#include "formats/memory_file.h"
#include "formats/memory_unit_keys.h"
#include "formats/register_file.h"
#include "reader_results.h"
#include "temp_folder.h"

namespace velmora {
namespace {

// The lines of a file, given with "|" between them.
std::string file(std::string_view lines) {
  std::string text;
  for (char ch : lines) ch == '|' ? text += "\r\n" : text += ch;
  return text + "\r\n";
}

// Each register as NAME@address/short number ("E" for the extended area) with its named
// bits as NAME.bit=name/width.
std::string describe(const RegisterTable& table) {
  std::ostringstream text;
  for (int i = 0; i < table.Count(); ++i) {
    const auto& r = table.At(i);
    text << std::uppercase << std::hex << r.name << '@' << r.address << '/' << r.shortNumber
         << (r.extended ? "E " : " ");
    for (int bit = 0; bit < 16; ++bit) {
      if (r.fieldWidths[bit] != 0)
        text << std::dec << r.name << '.' << bit << '=' << r.bitNames[bit] << '/'
             << int{r.fieldWidths[bit]} << ' ';
    }
  }
  return text.str();
}

class DefinitionFiles : public ::testing::Test {
 protected:
  test::TempFolder home;
  MessageLog log{"unused-log.txt"};
  // The one error line a missing file gives.
  static std::string notFound(const std::string& path) {
    return "*ERROR: File " + path + " not found";
  }
};

TEST_F(DefinitionFiles, ControllerDatabaseIgnoresSpacesAndCase) {
  home.Write("MemDef/Brask.mem", "[XRAM]\r\n");
  ControllerTypeTable table;
  const LineIssues issues = LoadControllerTypes(
      home.Write("mctypes.dat",
                 file("; the types of a test bench|REGDEF=SFRDEF\\ORPHAN.SFR|"
                      "[ brask ]|regdef = sfrdef\\brask.sfr|memdef = memdef\\brask.mem|"
                      "ID=0X55,0X5A||[Tolvane]|REGDEF=C:\\defs\\TOLVANE.SFR|"
                      "id = 0xd5, 0x1820 ,0x3020")),
      home.path(), table, log);
  EXPECT_EQ(test::IssueLines(issues), (std::vector<long>{2}));  // a key before the first type
  ASSERT_EQ(table.Count(), 2);
  EXPECT_EQ(table.At(0).name, "BRASK");
  EXPECT_EQ(table.At(0).registerFile, (home.path() / "SFRDEF/BRASK.SFR").string());
  EXPECT_EQ(table.At(0).memoryFile,
            (home.path() / "MemDef/Brask.mem").string());  // found in another case
  EXPECT_EQ(table.At(0).ids, (std::vector<int32_t>{0x55, 0x5A}));
  EXPECT_EQ(table.At(1).registerFile, "/DEFS/TOLVANE.SFR");  // lines are upper-cased, paths too
  EXPECT_EQ(table.At(1).memoryFile, "");
  EXPECT_EQ(table.At(1).ids, (std::vector<int32_t>{0xD5, 0x1820, 0x3020}));
  EXPECT_EQ(table.FindControllerType("brask"), 0);
  EXPECT_EQ(table.FindControllerType("Tolvane"), 1);
  EXPECT_EQ(table.FindControllerType("KESSEL"), -1);
  EXPECT_EQ(test::LogText(log), "");

  const std::string path = home.File("nowhere/mctypes.dat");
  LoadControllerTypes(path, home.path(), table, log);
  EXPECT_EQ(table.Count(), 0);
  EXPECT_EQ(test::LogText(log), notFound(path));
}

// Tables stop at their limits with one error line; what found no room changes nothing.
TEST_F(DefinitionFiles, TablesStopAtTheirLimits) {
  std::string types, registers;
  for (int i = 0; i < 70; ++i)
    types += "[T" + std::to_string(i) + "]\r\nID=0x" + std::to_string(i) + "\r\n";
  for (int i = 0; i < 1030; ++i)
    registers += "SFR 0x" + std::to_string(100000 + i) + " R" + std::to_string(i) + "\r\n";
  ControllerTypeTable typeTable;
  EXPECT_FALSE(
      LoadControllerTypes(home.Write("mctypes.dat", types), home.path(), typeTable, log).empty());
  ASSERT_EQ(typeTable.Count(), 65);
  EXPECT_EQ(typeTable.At(64).ids, (std::vector<int32_t>{0x64}));
  RegisterTable registerTable;
  EXPECT_FALSE(
      LoadRegisterFile(home.Write("MANY.SFR", registers), registerTable, log).issues.empty());
  EXPECT_EQ(registerTable.Count(), 1025);
  EXPECT_EQ(registerTable.At(1024).name, "R1024");
  EXPECT_TRUE(test::LogText(log).starts_with("*ERROR: More than 65 ")) << test::LogText(log);
  EXPECT_EQ(test::LogText(log).find("*ERROR: More than 1025 "), test::LogText(log).rfind("*ERROR"))
      << test::LogText(log);
}

constexpr const char* kRegisterText =
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
    "sfr 0xff14 Later\r\n";                  // 18

TEST_F(DefinitionFiles, RegisterFile) {
  RegisterTable table;
  const RegisterFileResult result =
      LoadRegisterFile(home.Write("TEST.SFR", kRegisterText), table, log);
  ASSERT_TRUE(result.found);
  // Lines 13 and 14 are skipped; only the bit beyond 15 is said.
  EXPECT_EQ(test::IssueLines(result.issues), (std::vector<long>{13, 14}));
  EXPECT_TRUE(test::LogText(log).starts_with("*ERROR: Bit 16 of PSW beyond bit 15 in line 14 of "))
      << test::LogText(log);
  EXPECT_EQ(test::LogText(log).rfind("*ERROR"), 0U);
  // In file order, then ZEROS and ONES; a field's name and width sit at its highest bit
  // (BFLD) or at the given bit (BITFLD).
  EXPECT_EQ(describe(table),
            "DPP0@FE00/0 DPP0.9=DPP0PN/10 PSW@FF10/88 PSW.0=N/1 PSW.1=C/1 PSW.3=Z/1 PSW.15=ILVL/4 "
            "SYSCON@FF12/89 SYSCON.4=CLKEN/1 SYSCON.8=ROMS/2 SYSCON.15=STKSZ/3 XADRS@F100/80E "
            "ADDAT@F1FE/FFE LASTEXT@FDFE/FFE Later@FF14/8A ZEROS@FF1C/8E ONES@FF1E/8F ");
  // Lookups by name (any case), address and short number.
  EXPECT_EQ(table.FindRegister("LATER"), 6);
  EXPECT_EQ(table.FindRegister("NOPE"), -1);
  EXPECT_EQ(table.FindByAddress(0xF100), 3);
  EXPECT_EQ(table.FindByShortNumber(0x88, false), 1);
  EXPECT_EQ(table.FindByShortNumber(0xFF, true), 4);
  EXPECT_EQ(table.BitName(1, 15), "ILVL");

  // A file that defines ZEROS keeps it and gets only ONES; a missing file empties the table.
  LoadRegisterFile(home.Write("Z.SFR", "SFR 0xFF1C ZEROS\r\nBIT ZEROS.0 Z0\r\nSFR 0xFF10 PSW\r\n"),
                   table, log);
  ASSERT_EQ(table.Count(), 3);
  EXPECT_EQ(table.BitName(0, 0), "Z0");
  EXPECT_EQ(table.At(2).name, "ONES");
  log = MessageLog();
  const std::string path = home.File("SFRDEF/NONE.SFR");
  EXPECT_FALSE(LoadRegisterFile(path, table, log).found);
  EXPECT_EQ(table.Count(), 0);
  EXPECT_EQ(test::LogText(log), notFound(path));
}

// The unit keys are those of the preferences file; here the header names the unit and
// every line is upper-cased.
TEST_F(DefinitionFiles, MemoryFile) {
  std::vector<MemoryUnit> units(3);
  const MemoryFileResult result = LoadMemoryFile(
      home.Write("TEST.MEM",
                 file("; memory units of a test type|[Iflash]|type=iflash|activateregister=syscon0|"
                      "activatemask=0x0004|driver.path=driver\\iflash.hex|"
                      "DRIVER.FEATURES=ERASE,FORMAT,STATUS|STATUS(2).BIT(15)=locked|NAME=OTHER||"
                      "[XRAM]|SECTION(0).STARTADDRESS(0)=0x200000|SECTION(0).LENGTH(0)=0x010000")),
      units, log);
  ASSERT_TRUE(result.found);
  EXPECT_EQ(test::IssueLines(result.issues), (std::vector<long>{7, 9}));  // FORMAT, NAME=
  ASSERT_EQ(units.size(), 2U);
  EXPECT_EQ(units[0].name, "IFLASH");
  EXPECT_EQ(
      MemoryUnitKeyLines(units[0]),
      file("TYPE=IFLASH|BLANK=0x00|BURSTSIZE=0x0001|ACTIVATEREGISTER(0)=SYSCON0|"
           "ACTIVATEMASK(0)=0x0004|DRIVER.PATH=DRIVER\\IFLASH.HEX|DRIVER.BUFFERADDRESS=00FC80|"
           "DRIVER.FEATURES=ERASE,STATUS|STATUS(2).BIT(15)=LOCKED"));
  EXPECT_EQ(units[0].statusWords.size(), 3U);  // the highest word + 1
  EXPECT_EQ(units[1].name, "XRAM");            // and the defaults of a new unit otherwise
  EXPECT_EQ(MemoryUnitKeyLines(units[1]),
            file("TYPE=RAM|BLANK=0x00|BURSTSIZE=0x0001|SECTION(0).STARTADDRESS(0)=0x200000|"
                 "SECTION(0).LENGTH(0)=0x010000|DRIVER.BUFFERADDRESS=00FC80"));
  EXPECT_EQ(test::LogText(log), "");

  // A missing file keeps the units; reading ends at a 33rd unit.
  const std::string path = home.File("MEMDEF/NONE.MEM");
  EXPECT_FALSE(LoadMemoryFile(path, units, log).found);
  EXPECT_EQ(units.size(), 2U);
  EXPECT_EQ(test::LogText(log), notFound(path));
  std::string many;
  for (int i = 0; i < 33; ++i)
    many += "[U" + std::to_string(i) + "]\r\nTYPE=" + (i == 32 ? "FLASH" : "XRAM") + "\r\n";
  EXPECT_EQ(test::IssueLines(LoadMemoryFile(home.Write("MANY.MEM", many), units, log).issues),
            (std::vector<long>{65}));
  ASSERT_EQ(units.size(), 32U);
  EXPECT_EQ(units[31].type, "XRAM");
}

}  // namespace
}  // namespace velmora
