// Bringing a session up on a program folder (filling an empty one with the extraction
// program first), reading preferences into it, and quitting with the default
// preferences written back.
#include "session/startup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <vector>

#include "commands/flash_operations.h"
#include "program_folder.h"
#include "recording_frontend.h"
#include "session/command_input.h"
#include "session/preferences.h"
#include "session/session.h"
#include "sim/board.h"
#include "temp_folder.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;

// A session on a folder that records the lines it writes.
struct Started {
  explicit Started(const fs::path& folder) : session(frontend, folder) {
    session.log.SetLineObserver([this](const std::string& line) { lines.push_back(line); });
  }
  long BoxesSaying(std::string_view text) const {
    return std::count_if(frontend.boxes.begin(), frontend.boxes.end(),
                         [text](const test::RecordedBox& box) { return box.text == text; });
  }

  test::RecordingFrontend frontend;
  Session session;
  Lines lines;
};

void ExpectTolvaneOnTheVirtualPort(Session& session) {
  EXPECT_GE(session.controllerTypes.FindControllerType("BRASK"), 0);
  EXPECT_GE(session.registers.FindRegister("SYSCON0"), 0);
  EXPECT_EQ(session.registers.FindRegister("PW0"), -1);  // a BRASK register
  EXPECT_GE(FindMemoryUnit(session.settings.target.units, "IFLASH"), 0);
  EXPECT_EQ(session.settings.communication.PortText(), "virtual");
  EXPECT_TRUE(session.link().port().IsOpen());
  EXPECT_EQ(session.link().state(), TargetState::NotConnected);
}

TEST(Startup, InstalledFolderOpensThePortWithoutTalkingToTheTarget) {
  for (const bool logging : {false, true}) {
    SCOPED_TRACE(logging ? "logging on" : "logging off");
    test::ProgramFolderCopy home;
    if (logging) {
      std::string ini = test::ReadFile((home.path() / "default.ini").string());
      home.folder().Write("default.ini", ini.replace(ini.find("LOGFILE=0"), 9, "LOGFILE=1"));
    }
    Started run(home.path());
    ASSERT_TRUE(Startup(run.session, {}));
    ExpectTolvaneOnTheVirtualPort(run.session);
    ASSERT_NE(run.session.virtualBoard(), nullptr);
    EXPECT_TRUE(run.session.virtualBoard()->ReceivedCount() == 0U);
    EXPECT_TRUE(run.frontend.boxes.empty());
    EXPECT_TRUE(run.lines.empty()) << ::testing::PrintToString(run.lines);
    const auto log = home.path() / "LOG.TXT";
    EXPECT_EQ(fs::exists(log) && test::ReadFile(log.string()).starts_with("VELMORA LOG FILE\r\n"),
              logging);
  }
}

TEST(Startup, EmptyFolderIsFilledByTheExtractorAndStartUpGoesOn) {
  test::TempFolder home;
  Started run(home.path());
  // The splash comes up only once the folder is complete, and then moves step by step.
  std::vector<int> steps;
  size_t boxesAtSplash = 0;
  StartupOptions options{VELMORA_EXTRACT};
  options.progress = [&](int value) {
    if (value == 1) boxesAtSplash = run.frontend.boxes.size();
    steps.push_back(value);
  };
  ASSERT_TRUE(Startup(run.session, options)) << ::testing::PrintToString(run.lines);
  EXPECT_EQ(steps, (std::vector<int>{1, 20, 30, 50, 70, 80, 90}));
  EXPECT_EQ(boxesAtSplash, 1U);
  EXPECT_EQ(run.BoxesSaying(kExtractingMessage), 1);
  EXPECT_TRUE(run.lines.empty()) << ::testing::PrintToString(run.lines);
  ExpectTolvaneOnTheVirtualPort(run.session);

  // Every shipped file arrives with its bytes (the extractor may still be writing).
  for (const auto& entry : fs::recursive_directory_iterator(test::ShippedDataFolder())) {
    if (!entry.is_regular_file()) continue;
    const auto extracted = home.path() / fs::relative(entry.path(), test::ShippedDataFolder());
    const std::string shipped = test::ReadFile(entry.path().string());
    const auto until = Clock::now() + std::chrono::seconds(5);
    while (Clock::now() < until &&
           !(fs::is_regular_file(extracted) && test::ReadFile(extracted.string()) == shipped)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(test::ReadFile(extracted.string()), shipped) << extracted;
  }
}

// The extraction only fills gaps: the user's own preferences and edited definitions stay.
TEST(Startup, ExtractionLeavesEveryExistingFileAsItIs) {
  test::ProgramFolderCopy home;
  fs::remove(home.path() / "mctypes.dat");
  const std::string mine = "[Communication]\r\nPORT=COM1\r\nPORTNAME=virtual\r\nBAUDRATE=19200\r\n";
  home.folder().Write("default.ini", mine);
  const std::string edited =
      test::ReadFile((home.path() / "SFRDEF" / "BRASK.SFR").string()) + "; mine\r\n";
  home.folder().Write("SFRDEF/BRASK.SFR", edited);
  {
    Started run(home.path());
    ASSERT_TRUE(Startup(run.session, {VELMORA_EXTRACT})) << ::testing::PrintToString(run.lines);
    EXPECT_EQ(run.session.settings.communication.baudRate, 19200);
  }
  EXPECT_TRUE(fs::is_regular_file(home.path() / "mctypes.dat"));
  EXPECT_EQ(test::ReadFile((home.path() / "default.ini").string()), mine);
  EXPECT_EQ(test::ReadFile((home.path() / "SFRDEF" / "BRASK.SFR").string()), edited);
}

// Options of the extraction program are never taken for the folder to fill.
TEST(Startup, ExtractorOptionsAreNotFolders) {
  struct Case {
    std::string arguments;
    int exitCode;
    std::string output;  // a part of what it prints
  };
  const Case kCases[] = {
      {"--help", 0, "usage: velmora-extract"},  {"-h", 0, "usage: velmora-extract"},
      {"--bogus", 2, "unknown option --bogus"}, {"-y", 2, "usage: velmora-extract"},
      {"-- --help", 0, "files written"},  // after "--" a name is a folder
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.arguments);
    test::TempFolder work;
    const std::string command = "cd '" + work.path().string() + "' && '" VELMORA_EXTRACT "' " +
                                c.arguments + " >out.txt 2>&1";
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), c.exitCode);
    EXPECT_NE(work.Read("out.txt").find(c.output), std::string::npos) << work.Read("out.txt");
    const bool made = fs::exists(work.path() / "--help");
    EXPECT_EQ(made, c.arguments == "-- --help");
  }
}

