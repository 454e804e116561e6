#include "core/paths.h"

#include <gtest/gtest.h>

#include "core/atomic_file.h"
#include "temp_folder.h"

namespace velmora {
namespace {

TEST(Paths, RelativeNamesLiveInTheProgramFolder) {
  test::TempFolder folder;
  EXPECT_EQ(ResolveStoredPath(folder.path(), "MCProg\\LOAD.HEX"), folder.path() / "MCProg/LOAD.HEX");
  EXPECT_EQ(ResolveStoredPath(folder.path(), "/tmp/x.hex"), "/tmp/x.hex");
  EXPECT_EQ(ResolveStoredPath(folder.path(), "C:\\work\\x.hex"), "/work/x.hex");
  EXPECT_EQ(ResolveStoredPath(folder.path(), "c:test.hex"), "/test.hex");
}

TEST(Paths, MissingComponentsAreMatchedWithoutRegardToCase) {
  test::TempFolder folder;
  folder.Write("SFRDEF/Brask.sfr", "x");
  EXPECT_EQ(ResolveStoredPath(folder.path(), "sfrdef\\BRASK.SFR"), folder.path() / "SFRDEF/Brask.sfr");
  // Nothing to match: the name stays as written.
  EXPECT_EQ(ResolveStoredPath(folder.path(), "MEMDEF\\BRASK.MEM"), folder.path() / "MEMDEF/BRASK.MEM");
}

TEST(AtomicFile, ReplacesTheTargetOnlyOnCommit) {
  test::TempFolder folder;
  const std::string target = folder.Write("data.hex", "old");
  {
    AtomicFile file(target);
    ASSERT_TRUE(file.IsOpen());
    file.Write("new contents");
    EXPECT_EQ(test::ReadFile(target), "old");
  }  // abandoned: the target stays, the temporary file goes
  EXPECT_EQ(test::ReadFile(target), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()),
                          std::filesystem::directory_iterator()),
            1);
  AtomicFile file(target);
  file.Write("new contents");
  ASSERT_TRUE(file.Commit());
  EXPECT_EQ(test::ReadFile(target), "new contents");
}

TEST(AtomicFile, AMissingFolderFailsCleanly) {
  test::TempFolder folder;
  AtomicFile file(folder.File("no/such/dir/x.hex"));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.Write("x"));
  EXPECT_FALSE(file.Commit());
}

}  // namespace
}  // namespace velmora
