#include "formats/preferences_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "reader_results.h"
#include "temp_folder.h"

namespace velmora {
namespace {

// The files below give their lines with "|" between them.
constexpr std::string_view kDefaultFile =
    "[Velmora]|IDLENGTH=1|LOADER=MCProg\\LOAD.HEX|VELMORA=MCProg\\VELMORA.HEX|"
    "LOADERKLINE=MCProg\\LOADK.HEX|VELMORAKLINE=MCProg\\VELMORAK.HEX|VELMORASTARTADDRESS=E00024|"
    "VELMORAENDADDRESS=E002E7||"
    "[Communication]|PORT=COM1|BAUDRATE=9600|PARITY=0|DATA=8|STOPBITS=1|TIMEOUT=2000|KLINE=0|TMODE="
    "0||"
    "[Controller]|MCTYPE=Tolvane|CLK=40000000||[Memory]||[Register]||[Commands]||"
    "[Files]|SAVEFILE=$HOME/test.hex|SAVEFORMAT=20|SAVEFILETYPE=0|SAVERECORDSIZE=32|"
    "SAVESTARTADDR=0x000000|SAVEENDADDR=0x00FFFF|LOADFILE=|LOADFILETYPE=0|CONFIGLOADFILE=|"
    "CONFIGLOADFILETYPE=0|CONFIGSAVEFILE=|CONFIGSAVEFILETYPE=0|SCRIPTFILE=|SCRIPTFILETYPE=0||"
    "[Messages]|A_LOADER_STARTED=0x01|A_APPLICATION_STARTED=0x03||C_WRITE_BLOCK=0x84|"
    "C_READ_BLOCK=0x85|C_WRITE_WORD=0x82|C_EINIT=0x31|C_TEST_COMM=0x93|C_SWRESET=0x32|C_GO=0x41|"
    "C_CALL=0x9F|C_GETCHECKSUM=0x33||A_ACK1=0xAA|A_ACK2=0xEA||"
    "[Frontend]|BLANK_CHAR=.|COLOR_BGMARKED=0xDDDDDD|COLOR_BGNORMAL=0xFFFFFF|COLOR_FGVALID="
    "0x000000|"
    "COLOR_FGINVALID=0x0000FF|COLOR_FGMONITOR=0x007777|LOGFILE=0|USERSCRIPT0=|USERSCRIPT1=|"
    "USERSCRIPT2=|USERSCRIPT3=|LASTSCRIPTFILE0=|LASTSCRIPTFILE1=|LASTSCRIPTFILE2=|LASTSCRIPTFILE3=";

// Every key away from its default, every optional line present.
constexpr std::string_view kLabFile =
    "[Velmora]|IDLENGTH=3|LOADER=MCProg\\LOAD2.HEX|VELMORA=C:\\boot\\MON.HEX|LOADERKLINE=loadk.hex|"
    "VELMORAKLINE=/opt/velmora/monk.hex|VELMORASTARTADDRESS=E10000|VELMORAENDADDRESS=E102C3||"
    "[Communication]|PORT=COM3|BAUDRATE=19200|PARITY=2|DATA=7|STOPBITS=2|TIMEOUT=500|KLINE=1|TMODE="
    "1||"
    "[Controller]|MCTYPE=Brask|CLK=20000000||"
    "[Memory]|NAME=IFLASH|TYPE=IFLASH|BLANK=0xFF|BURSTSIZE=0x0080|ACTIVATED|"
    "ACTIVATEREGISTER(0)=SYSCON0|ACTIVATEMASK(0)=0x0004|ACTIVATEREGISTER(1)=FF10|ACTIVATEMASK(1)="
    "0x8000|"
    "SECTION(0).STARTADDRESS(0)=0xC00000|SECTION(0).LENGTH(0)=0x002000|"
    "SECTION(0).STARTADDRESS(1)=0xC02000|SECTION(0).LENGTH(1)=0x002000|"
    "SECTION(0).STARTADDRESS(2)=0xC04000|SECTION(0).LENGTH(2)=0x004000|SECTION(0).MAPPED(2)|"
    "SECTION(0).MAPADDRESS(2)=0x004000|SECTION(0).MAPREGISTER(2)=SYSCON1|SECTION(0).MAPMASK(2)="
    "0x0010|"
    "SECTION(1).STARTADDRESS(0)=0xC10000|SECTION(1).LENGTH(0)=0x010000|"
    "SECTION(1).MAPADDRESS(0)=0x010000|SECTION(1).MAPREGISTER(0)=FF12|SECTION(1).MAPMASK(0)=0x0001|"
    "DRIVER.PATH=DRIVER\\IFLASH_BRASK.HEX|DRIVER.BUFFERADDRESS=00F600|"
    "DRIVER.FEATURES=ERASE,PROGRAM,STATUS,UNPROTECT|STATUS(0).BIT(0)=BUSY|"
    "STATUS(0).BIT(4)=ErrorCode,3|STATUS(0).BIT(15)=LOCKED|STATUS(1).BIT(8)=SECTORS,8||"
    "NAME=CAN1|TYPE=XPER|BLANK=0x00|BURSTSIZE=0x0001|ACTIVATEREGISTER(0)=XPERCON|"
    "ACTIVATEMASK(0)=0x0001|SECTION(0).STARTADDRESS(0)=0x00EF00|SECTION(0).LENGTH(0)=0x000100|"
    "DRIVER.BUFFERADDRESS=00FC80|||"
    "[Register]|FOCON=0x000F|SYSCON0=0x0E04|DPP3=0x0003|GENERIC2=0x00AB,0x00FE12||"
    "[Commands]|EINIT||"
    "[Files]|SAVEFILE=/home/lab/out/app.hex|SAVEFORMAT=32|SAVEFILETYPE=1|SAVERECORDSIZE=16|"
    "SAVESTARTADDR=0x010000|SAVEENDADDR=0x01FFFF|LOADFILE=/home/lab/app.hex|LOADFILETYPE=1|"
    "CONFIGLOADFILE=/home/lab/PREFS/"
    "lab.ini|CONFIGLOADFILETYPE=1|CONFIGSAVEFILE=C:\\PREFS\\saved.ini|"
    "CONFIGSAVEFILETYPE=1|SCRIPTFILE=/home/lab/run.scm|SCRIPTFILETYPE=1||"
    "[Messages]|A_LOADER_STARTED=0x11|A_APPLICATION_STARTED=0x13||C_WRITE_BLOCK=0x94|"
    "C_READ_BLOCK=0x95|C_WRITE_WORD=0x92|C_EINIT=0x21|C_TEST_COMM=0xA3|C_SWRESET=0x22|C_GO=0x51|"
    "C_CALL=0x8F|C_GETCHECKSUM=0x43||A_ACK1=0xBA|A_ACK2=0xEB||"
    "[Frontend]|BLANK_CHAR=~|COLOR_BGMARKED=0x00FF00|COLOR_BGNORMAL=0xEEEEEE|COLOR_FGVALID="
    "0x112233|"
    "COLOR_FGINVALID=0xFF0000|COLOR_FGMONITOR=0x770077|LOGFILE=1|DISPLAY=PSW|DISPLAY=SYSCON0|"
    "DISPLAY=DPP0|USERSCRIPT0=/s/user0.scm|USERSCRIPT1=SCRIPTS\\user1.scm|USERSCRIPT2=/s/user2.scm|"
    "USERSCRIPT3=/s/user3.scm|LASTSCRIPTFILE0=/s/last0.scm|LASTSCRIPTFILE1=/s/last1.scm|"
    "LASTSCRIPTFILE2=/s/last2.scm|LASTSCRIPTFILE3=/s/last3.scm";

class Preferences : public ::testing::Test {
 protected:
  // The text of a file given as above: "|" becomes CR LF, $HOME the home folder.
  std::string file(std::string_view lines) const {
    std::string text;
    for (char ch : lines) ch == '|' ? text += "\r\n" : text += ch;
    if (const auto at = text.find("$HOME"); at != std::string::npos)
      text.replace(at, 5, home.path().string());
    return text.empty() ? text : text + "\r\n";
  }
  PreferencesReadResult read(std::string_view lines, Settings& settings) {
    return ReadPreferences(home.Write("prefs.ini", file(lines)), settings, home.path(), log);
  }

