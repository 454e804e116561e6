// The worker thread that owns the session. The window and the headless runner hand it
// operations; it runs them one at a time, and between them it serves the serial line
// (a started program's output, a breakpoint hit). Nothing else touches the session:
// whoever wants to read or change it does so inside an operation.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

namespace velmora {

class Session;

class Runner {
 public:
  using Operation = std::function<void(Session&)>;
  using SessionMaker = std::function<std::unique_ptr<Session>()>;

  // makeSession runs on the worker thread, so that everything the session creates (the
  // serial port among it) belongs to that thread. Returns once the session exists.
  explicit Runner(SessionMaker makeSession);
  // Lets the running operation end, drops what is queued after it, and ends the thread
  // (the session is destroyed on it).
  ~Runner();
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  // The session's operation token: queues the operation unless another one is running
  // or waiting, and returns false (queuing nothing) then. Every entry point goes through
  // here, so two operations never meet.
  bool Start(Operation operation);
  // Start, then wait until it has run. False when it was refused.
  bool Run(Operation operation);
  // Work that must run whatever is going on (reading the session for a view); it runs
  // after the current operation and never counts as one.
  void Post(Operation housekeeping);
  // True from a successful Start until that operation has returned.
  bool Busy() const { return busy_.load(); }
  void WaitIdle();

  // Esc in the window, Ctrl-C in the runner: asks the running script to stop between
  // two of its lines. Callable from any thread.
  void RequestAbort();

  // Called on the worker when an operation begins (true) and has ended (false).
  void SetBusyObserver(std::function<void(bool)> observer);

  // True on the worker thread: for code that must know where it runs.
  bool OnWorker() const { return std::this_thread::get_id() == workerId_; }

 private:
  struct Job {
    Operation work;
    bool counts;  // an operation (holds the token) rather than housekeeping
    // Set once the operation has run and given the token back (Run waits for it).
    std::shared_ptr<std::promise<void>> finished = nullptr;
  };
  bool start(Job job);
  void loop(SessionMaker makeSession);

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::deque<Job> jobs_;
  bool stopping_ = false;
  bool ready_ = false;
  std::atomic<bool> busy_{false};
  std::atomic<bool> abortWanted_{false};
  std::function<void(bool)> busyObserver_;
  Session* session_ = nullptr;
  std::thread::id workerId_;
  std::thread worker_;
};

}  // namespace velmora
