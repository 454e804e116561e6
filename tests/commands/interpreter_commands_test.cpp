// The command line against a whole session on the virtual TOLVANE board: how a line is
// matched, split and checked, the status it returns, the help text, and what each command
// puts on the wire.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands/interpreter.h"
#include "core/hex_text.h"
#include "program_folder.h"
#include "recording_frontend.h"
#include "session/command_input.h"
#include "session/session.h"
#include "session/startup.h"
#include "sim/board.h"
#include "temp_folder.h"

namespace velmora {
namespace {

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

constexpr const char* kIllegalCommand = "*ERROR: Illegal command";
constexpr const char* kIllegalParameters = "*ERROR: Illegal parameters";
constexpr const char* kIllegalCount = "*ERROR: Illegal number of parameters";
constexpr const char* kNotConnected = "*ERROR: Not Connected to Target";

// A started session on its own copy of the program folder, with the virtual board behind
// the port and short time-outs, that records the lines it writes and the bytes the board
// receives.
class Bench {
 public:
  Bench() {
    session.log.SetLineObserver([this](const std::string& line) { lines_.push_back(line); });
    started = Startup(session, {});
    session.settings.communication.timeout = 40;
  }

  int16_t Run(std::string_view line) { return EnterCommandLine(session, line); }

  // The lines closed since the last call.
  Lines TakeLines() {
    Lines taken;
    taken.swap(lines_);
    return taken;
  }

  // The bytes the board received since the last call.
  Bytes TakeSent() {
    Board* current = session.virtualBoard();
    if (current != board_) {
      board_ = current;
      seen_ = 0;
    }
    if (!board_) return {};
    const auto& all = board_->received();
    Bytes sent(all.begin() + static_cast<long>(seen_), all.end());
    seen_ = all.size();
    return sent;
  }

  void Connect() {
    ASSERT_EQ(Run("_connect"), 0) << ::testing::PrintToString(TakeLines());
    ASSERT_EQ(session.link().state(), TargetState::Ready);
    TakeLines();
    TakeSent();
  }

  test::ProgramFolderCopy home;
  test::RecordingFrontend frontend;
  Session session{frontend, home.path()};
  bool started = false;

 private:
  Lines lines_;
  Board* board_ = nullptr;
  size_t seen_ = 0;
};

class CommandLine : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bench.started);
    ASSERT_EQ(bench.session.settings.communication.PortText(), "virtual");
    ASSERT_NE(bench.session.virtualBoard(), nullptr);
    bench.TakeLines();
    bench.TakeSent();
  }

  int16_t Run(std::string_view line) { return bench.Run(line); }
  Lines TakeLines() { return bench.TakeLines(); }
  Bytes TakeSent() { return bench.TakeSent(); }
  Session& session() { return bench.session; }
  Board& board() { return *bench.session.virtualBoard(); }

  Bench bench;
};

// ---------------------------------------------------------------------------------------
// Matching and splitting

TEST_F(CommandLine, EchoesTheLineAsTypedBeforeAnythingElse) {
  EXPECT_EQ(Run("_addselection 100,1ff"), 0);
  EXPECT_EQ(TakeLines(), Lines{">_addselection 100,1ff"});
  EXPECT_EQ(Run("_foo  bar,"), -1);
  EXPECT_EQ(TakeLines(), (Lines{">_foo  bar,", kIllegalCommand}));
}

TEST_F(CommandLine, CommandNamesIgnoreCase) {
  EXPECT_EQ(Run("_ADDSELECTION 100,1ff"), 0);
  ASSERT_EQ(session().selections.Count(), 1);
  const Selection upper = session().selections.At(0);
  session().selections.ClearSelections();
  EXPECT_EQ(Run("_addselection 100,1FF"), 0);
  ASSERT_EQ(session().selections.Count(), 1);
  EXPECT_EQ(session().selections.At(0), upper);
  EXPECT_EQ(upper, (Selection{0x100, 0x1FF}));
}

struct GenericErrorCase {
  const char* line;
  int16_t status;
  const char* error;
};