  test::TempFolder home;
  MessageLog log{"unused-log.txt"};
};

TEST_F(Preferences, FilesReadBackAsTheyWereWritten) {
  Settings s;
  SetDefaultPreferences(s, home.path());
  EXPECT_EQ(PreferencesText(s), file(kDefaultFile));
  const PreferencesReadResult result = read(kLabFile, s);
  EXPECT_TRUE(result.found && result.namesControllerType);
  EXPECT_TRUE(result.issues.empty());
  EXPECT_EQ(PreferencesText(s), file(kLabFile));
  // A few values where they belong, so that no two keys trade places unseen.
  EXPECT_EQ(s.communication.baudRate, 19200);
  EXPECT_EQ(s.target.Value(InitValue::Generic2Address), 0xFE12);
  EXPECT_EQ(s.target.units[0].statusWords[0][4], (StatusBitText{"ErrorCode", 3}));
  // Reading starts from the defaults: registers are disabled but keep their values.
  auto values = s.target.values;
  EXPECT_TRUE(read("", s).issues.empty());
  EXPECT_EQ(PreferencesText(s), file(kDefaultFile));
  EXPECT_TRUE(read("[Register]|DPP1=0x0042", s).issues.empty());
  values[static_cast<size_t>(InitValue::DPP1)] = 0x42;
  EXPECT_EQ(s.target.values, values);
  std::string expected = file(kDefaultFile);
  EXPECT_EQ(PreferencesText(s),
            expected.insert(expected.find("[Register]") + 12, "DPP1=0x0042\r\n"));
  // A missing file leaves the defaults and says so.
  read(kLabFile, s);
  const std::string path = home.File("PREFS/none.ini");
  EXPECT_FALSE(ReadPreferences(path, s, home.path(), log).found);
  EXPECT_EQ(PreferencesText(s), file(kDefaultFile));
  EXPECT_EQ(test::LogText(log), "*ERROR: File " + path + " not found");
}

TEST_F(Preferences, FilesThatReadAlike) {
  const struct {
    const char* what;
    std::string_view text;
    std::string_view readsLike;
    std::vector<long> issues;
  } cases[] = {
      {"keys outside their section",
       "[Frontend]|BAUDRATE=19200|[Communication]|LOGFILE=1|COLOR_BGNORMAL=0x0|NOSUCHKEY=1",
       "",
       {2, 4, 5, 6}},
      {"keys and headers in any case",
       "[communication]|baudrate=19200|Port=Com4|[CONTROLLER]|mctype=brask|[memory]|name=Xram|"
       "section(0).length(0)=0x00fFfF|[frontend]|display=psw",
       "[Communication]|BAUDRATE=19200|PORT=COM4|[Controller]|MCTYPE=brask|[Memory]|NAME=Xram|"
       "SECTION(0).LENGTH(0)=0x00FFFF|[Frontend]|DISPLAY=psw",
       {}},
      {"spaces are removed",
       " [ Communication ] |PORT = COM2|BAUD RATE = 38 400|[Files]|LOADFILE = /home/my lab/app.hex",
       "[Communication]|PORT=COM2|BAUDRATE=38400|[Files]|LOADFILE=/home/mylab/app.hex",
       {}},
      {"the last occurrence wins",
       "[Communication]|BAUDRATE=19200|BAUDRATE=57600|[Controller]|MCTYPE=KESSEL|[Messages]|"
       "C_GO=0x42|[Controller]|MCTYPE=BRASK|[Messages]|C_GO=0x43",
       "[Communication]|BAUDRATE=57600|[Controller]|MCTYPE=BRASK|[Messages]|C_GO=0x43",
       {}},
      {"script keys in [Files] and [Frontend]",
       "[Files]|USERSCRIPT0=/s/u0.scm|LASTSCRIPTFILE1=/s/l1.scm|[Messages]|USERSCRIPT1=/s/no.scm|"
       "[Frontend]|USERSCRIPT3=/s/u3.scm",
       "[Frontend]|USERSCRIPT0=/s/u0.scm|USERSCRIPT3=/s/u3.scm|LASTSCRIPTFILE1=/s/l1.scm",
       {5}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Settings s, expected;
    EXPECT_EQ(test::IssueLines(read(c.text, s).issues), c.issues);
    read(c.readsLike, expected);
    EXPECT_EQ(PreferencesText(s), PreferencesText(expected));
  }
}

TEST_F(Preferences, HexValuesThatCannotBeConvertedAreStoredAsMinusOne) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"[Velmora]|VELMORASTARTADDRESS=1000000", "VELMORASTARTADDRESS=FFFFFFFF"},
      {"[Messages]|C_GO=0xG1", "C_GO=0xFFFFFFFF"},
      {"[Files]|SAVEENDADDR=0x1FFFFFF", "SAVEENDADDR=0xFFFFFFFF"},
      {"[Register]|FOCON=0xXYZ", "FOCON=0xFFFFFFFF"},
      {"[Register]|GENERIC1=0xZZ,0x00FE00", "GENERIC1=0xFFFFFFFF,0x00FE00"},
      {"[Memory]|NAME=X|BLANK=0xQQ", "BLANK=0xFFFFFFFF"},
      {"[Memory]|NAME=X|SECTION(0).STARTADDRESS(0)=0x12345678", "STARTADDRESS(0)=0xFFFFFFFF"},
  };
  for (const auto& [text, written] : cases) {
    SCOPED_TRACE(text);
    Settings s;
    EXPECT_EQ(read(text, s).issues.size(), 1U);
    EXPECT_NE(PreferencesText(s).find(std::string(written) + "\r\n"), std::string::npos);
  }
}

