#include "core/paths.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "core/atomic_file.h"
#include "core/file_exists.h"
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

// Saving through a link writes the link's target; a fifo (like a device) is written in
// place, never replaced by a plain file.
TEST(AtomicFile, WritesThroughLinksAndIntoPipes) {
  test::TempFolder folder;
  const std::string target = folder.Write("real.hex", "old");
  std::filesystem::create_directory(folder.path() / "sub");
  std::filesystem::create_symlink("../real.hex", folder.path() / "sub" / "link.hex");
  std::filesystem::create_symlink("later.hex", folder.path() / "dangling.hex");
  for (const char* name : {"sub/link.hex", "dangling.hex"}) {
    SCOPED_TRACE(name);
    AtomicFile file(folder.File(name));
    ASSERT_TRUE(file.Write("new"));
    ASSERT_TRUE(file.Commit());
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / name));
    EXPECT_EQ(test::ReadFile(folder.File(name)), "new");
  }
  EXPECT_EQ(test::ReadFile(target), "new");
  EXPECT_EQ(test::ReadFile(folder.File("later.hex")), "new");

  // The reading end is opened first (without waiting), so that writing never blocks.
  const std::string fifo = folder.File("pipe");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  {
    AtomicFile file(fifo);
    EXPECT_TRUE(file.Write("through the pipe") && file.Commit());
  }
  char buffer[64] = {};
  const ssize_t got = ::read(reader, buffer, sizeof buffer);
  ::close(reader);
  EXPECT_TRUE(std::filesystem::is_fifo(fifo));
  EXPECT_EQ(std::string(buffer, got > 0 ? static_cast<size_t>(got) : 0), "through the pipe");
}

// Where a name given in a command is looked for, and what is said when it cannot be read.
TEST(Paths, CandidatesAndProblems) {
  test::TempFolder folder;
  const auto here = std::filesystem::current_path();
  using Paths = std::vector<std::filesystem::path>;
  EXPECT_EQ(CandidatePaths("/home", "x.hex", RelativeNames::InProgramFolder),
            (Paths{"/home/x.hex"}));
  EXPECT_EQ(CandidatePaths("/home", "d\\x.hex", RelativeNames::CurrentDirectoryFirst),
            (Paths{here / "d/x.hex", "/home/d/x.hex"}));
  EXPECT_EQ(CandidatePaths("/home", "/tmp/x.hex", RelativeNames::CurrentDirectoryFirst),
            (Paths{"/tmp/x.hex"}));
  EXPECT_EQ(CandidatePaths("/home", "C:\\x.hex", RelativeNames::CurrentDirectoryFirst),
            (Paths{"/x.hex"}));

  const std::string file = folder.Write("x.hex", "");
  EXPECT_EQ(ReadProblem(file), FileProblem::None);
  EXPECT_EQ(ReadProblem(folder.path()), FileProblem::IsADirectory);
  EXPECT_EQ(ReadProblem(folder.File("none.hex")), FileProblem::NotFound);
  EXPECT_EQ(WriteProblem(folder.File("new.hex")), FileProblem::None);
  EXPECT_EQ(WriteProblem(folder.File("no/such/new.hex")), FileProblem::NotFound);
  EXPECT_EQ(WriteProblem(folder.path()), FileProblem::IsADirectory);
  EXPECT_EQ(WriteProblem("/dev/null"), FileProblem::None);
  EXPECT_EQ(FileProblemLine("/a/b.hex", FileProblem::PermissionDenied),
            "*ERROR: file /a/b.hex permission denied !");
}

}  // namespace
}  // namespace velmora