TEST_F(CommandLine, GenericErrorsAreWrittenOnceAfterTheEcho) {
  const GenericErrorCase cases[] = {
      {"_load", -3, kIllegalCount},
      {"_foo", -1, kIllegalCommand},
      {"_FOO 1,2", -1, kIllegalCommand},
      // Names that are not commands of the system, although the operations exist.
      {"_asc02asc1", -1, kIllegalCommand},
      {"_writemem 100,1", -1, kIllegalCommand},
      {"_readmem 100", -1, kIllegalCommand},
      {"_writesfr PSW,0", -1, kIllegalCommand},
      {"_status", -1, kIllegalCommand},
      {"_addselection 100,XYZ", -2, kIllegalParameters},
      {"_addselection 1000000,1", -2, kIllegalParameters},
      {"_fillmemory 1G", -2, kIllegalParameters},
      // The blank before the comma stays with the first parameter on the command line.
      {"_mov 100 ,5", -2, kIllegalParameters},
      {"_mov 100,10000", -2, kIllegalParameters},
      {"_mov NOSUCHREGISTER,4", -2, kIllegalParameters},
      {"_call 200,1,X", -2, kIllegalParameters},
      {"_addsfr NOSUCHREGISTER", -2, kIllegalParameters},
      {"_removesfr NOSUCHREGISTER", -2, kIllegalParameters},
      {"_assign %1", -2, kIllegalParameters},
      {"_executescript nothere.scm", -2, kIllegalParameters},
      {"_sendfile nothere.bin", -2, kIllegalParameters},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Run(c.line), c.status);
    EXPECT_EQ(TakeLines(), (Lines{std::string(">") + c.line, c.error}));
    EXPECT_TRUE(TakeSent().empty());
  }
}

TEST_F(CommandLine, MissingLoadFileIsSaidByTheCommandAndThenAsIllegalParameters) {
  EXPECT_EQ(Run("_load missing.hex"), -2);
  EXPECT_EQ(TakeLines(), (Lines{">_load missing.hex", "*ERROR: file missing.hex not found !",
                                kIllegalParameters}));
}

// The accepted counts of the command table: one fewer than the least and one more than
// the most must both be refused before the command does anything.
struct CountCase {
  const char* name;
  int least;
  int most;  // -1: no upper bound
};

std::string WithParameters(const std::string& name, int count) {
  std::string line = name;
  for (int i = 0; i < count; ++i) line += (i == 0 ? " " : ",") + std::string("1");
  return line;
}

TEST_F(CommandLine, EveryCommandChecksItsParameterCount) {
  const CountCase cases[] = {
      {"_load", 1, 1},           {"_save", 1, 3},
      {"_addselection", 2, 2},   {"_clearselections", 0, 0},
      {"_fillmemory", 1, 1},     {"_clearmemory", 0, 0},
      {"_connect", 0, 0},        {"_compare", 0, 1},
      {"_download", 0, 0},       {"_upload", 0, 0},
      {"_einit", 0, 0},          {"_srst", 0, 0},
      {"_initialize", 0, 0},     {"_jmp", 1, 1},
      {"_movemonitor", 1, 1},    {"_idreg", 0, 0},
      {"_copy", 0, 0},           {"_cut", 0, 0},
      {"_paste", 1, 1},          {"_mov", 2, 2},
      {"_call", 1, 9},           {"_reconnect", 0, 0},
      {"_delay", 1, 1},          {"_pause", 0, 0},
      {"_send", 1, 1},           {"_sendfile", 1, 1},
      {"_xorchecksum", 1, 1},    {"_addcchecksum", 1, 2},
      {"_showselections", 0, 0}, {"_quit", 0, 0},
      {"_disconnect", 0, 0},     {"_refreshsfr", 0, 0},
      {"_addsfr", 1, 1},         {"_removesfr", 1, 1},
      {"_setlogfile", 1, 1},     {"_writelogfile", 1, 1},
      {"_message", 1, -1},       {"_cmessage", 1, -1},
      {"_assign", 1, 1},         {"_executescript", 1, 1},
      {"_COND", 1, 1},           {"_program", 0, 0},
      {"_iprogram", 0, 0},       {"_erase", 2, 2},
  };
  for (const auto& c : cases) {
    std::vector<int> wrong;
    if (c.least > 0) wrong.push_back(c.least - 1);
    if (c.most >= 0) wrong.push_back(c.most + 1);
    for (int count : wrong) {
      const std::string line = WithParameters(c.name, count);
      SCOPED_TRACE(line);
      EXPECT_EQ(Run(line), -3);
      EXPECT_EQ(TakeLines(), (Lines{">" + line, kIllegalCount}));
      EXPECT_TRUE(TakeSent().empty());
      EXPECT_TRUE(bench.frontend.boxes.empty());
      EXPECT_EQ(session().link().state(), TargetState::NotConnected);
      EXPECT_TRUE(session().link().port().IsOpen());
      EXPECT_FALSE(session().QuitRequested());
    }
  }
}

TEST_F(CommandLine, CommandsOfAnyCountAcceptEverything) {
  for (const char* line : {"_lock", "_unlock 1,2,3", "_protect x", "_unprotect ,,", "_help 1,2"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Run(line), 0);
    const Lines lines = TakeLines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), std::string(">") + line);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), kIllegalCount), 0);
  }
}

