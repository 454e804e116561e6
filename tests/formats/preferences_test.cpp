#include "formats/preferences_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "temp_folder.h"

namespace velmora {
namespace {

// The messages written to the log, with lines wrapped at 76 characters joined again.
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

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  size_t at = 0;
  while (at < text.size()) {
    const size_t end = text.find("\r\n", at);
    lines.push_back(text.substr(at, end - at));
    if (end == std::string::npos) break;
    at = end + 2;
  }
  return lines;
}

void ExpectSameCommunication(const CommunicationSettings& a, const CommunicationSettings& b) {
  EXPECT_EQ(a.portNumber, b.portNumber);
  EXPECT_EQ(a.portName, b.portName);
  EXPECT_EQ(a.baudRate, b.baudRate);
  EXPECT_EQ(a.parity, b.parity);
  EXPECT_EQ(a.dataBits, b.dataBits);
  EXPECT_EQ(a.stopBits, b.stopBits);
  EXPECT_EQ(a.timeout, b.timeout);
  EXPECT_EQ(a.kline, b.kline);
  EXPECT_EQ(a.terminalMode, b.terminalMode);
}

void ExpectSameTarget(const TargetConfiguration& a, const TargetConfiguration& b) {
  EXPECT_EQ(a.mcType, b.mcType);
  EXPECT_EQ(a.clockRate, b.clockRate);
  EXPECT_EQ(a.einitEnabled, b.einitEnabled);
  EXPECT_EQ(a.enabled, b.enabled);
  EXPECT_EQ(a.values, b.values);
  ASSERT_EQ(a.units.size(), b.units.size());
  for (size_t i = 0; i < a.units.size(); ++i) {
    EXPECT_EQ(a.units[i], b.units[i]) << "memory unit " << i << " (" << b.units[i].name << ")";
  }
}

// Settings has no equality of its own; its parts are compared one by one so that a
// failure names the part that differs.
void ExpectSameSettings(const Settings& actual, const Settings& expected) {
  EXPECT_EQ(actual.images, expected.images);
  ExpectSameCommunication(actual.communication, expected.communication);
  ExpectSameTarget(actual.target, expected.target);
  EXPECT_EQ(actual.files, expected.files);
  EXPECT_EQ(actual.bytes, expected.bytes);
  EXPECT_EQ(actual.frontend, expected.frontend);
}

MemoryRegion region(int32_t start, int32_t length) {
  MemoryRegion r;
  r.startAddress = start;
  r.length = length;
  return r;
}

MemoryRegion mapping(int32_t start, int32_t length, int32_t mapAddress, std::string reg,
                     int32_t mask, bool mapped) {
  MemoryRegion r = region(start, length);
  r.hasMapping = true;
  r.mapAddress = mapAddress;
  r.mapRegister = std::move(reg);
  r.mapMask = mask;
  r.mapped = mapped;
  return r;
}

std::vector<MemoryUnit> nonDefaultUnits() {
  std::vector<MemoryUnit> units(3);
  MemoryUnit& flash = units[0];
  flash.name = "IFLASH";
  flash.type = "IFLASH";
  flash.blank = 0xFF;
  flash.burstSize = 0x0080;
  flash.activate = {{"SYSCON0", 0x0004}, {"FF10", 0x8000}};
  flash.activated = true;
  flash.sections.push_back({{region(0xC00000, 0x2000), region(0xC02000, 0x2000),
                             mapping(0xC04000, 0x4000, 0x004000, "SYSCON1", 0x0010, true)}});
  flash.sections.push_back({{mapping(0xC10000, 0x10000, 0x010000, "FF12", 0x0001, false)}});
  flash.sections.push_back({{region(0xC20000, 0x10000)}});
  flash.driverPath = "DRIVER\\IFLASH_BRASK.HEX";
  flash.features = {"ERASE", "PROGRAM", "STATUS", "UNPROTECT"};
  flash.driverBufferAddress = 0x00F600;
  flash.statusWords.resize(2);
  flash.statusWords[0][0] = {"BUSY", 1};
  flash.statusWords[0][4] = {"ErrorCode", 3};
  flash.statusWords[0][15] = {"LOCKED", 1};
  flash.statusWords[1][8] = {"SECTORS", 8};

  MemoryUnit& xram = units[1];
  xram.name = "XRAM";
  xram.type = "XRAM";
  xram.sections.push_back({{region(0x200000, 0x100000)}});

  MemoryUnit& can = units[2];
  can.name = "CAN1";
  can.type = "XPER";
  can.activate = {{"XPERCON", 0x0001}};
  can.sections.push_back({{region(0x00EF00, 0x0100)}});
  return units;
}

// Every key of the file away from its default (paths without spaces).
Settings nonDefaultSettings() {
  Settings s;
  s.images.idLength = 3;
  s.images.loader = "MCProg\\LOAD2.HEX";
  s.images.monitor = "C:\\boot\\MON.HEX";
  s.images.loaderKline = "loadk.hex";
  s.images.monitorKline = "/opt/velmora/monk.hex";
  s.images.monitorStart = 0xE10000;
  s.images.monitorEnd = 0xE102C3;

  s.communication.SetPort("COM3");
  s.communication.baudRate = 19200;
  s.communication.parity = 2;
  s.communication.dataBits = 7;
  s.communication.stopBits = 2;
  s.communication.timeout = 500;
  s.communication.kline = 1;
  s.communication.terminalMode = 1;

  s.target.mcType = "Brask";
  s.target.clockRate = 20000000;
  s.target.einitEnabled = 1;
  s.target.enabled.fill(1);
  for (int i = 0; i < kInitValueCount; ++i) s.target.values[i] = (0x1101 * (i + 1)) & 0xFFFF;
  s.target.SetValue(InitValue::Generic1Address, 0x00FE12);
  s.target.SetValue(InitValue::Generic2Address, 0xE00100);
  s.target.units = nonDefaultUnits();

  s.files.saveAs.file = "/home/lab/out/app.hex";
  s.files.saveAs.format = 32;
  s.files.saveAs.fileType = 1;
  s.files.saveAs.recordSize = 16;
  s.files.saveAs.startAddress = 0x010000;
  s.files.saveAs.endAddress = 0x01FFFF;
  s.files.load = {"/home/lab/app.hex", 1};
  s.files.configLoad = {"/home/lab/PREFS/lab.ini", 1};
  s.files.configSave = {"C:\\PREFS\\saved.ini", 1};
  s.files.script = {"/home/lab/run.scm", 1};
  s.files.lastScripts = {"/s/last0.scm", "/s/last1.scm", "/s/last2.scm", "/s/last3.scm"};
  s.files.userScripts = {"/s/user0.scm", "SCRIPTS\\user1.scm", "/s/user2.scm", "/s/user3.scm"};

  s.bytes.loaderStarted = 0x11;
  s.bytes.applicationStarted = 0x13;
  s.bytes.writeBlock = 0x94;
  s.bytes.readBlock = 0x95;
  s.bytes.writeWord = -1;  // a value the reader could not take, written and read back as such
  s.bytes.einit = 0x21;
  s.bytes.testComm = 0xA3;
  s.bytes.swReset = 0x22;
  s.bytes.go = 0x51;
  s.bytes.call = 0x8F;
  s.bytes.getChecksum = 0x43;
  s.bytes.ack1 = 0xBA;
  s.bytes.ack2 = -1;

  s.frontend.blankChar = "~";
  s.frontend.colorBgMarked = 0x00FF00;
  s.frontend.colorBgNormal = 0xEEEEEE;
  s.frontend.colorFgValid = 0x112233;
  s.frontend.colorFgInvalid = 0xFF0000;
  s.frontend.colorFgMonitor = 0x770077;
  s.frontend.logFile = 1;
  s.frontend.display = {"PSW", "SYSCON0", "DPP0"};
  return s;
}

class Preferences : public ::testing::Test {
 protected:
  test::TempFolder home;
  MessageLog log{"unused-log.txt"};

