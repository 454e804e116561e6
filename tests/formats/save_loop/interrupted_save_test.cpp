// Kills a program with SIGKILL at random points while it saves a preferences file and a
// HEX file again and again: afterwards each file must be the old or the new version
// whole, never a mix, never missing. Temporary files the kill leaves are counted.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "saved_versions.h"
#include "temp_folder.h"

extern char** environ;

namespace velmora::test {
namespace {

constexpr int kKills = 200;

class Writer {
 public:
  // Starts the save loop in folder and waits for its "ready" line.
  explicit Writer(const std::string& folder) {
    int fds[2];
    EXPECT_EQ(::pipe(fds), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    std::string program = VELMORA_SAVE_LOOP_PROGRAM;
    std::string folderArgument = folder;
    char* argv[] = {program.data(), folderArgument.data(), nullptr};
    EXPECT_EQ(posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv, environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    char line[6] = {};
    ready_ = ::read(fds[0], line, 6) == 6 && std::string(line, 6) == "ready\n";
    ::close(fds[0]);
  }
  ~Writer() { KillAndWait(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  bool Ready() const { return ready_; }
  pid_t Pid() const { return pid_; }
  // True when it was still running (the kill landed) rather than ended on its own.
  bool KillAndWait() {
    if (pid_ <= 0) return false;
    ::kill(pid_, SIGKILL);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

 private:
  pid_t pid_ = -1;
  bool ready_ = false;
};

std::string runOnce(const char* version, const TempFolder& root, const char* name) {
  const auto folder = root.path() / version;
  std::filesystem::create_directories(folder);
  const std::string command =
      std::string(VELMORA_SAVE_LOOP_PROGRAM) + " --once " + version + " " + folder.string();
  EXPECT_EQ(std::system(command.c_str()), 0);
  return ReadFile((folder / name).string());
}

// Anything in the folder besides the two files is a temporary file of the killed writer:
// named after its target and the writer's process, never another name. Returns how many
// there were, after removing them.
int removeTemporariesOf(const std::filesystem::path& folder, pid_t pid) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name == kPreferencesName || name == kHexName) continue;
    const bool ownTemporary = name == std::string(kPreferencesName) + ".tmp" + std::to_string(pid) ||
                              name == std::string(kHexName) + ".tmp" + std::to_string(pid);
    EXPECT_TRUE(ownTemporary) << "unexpected file " << name;
    ++count;
    std::filesystem::remove(entry.path());
  }
  return count;
}

TEST(InterruptedSave, EveryKillLeavesTheOldOrTheNewFileWhole) {
  TempFolder root;
  const std::map<std::string, std::vector<std::string>> versions = {
      {kPreferencesName, {runOnce("old", root, kPreferencesName), runOnce("new", root, kPreferencesName)}},
      {kHexName, {runOnce("old", root, kHexName), runOnce("new", root, kHexName)}},
  };
  for (const auto& [name, texts] : versions) {
    ASSERT_GT(texts[0].size(), 40'000u) << name;
    ASSERT_NE(texts[0], texts[1]) << name;
  }

  const auto folder = root.path() / "loop";
  std::filesystem::create_directories(folder);
  // The first writer saves the old version before it is ready: that time (one save of
  // both files) sets the spread of the kill times, up to two saves, so that kills land
  // in every part of the loop. Later writers find the files and start the loop at once.
  auto started = std::chrono::steady_clock::now();
  std::chrono::microseconds saveTime{0};
  {
    Writer first(folder.string());
    ASSERT_TRUE(first.Ready());
    saveTime = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - started);
    const pid_t pid = first.Pid();
    first.KillAndWait();
    removeTemporariesOf(folder, pid);
  }
  std::mt19937 random(20240611);
  std::uniform_int_distribution<long> delay(0, 2 * saveTime.count());

  std::map<std::string, std::array<int, 2>> seen;
  int leftovers = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    Writer writer(folder.string());
    ASSERT_TRUE(writer.Ready()) << "kill " << kill;
    const pid_t pid = writer.Pid();
    std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
    ASSERT_TRUE(writer.KillAndWait()) << "the writer ended before it was killed";

    for (const auto& [name, texts] : versions) {
      const auto path = folder / name;
      ASSERT_TRUE(std::filesystem::exists(path)) << name << " is missing after kill " << kill;
      const std::string content = ReadFile(path.string());
      const bool isOld = content == texts[0];
      const bool isNew = content == texts[1];
      ASSERT_TRUE(isOld || isNew) << name << " is neither version after kill " << kill << " ("
                                  << content.size() << " bytes)";
      ++seen[name][isOld ? 0 : 1];
    }
    leftovers += removeTemporariesOf(folder, pid);
  }
  for (const auto& [name, counts] : seen) {
    std::printf("%s: old %d, new %d after %d kills\n", name.c_str(), counts[0], counts[1], kKills);
    EXPECT_GT(counts[0], 0) << name;
    EXPECT_GT(counts[1], 0) << name;
  }
  std::printf("temporary files left behind by the kills: %d (one save of both files: %ld us)\n",
              leftovers, static_cast<long>(saveTime.count()));
}

}  // namespace
}  // namespace velmora::test
