#include "session/runner.h"

#include <chrono>
#include <optional>

#include "session/session.h"

namespace velmora {

namespace {

// How long the worker waits on the line between operations before it looks at its queue
// again: short enough that a click feels immediate.
constexpr std::chrono::milliseconds kIdleTurn{10};

}  // namespace

Runner::Runner(SessionMaker makeSession) {
  worker_ = std::thread([this, make = std::move(makeSession)]() mutable { loop(std::move(make)); });
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return ready_; });
}

Runner::~Runner() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    jobs_.clear();
  }
  RequestAbort();
  wake_.notify_all();
  worker_.join();
}

bool Runner::Start(Operation operation) { return start({std::move(operation), true}); }

bool Runner::start(Job job) {
  {
    std::lock_guard lock(mutex_);
    if (busy_.load() || stopping_) return false;
    busy_ = true;
    jobs_.push_back(std::move(job));
  }
  wake_.notify_one();
  return true;
}

bool Runner::Run(Operation operation) {
  auto done = std::make_shared<std::promise<void>>();
  auto finished = done->get_future();
  if (!start({std::move(operation), true, done})) return false;
  // Returns once the token is free again, so that the caller's next Start is taken.
  finished.wait();
  return true;
}

void Runner::Post(Operation housekeeping) {
  {
    std::lock_guard lock(mutex_);
    if (stopping_) return;
    jobs_.push_back({std::move(housekeeping), false});
  }
  wake_.notify_one();
}

void Runner::WaitIdle() {
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return stopping_ || (jobs_.empty() && !busy_.load()); });
}

void Runner::RequestAbort() {
  std::lock_guard lock(mutex_);
  if (session_) session_->interpreter().RequestAbort();
}

void Runner::SetBusyObserver(std::function<void(bool)> observer) {
  std::lock_guard lock(mutex_);
  busyObserver_ = std::move(observer);
}

void Runner::loop(SessionMaker makeSession) {
  std::unique_ptr<Session> session = makeSession();
  {
    std::lock_guard lock(mutex_);
    workerId_ = std::this_thread::get_id();
    session_ = session.get();
    ready_ = true;
  }
  idle_.notify_all();

  for (;;) {
    std::optional<Job> job;
    std::function<void(bool)> observer;
    {
      std::lock_guard lock(mutex_);
      if (stopping_) break;
      if (!jobs_.empty()) {
        job = std::move(jobs_.front());
        jobs_.pop_front();
      }
      observer = busyObserver_;
    }
    if (!job) {
      // Between operations the line is served: a started program's output, the monitor
      // back from a routine or at a breakpoint.
      if (session->port().IsOpen()) {
        session->link().ServeUnsolicited(kIdleTurn);
      } else {
        std::unique_lock lock(mutex_);
        wake_.wait_for(lock, kIdleTurn, [this] { return stopping_ || !jobs_.empty(); });
      }
      continue;
    }
    if (job->counts && observer) observer(true);
    job->work(*session);
    {
      std::lock_guard lock(mutex_);
      if (job->counts) busy_ = false;
    }
    if (job->counts && observer) observer(false);
    if (job->finished) job->finished->set_value();
    idle_.notify_all();
  }
  // The session ends on the thread it lived on (its port belongs to this thread).
  {
    std::lock_guard lock(mutex_);
    session_ = nullptr;
  }
  session.reset();
  idle_.notify_all();
}

}  // namespace velmora