TEST_F(CommandLine, MatchingIsByThePrefixOfTheWholeLine) {
  // _loadx is _load: without a parameter its count is wrong, with one it loads.
  EXPECT_EQ(Run("_loadx"), -3);
  EXPECT_EQ(TakeLines(), (Lines{">_loadx", kIllegalCount}));
  EXPECT_EQ(Run("_loadx SCRIPTS\\demo_ram.hex"), 0);
  EXPECT_EQ(TakeLines(), (Lines{">_loadx SCRIPTS\\demo_ram.hex", "*Load: 1024 bytes loaded"}));
  ASSERT_EQ(session().selections.Count(), 1);
  EXPECT_EQ(session().selections.At(0), (Selection{0xC000, 0xC3FF}));
}

TEST_F(CommandLine, SendfileRunsOnlySendfile) {
  const Bytes content = {'V', 'e', 'l', 0x7F, 0x81, 0xFE};
  bench.home.folder().Write("probe.bin", std::string(content.begin(), content.end()));
  EXPECT_EQ(Run("_sendfile probe.bin"), 0);
  EXPECT_EQ(TakeLines(), Lines{">_sendfile probe.bin"});
  // _send would have sent the characters of "probe.bin".
  EXPECT_EQ(TakeSent(), content);
}

TEST_F(CommandLine, MovemonitorRunsOnlyMovemonitor) {
  // _mov with one parameter would say the count is wrong; _movemonitor needs the monitor.
  EXPECT_EQ(Run("_movemonitor FC00"), -15);
  EXPECT_EQ(TakeLines(), (Lines{">_movemonitor FC00", kNotConnected}));
  EXPECT_TRUE(TakeSent().empty());

  bench.Connect();
  EXPECT_EQ(Run("_movemonitor FC00"), 0) << ::testing::PrintToString(TakeLines());
  EXPECT_EQ(session().monitorArea.start, 0xFC00);
  EXPECT_EQ(board().monitorAddress(), 0xFC00);
  // No word was written to FC00 as _mov would have done.
  const Bytes sent = TakeSent();
  const Bytes writeWordAtFC00 = {0x82, 0x00, 0xFC, 0x00};
  EXPECT_EQ(std::search(sent.begin(), sent.end(), writeWordAtFC00.begin(), writeWordAtFC00.end()),
            sent.end());
}

TEST_F(CommandLine, BlankBeforeACommaIsRemovedOnlyInScripts) {
  bench.Connect();
  EXPECT_EQ(Run("_mov 100 ,5"), -2);
  EXPECT_EQ(TakeLines(), (Lines{">_mov 100 ,5", kIllegalParameters}));
  EXPECT_TRUE(TakeSent().empty());

  bench.home.folder().Write("mov.scm", "_mov 100 ,5\r\n");
  EXPECT_EQ(session().interpreter().ExecuteScript("mov.scm"), ScriptOutcome::Succeeded);
  EXPECT_EQ(TakeLines(), (Lines{">_mov 100,5", "*Script successfully executed"}));
  EXPECT_EQ(board().ReadWord(0x100), 5);
  EXPECT_EQ(TakeSent(), (Bytes{0x82, 0x00, 0x01, 0x00, 0x05, 0x00}));
}

// ---------------------------------------------------------------------------------------
// Help text

struct HelpRow {
  const char* description;  // nullptr: a blank row
  const char* command;
  const char* hint;
};

