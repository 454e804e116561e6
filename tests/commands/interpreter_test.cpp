// The command language against a whole session on the virtual TOLVANE board: how a line
// is matched, split and checked, what it returns and puts on the wire, and scripts with
// their loops, conditions, expressions, messages, sub-scripts and limits.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "commands/interpreter.h"
#include "program_folder.h"
#include "recording_frontend.h"
#include "session/command_input.h"
#include "session/session.h"
#include "session/startup.h"
#include "sim/board.h"
#include "temp_folder.h"
#include "wire_reader.h"

namespace velmora {
namespace {

using test::Bytes;
using Lines = std::vector<std::string>;

constexpr const char* kIllegalCommand = "*ERROR: Illegal command";
constexpr const char* kIllegalParameters = "*ERROR: Illegal parameters";
constexpr const char* kIllegalCount = "*ERROR: Illegal number of parameters";
constexpr const char* kNotConnected = "*ERROR: Not Connected to Target";
constexpr const char* kSucceeded = "*Script successfully executed";
constexpr const char* kFailed = "*ERROR: Script aborted";
constexpr const char* kAborted = "*Script aborted";
constexpr ScriptOutcome kRan = ScriptOutcome::Succeeded;
constexpr ScriptOutcome kFail = ScriptOutcome::Failed;
constexpr ScriptOutcome kAbort = ScriptOutcome::Aborted;

// A started session on its own copy of the program folder, with short time-outs.
class Interpreting : public ::testing::Test {
 protected:
  void SetUp() override {
    session.log.SetLineObserver([this](const std::string& line) {
      lines_.push_back(line);
      if (escapeAfter_ > 0 && --escapeAfter_ == 0) session.interpreter().RequestAbort();
    });
    ASSERT_TRUE(Startup(session, {}));
    ASSERT_NE(session.virtualBoard(), nullptr);
    session.virtualBoard()->RecordReceived(true);
    session.settings.communication.timeout = 40;
    lines_.clear();
  }

  int16_t Run(std::string_view line) { return EnterCommandLine(session, line); }
  void Write(const std::string& name, const Lines& lines) {
    std::string text;
    for (const auto& line : lines) text += line + "\r\n";
    home.folder().Write(name, text);
  }
  ScriptOutcome RunScript(const std::string& name, const Lines& lines) {
    Write(name, lines);
    return session.interpreter().ExecuteScript(name);
  }
  Lines TakeLines() { return std::exchange(lines_, {}); }
  // The bytes the board received since the last call.
  Bytes TakeSent() {
    const auto& all = session.virtualBoard()->received();
    return {all.begin() + static_cast<long>(std::exchange(seen_, all.size())), all.end()};
  }
  // The line about a name missing from the program folder.
  std::string NotFound(const std::string& name) const {
    return "*ERROR: file " + (home.path() / name).string() + " not found !";
  }
  int32_t& Variable(int index) {
    return session.interpreter().variables()[static_cast<size_t>(index)];
  }
  // The user presses Escape once, when the given number of message lines more is out.
  void EscapeAfter(long lines) { escapeAfter_ = lines; }
  bool EscapePressed() const { return escapeAfter_ == 0; }

  test::ProgramFolderCopy home;
  test::RecordingFrontend frontend;
  Session session{frontend, home.path()};

