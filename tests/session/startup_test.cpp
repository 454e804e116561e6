// Bringing a session up on a program folder, filling an empty folder with the extraction
// program first, and quitting with the default preferences written back.
#include "session/startup.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "commands/flash_operations.h"
#include "link/transport.h"
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

constexpr const char* kExtracting = "No extracting all additional Velmora Files....";

// A session on a folder that records the lines it writes.
struct Started {
  explicit Started(const fs::path& folder) : session(frontend, folder) {
    session.log.SetLineObserver([this](const std::string& line) { lines.push_back(line); });
  }
  long BoxesSaying(const std::string& text) const {
    long count = 0;
    for (const auto& box : frontend.boxes) count += box.text == text ? 1 : 0;
    return count;
  }

  test::RecordingFrontend frontend;
  Session session;
  Lines lines;
};

Lines SplitCrLf(const std::string& text) {
  Lines lines;
  size_t at = 0;
  for (size_t end; (end = text.find("\r\n", at)) != std::string::npos; at = end + 2) {
    lines.push_back(text.substr(at, end - at));
  }
  if (at < text.size()) lines.push_back(text.substr(at));
  return lines;
}

std::string Joined(const Lines& lines) {
  std::string all;
  for (const auto& line : lines) all += line;
  return all;
}

void ReplaceInFile(const fs::path& file, const std::string& from, const std::string& to) {
  std::string text = test::ReadFile(file.string());
  const auto at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  text.replace(at, from.size(), to);
  std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

// ---------------------------------------------------------------------------------------
// Start-up on an installed program folder

TEST(Startup, ReadsTheDatabaseAndTheDefaultPreferencesAndOpensThePort) {
  test::ProgramFolderCopy home;
  Started run(home.path());
  ASSERT_TRUE(Startup(run.session, {}));
  Session& session = run.session;

  EXPECT_GE(session.controllerTypes.FindControllerType("TOLVANE"), 0);
  EXPECT_GE(session.controllerTypes.FindControllerType("BRASK"), 0);
  EXPECT_EQ(session.settings.communication.PortText(), "virtual");
  EXPECT_EQ(session.settings.communication.timeout, 2000);
  // The TOLVANE register definitions, not BRASK's.
  const int syscon = session.registers.FindRegister("SYSCON0");
  ASSERT_GE(syscon, 0);
  EXPECT_EQ(session.registers.At(syscon).address, 0xFF12);
  // The memory units of default.ini.
  EXPECT_GE(FindMemoryUnit(session.settings.target.units, "IFLASH"), 0);
  EXPECT_GE(FindMemoryUnit(session.settings.target.units, "XFLASH"), 0);

  EXPECT_TRUE(session.link().port().IsOpen());
  ASSERT_NE(session.virtualBoard(), nullptr);
  // Never connected at start: nothing went to the board.
  EXPECT_EQ(session.link().state(), TargetState::NotConnected);
  EXPECT_TRUE(session.virtualBoard()->received().empty());
  EXPECT_EQ(session.virtualBoard()->mode(), Board::Mode::Bootstrap);

  EXPECT_EQ(session.selections.Count(), 0);
  EXPECT_TRUE(run.frontend.boxes.empty());
  EXPECT_TRUE(run.lines.empty()) << ::testing::PrintToString(run.lines);
  // Logging is off in the shipped preferences: no log file.
  EXPECT_FALSE(session.log.LoggingOn());
  EXPECT_FALSE(fs::exists(home.path() / "LOG.TXT"));
}

TEST(Startup, WithLoggingOnTheLogFileStartsWithItsHeader) {
  test::ProgramFolderCopy home;
  ReplaceInFile(home.path() / "default.ini", "LOGFILE=0", "LOGFILE=1");
  // Whatever an earlier run left there is replaced.
  home.folder().Write("LOG.TXT", "old contents\r\n");
  Started run(home.path());
  ASSERT_TRUE(Startup(run.session, {}));
  EXPECT_TRUE(run.session.log.LoggingOn());

  const Lines header = SplitCrLf(test::ReadFile((home.path() / "LOG.TXT").string()));
  ASSERT_EQ(header.size(), 5U) << ::testing::PrintToString(header);
  EXPECT_EQ(header[0], "VELMORA LOG FILE");
  EXPECT_EQ(header[1].rfind("Date: ", 0), 0U);
  EXPECT_GT(header[1].size(), 6U);
  EXPECT_EQ(header[2].rfind("Time: ", 0), 0U);
  EXPECT_GT(header[2].size(), 6U);
  EXPECT_EQ(header[3], "");
  EXPECT_EQ(header[4], "");

  // Lines of the run follow the header.
  EXPECT_EQ(EnterCommandLine(run.session, "_clearselections"), 0);
  const Lines after = SplitCrLf(test::ReadFile((home.path() / "LOG.TXT").string()));
  ASSERT_EQ(after.size(), 6U);
  EXPECT_EQ(after[5], ">_clearselections");
}

TEST(Startup, PortThatCannotBeOpenedIsSaidAndStartUpGoesOn) {
  test::ProgramFolderCopy home;
  ReplaceInFile(home.path() / "default.ini", "PORTNAME=virtual",
                "PORTNAME=/dev/velmora-no-such-port");
  ReplaceInFile(home.path() / "default.ini", "LOGFILE=0", "LOGFILE=1");
  Started run(home.path());
  Startup(run.session, {});
  EXPECT_FALSE(run.session.link().port().IsOpen());
  ASSERT_EQ(run.frontend.boxes.size(), 1U);
  EXPECT_EQ(run.frontend.boxes[0].text, std::string(kPortInUseMessage));
  // The steps after the port still ran.
  EXPECT_GE(run.session.registers.FindRegister("SYSCON0"), 0);
  EXPECT_TRUE(fs::exists(home.path() / "LOG.TXT"));
}

TEST(Startup, MissingDefaultPreferencesLeaveTheDefaults) {
  test::ProgramFolderCopy home;
  fs::remove(home.path() / "default.ini");
  Started run(home.path());
  Startup(run.session, {});
  EXPECT_EQ(Joined(run.lines),
            "*ERROR: File " + (home.path() / "default.ini").string() + " not found");
  EXPECT_EQ(run.session.settings.communication.baudRate, 9600);
  EXPECT_EQ(run.session.settings.communication.PortText(), "COM1");
  EXPECT_TRUE(run.session.settings.target.units.empty());
}

// ---------------------------------------------------------------------------------------
// Extraction into an empty folder

TEST(Startup, EmptyFolderIsFilledByTheExtractor) {
  test::TempFolder home;
  Started run(home.path());
  StartupOptions options;
  options.extractor = VELMORA_EXTRACT;
  ASSERT_TRUE(Startup(run.session, options)) << ::testing::PrintToString(run.lines);

  ASSERT_EQ(run.BoxesSaying(kExtracting), 1);
  EXPECT_EQ(run.frontend.boxes[0].text, kExtracting);
  EXPECT_EQ(run.frontend.boxes[0].buttons, BoxButtons::Ok);

  // Every shipped file arrives with its bytes (the extractor may still be writing).
  for (const auto& entry : fs::recursive_directory_iterator(test::ShippedDataFolder())) {
    if (!entry.is_regular_file()) continue;
    const auto relative = fs::relative(entry.path(), test::ShippedDataFolder());
    SCOPED_TRACE(relative.string());
    const auto extracted = home.path() / relative;
    const std::string shipped = test::ReadFile(entry.path().string());
    const auto until = Clock::now() + std::chrono::seconds(5);
    while (Clock::now() < until &&
           !(fs::is_regular_file(extracted) && test::ReadFile(extracted.string()) == shipped)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(fs::is_regular_file(extracted));
    EXPECT_EQ(test::ReadFile(extracted.string()), shipped);
  }
}

TEST(Startup, AfterExtractionStartUpGoesOnWithTheUnpackedFiles) {
  // Repeated, because whether the database is there in time depends on the extractor's pace.
  for (int attempt = 1; attempt <= 5; ++attempt) {
    SCOPED_TRACE("attempt " + std::to_string(attempt));
    test::TempFolder home;
    Started run(home.path());
    StartupOptions options;
    options.extractor = VELMORA_EXTRACT;
    ASSERT_TRUE(Startup(run.session, options)) << ::testing::PrintToString(run.lines);
    Session& session = run.session;
    EXPECT_TRUE(run.lines.empty()) << ::testing::PrintToString(run.lines);
    EXPECT_GE(session.controllerTypes.FindControllerType("TOLVANE"), 0);
    EXPECT_GE(session.registers.FindRegister("SYSCON0"), 0);
    EXPECT_EQ(session.settings.communication.PortText(), "virtual");
    EXPECT_TRUE(session.link().port().IsOpen());
    EXPECT_NE(session.virtualBoard(), nullptr);
    EXPECT_EQ(run.BoxesSaying(kExtracting), 1);
    // Let the extractor finish before its folder is removed.
    const auto until = Clock::now() + std::chrono::seconds(5);
    while (Clock::now() < until && !fs::exists(home.path() / "mctypes.dat")) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (::testing::Test::HasFailure()) break;
  }
}

TEST(Startup, ExtractorThatCannotBeStartedIsReportedAtOnce) {
  test::TempFolder home;
  Started run(home.path());
  StartupOptions options;
  options.extractor = home.path() / "no-such-extractor";
  options.extractionWait = std::chrono::milliseconds(300);
  const auto start = Clock::now();
  EXPECT_FALSE(Startup(run.session, options));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(3));

  EXPECT_EQ(run.BoxesSaying(kExtracting), 1);
  ASSERT_FALSE(run.lines.empty());
  // The message list wraps a long line; joined again it names the folder.
  EXPECT_EQ(Joined(run.lines).rfind(
                "*ERROR: The program files could not be unpacked into " + home.path().string(), 0),
            0U);
  // Start-up still leaves a session that takes commands.
  EXPECT_EQ(run.session.link().state(), TargetState::NotConnected);
  EXPECT_EQ(EnterCommandLine(run.session, "_addselection 0,F"), 0);
}

TEST(Startup, ExtractorThatLeavesTheFolderEmptyIsReportedAfterTheWait) {
  test::TempFolder home;
  Started run(home.path());
  StartupOptions options;
  options.extractor = "/bin/true";
  options.extractionWait = std::chrono::milliseconds(400);
  const auto start = Clock::now();
  EXPECT_FALSE(Startup(run.session, options));
  const auto waited = Clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(400));
  EXPECT_LT(waited, std::chrono::seconds(3));
  EXPECT_EQ(run.BoxesSaying(kExtracting), 1);
  ASSERT_FALSE(run.lines.empty());
  // The message list wraps a long line; joined again it names the folder.
  EXPECT_EQ(Joined(run.lines).rfind(
                "*ERROR: The program files could not be unpacked into " + home.path().string(), 0),
            0U);
}

