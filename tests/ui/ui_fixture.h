// A session behind a window for the window tests: a temporary copy of the program folder,
// a SessionClient on it that talks to the in-process virtual board, boxes answered
// without a person, and every message line the session closes.
#pragma once

#include <QObject>
#include <QStringList>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "program_folder.h"
#include "ui/session_client.h"

namespace velmora::test {

class UiFixture {
 public:
  UiFixture();
  ~UiFixture();

  ui::SessionClient& client() { return *client_; }
  const std::filesystem::path& folder() const { return folder_.path(); }

  // The closed message lines since the fixture began or the last clearLines().
  const QStringList& lines() const { return *lines_; }
  void clearLines() { lines_->clear(); }
  // The lines that begin with prefix.
  QStringList linesStartingWith(const QString& prefix) const;

  // Runs work on the worker once no operation runs and waits for it, returning its result.
  template <typename Result>
  Result query(std::function<Result(Session&)> work) {
    std::optional<Result> result;
    waitIdle();
    client_->runAndWait([&](Session& s) { result = work(s); });
    waitIdle();
    return std::move(*result);
  }
  void run(std::function<void(Session&)> work);
  // Waits (with the window's events running) until no operation runs.
  bool waitIdle(int timeoutMs = 20000);

  // Opens the port to the virtual board and keeps the board's record of received bytes.
  void openBoardRecording();
  // What the board has received since recording began.
  std::vector<uint8_t> boardReceived();

 private:
  ProgramFolderCopy folder_;
  std::unique_ptr<ui::SessionClient> client_;
  std::shared_ptr<QStringList> lines_ = std::make_shared<QStringList>();
  // Between the window's busyChanged(true) and busyChanged(false).
  std::shared_ptr<bool> busy_ = std::make_shared<bool>(false);
};

}  // namespace velmora::test