 private:
  Lines lines_;
  long escapeAfter_ = -1;
  size_t seen_ = 0;
};

// Every line on a target that is not connected: its status and the lines after the echo,
// and nothing on the wire.
TEST_F(Interpreting, StatusAndLinesOfACommand) {
  struct Case {
    const char* line;
    int16_t status;
    Lines after;
  };
  const Case kCases[] = {
      {"_ADDSELECTION 100,1ff", 0, {}},
      {"_foo", -1, {kIllegalCommand}},
      {"_load", -3, {kIllegalCount}},
      {"_loadx", -3, {kIllegalCount}},  // matched by the prefix of the whole line
      {"_load missing.hex", -2, {NotFound("missing.hex"), kIllegalParameters}},
      {"_addselection 100,XYZ", -2, {kIllegalParameters}},
      {"_mov 100 ,5", -2, {kIllegalParameters}},    // the blank stays with the first parameter
      {"_movemonitor FC00", -15, {kNotConnected}},  // not _mov
      {"_sendfile nothere.bin", -2, {NotFound("nothere.bin"), kIllegalParameters}},  // not _send
      {"_erase FLASH,3", -2, {kIllegalParameters}},
      {"_xorchecksum 10", -25, {kIllegalParameters}},  // widths are decimal
      {"_xorchecksum 16", 0, {"*Checksum: 0000  "}},
      {"_addcchecksum 10,1", -26, {kIllegalParameters}},
      {"_addcchecksum 16,1", 0, {"*Checksum: 0000  "}},
      // The commands with unusual counts.
      {"_save", -3, {kIllegalCount}},
      {"_compare 1,2", -3, {kIllegalCount}},
      {"_call 1,2,3,4,5,6,7,8,9,A", -3, {kIllegalCount}},
      {"_message", -3, {kIllegalCount}},
      {"_lock", 0, {}},
      // Operations that need the target: the general result 0 plus the command's code.
      {"_download", -9, {kNotConnected}},
      {"_upload", -10, {kNotConnected}},
      {"_initialize", -13, {kNotConnected}},
      {"_compare", -8, {kNotConnected}},
      {"_idreg", -16, {kNotConnected}},
      // Commands that talk to the monitor at once refuse before sending anything.
      {"_call 200", -100, {kNotConnected}},
      {"_call 200,1,2", -100, {kNotConnected}},
      {"_mov 100,5", -100, {kNotConnected}},
      {"_mov PSW,5", -100, {kNotConnected}},
      {"_einit", -100, {kNotConnected}},
      {"_srst", -100, {kNotConnected}},
      {"_jmp 200", -100, {kNotConnected}},
      {"_program", 0, {}},
      {"_erase xflash,3", 0, {}},
      {"_disconnect", 0, {"*disconnect: velmora disconnected - comm port available"}},
      {"_disconnect", 0, {}},  // with the port closed
      {"_quit", 0, {}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Run(c.line), c.status);
    Lines expected = {std::string(">") + c.line};
    expected.insert(expected.end(), c.after.begin(), c.after.end());
    EXPECT_EQ(TakeLines(), expected);
    EXPECT_TRUE(TakeSent().empty());
  }
  EXPECT_EQ(session.selections.At(0), (Selection{0x100, 0x1FF}));
  EXPECT_FALSE(session.image.IsDefined(0x100));  // _mov stored nothing it did not send
  EXPECT_FALSE(session.link().port().IsOpen());
  EXPECT_TRUE(session.QuitRequested());
}

TEST_F(Interpreting, HelpWritesTheFortyLinesByteForByte) {
  const Lines kHelp = {
      "-Load an intel hex file: _load <filename>",
      "-Save selection to intel hex file: _save <filename>",
      " ",
      "-Copy selection to clipboard: _copy",
      "-Cut selection to clipboard: _cut",
      "-Paste clipboard to memory: _paste <start address>",
      "-Add memory range to selection: _addselection <startaddress>,<endaddress>",
      "-Remove all selections: _clearselections",
      "-Fill selection with value: _fillmemory <byte-value>",
      "-Clear/Unread selection: _clearmemory",
      " ",
      "-Connect to target: _connect",
      "-Reconnect: _reconnect",
      "-Disconnect: _disconnect",
      "-Download selection to target: _download",
      "-Upload from target memory into selection: _upload",
      "-Compare selection with target memory: _compare [filename]",
      " ",
      "-Move Monitor: _movemonitor <startaddress>",
      "-Software Reset: _srst",
      "-Jump to user application: _jmp <Startaddress>",
      "-call einit command : _einit",
      "-Write word to target register/memory: _mov <address>,<value>",
      "-Call driver/user application: _call <Startaddress> [,R8[,R9[...]]",
      "-Delay x seconds: _delay <seconds>",
      "-Wait for Keypress: _pause",
      "-Refresh SFR Window: _refreshsfr",
      "-Add Register to SFR Window: _addsfr",
      "-Remove Register to SFR Window: _removesfr",
      "-Message Box: _message <param1>[,<param2>,...]",
      "-Message Box cont: _cmessage <param1>[,<param2>,...]",
      "-Assign Variable: _assign <expression>",
      "-Call (Sub)script: _executescript <file name>",
      "-Send string/Hex values: _send <string>|<:hex",
      " ",
      "-Flash: program selection: _program",
      "-Flash: Intelligent program: _iprogram",
      "-Flash: erase sector: _erase Device Name,Sector",
      " ",
      "ALL VALUES ARE EXPECTED AS HEXADECIMAL NUMBERS",
  };
  for (const char* line : {"_help", "_HELP anything", "_helpme"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Run(line), 0);
    Lines expected = {std::string(">") + line};
    expected.insert(expected.end(), kHelp.begin(), kHelp.end());
    EXPECT_EQ(TakeLines(), expected);
  }
}

TEST_F(Interpreting, RawSendsAndSendCommandsOnTheWire) {
  home.folder().Write("probe.bin", "Vel\x7F\x81\xFE");
  struct Case {
    const char* line;
    Bytes sent;
    Lines lines;
  };
  const Case kCases[] = {
      {"_send :41424", {0x41, 0x42}, {">_send :41424"}},
      {"_send AB", {0x41, 0x42}, {">_send AB"}},
      {"_sendfile probe.bin", {'V', 'e', 'l', 0x7F, 0x81, 0xFE}, {">_sendfile probe.bin"}},
      {":414243", {0x41, 0x42, 0x43}, {"-> SENDING: 41", "-> SENDING: 42", "-> SENDING: 43"}},
      {":a1zz0b4", {0xA1, 0x0B}, {"-> SENDING: A1", "-> SENDING: 0B"}},
      {"ABC", {0x41, 0x42, 0x43}, {"-> SENDING: ABC"}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(Run(c.line), 0);
    EXPECT_EQ(TakeLines(), c.lines);
    EXPECT_EQ(TakeSent(), c.sent);
  }
}

TEST_F(Interpreting, CommandsOnAConnectedTarget) {
  ASSERT_EQ(Run("_connect"), 0);
  TakeSent();
  session.virtualBoard()->memory().StoreLoaded(0xC000, Bytes{0xDB, 0x00});  // RETS, in RAM
  EXPECT_EQ(Run("_call C000"), 0);  // R8 to R15 all 0
  Bytes call = {test::kCall, 0x00, 0xC0, 0x00};
  call.resize(4 + 16, 0x00);
  EXPECT_EQ(TakeSent(), call);

  EXPECT_EQ(Run("_mov syscon0,4"), 0);
  EXPECT_EQ(TakeSent(), (Bytes{test::kWriteWord, 0x12, 0xFF, 0x00, 0x04, 0x00}));
  EXPECT_EQ(session.virtualBoard()->ReadWord(0xFF12), 4);

  // The blank before the comma that the command line refuses is gone in a script.
  EXPECT_EQ(RunScript("mov.scm", {"_mov 100 ,5"}), kRan);
  EXPECT_EQ(TakeSent(), (Bytes{test::kWriteWord, 0x00, 0x01, 0x00, 0x05, 0x00}));

  EXPECT_EQ(Run("_erase IFLASH,10"), -28);  // sector ten, which IFLASH does not have
  EXPECT_EQ(test::Only(TakeSent(), test::kCall).back().registers,
            (CallRegisters{1, 0, 0, 0, 0, 0, 10, 0}));

  // A register that holds 0 is a valid operand; a register as the target gets one word.
  session.virtualBoard()->WriteWord(0xFF12, 0);
  Variable(6) = 7;
  EXPECT_EQ(Run("_assign %6=SYSCON0"), 0);
  EXPECT_EQ(Variable(6), 0);
  EXPECT_EQ(Run("_assign SYSCON0=%6+1234"), 0);
  EXPECT_EQ(session.virtualBoard()->ReadWord(0xFF12), 0x1234);
}

// Scripts and the value %9 has after them (%1 is 0): loops, conditions, assignments.
TEST_F(Interpreting, ScriptsAndTheirResults) {
  struct Case {
    Lines script;
    ScriptOutcome outcome;
    int32_t result;  // -1: repeated until Escape
  };
  const Case kCases[] = {
      {{"DO", "_assign %9=%9+1", "LOOP UNTIL 5"}, kRan, 5},
      {{"DO", "_assign %9=%9+1", "LOOP UNTIL 12"}, kRan, 12},
      {{"DO", "_assign %9=%9+1", "LOOP UNTIL12"}, kRan, 2},
      {{"DO", "_assign %9=%9+1", "loop until 2.6"}, kRan, 3},
      {{"DO", "_assign %9=%9+1", "LOOP UNTIL5"}, kAbort, -1},
      {{"IF %1=0", "_assign %9=1", "ELSE", "_assign %9=2", "ENDIF"}, kRan, 1},
      {{"IF %1=1", "_assign %9=1", "ELSE", "_assign %9=2", "ENDIF"}, kRan, 2},
      {{"if %1 < 1", "_assign %9=3", "ENDIF"}, kRan, 3},
      // IF blocks do not nest: the inner ENDIF ends the outer skip.
      {{"IF %1=1", "_assign %9=1", "IF %1=0", "_assign %9=2", "ENDIF", "_assign %9=%9+5", "ENDIF"},
       kRan,
       5},
      {{"IF %1<=2", "_assign %9=1", "ENDIF", "_assign %9=2"}, kAbort, 0},
      {{"_assign %9=~1"}, kRan, 0xFFFE},
      {{"_assign %9=7~1"}, kRan, 0xFFFE},  // the left operand of ~ is ignored
      {{"_assign %9=7/2"}, kRan, 4},
      {{"_assign %9=5/2"}, kRan, 2},
      {{"_assign %9 = A * f"}, kRan, 0x96},
      {{"_assign %9=0-1"}, kFail, 0},
      {{"_assign %9=1+2+3"}, kFail, 0},
      {{"_assign %9=1/0"}, kFail, 0},
      {{"_assign %9=1000000"}, kFail, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.script.back() + " after " + c.script.front());
    Variable(9) = 0;
    EscapeAfter(60);
    EXPECT_EQ(RunScript("run.scm", c.script), c.outcome);
    EXPECT_EQ(EscapePressed(), c.result < 0);
    EXPECT_EQ(c.result < 0 ? c.result : Variable(9), c.result);
    EXPECT_EQ(TakeLines().back(), c.outcome == kRan    ? kSucceeded
                                  : c.outcome == kFail ? kFailed
                                                       : kAborted);
    EXPECT_FALSE(session.interpreter().AbortRequested());
  }
}

TEST_F(Interpreting, AFailedCommandReportsEachLoopCounter) {
  EXPECT_EQ(RunScript("first.scm", {"DO", "_foo", "LOOP UNTIL 5"}), kFail);
  EXPECT_EQ(TakeLines(),
            (Lines{">_foo", kIllegalCommand, kFailed, "*ERROR: Loop Counter (1) at -2"}));

  EXPECT_EQ(
      RunScript("third.scm", {"DO", "_assign %1=%1+1", "IF %1=3", "_foo", "ENDIF", "LOOP UNTIL 5"}),
      kFail);
  Lines lines = TakeLines();
  EXPECT_EQ((Lines{lines.end() - 2, lines.end()}),
            (Lines{kFailed, "*ERROR: Loop Counter (1) at 3"}));

  EXPECT_EQ(RunScript("two.scm", {"_assign %1=0", "DO", "_assign %1=%1+1", "DO", "IF %1=2", "_foo",
                                  "ENDIF", "LOOP UNTIL 2", "LOOP UNTIL 3"}),
            kFail);
  lines = TakeLines();
  EXPECT_EQ((Lines{lines.end() - 3, lines.end()}),
            (Lines{kFailed, "*ERROR: Loop Counter (1) at 2", "*ERROR: Loop Counter (2) at -2"}));
}

// Beyond the limits a script stops with an error line before its last line, which sets %9;
// up to them it runs.
TEST_F(Interpreting, ScriptLimits) {
  const std::string sixteen = "_lock 1,2,3,4,5,6,7,8,9,A,B,C,D,E,F,10";
  const auto repeated = [](Lines head, size_t n, const std::string& line) {
    head.insert(head.end(), n, line);
    return head;
  };
  const auto nested = [&](size_t n) { return repeated(repeated({}, n, "DO"), n, "LOOP UNTIL 1"); };
  struct Case {
    Lines script;
    const char* error;  // nullptr: the script runs
    ScriptOutcome outcome;
  };
  const Case kCases[] = {
      {{sixteen}, nullptr, kRan},
      {{sixteen + ",11"}, "*ERROR: More than 16 parameters", kFail},
      {repeated({"; comments and blank lines take no place", "", " \t "}, 1000, "_assign %8=1"),
       nullptr, kRan},
      {repeated({}, 1001, "_assign %8=1"), "*ERROR: Script longer than 1001 lines", kFail},
      {nested(100), nullptr, kRan},
      {nested(101), "*ERROR: More than 100 nested loops", kFail},
      {{"LOOP UNTIL 2"}, "*ERROR: LOOP without DO", kFail},
      {{"IF %1=7"}, "*ERROR: IF without ELSE or ENDIF", kFail},
      {{"IF %1=0", "_assign %8=1", "ELSE"}, "*ERROR: ELSE without ENDIF", kFail},
      {{"_assign %100=1"}, kIllegalParameters, kFail},
      {{"_assign %5=FFFFFF*100"}, kIllegalParameters, kFail},  // beyond 32 bits
      // A script calling itself: the 17th is not run, every caller goes on.
      {{"_executescript limit.scm"}, "*ERROR: Scripts call each other more than 16 deep", kRan},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.script.front() + " ... " + std::to_string(c.script.size()));
    Variable(9) = 0;
    Lines script = c.script;
    script.push_back("_assign %9=1");
    EXPECT_EQ(RunScript("limit.scm", script), c.outcome);
    EXPECT_EQ(Variable(9), c.outcome == kRan ? 1 : 0);
    const Lines lines = TakeLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), c.error ? c.error : kFailed), c.error ? 1 : 0);
    EXPECT_EQ(lines.back(), c.outcome == kFail ? kFailed : kSucceeded);
  }
}

