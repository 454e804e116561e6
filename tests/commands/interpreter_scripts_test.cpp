// Scripts against a whole session on the virtual TOLVANE board: loops, conditions,
// variables and expressions, messages, sub-scripts, the abort report and the limits of a
// script.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "commands/interpreter.h"
#include "program_folder.h"
#include "recording_frontend.h"
#include "session/command_input.h"
#include "session/session.h"
#include "session/startup.h"
#include "sim/board.h"

namespace velmora {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kSucceeded = "*Script successfully executed";
constexpr const char* kFailed = "*ERROR: Script aborted";
constexpr const char* kAborted = "*Script aborted";

// A frontend whose user presses Escape once, after a given number of event passes.
class EscapeFrontend : public test::RecordingFrontend {
 public:
  void ProcessEvents(std::chrono::milliseconds wait) override {
    RecordingFrontend::ProcessEvents(wait);
    if (interpreter_ && passesLeft_ > 0 && --passesLeft_ == 0) interpreter_->RequestAbort();
  }
  void EscapeAfter(Interpreter& interpreter, long passes) {
    interpreter_ = &interpreter;
    passesLeft_ = passes;
  }
  bool Pressed() const { return interpreter_ && passesLeft_ == 0; }

 private:
  Interpreter* interpreter_ = nullptr;
  long passesLeft_ = 0;
};

class Scripts : public ::testing::Test {
 protected:
  void SetUp() override {
    session.log.SetLineObserver([this](const std::string& line) { lines_.push_back(line); });
    ASSERT_TRUE(Startup(session, {}));
    session.settings.communication.timeout = 40;
    lines_.clear();
  }

  // Writes a script into the program folder; lines are joined with CR LF.
  std::string Write(const std::string& name, const Lines& lines) {
    std::string text;
    for (const auto& line : lines) text += line + "\r\n";
    return home.folder().Write(name, text);
  }

  ScriptOutcome RunScript(const std::string& name, const Lines& lines) {
    Write(name, lines);
    return session.interpreter().ExecuteScript(name);
  }

  Lines TakeLines() {
    Lines taken;
    taken.swap(lines_);
    return taken;
  }

  bool Said(const Lines& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }

  int32_t& Variable(int index) {
    return session.interpreter().variables()[static_cast<size_t>(index)];
  }

  void Connect() {
    ASSERT_EQ(EnterCommandLine(session, "_connect"), 0);
    ASSERT_EQ(session.link().state(), TargetState::Ready);
    TakeLines();
  }

  test::ProgramFolderCopy home;
  EscapeFrontend frontend;
  Session session{frontend, home.path()};

 private:
  Lines lines_;
};

// ---------------------------------------------------------------------------------------
// Loops

TEST_F(Scripts, LoopUntilFiveCountsToFive) {
  EXPECT_EQ(RunScript("count.scm", {"DO", "_assign %1=%1+1", "LOOP UNTIL 5"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(1), 5);
  const Lines lines = TakeLines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), ">_assign %1=%1+1"), 5);
  EXPECT_EQ(lines.back(), kSucceeded);
}

TEST_F(Scripts, LoopLimitIsTheDecimalNumberAfterUntilAndOneSeparator) {
  const struct {
    const char* loop;
    int32_t passes;
  } cases[] = {
      {"LOOP UNTIL 12", 12}, {"LOOP UNTIL12", 2},  // the number is read from the sixth character
                                                   // after the U
      {"loop until 3", 3},   {"LOOP UNTIL 1", 1}, {"LOOP UNTIL 2.6", 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.loop);
    Variable(1) = 0;
    EXPECT_EQ(RunScript("passes.scm", {"DO", "_assign %1=%1+1", c.loop}), ScriptOutcome::Succeeded);
    EXPECT_EQ(Variable(1), c.passes);
  }
}

