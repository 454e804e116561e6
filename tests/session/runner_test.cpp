// The worker thread that owns the session: one operation at a time, the line served
// between operations, and a running script stopped from another thread.
#include "session/runner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <future>
#include <thread>

#include "program_folder.h"
#include "recording_frontend.h"
#include "session/session.h"
#include "session/startup.h"
#include "sim/board.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;

class RunnerTest : public ::testing::Test {
 protected:
  std::unique_ptr<Runner> MakeRunner() {
    return std::make_unique<Runner>([this] {
      madeOn = std::this_thread::get_id();
      auto session = std::make_unique<Session>(frontend, folder.path());
      session->log.SetLineObserver([this](const std::string&) { ++closedLines; });
      Startup(*session, {});
      return session;
    });
  }
  // Reads something of the session where it lives.
  template <typename Result>
  Result Read(Runner& runner, std::function<Result(Session&)> query) {
    Result result{};
    EXPECT_TRUE(runner.Run([&](Session& session) { result = query(session); }));
    return result;
  }

  test::ProgramFolderCopy folder;
  test::RecordingFrontend frontend;
  std::thread::id madeOn;
  std::atomic<int> closedLines{0};
};

TEST_F(RunnerTest, TheSessionLivesAndWorksOnTheWorkerThreadOnly) {
  auto runner = MakeRunner();
  EXPECT_NE(madeOn, std::this_thread::get_id());
  std::thread::id ranOn;
  ASSERT_TRUE(runner->Run([&](Session&) { ranOn = std::this_thread::get_id(); }));
  EXPECT_EQ(ranOn, madeOn);
  EXPECT_FALSE(runner->OnWorker());
  EXPECT_TRUE(Read<bool>(*runner, [&](Session&) { return runner->OnWorker(); }));
}

TEST_F(RunnerTest, ASecondOperationIsRefusedWhileOneRunsAndTakenAfterwards) {
  auto runner = MakeRunner();
  std::promise<void> release;
  std::atomic<bool> firstRunning{false};
  auto released = release.get_future().share();
  ASSERT_TRUE(runner->Start([&, released](Session&) {
    firstRunning = true;
    released.wait();
  }));
  EXPECT_TRUE(runner->Busy());
  // Refused whether or not the first one has begun yet: the token is taken by Start.
  bool secondRan = false;
  EXPECT_FALSE(runner->Start([&](Session&) { secondRan = true; }));
  while (!firstRunning) std::this_thread::sleep_for(1ms);
  EXPECT_FALSE(runner->Start([&](Session&) { secondRan = true; }));
  EXPECT_FALSE(runner->Run([&](Session&) { secondRan = true; }));
  release.set_value();
  runner->WaitIdle();
  EXPECT_FALSE(runner->Busy());
  EXPECT_FALSE(secondRan);
  EXPECT_TRUE(runner->Run([&](Session&) { secondRan = true; }));
  EXPECT_TRUE(secondRan);
}

TEST_F(RunnerTest, RunReturnsWithTheTokenFreeForTheNextOperation) {
  auto runner = MakeRunner();
  // A caller that runs one operation after another is never refused in between.
  int ran = 0;
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(runner->Run([&](Session&) { ++ran; })) << i;
  EXPECT_EQ(ran, 200);
}

TEST_F(RunnerTest, HousekeepingRunsAfterTheOperationWithoutTakingTheToken) {
  auto runner = MakeRunner();
  std::promise<void> release;
  auto released = release.get_future().share();
  std::vector<int> order;
  ASSERT_TRUE(runner->Start([&, released](Session&) {
    released.wait();
    order.push_back(1);
  }));
  runner->Post([&](Session&) { order.push_back(2); });
  release.set_value();
  runner->WaitIdle();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(RunnerTest, AbortStopsARunningScriptBetweenItsLines) {
  auto runner = MakeRunner();
  const auto script = folder.path() / "endless.scm";
  std::ofstream(script) << "_assign %1=0\r\nDO\r\n_assign %1=%1+1\r\nLOOP\r\n";
  std::atomic<int> outcome{-1};
  ASSERT_TRUE(runner->Start([&](Session& session) {
    outcome = static_cast<int>(session.interpreter().ExecuteScript(script.string()));
  }));
  // Let it run a while: every pass writes an echo line.
  const auto deadline = std::chrono::steady_clock::now() + 5s;
  while (closedLines < 50 && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
  ASSERT_GE(closedLines, 50);
  runner->RequestAbort();
  runner->WaitIdle();
  EXPECT_EQ(outcome, static_cast<int>(ScriptOutcome::Aborted));
  const auto last = Read<std::string>(*runner, [](Session& session) {
    const auto& list = session.log.List();
    return list.Entry(list.Count() - 2);  // the last closed line, before the open one
  });
  EXPECT_EQ(last, "*Script aborted");
}

TEST_F(RunnerTest, TargetOutputBetweenOperationsReachesTheMessageList) {
  auto runner = MakeRunner();
  ASSERT_TRUE(runner->Run([](Session& session) {
    ASSERT_EQ(session.interpreter().ExecuteCommand("_connect"), 0);
    session.link().SetState(TargetState::UserProgramRunning);
    const uint8_t hello[] = {'H', 'i', '!'};
    session.virtualBoard()->EmitFromProgram(hello);
  }));
  // Nobody asks for it: the worker hands the bytes to the message list on its own.
  std::string open;
  const auto deadline = std::chrono::steady_clock::now() + 3s;
  while (open != "Hi!" && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(5ms);
    open = Read<std::string>(*runner, [](Session& session) { return session.log.List().OpenLine(); });
  }
  EXPECT_EQ(open, "Hi!");
}

TEST_F(RunnerTest, EndingTheRunnerDropsWhatIsQueuedAndEndsTheRunningScript) {
  auto runner = MakeRunner();
  const auto script = folder.path() / "endless.scm";
  std::ofstream(script) << "DO\r\n_assign %1=1\r\nLOOP\r\n";
  std::atomic<bool> queuedRan{false};
  ASSERT_TRUE(runner->Start([&](Session& session) { session.interpreter().ExecuteScript(script.string()); }));
  runner->Post([&](Session&) { queuedRan = true; });
  while (closedLines < 10) std::this_thread::sleep_for(1ms);
  runner.reset();  // must not hang on the endless script
  EXPECT_FALSE(queuedRan);
}

}  // namespace
}  // namespace velmora