// The 40 rows of the help text: description, command and parameter hint.
const HelpRow kHelpRows[] = {
    {"-Load an intel hex file: ", "_load", " <filename>"},
    {"-Save selection to intel hex file: ", "_save", " <filename>"},
    {nullptr, "", ""},
    {"-Copy selection to clipboard: ", "_copy", ""},
    {"-Cut selection to clipboard: ", "_cut", ""},
    {"-Paste clipboard to memory: ", "_paste", " <start address>"},
    {"-Add memory range to selection: ", "_addselection", " <startaddress>,<endaddress>"},
    {"-Remove all selections: ", "_clearselections", ""},
    {"-Fill selection with value: ", "_fillmemory", " <byte-value>"},
    {"-Clear/Unread selection: ", "_clearmemory", ""},
    {nullptr, "", ""},
    {"-Connect to target: ", "_connect", ""},
    {"-Reconnect: ", "_reconnect", ""},
    {"-Disconnect: ", "_disconnect", ""},
    {"-Download selection to target: ", "_download", ""},
    {"-Upload from target memory into selection: ", "_upload", ""},
    {"-Compare selection with target memory: ", "_compare", " [filename]"},
    {nullptr, "", ""},
    {"-Move Monitor: ", "_movemonitor", " <startaddress>"},
    {"-Software Reset: ", "_srst", ""},
    {"-Jump to user application: ", "_jmp", " <Startaddress>"},
    {"-call einit command : ", "_einit", ""},
    {"-Write word to target register/memory: ", "_mov", " <address>,<value>"},
    {"-Call driver/user application: ", "_call", " <Startaddress> [,R8[,R9[...]]"},
    {"-Delay x seconds: ", "_delay", " <seconds>"},
    {"-Wait for Keypress: ", "_pause", ""},
    {"-Refresh SFR Window: ", "_refreshsfr", ""},
    {"-Add Register to SFR Window: ", "_addsfr", ""},
    {"-Remove Register to SFR Window: ", "_removesfr", ""},
    {"-Message Box: ", "_message", " <param1>[,<param2>,...]"},
    {"-Message Box cont: ", "_cmessage", " <param1>[,<param2>,...]"},
    {"-Assign Variable: ", "_assign", " <expression>"},
    {"-Call (Sub)script: ", "_executescript", " <file name>"},
    {"-Send string/Hex values: ", "_send", " <string>|<:hex"},
    {nullptr, "", ""},
    {"-Flash: program selection: ", "_program", ""},
    {"-Flash: Intelligent program: ", "_iprogram", ""},
    {"-Flash: erase sector: ", "_erase", " Device Name,Sector"},
    {nullptr, "", ""},
    {"ALL VALUES ARE EXPECTED AS HEXADECIMAL NUMBERS", "", ""},
};

Lines ExpectedHelp() {
  Lines lines;
  for (const auto& row : kHelpRows) {
    lines.push_back(row.description ? std::string(row.description) + row.command + row.hint : " ");
  }
  return lines;
}

TEST_F(CommandLine, HelpWritesTheFortyLinesByteForByte) {
  const Lines help = ExpectedHelp();
  ASSERT_EQ(help.size(), 40U);
  for (const char* line : {"_help", "_help anything", "_HELP", "_helpme"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Run(line), 0);
    Lines lines = TakeLines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), std::string(">") + line);
    lines.erase(lines.begin());
    ASSERT_EQ(lines.size(), help.size());
    for (size_t i = 0; i < help.size(); ++i) EXPECT_EQ(lines[i], help[i]) << "help line " << i + 1;
  }
}

// ---------------------------------------------------------------------------------------
// Conversions and the status sums

struct StatusCase {
  const char* line;
  int16_t status;
};

TEST_F(CommandLine, ChecksumWidthsAreDecimal) {
  ASSERT_EQ(Run("_addselection C000,C00F"), 0);
  TakeLines();
  const StatusCase cases[] = {
      {"_xorchecksum 10", -25},  {"_xorchecksum 0x10", -25},  {"_xorchecksum A", -25},
      {"_xorchecksum 16", 0},    {"_xorchecksum 8", 0},       {"_xorchecksum 8.2", 0},
      {"_addcchecksum 12", -26}, {"_addcchecksum 10,1", -26}, {"_addcchecksum 16", 0},
      {"_addcchecksum 16,1", 0}, {"_addcchecksum 8,0", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Run(c.line), c.status);
    const Lines lines = TakeLines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0], std::string(">") + c.line);
    if (c.status != 0) {
      EXPECT_EQ(lines, (Lines{lines[0], kIllegalParameters}));
    } else {
      EXPECT_EQ(std::count(lines.begin(), lines.end(), kIllegalParameters), 0);
    }
  }
}

TEST_F(CommandLine, FailingOperationsReturnTheirFailureCode) {
  // Each line on a fresh session that is not connected; the status is the general
  // result 0 plus the command's code, and the operation says why in its own line.
  struct Case {
    const char* line;
    int16_t status;
    const char* reason;  // a line the operation writes, or nullptr
  };
  const Case cases[] = {
      {"_download", -9, kNotConnected},
      {"_upload", -10, kNotConnected},
      {"_compare", -8, kNotConnected},
      {"_movemonitor FC00", -15, kNotConnected},
      {"_idreg", -16, kNotConnected},
      {"_initialize", -13, kNotConnected},
      {"_call 200", -21, "*ERROR: Wrong acknowledge received"},
      {"_reconnect", -22, "*ERROR: Monitor not ready"},
      {"_einit", -11, nullptr},
      {"_jmp 200", -14, nullptr},
      {"_mov 200,1", -20, nullptr},
      {"_paste 100", -19, nullptr},
      {"_load bad.hex", -1, "*ERROR: No ':' at beginning of line "},
      {"_xorchecksum 10", -25, kIllegalParameters},
      {"_addcchecksum 32", -26, kIllegalParameters},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    Bench fresh;
    ASSERT_TRUE(fresh.started);
    fresh.session.settings.communication.timeout = 40;
    fresh.home.folder().Write("bad.hex", ":02000000ABCD86\r\nno record\r\n");
    fresh.TakeLines();
    EXPECT_EQ(fresh.Run(c.line), c.status);
    const Lines lines = fresh.TakeLines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), std::string(">") + c.line);
    if (c.reason) {
      EXPECT_NE(std::find(lines.begin(), lines.end(), c.reason), lines.end());
    }
    if (c.status > -4) continue;
    for (const char* generic : {kIllegalCommand, kIllegalParameters, kIllegalCount}) {
      if (c.reason && std::string(c.reason) == generic) continue;
      EXPECT_EQ(std::count(lines.begin(), lines.end(), generic), 0) << generic;
    }
  }
}