TEST_F(Interpreting, MessagesSplitQuotedTextAtCommasAndStopAtSemicolons) {
  Variable(1) = 0x2B;
  EXPECT_EQ(RunScript("msg.scm", {"_message \"Hello, world\"", "_cmessage \"count\",%1,\"a;b\""}),
            kRan);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, "\rHello\rworld");
  EXPECT_EQ(frontend.boxes[0].buttons, BoxButtons::Ok);
  EXPECT_EQ(frontend.messageWindow, "\rcount 002B\ra");
}

TEST_F(Interpreting, SubScriptsEndWithoutEndingTheCaller) {
  Write("sub.scm", {"_assign %8=1", "_foo", "_assign %8=2"});
  EXPECT_EQ(RunScript("main.scm", {"_executescript sub.scm", "_assign %9=1"}), kRan);
  EXPECT_EQ(TakeLines(), (Lines{">_executescript sub.scm", ">_assign %8=1", ">_foo",
                                kIllegalCommand, kFailed, ">_assign %9=1", kSucceeded}));
  EXPECT_EQ(Variable(8), 1);
  // The recent-script list has the sub-script first.
  EXPECT_EQ(session.settings.files.lastScripts[0], (home.path() / "sub.scm").string());
  EXPECT_EQ(session.settings.files.lastScripts[1], (home.path() / "main.scm").string());
}