TEST_F(Scripts, LoopWithoutALimitRepeatsUntilEscape) {
  for (const char* loop : {"LOOP UNTIL5", "LOOP", "LOOP UNTIL 0"}) {
    SCOPED_TRACE(loop);
    Variable(1) = 0;
    frontend.EscapeAfter(session.interpreter(), 60);
    EXPECT_EQ(RunScript("endless.scm", {"DO", "_assign %1=%1+1", loop}), ScriptOutcome::Aborted);
    EXPECT_TRUE(frontend.Pressed());
    EXPECT_GT(Variable(1), 12);
    const Lines lines = TakeLines();
    EXPECT_EQ(lines.back(), kAborted);
    EXPECT_FALSE(Said(lines, kFailed));
    EXPECT_FALSE(session.interpreter().AbortRequested());
  }
}

TEST_F(Scripts, NestedLoopsMultiply) {
  EXPECT_EQ(RunScript("nested.scm", {"DO", "DO", "_assign %1=%1+1", "LOOP UNTIL 3",
                                     "_assign %2=%2+1", "LOOP UNTIL 4"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(1), 12);
  EXPECT_EQ(Variable(2), 4);
}

TEST_F(Scripts, AbortReportGivesEachLoopCounter) {
  // A failure in the first pass: the level has not reached its LOOP line yet.
  EXPECT_EQ(RunScript("first.scm", {"DO", "_foo", "LOOP UNTIL 5"}), ScriptOutcome::Failed);
  EXPECT_EQ(TakeLines(),
            (Lines{">_foo", "*ERROR: Illegal command", kFailed, "*ERROR: Loop Counter (1) at -2"}));

  // In the third pass.
  EXPECT_EQ(RunScript("third.scm", {"_assign %1=0", "DO", "_assign %1=%1+1", "IF %1=3", "_foo",
                                    "ENDIF", "LOOP UNTIL 5"}),
            ScriptOutcome::Failed);
  Lines lines = TakeLines();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ((Lines{lines.end() - 2, lines.end()}),
            (Lines{kFailed, "*ERROR: Loop Counter (1) at 3"}));

  // Two levels: outer second pass, inner first pass; no line follows the report.
  EXPECT_EQ(RunScript("two.scm", {"_assign %1=0", "DO", "_assign %1=%1+1", "DO", "IF %1=2", "_foo",
                                  "ENDIF", "LOOP UNTIL 2", "LOOP UNTIL 3"}),
            ScriptOutcome::Failed);
  lines = TakeLines();
  ASSERT_GE(lines.size(), 3U);
  EXPECT_EQ((Lines{lines.end() - 3, lines.end()}),
            (Lines{kFailed, "*ERROR: Loop Counter (1) at 2", "*ERROR: Loop Counter (2) at -2"}));
}

TEST_F(Scripts, FailingCommandEndsTheScriptThere) {
  EXPECT_EQ(RunScript("stop.scm", {"_assign %1=1", "_load", "_assign %1=2"}),
            ScriptOutcome::Failed);
  EXPECT_EQ(Variable(1), 1);
  EXPECT_EQ(TakeLines(),
            (Lines{">_assign %1=1", ">_load", "*ERROR: Illegal number of parameters", kFailed}));
}

// ---------------------------------------------------------------------------------------
// Conditions

TEST_F(Scripts, IfElseRunsExactlyOneBranch) {
  const Lines script = {"IF %1=0", "_assign %2=1", "ELSE", "_assign %3=1", "ENDIF", "_assign %4=1"};
  for (int32_t value : {0, 1}) {
    SCOPED_TRACE(value);
    Variable(1) = value;
    Variable(2) = Variable(3) = Variable(4) = 0;
    EXPECT_EQ(RunScript("branch.scm", script), ScriptOutcome::Succeeded);
    EXPECT_EQ(Variable(2), value == 0 ? 1 : 0);
    EXPECT_EQ(Variable(3), value == 0 ? 0 : 1);
    EXPECT_EQ(Variable(4), 1);
  }
}

TEST_F(Scripts, ComparisonsOfConditions) {
  const struct {
    const char* condition;
    bool taken;
  } cases[] = {
      {"IF %1=A", true},  {"IF %1<B", true}, {"IF %1>9", true},   {"IF %1>A", false},
      {"IF %1<A", false}, {"IF a=%1", true}, {"if %1 = a", true}, {"IF %1=B", false},
  };
  Variable(1) = 0xA;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.condition);
    Variable(2) = 0;
    EXPECT_EQ(RunScript("cond.scm", {c.condition, "_assign %2=1", "ENDIF"}),
              ScriptOutcome::Succeeded);
    EXPECT_EQ(Variable(2), c.taken ? 1 : 0);
  }
}