TEST(Startup, FailedExtractionIsReportedAfterItsWait) {
  test::TempFolder home;
  Started run(home.path());
  const auto start = Clock::now();
  EXPECT_FALSE(Startup(run.session, {"/bin/true", std::chrono::milliseconds(400)}));
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(400));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(run.BoxesSaying(kExtractingMessage), 1);
  std::string joined;  // the message list wraps a long line
  for (const auto& line : run.lines) joined += line;
  EXPECT_EQ(joined.rfind(
                "*ERROR: The program files could not be unpacked into " + home.path().string(), 0),
            0U);
  EXPECT_EQ(EnterCommandLine(run.session, "_addselection 0,F"), 0);  // still takes commands
}

TEST(Preferences, TheRegistersMonitorAreaAndLogSwitchFollowTheFile) {
  test::ProgramFolderCopy home;
  Started run(home.path());
  ASSERT_TRUE(Startup(run.session, {}));
  Session& session = run.session;
  const auto load = [&](const std::string& text) {
    return LoadPreferences(session, home.folder().Write("p.ini", text));
  };
  ASSERT_TRUE(load("[Controller]\r\nMCTYPE=Brask\r\n"));
  EXPECT_GE(session.registers.FindRegister("PW0"), 0);
  EXPECT_TRUE(run.frontend.boxes.empty());

  // A type the database does not know is said, and the registers stay.
  ASSERT_TRUE(load("[Controller]\r\nMCTYPE=NONESUCH\r\n[Frontend]\r\nLOGFILE=1\r\n"));
  EXPECT_EQ(run.BoxesSaying(kUnsupportedTypeMessage), 1);
  EXPECT_GE(session.registers.FindRegister("PW0"), 0);
  EXPECT_TRUE(session.log.LoggingOn());

  // A file without a type brings the default type's registers.
  ASSERT_TRUE(load("[Velmora]\r\nVELMORASTARTADDRESS=E10000\r\nVELMORAENDADDRESS=0xE102C3\r\n"));
  EXPECT_EQ(session.registers.FindRegister("PW0"), -1);
  EXPECT_EQ(session.monitorArea, (MonitorArea{0xE10000, 0xE102C3}));
  EXPECT_FALSE(session.log.LoggingOn());
}

TEST(Quit, WritesTheDefaultPreferencesUnlessToldNot) {
  struct Case {
    const char* last;  // command before quitting
    bool save;
  };
  for (const Case& c :
       {Case{"_connect", true}, Case{"_disconnect", true}, Case{"_connect", false}}) {
    SCOPED_TRACE(std::string(c.last) + (c.save ? " and save" : ""));
    test::ProgramFolderCopy home;
    const std::string before = test::ReadFile((home.path() / "default.ini").string());
    {
      Started run(home.path());
      ASSERT_TRUE(Startup(run.session, {}));
      ASSERT_EQ(EnterCommandLine(run.session, c.last), 0);
      run.session.settings.communication.baudRate = 19200;
      Quit(run.session, c.save);
      EXPECT_FALSE(run.session.link().port().IsOpen());
    }
    if (!c.save) {
      EXPECT_EQ(test::ReadFile((home.path() / "default.ini").string()), before);
      continue;
    }
    Started next(home.path());
    ASSERT_TRUE(Startup(next.session, {}));
    EXPECT_TRUE(next.lines.empty()) << ::testing::PrintToString(next.lines);
    EXPECT_EQ(next.session.settings.communication.baudRate, 19200);
    ExpectTolvaneOnTheVirtualPort(next.session);
  }
}

TEST(ProgramFolder, OptionBeforeEnvironmentBeforeExecutable) {
  test::TempFolder folder;
  ::setenv("VELMORA_HOME", "/opt/velmora-home", 1);
  EXPECT_EQ(ProgramFolder(folder.path().string(), nullptr), folder.path());
  EXPECT_EQ(ProgramFolder("", nullptr), "/opt/velmora-home");
  ::unsetenv("VELMORA_HOME");
  EXPECT_EQ(ProgramFolder("", nullptr), fs::read_symlink("/proc/self/exe").parent_path());
}

}  // namespace
}  // namespace velmora