TEST_F(Interpreting, EscapeDuringADelayEndsTheScriptAfterTheDelay) {
  using Clock = std::chrono::steady_clock;
  Write("wait.scm", {"_delay 1", "_assign %1=1"});
  // Escape comes from the window's thread while the worker waits.
  std::jthread escape([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    session.interpreter().RequestAbort();
  });
  const auto start = Clock::now();
  EXPECT_EQ(session.interpreter().ExecuteScript("wait.scm"), kAbort);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(950));
  escape.join();
  EXPECT_EQ(Variable(1), 0);
  EXPECT_EQ(TakeLines(), (Lines{">_delay 1", kAborted}));
}

// A program started before a delay prints during it: the delay serves the line, so its
// output is there long before the delay ends.
TEST_F(Interpreting, ADelayShowsWhatTheStartedProgramPrints) {
  using Clock = std::chrono::steady_clock;
  ASSERT_TRUE(session.link().EnsurePortOpen());
  std::vector<std::string> open;
  Clock::duration seenAfter{};
  const auto start = Clock::now();
  session.log.SetOpenLineObserver([&](const std::string& line) {
    if (line == "Hi") seenAfter = Clock::now() - start;
    open.push_back(line);
  });
  session.virtualBoard()->EmitFromProgram(Bytes{'H', 'i'});
  EXPECT_EQ(session.interpreter().RunCommand("_delay 1"), 0);
  const auto took = Clock::now() - start;
  EXPECT_GE(took, std::chrono::milliseconds(950));
  ASSERT_EQ(open, (Lines{"H", "Hi"}));  // the line grows a character at a time
  EXPECT_GE(took - seenAfter, std::chrono::milliseconds(500));
  // A closed port has nothing to serve: the delay still lasts, without spinning.
  session.link().ClosePort();
  const auto closedStart = Clock::now();
  EXPECT_EQ(session.interpreter().RunCommand("_delay 1"), 0);
  EXPECT_GE(Clock::now() - closedStart, std::chrono::milliseconds(950));
}