TEST_F(CommandLine, SoftwareResetLeavesTheUserProgramRunningWhateverTheOutcome) {
  EXPECT_EQ(Run("_srst"), -12);
  EXPECT_EQ(session().link().state(), TargetState::UserProgramRunning);
}

TEST_F(CommandLine, FlashCommandsDoNothingWhileNotConnected) {
  ASSERT_EQ(Run("_load SCRIPTS\\demo_flash.hex"), 0);
  TakeLines();
  for (const char* line : {"_program", "_iprogram", "_erase IFLASH,0", "_erase xflash,3"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Run(line), 0);
    EXPECT_EQ(TakeLines(), Lines{std::string(">") + line});
    EXPECT_TRUE(TakeSent().empty());
  }
}

TEST_F(CommandLine, ViewsAreRefreshedAfterEveryLineOnlyWhileConnected) {
  const auto registerRefreshes = [&] {
    return std::count(bench.frontend.refreshes.begin(), bench.frontend.refreshes.end(),
                      RefreshTarget::RegisterList);
  };
  const auto before = registerRefreshes();
  Run("_foo");
  EXPECT_EQ(registerRefreshes(), before);
  bench.Connect();
  const auto connected = registerRefreshes();
  EXPECT_EQ(Run("_foo"), -1);
  EXPECT_EQ(registerRefreshes(), connected + 1);
  const auto memoryRefreshes = std::count(
      bench.frontend.refreshes.begin(), bench.frontend.refreshes.end(), RefreshTarget::MemoryView);
  EXPECT_GT(memoryRefreshes, 0);
}

// ---------------------------------------------------------------------------------------
// What the commands do, seen on the wire and in the files

TEST_F(CommandLine, SendTakesHexPairsAfterAColonAndCharactersOtherwise) {
  const struct {
    const char* line;
    Bytes bytes;
  } cases[] = {
      {"_send :41424", {0x41, 0x42}}, {"_send AB", {0x41, 0x42}},
      {"_send :4G42", {0x42}},        {"_send :4", {}},
      {"_send a b", {'a', ' ', 'b'}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Run(c.line), 0);
    EXPECT_EQ(TakeLines(), Lines{std::string(">") + c.line});
    EXPECT_EQ(TakeSent(), c.bytes);
  }
}

TEST_F(CommandLine, SaveWithOneParameterUsesTheSaveAsSettings) {
  ASSERT_EQ(Run("_load SCRIPTS\\demo_ram.hex"), 0);
  auto& saveAs = session().settings.files.saveAs;
  saveAs.recordSize = 16;
  saveAs.format = 32;
  TakeLines();
  EXPECT_EQ(Run("_save one.hex"), 0);
  EXPECT_EQ(TakeLines(), (Lines{">_save one.hex", "*SaveAs: selection written to file"}));
  const std::string one = test::ReadFile((bench.home.path() / "one.hex").string());
  // Extended linear address records and 16 data bytes a record.
  EXPECT_EQ(one.rfind(":020000040000FA", 0), 0U) << one.substr(0, 80);
  EXPECT_NE(one.find(":10C00000"), std::string::npos);
  EXPECT_EQ(one.find(":20C00000"), std::string::npos);

  // Given values win: 8 bytes a record, 14 (hex) is segment address records.
  EXPECT_EQ(Run("_save three.hex,8,14"), 0);
  const std::string three = test::ReadFile((bench.home.path() / "three.hex").string());
  EXPECT_NE(three.find(":08C00000"), std::string::npos);
  EXPECT_EQ(three.find(":02000004"), std::string::npos);
  EXPECT_NE(three.find(":02000002"), std::string::npos);
}