  // The settings a fresh reset gives in this test's home folder.
  Settings defaults() const {
    Settings s;
    s.files.saveAs.file = (home.path() / "test.hex").string();
    return s;
  }
  PreferencesReadResult read(const std::string& text, Settings& settings) {
    return ReadPreferences(home.Write("prefs.ini", text), settings, home.path(), log);
  }
};

// ---------------------------------------------------------------------------------------
// Round trips

TEST_F(Preferences, DefaultsWrittenAndReadBackAreTheSame) {
  Settings original;
  SetDefaultPreferences(original, home.path());
  const std::string path = home.File("default.ini");
  ASSERT_TRUE(SavePreferences(path, original, log));
  Settings read;
  const PreferencesReadResult result = ReadPreferences(path, read, home.path(), log);
  EXPECT_TRUE(result.found);
  EXPECT_TRUE(result.issues.empty());
  ExpectSameSettings(read, original);
  ExpectSameSettings(read, defaults());
}

TEST_F(Preferences, EveryKeyAwayFromItsDefaultRoundTrips) {
  const Settings original = nonDefaultSettings();
  const std::string path = home.File("lab.ini");
  ASSERT_TRUE(SavePreferences(path, original, log));
  Settings read;
  const PreferencesReadResult result = ReadPreferences(path, read, home.path(), log);
  ASSERT_TRUE(result.found);
  ExpectSameSettings(read, original);
  EXPECT_TRUE(result.namesControllerType);
  EXPECT_EQ(PreferencesText(read), PreferencesText(original));

  // The only lines the reader could not take whole are the two bytes stored as -1.
  const auto lines = splitLines(test::ReadFile(path));
  ASSERT_EQ(result.issues.size(), 2U);
  for (const auto& issue : result.issues) {
    ASSERT_GE(issue.line, 1);
    ASSERT_LE(issue.line, static_cast<long>(lines.size()));
    EXPECT_NE(lines[issue.line - 1].find("=0xFFFFFFFF"), std::string::npos)
        << lines[issue.line - 1];
  }
}

TEST_F(Preferences, MemoryUnitLinesOfTheWriter) {
  Settings s = defaults();
  s.target.units = nonDefaultUnits();
  const std::string text = PreferencesText(s);
  const std::string expected =
      "[Memory]\r\n"
      "NAME=IFLASH\r\n"
      "TYPE=IFLASH\r\n"
      "BLANK=0xFF\r\n"
      "BURSTSIZE=0x0080\r\n"
      "ACTIVATED\r\n"
      "ACTIVATEREGISTER(0)=SYSCON0\r\n"
      "ACTIVATEMASK(0)=0x0004\r\n"
      "ACTIVATEREGISTER(1)=FF10\r\n"
      "ACTIVATEMASK(1)=0x8000\r\n"
      "SECTION(0).STARTADDRESS(0)=0xC00000\r\n"
      "SECTION(0).LENGTH(0)=0x002000\r\n"
      "SECTION(0).STARTADDRESS(1)=0xC02000\r\n"
      "SECTION(0).LENGTH(1)=0x002000\r\n"
      "SECTION(0).STARTADDRESS(2)=0xC04000\r\n"
      "SECTION(0).LENGTH(2)=0x004000\r\n"
      "SECTION(0).MAPPED(2)\r\n"
      "SECTION(0).MAPADDRESS(2)=0x004000\r\n"
      "SECTION(0).MAPREGISTER(2)=SYSCON1\r\n"
      "SECTION(0).MAPMASK(2)=0x0010\r\n"
      "SECTION(1).STARTADDRESS(0)=0xC10000\r\n"
      "SECTION(1).LENGTH(0)=0x010000\r\n"
      "SECTION(1).MAPADDRESS(0)=0x010000\r\n"
      "SECTION(1).MAPREGISTER(0)=FF12\r\n"
      "SECTION(1).MAPMASK(0)=0x0001\r\n"
      "SECTION(2).STARTADDRESS(0)=0xC20000\r\n"
      "SECTION(2).LENGTH(0)=0x010000\r\n"
      "DRIVER.PATH=DRIVER\\IFLASH_BRASK.HEX\r\n"
      "DRIVER.BUFFERADDRESS=00F600\r\n"
      "DRIVER.FEATURES=ERASE,PROGRAM,STATUS,UNPROTECT\r\n"
      "STATUS(0).BIT(0)=BUSY\r\n"
      "STATUS(0).BIT(4)=ErrorCode,3\r\n"
      "STATUS(0).BIT(15)=LOCKED\r\n"
      "STATUS(1).BIT(8)=SECTORS,8\r\n"
      "\r\n"
      "NAME=XRAM\r\n"
      "TYPE=XRAM\r\n"
      "BLANK=0x00\r\n"
      "BURSTSIZE=0x0001\r\n"
      "SECTION(0).STARTADDRESS(0)=0x200000\r\n"
      "SECTION(0).LENGTH(0)=0x100000\r\n"
      "DRIVER.BUFFERADDRESS=00FC80\r\n"
      "\r\n"
      "NAME=CAN1\r\n"
      "TYPE=XPER\r\n"
      "BLANK=0x00\r\n"
      "BURSTSIZE=0x0001\r\n"
      "ACTIVATEREGISTER(0)=XPERCON\r\n"
      "ACTIVATEMASK(0)=0x0001\r\n"
      "SECTION(0).STARTADDRESS(0)=0x00EF00\r\n"
      "SECTION(0).LENGTH(0)=0x000100\r\n"
      "DRIVER.BUFFERADDRESS=00FC80\r\n"
      "\r\n";
  const auto at = text.find("[Memory]\r\n");
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(text.substr(at, expected.size()), expected);
  EXPECT_EQ(text.find("[Register]", at), at + expected.size() + 2);  // one more empty line
}

TEST_F(Preferences, RegisterLinesOnlyForEnabledRegisters) {
  Settings s = defaults();
  s.target.SetEnabled(InitRegister::SYSCON0, true);
  s.target.SetValue(InitValue::SYSCON0, 0x0E04);
  s.target.SetValue(InitValue::SYSCON1, 0x1234);  // not enabled: not written
  s.target.SetEnabled(InitRegister::DPP3, true);
  s.target.SetValue(InitValue::DPP3, 0x0003);
  s.target.SetEnabled(InitRegister::Generic2, true);
  s.target.SetValue(InitValue::Generic2Data, 0x00AB);
  s.target.SetValue(InitValue::Generic2Address, 0x00FE12);
  s.target.SetEnabled(InitRegister::FOCON, true);
  s.target.SetValue(InitValue::FOCON, 0x000F);
  const std::string text = PreferencesText(s);
  const std::string expected =
      "[Register]\r\n"
      "FOCON=0x000F\r\n"
      "SYSCON0=0x0E04\r\n"
      "DPP3=0x0003\r\n"
      "GENERIC2=0x00AB,0x00FE12\r\n"
      "\r\n"
      "[Commands]\r\n";
  EXPECT_NE(text.find(expected), std::string::npos) << text;
}

TEST_F(Preferences, ReadingDisablesEveryRegisterAndKeepsTheValues) {
  Settings s = nonDefaultSettings();
  const auto values = s.target.values;
  read("[Register]\r\nDPP1=0x0042\r\n", s);
  for (int i = 0; i < kInitRegisterCount; ++i) {
    EXPECT_EQ(s.target.IsEnabled(static_cast<InitRegister>(i)),
              i == static_cast<int>(InitRegister::DPP1))
        << i;
  }
  auto expectedValues = values;
  expectedValues[static_cast<size_t>(InitValue::DPP1)] = 0x0042;
  EXPECT_EQ(s.target.values, expectedValues);
}

// ---------------------------------------------------------------------------------------
// The writer's text

TEST_F(Preferences, DefaultsAreWrittenExactly) {
  Settings s;
  SetDefaultPreferences(s, home.path());
  const std::string expected =
      "[Velmora]\r\n"
      "IDLENGTH=1\r\n"
      "LOADER=MCProg\\LOAD.HEX\r\n"
      "VELMORA=MCProg\\VELMORA.HEX\r\n"
      "LOADERKLINE=MCProg\\LOADK.HEX\r\n"
      "VELMORAKLINE=MCProg\\VELMORAK.HEX\r\n"
      "VELMORASTARTADDRESS=E00024\r\n"
      "VELMORAENDADDRESS=E002E7\r\n"
      "\r\n"
      "[Communication]\r\n"
      "PORT=COM1\r\n"
      "BAUDRATE=9600\r\n"
      "PARITY=0\r\n"
      "DATA=8\r\n"
      "STOPBITS=1\r\n"
      "TIMEOUT=2000\r\n"
      "KLINE=0\r\n"
      "TMODE=0\r\n"
      "\r\n"
      "[Controller]\r\n"
      "MCTYPE=Tolvane\r\n"
      "CLK=40000000\r\n"
      "\r\n"
      "[Memory]\r\n"
      "\r\n"
      "[Register]\r\n"
      "\r\n"
      "[Commands]\r\n"
      "\r\n"
      "[Files]\r\n"
      "SAVEFILE=" +
      (home.path() / "test.hex").string() +
      "\r\n"
      "SAVEFORMAT=20\r\n"
      "SAVEFILETYPE=0\r\n"
      "SAVERECORDSIZE=32\r\n"
      "SAVESTARTADDR=0x000000\r\n"
      "SAVEENDADDR=0x00FFFF\r\n"
      "LOADFILE=\r\n"
      "LOADFILETYPE=0\r\n"
      "CONFIGLOADFILE=\r\n"
      "CONFIGLOADFILETYPE=0\r\n"
      "CONFIGSAVEFILE=\r\n"
      "CONFIGSAVEFILETYPE=0\r\n"
      "SCRIPTFILE=\r\n"
      "SCRIPTFILETYPE=0\r\n"
      "\r\n"
      "[Messages]\r\n"
      "A_LOADER_STARTED=0x01\r\n"
      "A_APPLICATION_STARTED=0x03\r\n"
      "\r\n"
      "C_WRITE_BLOCK=0x84\r\n"
      "C_READ_BLOCK=0x85\r\n"
      "C_WRITE_WORD=0x82\r\n"
      "C_EINIT=0x31\r\n"
      "C_TEST_COMM=0x93\r\n"
      "C_SWRESET=0x32\r\n"
      "C_GO=0x41\r\n"
      "C_CALL=0x9F\r\n"
      "C_GETCHECKSUM=0x33\r\n"
      "\r\n"
      "A_ACK1=0xAA\r\n"
      "A_ACK2=0xEA\r\n"
      "\r\n"
      "[Frontend]\r\n"
      "BLANK_CHAR=.\r\n"
      "COLOR_BGMARKED=0xDDDDDD\r\n"
      "COLOR_BGNORMAL=0xFFFFFF\r\n"
      "COLOR_FGVALID=0x000000\r\n"
      "COLOR_FGINVALID=0x0000FF\r\n"
      "COLOR_FGMONITOR=0x007777\r\n"
      "LOGFILE=0\r\n"
      "USERSCRIPT0=\r\n"
      "USERSCRIPT1=\r\n"
      "USERSCRIPT2=\r\n"
      "USERSCRIPT3=\r\n"
      "LASTSCRIPTFILE0=\r\n"
      "LASTSCRIPTFILE1=\r\n"
      "LASTSCRIPTFILE2=\r\n"
      "LASTSCRIPTFILE3=\r\n";
  EXPECT_EQ(PreferencesText(s), expected);
}

TEST_F(Preferences, ScriptLinesCloseTheFileAfterTheRegisterList) {
  Settings s = nonDefaultSettings();
  s.frontend.display = {"PSW", "ONES"};
  const std::string text = PreferencesText(s);
  const std::string tail =
      "LOGFILE=1\r\n"
      "DISPLAY=PSW\r\n"
      "DISPLAY=ONES\r\n"
      "USERSCRIPT0=/s/user0.scm\r\n"
      "USERSCRIPT1=SCRIPTS\\user1.scm\r\n"
      "USERSCRIPT2=/s/user2.scm\r\n"
      "USERSCRIPT3=/s/user3.scm\r\n"
      "LASTSCRIPTFILE0=/s/last0.scm\r\n"
      "LASTSCRIPTFILE1=/s/last1.scm\r\n"
      "LASTSCRIPTFILE2=/s/last2.scm\r\n"
      "LASTSCRIPTFILE3=/s/last3.scm\r\n";
  ASSERT_GE(text.size(), tail.size());
  EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
  // Nowhere else: not in [Files].
  const size_t tailStart = text.size() - tail.size();
  EXPECT_EQ(text.find("USERSCRIPT"), tailStart + tail.find("USERSCRIPT"));
  EXPECT_EQ(text.find("LASTSCRIPTFILE"), tailStart + tail.find("LASTSCRIPTFILE"));
}

// ---------------------------------------------------------------------------------------
// The reader

TEST_F(Preferences, AnEmptyFileGivesTheDefaults) {
  Settings s = nonDefaultSettings();
  s.target.values.fill(0);  // the only thing a reset keeps
  const PreferencesReadResult result = read("", s);
  EXPECT_TRUE(result.found);
  EXPECT_FALSE(result.namesControllerType);
  EXPECT_TRUE(result.issues.empty());
  ExpectSameSettings(s, defaults());
}

TEST_F(Preferences, OnlyTheBaudRate) {
  Settings s;
  read("[Communication]\r\nBAUDRATE=19200\r\n", s);
  Settings expected = defaults();
  expected.communication.baudRate = 19200;
  ExpectSameSettings(s, expected);
}

TEST_F(Preferences, AKeyOutsideItsSectionIsIgnoredAndReported) {
  Settings s;
  const PreferencesReadResult result = read(
      "[Frontend]\r\n"          // 1
      "BAUDRATE=19200\r\n"      // 2
      "[Communication]\r\n"     // 3
      "LOGFILE=1\r\n"           // 4
      "COLOR_BGNORMAL=0x0\r\n"  // 5
      "NOSUCHKEY=1\r\n",        // 6
      s);
  ExpectSameSettings(s, defaults());
  EXPECT_EQ(issueLines(result.issues), (std::vector<long>{2, 4, 5, 6}));
}

TEST_F(Preferences, KeysAndHeadersInAnyCase) {
  Settings s;
  read(
      "[communication]\r\n"
      "baudrate=19200\r\n"
      "Port=Com4\r\n"
      "[CONTROLLER]\r\n"
      "mctype=brask\r\n"
      "[memory]\r\n"
      "name=Xram\r\n"
      "section(0).startaddress(0)=0x20000a\r\n"
      "section(0).length(0)=0x00fFfF\r\n"
      "[frontend]\r\n"
      "color_bgmarked=0x00ff00\r\n"
      "display=psw\r\n",
      s);
  EXPECT_EQ(s.communication.baudRate, 19200);
  EXPECT_EQ(s.communication.portNumber, 4);
  EXPECT_EQ(s.target.mcType, "brask");  // values keep their case
  ASSERT_EQ(s.target.units.size(), 1U);
  EXPECT_EQ(s.target.units[0].name, "Xram");
  ASSERT_EQ(s.target.units[0].sections.size(), 1U);
  EXPECT_EQ(s.target.units[0].sections[0].regions[0], region(0x20000A, 0xFFFF));
  EXPECT_EQ(s.frontend.colorBgMarked, 0x00FF00);
  EXPECT_EQ(s.frontend.display, (std::vector<std::string>{"psw"}));
}

TEST_F(Preferences, SpacesAreRemovedFromEveryLine) {
  Settings s;
  read(
      " [ Communication ] \r\n"
      "PORT = COM2\r\n"
      "BAUD RATE = 38 400\r\n"
      "[Files]\r\n"
      "LOADFILE = /home/my lab/app.hex\r\n",
      s);
  EXPECT_EQ(s.communication.portNumber, 2);
  EXPECT_EQ(s.communication.PortText(), "COM2");
  EXPECT_EQ(s.communication.baudRate, 38400);
  EXPECT_EQ(s.files.load.path, "/home/mylab/app.hex");
}

TEST_F(Preferences, TheLastOccurrenceWins) {
  Settings s;
  read(
      "[Communication]\r\n"
      "BAUDRATE=19200\r\n"
      "BAUDRATE=57600\r\n"
      "[Controller]\r\n"
      "MCTYPE=KESSEL\r\n"
      "[Messages]\r\n"
      "C_GO=0x42\r\n"
      "[Controller]\r\n"
      "MCTYPE=BRASK\r\n"
      "[Messages]\r\n"
      "C_GO=0x43\r\n",
      s);
  EXPECT_EQ(s.communication.baudRate, 57600);
  EXPECT_EQ(s.target.mcType, "BRASK");
  EXPECT_EQ(s.bytes.go, 0x43);
}

TEST_F(Preferences, NameAndDisplayLinesAdd) {
  Settings s;
  read(
      "[Memory]\r\n"
      "NAME=XRAM\r\n"
      "TYPE=XRAM\r\n"
      "NAME=XRAM\r\n"
      "TYPE=PSRAM\r\n"
      "[Frontend]\r\n"
      "DISPLAY=PSW\r\n"
      "DISPLAY=SYSCON0\r\n"
      "DISPLAY=PSW\r\n",
      s);
  ASSERT_EQ(s.target.units.size(), 2U);
  EXPECT_EQ(s.target.units[0].type, "XRAM");
  EXPECT_EQ(s.target.units[1].type, "PSRAM");
  EXPECT_EQ(s.frontend.display, (std::vector<std::string>{"PSW", "SYSCON0", "PSW"}));
}

TEST_F(Preferences, ScriptKeysInFilesAndInFrontend) {
  Settings s;
  const PreferencesReadResult result = read(
      "[Files]\r\n"                     // 1
      "USERSCRIPT0=/s/u0.scm\r\n"       // 2
      "LASTSCRIPTFILE1=/s/l1.scm\r\n"   // 3
      "[Messages]\r\n"                  // 4
      "USERSCRIPT1=/s/ignored.scm\r\n"  // 5
      "[Frontend]\r\n"                  // 6
      "USERSCRIPT3=/s/u3.scm\r\n"       // 7
      "LASTSCRIPTFILE0=/s/l0.scm\r\n",  // 8
      s);
  EXPECT_EQ(s.files.userScripts, (std::array<std::string, 4>{"/s/u0.scm", "", "", "/s/u3.scm"}));
  EXPECT_EQ(s.files.lastScripts, (std::array<std::string, 4>{"/s/l0.scm", "/s/l1.scm", "", ""}));
  EXPECT_EQ(issueLines(result.issues), (std::vector<long>{5}));
}

TEST_F(Preferences, PortNames) {
  {
    SCOPED_TRACE("an older file with a COM number only");
    Settings s;
    read("[Communication]\r\nPORT=COM3\r\n", s);
    EXPECT_EQ(s.communication.portNumber, 3);
    EXPECT_EQ(s.communication.portName, "");
    EXPECT_EQ(s.communication.PortText(), "COM3");
    EXPECT_EQ(s.communication.DevicePath(), "/dev/ttyS2");
    const std::string text = PreferencesText(s);
    EXPECT_NE(text.find("\r\nPORT=COM3\r\n"), std::string::npos);
    EXPECT_EQ(text.find("PORTNAME="), std::string::npos);
  }
  for (const char* name : {"/dev/ttyUSB0", "virtual", "/dev/pts/3"}) {
    SCOPED_TRACE(name);
    Settings s = defaults();
    s.communication.SetPort(name);
    const std::string text = PreferencesText(s);
    EXPECT_NE(text.find(std::string("\r\nPORTNAME=") + name + "\r\n"), std::string::npos);
    Settings back;
    const auto result = read(text, back);
    EXPECT_TRUE(result.issues.empty());
    ExpectSameCommunication(back.communication, s.communication);
    EXPECT_EQ(back.communication.PortText(), name);
    EXPECT_EQ(back.communication.DevicePath(), name);
  }
}

TEST_F(Preferences, AMissingFileLeavesTheDefaultsAndSaysSo) {
  Settings s = nonDefaultSettings();
  const std::string path = home.File("PREFS/none.ini");
  const PreferencesReadResult result = ReadPreferences(path, s, home.path(), log);
  EXPECT_FALSE(result.found);
  Settings expected = defaults();
  expected.target.values = nonDefaultSettings().target.values;
  ExpectSameSettings(s, expected);
  EXPECT_EQ(closedLines(log), (std::vector<std::string>{"*ERROR: File " + path + " not found"}));
}

struct RejectedHexCase {
  const char* text;
  int32_t (*field)(const Settings&);
};

const RejectedHexCase kRejectedHex[] = {
    {"[Velmora]\r\nVELMORASTARTADDRESS=1000000\r\n",
     [](const Settings& s) { return s.images.monitorStart; }},
    {"[Velmora]\r\nVELMORAENDADDRESS=E002G7\r\n",
     [](const Settings& s) { return s.images.monitorEnd; }},
    {"[Messages]\r\nC_GO=0xG1\r\n", [](const Settings& s) { return s.bytes.go; }},
    {"[Messages]\r\nA_ACK1=0x-1\r\n", [](const Settings& s) { return s.bytes.ack1; }},
    {"[Frontend]\r\nCOLOR_BGMARKED=0x12345Z\r\n",
     [](const Settings& s) { return s.frontend.colorBgMarked; }},
    {"[Files]\r\nSAVEENDADDR=0x1FFFFFF\r\n",
     [](const Settings& s) { return s.files.saveAs.endAddress; }},
    {"[Register]\r\nFOCON=0xXYZ\r\n",
     [](const Settings& s) { return s.target.Value(InitValue::FOCON); }},
    {"[Register]\r\nGENERIC1=0xZZ,0x00FE00\r\n",
     [](const Settings& s) { return s.target.Value(InitValue::Generic1Data); }},
    {"[Memory]\r\nNAME=X\r\nBLANK=0xQQ\r\n",
     [](const Settings& s) { return s.target.units.at(0).blank; }},
    {"[Memory]\r\nNAME=X\r\nSECTION(0).STARTADDRESS(0)=0x12345678\r\n",
     [](const Settings& s) {
       return s.target.units.at(0).sections.at(0).regions.at(0).startAddress;
     }},
};

TEST_F(Preferences, HexValuesThatCannotBeConvertedAreStoredAsMinusOne) {
  for (const auto& c : kRejectedHex) {
    SCOPED_TRACE(c.text);
    Settings s;
    const PreferencesReadResult result = read(c.text, s);
    EXPECT_EQ(c.field(s), -1);
    EXPECT_EQ(result.issues.size(), 1U);
  }
}

TEST_F(Preferences, NoMoreThanThirtyThreeMemoryUnits) {
  std::string text = "[Memory]\r\n";
  for (int i = 0; i < 34; ++i) {
    text += "NAME=U" + std::to_string(i) + "\r\nTYPE=T" + std::to_string(i) + "\r\n" +
            "SECTION(0).STARTADDRESS(0)=0x" + std::to_string(100000 + i) + "\r\n";
  }
  Settings s;
  const PreferencesReadResult result = read(text, s);
  ASSERT_EQ(s.target.units.size(), static_cast<size_t>(kMaxMemoryUnits));
  // The unit that found no room leaves the last one as the file gave it.
  const MemoryUnit& last = s.target.units.back();
  EXPECT_EQ(last.name, "U32");
  EXPECT_EQ(last.type, "T32");
  ASSERT_EQ(last.sections.size(), 1U);
  EXPECT_EQ(last.sections[0].regions[0].startAddress, 0x100032);
  EXPECT_FALSE(result.issues.empty());
}

// ---------------------------------------------------------------------------------------
// Saving

TEST_F(Preferences, SavingReplacesAnExistingFile) {
  const std::string path = home.Write("lab.ini", "old contents\r\n");
  const Settings s = nonDefaultSettings();
  ASSERT_TRUE(SavePreferences(path, s, log));
  EXPECT_EQ(test::ReadFile(path), PreferencesText(s));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home.path()),
                          std::filesystem::directory_iterator()),
            1);
  EXPECT_TRUE(closedLines(log).empty());
}

