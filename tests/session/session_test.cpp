#include "session/session.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "formats/clipboard_transfer.h"
#include "formats/hex_reader.h"
#include "formats/hex_writer.h"
#include "recording_frontend.h"
#include "temp_folder.h"

namespace velmora {
namespace {

class SessionTest : public ::testing::Test {
 protected:
  test::TempFolder home;
  test::RecordingFrontend frontend;
};

TEST_F(SessionTest, StartsWithTheInitialImageAndEmptyLists) {
  Session session(frontend, home.path());
  EXPECT_EQ(session.image.AllocatedSegmentCount(), 4);
  EXPECT_EQ(session.selections.Count(), 0);
  EXPECT_EQ(session.monitorArea, kDefaultMonitorArea);
  EXPECT_EQ(session.log.LogPath(), (home.path() / "LOG.TXT").string());
  EXPECT_EQ(session.log.List().Count(), 1);
  EXPECT_EQ(session.settings.files.saveAs.recordSize, 32);
  EXPECT_EQ(session.settings.files.saveAs.FormatCode(), 2);
}

TEST_F(SessionTest, SessionsShareNothing) {
  Session first(frontend, home.path());
  Session second(frontend, home.path());
  first.image.SetByte(0x100, 0x42);
  ASSERT_TRUE(first.selections.AddSelection(0x100, 0x100));
  first.log.WriteLine("*only in the first");
  EXPECT_EQ(second.image.GetByte(0x100), 0);
  EXPECT_EQ(second.selections.Count(), 0);
  EXPECT_EQ(second.log.List().Count(), 1);
}

// A user's morning: load a file, move part of it with cut and paste, save the selection,
// and open the result in a fresh session.
TEST_F(SessionTest, LoadCutPasteSaveAndReload) {
  Session session(frontend, home.path());
  const std::string source = home.Write("app.hex",
                                        ":04010000DEADBEEFC4\r\n"
                                        ":02011000CAFE15\r\n"
                                        ":00000001FF\r\n");
  ASSERT_EQ(HexRead(source, session.image, session.selections, session.log).status,
            HexReadStatus::Ok);
  ASSERT_EQ(session.selections.Count(), 2);

  session.clipboard = CutSelections(session.image, session.selections);
  EXPECT_FALSE(session.image.IsDefined(0x100));
  ASSERT_EQ(PasteClipboard(session.clipboard, 0x20000, session.image, session.log).bytesPasted, 6);
  session.selections.ClearSelections();
  ASSERT_TRUE(session.selections.AddSelection(0x20000, 0x2FFFF));

  const std::string saved = session.Resolve("moved.hex").string();
  ASSERT_EQ(HexWriteSelections(saved, 32, 4, session.image, session.selections, session.log),
            HexWriteStatus::Ok);

  Session fresh(frontend, home.path());
  ASSERT_EQ(HexRead(saved, fresh.image, fresh.selections, fresh.log).status, HexReadStatus::Ok);
  ASSERT_EQ(fresh.selections.Count(), 2);
  EXPECT_EQ(fresh.selections.At(0), (Selection{0x20000, 0x20003}));
  EXPECT_EQ(fresh.selections.At(1), (Selection{0x20010, 0x20011}));
  EXPECT_EQ(fresh.image.GetByte(0x20003), 0xEF);
  EXPECT_EQ(fresh.image.GetByte(0x20011), 0xFE);
}

TEST(ProgramFolder, OptionBeforeEnvironmentBeforeExecutable) {
  test::TempFolder folder;
  EXPECT_EQ(ProgramFolder(folder.path().string(), nullptr), folder.path());
  ::setenv("VELMORA_HOME", "/opt/velmora-home", 1);
  EXPECT_EQ(ProgramFolder("", nullptr), "/opt/velmora-home");
  EXPECT_EQ(ProgramFolder(folder.path().string(), nullptr), folder.path());
  ::unsetenv("VELMORA_HOME");
  EXPECT_EQ(ProgramFolder("", nullptr), std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

}  // namespace
}  // namespace velmora
