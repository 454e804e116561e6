// The window's handle on the worker thread: it owns the runner (and through it the
// session), shows the core's boxes on the window's thread, and turns message lines,
// changes and progress into signals. Views read the snapshot and the memory image.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>

#include "core/frontend.h"
#include "link/port_selector.h"
#include "ui/box_host.h"
#include "ui/session_snapshot.h"

Q_DECLARE_METATYPE(velmora::Change)

namespace velmora {
class MemoryImage;
class Runner;
class Session;
}  // namespace velmora

namespace velmora::ui {

class SessionClient : public QObject {
  Q_OBJECT
 public:
  // externalPorts opens device names other than "virtual"; the session is made on the
  // worker thread.
  SessionClient(std::filesystem::path programFolder, PortFactory externalPorts,
                QWidget* boxParent = nullptr, QObject* parent = nullptr);
  ~SessionClient() override;

  BoxHost& boxes() { return boxes_; }
  // The folder the session was made for (its PREFS, DRIVER and SCRIPTS folders).
  const std::filesystem::path& programFolder() const { return programFolder_; }

  // Queues an operation on the worker. False, with nothing queued, while another one
  // runs: the caller's control should have been disabled.
  bool start(std::function<void(Session&)> operation);
  // The same, with a result handed to done on the window's thread, unless receiver (the
  // window or dialog that asked) has been destroyed in the meantime.
  template <typename Result>
  bool start(QObject* receiver, std::function<Result(Session&)> operation,
             std::function<void(Result)> done);
  // Reads the session on the worker after the running operation, whatever is going on,
  // and hands the result to done on the window's thread, unless receiver has gone by then.
  // Never counts as an operation.
  template <typename Result>
  void read(QObject* receiver, std::function<Result(Session&)> query,
            std::function<void(Result)> done);
  // start() and wait for it (with the window's events running): for start-up, quitting
  // and tests. False when refused.
  bool runAndWait(std::function<void(Session&)> operation);

  bool busy() const;
  // Esc: asks the running script to stop.
  void abort();
  // The quit procedure, when the window has gone: a running script is stopped, boxes are
  // no longer shown, and the port is closed and (with savePreferences) the default
  // preferences written on the worker. Once only; a _quit has done it already.
  void shutDown(bool savePreferences);
  // Whether a _quit writes the default preferences (--no-save turns it off).
  void setSavePreferences(bool on) { savePreferences_ = on; }
  // Runs work on the window's thread, in order with the signals.
  void onWindowThread(std::function<void()> work) { deliver(std::move(work)); }

  // Safe to read from the window's thread at any time.
  const MemoryImage& image() const { return *image_; }
  // The last copy the worker published.
  SessionSnapshot snapshot() const;

 signals:
  // Every closed message line, in order, and the open line as it grows (terminal output).
  void lineClosed(const QString& line);
  void openLineChanged(const QString& line);
  // An operation changed what a view shows; the snapshot is up to date when this arrives.
  void changed(const velmora::Change& change);
  // A long transfer's bytes done of total ("Download", "Upload", ...).
  void progress(const QString& operation, qint64 done, qint64 total);
  // An operation began (true) or ended (false): controls that start one follow this.
  void busyChanged(bool busy);
  // The non-modal message window: shown with a text, hidden with an empty one.
  void messageWindow(const QString& text);
  // _quit ran: the window closes (the quit itself has been done on the worker).
  void quitRequested();

 private:
  class Bridge;
  void post(std::function<void(Session&)> housekeeping);
  void deliver(std::function<void()> onWindowThread);
  void publishSnapshot(Session& session);
  void publishSnapshotFor(Session& session, const Change& change);

  std::filesystem::path programFolder_;
  BoxHost boxes_;
  std::unique_ptr<Bridge> bridge_;  // the Frontend the core calls on the worker
  std::unique_ptr<Runner> runner_;
  const MemoryImage* image_ = nullptr;
  mutable std::mutex snapshotMutex_;
  SessionSnapshot snapshot_;
  std::atomic<bool> quitDone_{false};
  std::atomic<bool> savePreferences_{true};
};

template <typename Result>
bool SessionClient::start(QObject* receiver, std::function<Result(Session&)> operation,
                          std::function<void(Result)> done) {
  return start([this, guard = QPointer<QObject>(receiver), operation = std::move(operation),
                done = std::move(done)](Session& s) {
    auto result = std::make_shared<Result>(operation(s));
    deliver([guard, done, result] {
      if (guard) done(std::move(*result));
    });
  });
}

template <typename Result>
void SessionClient::read(QObject* receiver, std::function<Result(Session&)> query,
                         std::function<void(Result)> done) {
  post([this, guard = QPointer<QObject>(receiver), query = std::move(query),
        done = std::move(done)](Session& s) {
    auto result = std::make_shared<Result>(query(s));
    deliver([guard, done, result] {
      if (guard) done(std::move(*result));
    });
  });
}

}  // namespace velmora::ui