TEST(Startup, DatabasePresentMeansNoExtraction) {
  test::TempFolder home;
  home.Write(
      "mctypes.dat",
      "[TOLVANE]\r\nREGDEF=SFRDEF\\TOLVANE.SFR\r\nMEMDEF=MEMDEF\\TOLVANE.MEM\r\nID=0xD5\r\n");
  Started run(home.path());
  StartupOptions options;
  options.extractor = VELMORA_EXTRACT;
  Startup(run.session, options);
  EXPECT_EQ(run.BoxesSaying(kExtracting), 0);
  EXPECT_FALSE(fs::exists(home.path() / "default.ini"));
}

// ---------------------------------------------------------------------------------------
// Quitting

TEST(Quit, WritesTheDefaultPreferencesThatTheNextStartReads) {
  test::ProgramFolderCopy home;
  std::vector<std::string> shownBefore;
  {
    Started run(home.path());
    ASSERT_TRUE(Startup(run.session, {}));
    shownBefore = run.session.settings.frontend.display;
    ASSERT_FALSE(shownBefore.empty());
    ASSERT_EQ(EnterCommandLine(run.session, "_connect"), 0);
    run.session.settings.communication.baudRate = 19200;
    run.session.settings.files.saveAs.recordSize = 16;
    Quit(run.session, true);
    EXPECT_FALSE(run.session.link().port().IsOpen());
  }
  Started next(home.path());
  ASSERT_TRUE(Startup(next.session, {}));
  EXPECT_TRUE(next.lines.empty()) << ::testing::PrintToString(next.lines);
  EXPECT_TRUE(next.frontend.boxes.empty());
  EXPECT_EQ(next.session.settings.communication.baudRate, 19200);
  EXPECT_EQ(next.session.settings.files.saveAs.recordSize, 16);
  EXPECT_EQ(next.session.settings.communication.PortText(), "virtual");
  EXPECT_EQ(next.session.settings.frontend.display, shownBefore);
  EXPECT_GE(FindMemoryUnit(next.session.settings.target.units, "IFLASH"), 0);
}

TEST(Quit, WithThePortAlreadyClosedStillWritesThePreferences) {
  test::ProgramFolderCopy home;
  {
    Started run(home.path());
    ASSERT_TRUE(Startup(run.session, {}));
    ASSERT_EQ(EnterCommandLine(run.session, "_disconnect"), 0);
    ASSERT_FALSE(run.session.link().port().IsOpen());
    run.session.settings.communication.baudRate = 38400;
    Quit(run.session, true);
    EXPECT_FALSE(run.session.link().port().IsOpen());
  }
  Started next(home.path());
  ASSERT_TRUE(Startup(next.session, {}));
  EXPECT_EQ(next.session.settings.communication.baudRate, 38400);
}

TEST(Quit, WithoutSavingLeavesTheFileAsItWas) {
  test::ProgramFolderCopy home;
  const std::string before = test::ReadFile((home.path() / "default.ini").string());
  Started run(home.path());
  ASSERT_TRUE(Startup(run.session, {}));
  run.session.settings.communication.baudRate = 19200;
  Quit(run.session, false);
  EXPECT_FALSE(run.session.link().port().IsOpen());
  EXPECT_EQ(test::ReadFile((home.path() / "default.ini").string()), before);
}

}  // namespace
}  // namespace velmora