TEST_F(Scripts, InnerEndifEndsTheOuterSkip) {
  // IF blocks do not nest: the false outer IF skips to the inner ENDIF and goes on there.
  Variable(1) = 0;
  EXPECT_EQ(RunScript("nestedif.scm", {"IF %1=1", "_assign %2=1", "IF %3=0", "_assign %4=1",
                                       "ENDIF", "_assign %5=1", "ENDIF"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(2), 0);
  EXPECT_EQ(Variable(4), 0);
  EXPECT_EQ(Variable(5), 1);
}

TEST_F(Scripts, ConditionThatCannotBeEvaluatedAbortsTheScript) {
  for (const char* condition : {"IF %1<=2", "IF %1", "IF %100=0", "IF NOSUCH=1", "IF 1=XYZ"}) {
    SCOPED_TRACE(condition);
    Variable(2) = 0;
    EXPECT_EQ(RunScript("badcond.scm", {condition, "_assign %2=1", "ENDIF", "_assign %2=2"}),
              ScriptOutcome::Aborted);
    EXPECT_EQ(Variable(2), 0);
    EXPECT_EQ(TakeLines(), Lines{kAborted});
    EXPECT_FALSE(session.interpreter().AbortRequested());
  }
}

TEST_F(Scripts, ConditionResultsSayWhichSideFailed) {
  Interpreter& in = session.interpreter();
  EXPECT_EQ(in.EvalCondition("1"), -1);
  EXPECT_EQ(in.EvalCondition("SYSCON0=1"), -2);  // a register, not connected
  EXPECT_EQ(in.EvalCondition("XYZ=1"), -3);
  EXPECT_EQ(in.EvalCondition("1=SYSCON0"), -4);
  EXPECT_EQ(in.EvalCondition("%1<=2"), -5);
  EXPECT_EQ(in.EvalCondition("1 = 1"), 1);
  EXPECT_EQ(in.EvalCondition("2<1"), 0);
}

// ---------------------------------------------------------------------------------------
// Assignments and expressions

TEST_F(Scripts, AssignmentsFollowTheExpressionRules) {
  const struct {
    const char* assignment;
    int16_t status;
    int32_t value;  // of %5 afterwards when the status is 0
  } cases[] = {
      {"_assign %5=~1", 0, 0xFFFE},
      {"_assign %5=7~1", 0, 0xFFFE},  // the left operand of ~ is ignored
      {"_assign %5=7/2", 0, 4},
      {"_assign %5=5/2", 0, 2},
      {"_assign %5=9/2", 0, 4},
      {"_assign %5=A*3", 0, 0x1E},
      {"_assign %5=F0&3C", 0, 0x30},
      {"_assign %5=F0|0F", 0, 0xFF},
      {"_assign %5=10-10", 0, 0},
      {"_assign %5 = 1 + f", 0, 0x10},
      {"_assign %5=FFFFFF", 0, 0xFFFFFF},
      {"_assign %5=FFFFFF*80", 0, 0x7FFFFF80},
      {"_assign %5=0-1", -2, 0},
      {"_assign %5=1+2+3", -2, 0},
      {"_assign %5=1/0", -2, 0},
      {"_assign %5=FFFFFF*FFFFFF", -2, 0},  // beyond 32 bits
      {"_assign %5=FFFFFF*100", -2, 0},     // beyond the signed 32-bit range
      {"_assign %5=1000000", -2, 0},        // seven digits are no number
      {"_assign %5=XYZ", -2, 0},
      {"_assign %5=", 0, 0},  // the empty operand is 0
      {"_assign %100=1", -2, 0},
      {"_assign %x=1", -2, 0},
      {"_assign %5=%100", -2, 0},
      {"_assign 5=1", -2, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.assignment);
    Variable(5) = 0x1234;
    EXPECT_EQ(EnterCommandLine(session, c.assignment), c.status);
    EXPECT_EQ(Variable(5), c.status == 0 ? c.value : 0x1234);
    const Lines lines = TakeLines();
    EXPECT_EQ(lines, c.status == 0
                         ? Lines{std::string(">") + c.assignment}
                         : (Lines{std::string(">") + c.assignment, "*ERROR: Illegal parameters"}));
  }
}

TEST_F(Scripts, VariablesAreOperandsAndKeepTheirValuesBetweenScripts) {
  EXPECT_EQ(RunScript("set.scm", {"_assign %20=2A", "_assign %99=%20*2"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(RunScript("use.scm", {"_assign %21=%20+1", "_assign %0=%99-%20"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(20), 0x2A);
  EXPECT_EQ(Variable(21), 0x2B);
  EXPECT_EQ(Variable(99), 0x54);
  EXPECT_EQ(Variable(0), 0x2A);
}

TEST_F(Scripts, RegisterOperandsAreReadFromTheTarget) {
  // Not connected: a register operand is an error.
  EXPECT_EQ(EnterCommandLine(session, "_assign %6=SYSCON0"), -2);

  Connect();
  session.virtualBoard()->WriteWord(0xFF12, 0);
  Variable(6) = 7;
  EXPECT_EQ(EnterCommandLine(session, "_assign %6=SYSCON0"), 0);
  EXPECT_EQ(Variable(6), 0);  // a register holding 0 is a valid operand
  EXPECT_EQ(RunScript("zero.scm", {"IF SYSCON0=0", "_assign %7=1", "ENDIF"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(7), 1);

  session.virtualBoard()->WriteWord(0xFF12, 0x1234);
  EXPECT_EQ(EnterCommandLine(session, "_assign %6=syscon0+1"), 0);
  EXPECT_EQ(Variable(6), 0x1235);

  // A register as the target is written with one word.
  EXPECT_EQ(EnterCommandLine(session, "_assign SYSCON0=%6+1"), 0);
  EXPECT_EQ(session.virtualBoard()->ReadWord(0xFF12), 0x1236);
}

// ---------------------------------------------------------------------------------------
// Messages and comments

TEST_F(Scripts, QuotedTextWithACommaBecomesTwoLines) {
  Variable(1) = 0x2B;
  EXPECT_EQ(RunScript("msg.scm", {"_message \"Hello, world\"", "_cmessage \"count\",%1,\"end\""}),
            ScriptOutcome::Succeeded);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, "\rHello\rworld");
  EXPECT_EQ(frontend.boxes[0].buttons, BoxButtons::Ok);
  EXPECT_EQ(frontend.messageWindow, "\rcount 002B\rend");
}

TEST_F(Scripts, SemicolonInsideQuotesStillStartsAComment) {
  EXPECT_EQ(RunScript("semi.scm",
                      {"_message \"a;b\"", "; a whole comment line", "   ", "_assign %3=3 ; set"}),
            ScriptOutcome::Succeeded);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, "\ra");
  EXPECT_EQ(Variable(3), 3);
  EXPECT_EQ(TakeLines(), (Lines{">_message \"a", ">_assign %3=3", kSucceeded}));
}

TEST_F(Scripts, UnreadableRegisterInAMessageIsSaidInABoxAndLeftOut) {
  EXPECT_EQ(RunScript("sfr.scm", {"_cmessage \"value\",SYSCON0"}), ScriptOutcome::Succeeded);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, "Error reading SFR (maybe not connected)");
  EXPECT_EQ(frontend.messageWindow, "\rvalue");
}

TEST_F(Scripts, EscapeDuringADelayEndsTheScriptAfterTheDelay) {
  // The request is checked between lines: the running command is not cut short.
  using Clock = std::chrono::steady_clock;
  frontend.EscapeAfter(session.interpreter(), 3);
  const auto start = Clock::now();
  EXPECT_EQ(RunScript("wait.scm", {"_delay 1", "_assign %1=1"}), ScriptOutcome::Aborted);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(950));
  EXPECT_TRUE(frontend.Pressed());
  EXPECT_EQ(Variable(1), 0);
  EXPECT_EQ(TakeLines(), (Lines{">_delay 1", kAborted}));
}

// ---------------------------------------------------------------------------------------
// Sub-scripts

TEST_F(Scripts, CallerGoesOnAfterAFailingSubScript) {
  Write("sub.scm", {"_assign %8=1", "_foo", "_assign %8=2"});
  EXPECT_EQ(RunScript("main.scm", {"_executescript sub.scm", "_assign %9=1"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(8), 1);
  EXPECT_EQ(Variable(9), 1);
  EXPECT_EQ(TakeLines(), (Lines{">_executescript sub.scm", ">_assign %8=1", ">_foo",
                                "*ERROR: Illegal command", kFailed, ">_assign %9=1", kSucceeded}));
}

TEST_F(Scripts, EscapeInASubScriptStopsOnlyTheSubScript) {
  Write("forever.scm", {"DO", "_assign %8=%8+1", "LOOP"});
  frontend.EscapeAfter(session.interpreter(), 40);
  EXPECT_EQ(RunScript("caller.scm", {"_executescript forever.scm", "_assign %9=1"}),
            ScriptOutcome::Succeeded);
  EXPECT_TRUE(frontend.Pressed());
  EXPECT_GT(Variable(8), 5);
  EXPECT_EQ(Variable(9), 1);
  const Lines lines = TakeLines();
  ASSERT_GE(lines.size(), 3U);
  EXPECT_EQ((Lines{lines.end() - 3, lines.end()}), (Lines{kAborted, ">_assign %9=1", kSucceeded}));
}

TEST_F(Scripts, SubScriptSeesAndChangesTheCallersVariables) {
  Write("add.scm", {"_assign %11=%10+%11"});
  EXPECT_EQ(RunScript("sum.scm", {"_assign %10=3", "_assign %11=0", "DO", "_executescript add.scm",
                                  "LOOP UNTIL 4"}),
            ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(11), 12);
}

TEST_F(Scripts, ScriptsCallingEachOtherTooDeepStopWithAnErrorLine) {
  Write("self.scm", {"_assign %10=%10+1", "_executescript self.scm"});
  const ScriptOutcome outcome = session.interpreter().ExecuteScript("self.scm");
  const Lines lines = TakeLines();
  EXPECT_EQ(Variable(10), kMaxScriptNesting);
  EXPECT_EQ(
      std::count(lines.begin(), lines.end(), "*ERROR: Scripts call each other more than 16 deep"),
      1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), kFailed), 1);
  // Every caller goes on after its sub-script, whatever the outcome.
  EXPECT_EQ(outcome, ScriptOutcome::Succeeded);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), kSucceeded), kMaxScriptNesting - 1);
}

TEST_F(Scripts, MissingScriptIsSaid) {
  EXPECT_EQ(session.interpreter().ExecuteScript("nothere.scm"), ScriptOutcome::NotFound);
  EXPECT_EQ(TakeLines(), Lines{"*ERROR: Script File not found"});
}

// ---------------------------------------------------------------------------------------
// Limits

TEST_F(Scripts, SeventeenthParameterIsRefused) {
  const std::string sixteen = "_lock 1,2,3,4,5,6,7,8,9,A,B,C,D,E,F,10";
  EXPECT_EQ(EnterCommandLine(session, sixteen), 0);
  EXPECT_EQ(TakeLines(), Lines{">" + sixteen});
  const std::string seventeen = sixteen + ",11";
  EXPECT_EQ(EnterCommandLine(session, seventeen), -3);
  EXPECT_EQ(TakeLines(), (Lines{">" + seventeen, "*ERROR: More than 16 parameters",
                                "*ERROR: Illegal number of parameters"}));
  EXPECT_EQ(RunScript("many.scm", {"_assign %1=1", seventeen, "_assign %1=2"}),
            ScriptOutcome::Failed);
  EXPECT_EQ(Variable(1), 1);
}

TEST_F(Scripts, ScriptHoldsAtMost1001Lines) {
  Lines script(1001, "_assign %1=%1+1");
  script.insert(script.begin() + 500, {"; comments and blank lines take no place", "", "   \t "});
  Variable(1) = 0;
  EXPECT_EQ(RunScript("full.scm", script), ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(1), 1001);
  TakeLines();

  script.push_back("_assign %1=%1+1");
  Variable(1) = 0;
  EXPECT_EQ(RunScript("long.scm", script), ScriptOutcome::Failed);
  EXPECT_EQ(Variable(1), 0);
  EXPECT_EQ(TakeLines(), (Lines{"*ERROR: Script longer than 1001 lines", kFailed}));
}

TEST_F(Scripts, LoopsNestAtMostAHundredDeep) {
  Lines script(100, "DO");
  script.push_back("_assign %1=%1+1");
  script.insert(script.end(), 100, "LOOP UNTIL 1");
  Variable(1) = 0;
  EXPECT_EQ(RunScript("deep.scm", script), ScriptOutcome::Succeeded);
  EXPECT_EQ(Variable(1), 1);
  TakeLines();

  script.insert(script.begin(), "DO");
  script.push_back("LOOP UNTIL 1");
  EXPECT_EQ(RunScript("deeper.scm", script), ScriptOutcome::Failed);
  EXPECT_EQ(Variable(1), 1);
  EXPECT_EQ(TakeLines(), (Lines{"*ERROR: More than 100 nested loops", kFailed}));
}

TEST_F(Scripts, StructuralFaultsStopTheScriptWithAnErrorLine) {
  const struct {
    Lines script;
    const char* error;
  } cases[] = {
      {{"_assign %1=1", "LOOP UNTIL 2", "_assign %1=2"}, "*ERROR: LOOP without DO"},
      {{"IF %1=7", "_assign %1=2"}, "*ERROR: IF without ELSE or ENDIF"},
      {{"IF %1=1", "_assign %1=1", "ELSE", "_assign %1=2"}, "*ERROR: ELSE without ENDIF"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    Variable(1) = 1;
    EXPECT_EQ(RunScript("fault.scm", c.script), ScriptOutcome::Failed);
    EXPECT_EQ(Variable(1), 1);
    const Lines lines = TakeLines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ((Lines{lines.end() - 2, lines.end()}), (Lines{c.error, kFailed}));
  }
}

TEST_F(Scripts, VariableNamesAreZeroToNinetyNine) {
  EXPECT_EQ(Interpreter::VariableIndex("%0"), 0);
  EXPECT_EQ(Interpreter::VariableIndex("%99"), 99);
  EXPECT_EQ(Interpreter::VariableIndex("99"), -1);
  EXPECT_EQ(Interpreter::VariableIndex(""), -1);
  for (const char* name : {"%100", "%", "%-1", "%1x", "%x"}) {
    SCOPED_TRACE(name);
    EXPECT_LT(Interpreter::VariableIndex(name), 0);
  }
}

// ---------------------------------------------------------------------------------------
// The recent-script list

TEST_F(Scripts, RecentScriptsKeepTheFourMostRecentDistinctOnesFirst) {
  const auto path = [&](const char* name) { return (home.path() / name).string(); };
  for (const char* name : {"a.scm", "b.scm", "c.scm", "d.scm", "e.scm"}) {
    EXPECT_EQ(RunScript(name, {"_assign %1=1"}), ScriptOutcome::Succeeded);
  }
  using Recent = std::array<std::string, 4>;
  EXPECT_EQ(session.settings.files.lastScripts,
            (Recent{path("e.scm"), path("d.scm"), path("c.scm"), path("b.scm")}));

  EXPECT_EQ(session.interpreter().ExecuteScript("c.scm"), ScriptOutcome::Succeeded);
  EXPECT_EQ(session.settings.files.lastScripts,
            (Recent{path("c.scm"), path("e.scm"), path("d.scm"), path("b.scm")}));

  EXPECT_EQ(session.interpreter().ExecuteScript("c.scm"), ScriptOutcome::Succeeded);
  EXPECT_EQ(session.settings.files.lastScripts,
            (Recent{path("c.scm"), path("e.scm"), path("d.scm"), path("b.scm")}));

  // A sub-script is a script that was run, too.
  Write("inner.scm", {"_assign %1=2"});
  EXPECT_EQ(RunScript("outer.scm", {"_executescript inner.scm"}), ScriptOutcome::Succeeded);
  EXPECT_EQ(session.settings.files.lastScripts,
            (Recent{path("inner.scm"), path("outer.scm"), path("c.scm"), path("e.scm")}));
}

}  // namespace
}  // namespace velmora
