// Kills a program with SIGKILL at random points while it saves a preferences file and a
// HEX file again and again: afterwards each file must be the old or the new version
// whole, never a mix, never missing. Temporary files the kill leaves are counted.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
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

// Anything in the folder besides the two files is a temporary file of a killed writer:
// named after its target and a writer's process, never another name. Returns how many.
int temporaryFiles(const std::filesystem::path& folder) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name == kPreferencesName || name == kHexName) continue;
    const auto dot = name.rfind(".tmp");
    const std::string target = name.substr(0, dot);
    const std::string digits = dot == std::string::npos ? "" : name.substr(dot + 4);
    const bool temporary = (target == kPreferencesName || target == kHexName) && !digits.empty() &&
                           digits.find_first_not_of("0123456789") == std::string::npos;
    EXPECT_TRUE(temporary) << "unexpected file " << name;
    ++count;
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
    first.KillAndWait();
  }
  std::mt19937 random(20240611);
  std::uniform_int_distribution<long> delay(0, 2 * saveTime.count());

  std::map<std::string, std::array<int, 2>> seen;
  int mostLeftovers = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    Writer writer(folder.string());
    ASSERT_TRUE(writer.Ready()) << "kill " << kill;
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
    // A save clears what earlier killed saves of its file left, so only the writers killed
    // since the last finished save of a file can have left one: a few, never the ~40 % of
    // all kills that would pile up without the clearing.
    mostLeftovers = std::max(mostLeftovers, temporaryFiles(folder));
  }
  EXPECT_LT(mostLeftovers, 20);
  for (const auto& [name, counts] : seen) {
    std::printf("%s: old %d, new %d after %d kills\n", name.c_str(), counts[0], counts[1], kKills);
    EXPECT_GT(counts[0], 0) << name;
    EXPECT_GT(counts[1], 0) << name;
  }
  std::printf("at most %d temporary files at a time (one save of both files: %ld us)\n",
              mostLeftovers, static_cast<long>(saveTime.count()));
  // One save that runs to its end leaves the two files and nothing else.
  const std::string command = std::string(VELMORA_SAVE_LOOP_PROGRAM) + " --once new " + folder.string();
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(temporaryFiles(folder), 0);
}

}  // namespace
}  // namespace velmora::test