TEST_F(CommandLine, EraseFindsTheUnitByNameAndReadsTheSectorAsDecimal) {
  EXPECT_EQ(Run("_erase FLASH,3"), -2);
  EXPECT_EQ(TakeLines(), (Lines{">_erase FLASH,3", kIllegalParameters}));

  bench.Connect();
  Run("_erase IFLASH,10");
  const Bytes sent = TakeSent();
  ASSERT_GE(sent.size(), 20U);
  // The erase call is the last thing on the wire: C_CALL, the entry, R8 = 1 (erase) and
  // R14 = the sector.
  const Bytes call(sent.end() - 20, sent.end());
  EXPECT_EQ(call[0], 0x9F);
  EXPECT_EQ(call[4], 0x01);
  EXPECT_EQ(call[5], 0x00);
  EXPECT_EQ(call[4 + 2 * 6], 10);
  EXPECT_EQ(call[4 + 2 * 6 + 1], 0);
  const Lines lines = TakeLines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), kIllegalParameters), 0);
}

TEST_F(CommandLine, EraseOfAnExistingSectorSaysSo) {
  bench.Connect();
  EXPECT_EQ(Run("_erase iflash,2"), 0);
  const Lines lines = TakeLines();
  EXPECT_EQ(lines.back(), "*Erase: Sector 2 in IFLASH successfully erased");
}

TEST_F(CommandLine, CallWithOnlyAnAddressPassesZeroRegisters) {
  bench.Connect();
  EXPECT_EQ(Run("_call 200"), 0);
  Bytes expected = {0x9F, 0x00, 0x02, 0x00};
  expected.resize(4 + 16, 0x00);
  EXPECT_EQ(TakeSent(), expected);
  const Lines lines = TakeLines();
  ASSERT_EQ(lines.size(), 11U);
  EXPECT_EQ(lines[1], "*Driver successfully executed");
  EXPECT_EQ(lines[2], "*Return Parameters:");
  EXPECT_EQ(lines[3], "  R8=0000");
  EXPECT_EQ(lines[10], "  R15=0000");
  EXPECT_EQ(session().link().state(), TargetState::Ready);

  EXPECT_EQ(Run("_call 200,1,2,3,4,5,6,7,FFFF"), 0);
  expected = {0x9F, 0x00, 0x02, 0x00, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 0xFF, 0xFF};
  EXPECT_EQ(TakeSent(), expected);
}

TEST_F(CommandLine, MovWritesToTheAddressOfANamedRegister) {
  const int index = session().registers.FindRegister("SYSCON0");
  ASSERT_GE(index, 0);
  ASSERT_EQ(session().registers.At(index).address, 0xFF12);
  bench.Connect();
  for (const char* line : {"_mov SYSCON0,4", "_mov syscon0,4"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Run(line), 0);
    EXPECT_EQ(TakeSent(), (Bytes{0x82, 0x12, 0xFF, 0x00, 0x04, 0x00}));
  }
  EXPECT_EQ(board().ReadWord(0xFF12), 4);
  EXPECT_EQ(session().image.GetByte(0xFF12), 4);
  EXPECT_EQ(session().image.GetByte(0xFF13), 0);
  EXPECT_TRUE(session().image.IsDefined(0xFF13));
  EXPECT_TRUE(session().image.IsValid(0xFF12));
}

TEST_F(CommandLine, DisconnectWithThePortClosedWritesNothing) {
  bench.Connect();
  EXPECT_EQ(Run("_disconnect"), 0);
  EXPECT_EQ(TakeLines(),
            (Lines{">_disconnect", "*disconnect: velmora disconnected - comm port available"}));
  EXPECT_FALSE(session().link().port().IsOpen());
  EXPECT_EQ(session().link().state(), TargetState::NotConnected);

  EXPECT_EQ(Run("_disconnect"), 0);
  EXPECT_EQ(TakeLines(), Lines{">_disconnect"});
  EXPECT_FALSE(session().link().port().IsOpen());
}

TEST_F(CommandLine, QuitAsksTheProgramToEnd) {
  EXPECT_FALSE(session().QuitRequested());
  EXPECT_EQ(Run("_quit"), 0);
  EXPECT_TRUE(session().QuitRequested());
}

TEST_F(CommandLine, EmptyPiecesBetweenCommasAreParameters) {
  EXPECT_EQ(Run("_addselection ,1F"), 0);
  ASSERT_EQ(session().selections.Count(), 1);
  EXPECT_EQ(session().selections.At(0), (Selection{0x0, 0x1F}));
  // Trailing blanks stay with a parameter, so "1FF " is no number.
  EXPECT_EQ(Run("_addselection 100,1FF "), -2);
}

TEST_F(CommandLine, ShowselectionsListsEachRange) {
  ASSERT_EQ(Run("_addselection 100,1FF"), 0);
  ASSERT_EQ(Run("_addselection C00000,C0FFFF"), 0);
  TakeLines();
  EXPECT_EQ(Run("_showselections"), 0);
  EXPECT_EQ(TakeLines(), (Lines{">_showselections", "Selection 0: 000100 to 0001FF",
                                "Selection 1: C00000 to C0FFFF"}));
}