TEST_F(Preferences, AFolderThatDoesNotExistFailsWithAnErrorLine) {
  const std::string path = home.File("no/such/folder/lab.ini");
  EXPECT_FALSE(SavePreferences(path, nonDefaultSettings(), log));
  EXPECT_FALSE(std::filesystem::exists(path));
  const auto lines = closedLines(log);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].rfind("*ERROR: ", 0), 0U) << lines[0];
  EXPECT_NE(lines[0].find(path), std::string::npos) << lines[0];
}

// A path that cannot be replaced (here a folder of that name with a file in it) fails and
// leaves what is there as it was, without a temporary file beside it.
TEST_F(Preferences, AFailedSaveLeavesWhatWasThere) {
  const std::string inside = home.Write("lab.ini/keep.txt", "keep me");
  const std::string path = home.File("lab.ini");
  EXPECT_FALSE(SavePreferences(path, nonDefaultSettings(), log));
  EXPECT_TRUE(std::filesystem::is_directory(path));
  EXPECT_EQ(test::ReadFile(inside), "keep me");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home.path()),
                          std::filesystem::directory_iterator()),
            1);
  const auto lines = closedLines(log);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].rfind("*ERROR: ", 0), 0U) << lines[0];
}

// The same with an ordinary file in a folder the program may not write to. Permissions do
// not hold back the superuser, so the test runs only for ordinary users.
TEST_F(Preferences, AFileInAReadOnlyFolderIsLeftUnchanged) {
  if (::geteuid() == 0) GTEST_SKIP() << "permissions do not apply to the superuser";
  const std::string path = home.Write("ro/lab.ini", "old contents\r\n");
  const auto folder = home.path() / "ro";
  std::filesystem::permissions(
      folder, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  const bool saved = SavePreferences(path, nonDefaultSettings(), log);
  std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
  EXPECT_FALSE(saved);
  EXPECT_EQ(test::ReadFile(path), "old contents\r\n");
  EXPECT_EQ(closedLines(log).size(), 1U);
}

}  // namespace
}  // namespace velmora
