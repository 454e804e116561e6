#include "core/paths.h"

#include <gtest/gtest.h>

#include "core/atomic_file.h"
#include "temp_folder.h"

namespace velmora {
namespace {

// Relative names and case-insensitive matching are checked with the controller database.
TEST(Paths, AbsoluteNamesAndDrives) {
  EXPECT_EQ(ResolveStoredPath("/home", "/tmp/x.hex"), "/tmp/x.hex");
  EXPECT_EQ(ResolveStoredPath("/home", "C:\\work\\x.hex"), "/work/x.hex");
  EXPECT_EQ(ResolveStoredPath("/home", "c:test.hex"), "/test.hex");
  EXPECT_EQ(ResolveStoredPath("/home", "MCProg\\LOAD.HEX"), "/home/MCProg/LOAD.HEX");
}

TEST(AtomicFile, ReplacesTheTargetOnlyOnCommit) {
  test::TempFolder folder;
  const std::string target = folder.Write("data.hex", "old");
  {
    AtomicFile file(target);
    ASSERT_TRUE(file.Write("new contents"));
    EXPECT_EQ(test::ReadFile(target), "old");
  }  // abandoned: the target stays, the temporary file goes
  EXPECT_EQ(test::ReadFile(target), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
  AtomicFile file(target);
  file.Write("new contents");
  ASSERT_TRUE(file.Commit());
  EXPECT_EQ(test::ReadFile(target), "new contents");
  AtomicFile nowhere(folder.File("no/such/dir/x.hex"));
  EXPECT_FALSE(nowhere.IsOpen() || nowhere.Write("x") || nowhere.Commit());
}

}  // namespace
}  // namespace velmora