TEST_F(CommandLine, ConnectClearsTheSelectionsAndLaterCommandsRunOnTheMonitor) {
  ASSERT_EQ(Run("_addselection 100,1FF"), 0);
  bench.Connect();
  EXPECT_EQ(session().selections.Count(), 0);
  EXPECT_EQ(Run("_einit"), 0);
  EXPECT_EQ(TakeSent(), Bytes{0x31});
  EXPECT_EQ(Run("_jmp C000"), 0);
  EXPECT_EQ(TakeSent(), (Bytes{0x41, 0x00, 0xC0, 0x00}));
  EXPECT_EQ(session().link().state(), TargetState::UserProgramRunning);
}

TEST_F(CommandLine, PauseWaitsForOk) {
  EXPECT_EQ(Run("_pause"), 0);
  ASSERT_EQ(bench.frontend.boxes.size(), 1U);
  EXPECT_EQ(bench.frontend.boxes[0].text, "Please klick to the OK Button to continue");
  EXPECT_EQ(bench.frontend.boxes[0].buttons, BoxButtons::Ok);
}

TEST_F(CommandLine, CondShowsTheConditionsValue) {
  session().interpreter().variables()[1] = 0;
  for (const auto& [line, shown] : {std::pair{"_COND %1=0", "1"}, std::pair{"_cond %1>0", "0"},
                                    std::pair{"_COND %1<=2", "-5"}, std::pair{"_COND 1", "-1"}}) {
    SCOPED_TRACE(line);
    bench.frontend.boxes.clear();
    EXPECT_EQ(Run(line), 0);
    ASSERT_EQ(bench.frontend.boxes.size(), 1U);
    EXPECT_EQ(bench.frontend.boxes[0].text, shown);
  }
}

TEST_F(CommandLine, DelayWaitsWholeSecondsWhileEventsRun) {
  using Clock = std::chrono::steady_clock;
  auto start = Clock::now();
  EXPECT_EQ(Run("_delay 0.4"), 0);  // rounds to no wait at all
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(300));

  const long passes = bench.frontend.eventPasses;
  start = Clock::now();
  EXPECT_EQ(Run("_delay 1"), 0);
  const auto waited = Clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(950));
  EXPECT_LT(waited, std::chrono::milliseconds(2500));
  EXPECT_GT(bench.frontend.eventPasses, passes);
}

TEST_F(CommandLine, LogFileCommands) {
  const std::string log = (bench.home.path() / "run.log").string();
  EXPECT_EQ(Run("_writelogfile before"), 0);
  EXPECT_EQ(Run("_setlogfile " + log), 0);
  EXPECT_TRUE(session().log.LoggingOn());
  EXPECT_EQ(session().log.LogPath(), log);
  EXPECT_EQ(Run("_writelogfile written, as it is"), -3);  // a comma still separates
  EXPECT_EQ(Run("_writelogfile written as it is"), 0);
  const std::string text = test::ReadFile(log);
  EXPECT_EQ(text.find("before"), std::string::npos);
  EXPECT_NE(text.find("written as it is\r\n"), std::string::npos);
  // With logging on, the message lines go there as well.
  EXPECT_NE(text.find(">_writelogfile written as it is\r\n"), std::string::npos);
}

TEST_F(CommandLine, RegisterListCommandsChangeTheShownRegisters) {
  auto& shown = session().settings.frontend.display;
  ASSERT_EQ(std::count(shown.begin(), shown.end(), "SYSCON0"), 0);
  EXPECT_EQ(Run("_addsfr syscon0"), 0);
  EXPECT_EQ(
      std::count_if(shown.begin(), shown.end(),
                    [](const std::string& name) { return name == "SYSCON0" || name == "syscon0"; }),
      1);
  EXPECT_EQ(Run("_removesfr SYSCON0"), 0);
  EXPECT_EQ(
      std::count_if(shown.begin(), shown.end(),
                    [](const std::string& name) { return name == "SYSCON0" || name == "syscon0"; }),
      0);
}

TEST_F(CommandLine, CompareWithAReportFileWritesTheDifferencesThere) {
  bench.Connect();
  ASSERT_EQ(Run("_load SCRIPTS\\demo_ram.hex"), 0);
  ASSERT_EQ(Run("_download"), 0);
  board().WriteWord(0xC010, 0xFFFF);
  TakeLines();
  const std::string report = (bench.home.path() / "differences.txt").string();
  EXPECT_EQ(Run("_compare " + report), -8);
  const Lines lines = TakeLines();
  EXPECT_EQ(
      std::count_if(lines.begin(), lines.end(),
                    [](const std::string& line) { return line.rfind("*Comparison", 0) == 0; }),
      0);
  const std::string text = test::ReadFile(report);
  EXPECT_NE(text.find("Comparison at address 00C010 expected: "), std::string::npos);
  EXPECT_NE(text.find("Comparison: 2 of  1024 bytes not corresponding"), std::string::npos);
}