// COMn is /dev/ttyS(n-1); any other name is kept in PORTNAME= beside PORT=COM1.
TEST_F(Preferences, PortNames) {
  Settings s;
  read("[Communication]|PORT=COM3", s);
  EXPECT_EQ(s.communication.DevicePath(), "/dev/ttyS2");
  read("[Communication]|PORT=COM1|PORTNAME=/dev/ttyUSB0", s);
  EXPECT_EQ(s.communication.DevicePath(), "/dev/ttyUSB0");
  s.communication.SetPort("virtual");
  EXPECT_NE(PreferencesText(s).find("\r\nPORT=COM1\r\nPORTNAME=virtual\r\n"), std::string::npos);
}

TEST_F(Preferences, NoMoreThanThirtyThreeMemoryUnits) {
  std::string text = "[Memory]";
  for (int i = 0; i < 34; ++i)
    text += "|NAME=U" + std::to_string(i) + "|TYPE=T" + std::to_string(i);
  Settings s;
  EXPECT_FALSE(read(text + "|BLANK=0x12", s).issues.empty());
  ASSERT_EQ(s.target.units.size(), 33U);
  // The unit that found no room leaves the last one as the file gave it.
  EXPECT_EQ(s.target.units.back().type, "T32");
  EXPECT_EQ(s.target.units.back().blank, 0);
}

// A save replaces the file whole; one that fails leaves what was there, with no temporary
// file beside it, and says so.
TEST_F(Preferences, SavingIsAtomic) {
  const Settings s;
  ASSERT_TRUE(SavePreferences(home.Write("lab.ini", "old contents\r\n"), s, log));
  EXPECT_EQ(home.Read("lab.ini"), PreferencesText(s));
  home.Write("dir.ini/keep.txt", "keep me");
  for (const std::string& path : {home.File("no/such/folder/lab.ini"), home.File("dir.ini")}) {
    MessageLog failure;
    EXPECT_FALSE(SavePreferences(path, s, failure));
    EXPECT_TRUE(test::LogText(failure).starts_with("*ERROR: ") &&
                test::LogText(failure).find(path) != std::string::npos);
  }
  EXPECT_EQ(home.Read("dir.ini/keep.txt"), "keep me");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home.path()), {}), 2);
  EXPECT_EQ(test::LogText(log), "");
}

}  // namespace
}  // namespace velmora