// The window's buttons run commands without the echo; everything else is the same.
TEST_F(Interpreting, RunCommandWritesTheCommandsLinesWithoutTheEcho) {
  const struct {
    const char* line;
    int16_t status;
    Lines after;
  } kCases[] = {
      {"_xorchecksum 16", 0, {"*Checksum: 0000  "}},
      {"_foo", -1, {kIllegalCommand}},
      {"_download", -9, {kNotConnected}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(session.interpreter().RunCommand(c.line), c.status);
    EXPECT_EQ(TakeLines(), c.after);
    EXPECT_EQ(session.interpreter().ExecuteCommand(c.line), c.status);
    Lines echoed = c.after;
    echoed.insert(echoed.begin(), ">" + std::string(c.line));
    EXPECT_EQ(TakeLines(), echoed);
  }
}

// After a command on a connected target the views learn what it changed: exactly that
// when the command says so, everything when it cannot know.
TEST_F(Interpreting, ACommandSaysWhatItChangedOrElseEverything) {
  ASSERT_EQ(Run("_connect"), 0);
  const Change allMemory = Change::All(RefreshTarget::MemoryView);
  const Change allRegisters = Change::All(RefreshTarget::RegisterList);
  const struct {
    const char* line;
    std::vector<Change> changes;
  } kCases[] = {
      {"_addselection 100,1ff", {Change::Memory(0x100, 0x1FF), allRegisters}},
      {"_download", {Change::Memory(0x100, 0x1FF), allRegisters}},
      {"_mov FE12,1234", {Change::Memory(0xFE12, 0xFE13), Change::Register(0xFE12)}},
      {"_einit", {allMemory, allRegisters}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.line);
    frontend.changes.clear();
    EXPECT_EQ(Run(c.line), 0);
    std::vector<Change> shown;
    for (const Change& change : frontend.changes) {
      if (change.target == RefreshTarget::MemoryView ||
          change.target == RefreshTarget::RegisterList) {
        shown.push_back(change);
      }
    }
    EXPECT_EQ(shown, c.changes);
  }
}

// _quit ends the program: no later line runs, in the script, in a calling script, or after.
TEST(Quitting, NoLineRunsAfterQuit) {
  struct Case {
    Lines script;
    Lines sub;  // sub.scm
  };
  const Case kCases[] = {
      {{"_assign %9=1", "_quit", "_assign %9=2"}, {}},
      {{"DO", "_assign %9=%9+1", "IF %9=1", "_quit", "ENDIF", "LOOP UNTIL 3"}, {}},
      {{"_assign %9=1", "_executescript sub.scm", "_assign %9=2"}, {"_quit", "_assign %9=3"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.script.back());
    test::ProgramFolderCopy home;
    test::RecordingFrontend frontend;
    Session session(frontend, home.path());
    ASSERT_TRUE(Startup(session, {}));
    Lines lines;
    session.log.SetLineObserver([&](const std::string& line) { lines.push_back(line); });
    const auto write = [&](const std::string& name, const Lines& script) {
      std::string text;
      for (const auto& line : script) text += line + "\r\n";
      home.folder().Write(name, text);
    };
    write("sub.scm", c.sub);
    write("main.scm", c.script);
    EXPECT_EQ(session.interpreter().ExecuteScript("main.scm"), ScriptOutcome::Quit);
    EXPECT_EQ(session.interpreter().variables()[9], 1);
    EXPECT_EQ(lines.back(), ">_quit");
    EXPECT_TRUE(session.QuitRequested());
    // Nor does anything queued after it.
    EXPECT_EQ(EnterCommandLine(session, "_foo"), 0);
    EXPECT_EQ(session.interpreter().ExecuteScript("main.scm"), ScriptOutcome::Quit);
    EXPECT_EQ(lines.back(), ">_quit");
  }
}

// The headless runner's conventions: a quoted parameter whole, names in the current
// directory before the program folder.
TEST_F(Interpreting, TerminalConventionsTakeQuotedNamesFromTheCurrentDirectory) {
  session.interpreter().SetConventions({RelativeNames::CurrentDirectoryFirst, true});
  test::TempFolder here;
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(here.path());
  // Inside quotes the blanks around the comma stay, in a script as on the command line.
  here.Write("a, b.scm", "_sendfile  \"x , y\" \r\n");
  here.Write("x , y", "xy");
  Write("home.scm", {"_assign %8=1"});
  Variable(8) = 0;
  EXPECT_EQ(Run("_executescript \"a, b.scm\""), 0);
  EXPECT_EQ(Run("_executescript home.scm"), 0);
  EXPECT_EQ(Run("_sendfile \"x , y\" "), 0);
  EXPECT_EQ(Run("_sendfile \"gone\""), -2);
  std::filesystem::current_path(previous);
  EXPECT_EQ(Variable(8), 1);
  EXPECT_EQ(TakeSent(), (Bytes{'x', 'y', 'x', 'y'}));
  const Lines lines = TakeLines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), kSucceeded), 2);
  EXPECT_EQ(Lines(lines.end() - 4, lines.end()),
            (Lines{">_sendfile \"gone\"",
                   "*ERROR: file " + (here.path() / "gone").string() + " not found !",
                   NotFound("gone"), kIllegalParameters}));
}

}  // namespace
}  // namespace velmora