TEST_F(CommandLine, BlanksAndTabsEndTheCommandWord) {
  EXPECT_EQ(Run("_addselection\t100,1FF"), 0);
  EXPECT_EQ(Run("_addselection \t 300,3FF"), 0);
  EXPECT_EQ(session().selections.Count(), 2);
  EXPECT_EQ(Run("_clearselections   "), 0);
  EXPECT_EQ(session().selections.Count(), 0);
}

TEST_F(CommandLine, FillWidthFollowsTheLengthOfTheValue) {
  ASSERT_EQ(Run("_addselection 100,103"), 0);
  const struct {
    const char* line;
    Bytes bytes;
  } cases[] = {
      {"_fillmemory 41", {0x41, 0x41, 0x41, 0x41}},
      {"_fillmemory 041", {0x41, 0x00, 0x41, 0x00}},
      {"_fillmemory 1234", {0x34, 0x12, 0x34, 0x12}},
      {"_fillmemory 7", {0x07, 0x07, 0x07, 0x07}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Run(c.line), 0);
    Bytes image;
    for (int32_t a = 0x100; a <= 0x103; ++a) image.push_back(session().image.GetByte(a));
    EXPECT_EQ(image, c.bytes);
    EXPECT_TRUE(session().image.IsDefined(0x103));
  }
  EXPECT_EQ(Run("_clearmemory"), 0);
  EXPECT_FALSE(session().image.IsDefined(0x100));
  EXPECT_FALSE(session().image.IsDefined(0x103));
}

TEST_F(CommandLine, CopyCutAndPasteGoThroughTheClipboard) {
  ASSERT_EQ(Run("_addselection 100,101"), 0);
  ASSERT_EQ(Run("_fillmemory 5AA5"), 0);
  EXPECT_EQ(Run("_copy"), 0);
  EXPECT_FALSE(bench.frontend.clipboard.empty());
  EXPECT_EQ(Run("_cut"), 0);
  EXPECT_FALSE(session().image.IsDefined(0x100));
  EXPECT_EQ(Run("_paste 2000"), 0);
  EXPECT_EQ(session().image.GetByte(0x2000), 0xA5);
  EXPECT_EQ(session().image.GetByte(0x2001), 0x5A);
  EXPECT_TRUE(session().image.IsDefined(0x2001));
}

TEST_F(CommandLine, OperationsOnAConnectedTargetSucceed) {
  bench.Connect();
  ASSERT_EQ(Run("_addselection C000,C0FF"), 0);
  const StatusCase cases[] = {
      {"_einit", 0},    {"_initialize", 0}, {"_idreg", 0},     {"_refreshsfr", 0}, {"_upload", 0},
      {"_download", 0}, {"_compare", 0},    {"_reconnect", 0}, {"_call 200", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Run(c.line), c.status) << ::testing::PrintToString(TakeLines());
    EXPECT_EQ(session().link().state(), TargetState::Ready);
  }
  EXPECT_EQ(Run("_srst"), 0);
  EXPECT_EQ(session().link().state(), TargetState::UserProgramRunning);
}

// ---------------------------------------------------------------------------------------
// The command line's raw sends

TEST_F(CommandLine, ColonLineSendsEachHexPairAndSaysSo) {
  EXPECT_EQ(Run(":414243"), 0);
  EXPECT_EQ(TakeLines(), (Lines{"-> SENDING: 41", "-> SENDING: 42", "-> SENDING: 43"}));
  EXPECT_EQ(TakeSent(), (Bytes{0x41, 0x42, 0x43}));

  EXPECT_EQ(Run(":4"), 0);
  EXPECT_TRUE(TakeLines().empty());
  EXPECT_TRUE(TakeSent().empty());

  EXPECT_EQ(Run(":a1zz0b"), 0);
  EXPECT_EQ(TakeLines(), (Lines{"-> SENDING: A1", "-> SENDING: 0B"}));
  EXPECT_EQ(TakeSent(), (Bytes{0xA1, 0x0B}));
}

TEST_F(CommandLine, OtherTextIsSentAsItsCharactersInOneLine) {
  EXPECT_EQ(Run("ABC"), 0);
  EXPECT_EQ(TakeLines(), Lines{"-> SENDING: ABC"});
  EXPECT_EQ(TakeSent(), (Bytes{0x41, 0x42, 0x43}));
}

}  // namespace
}  // namespace velmora
