#include "ui/session_client.h"

#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QEventLoop>
#include <QGuiApplication>
#include <QTimer>
#include <atomic>
#include <future>

#include "session/runner.h"
#include "session/session.h"
#include "session/startup.h"

namespace velmora::ui {

namespace {

QString qt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

// The Frontend the core calls on the worker thread. Everything that shows something is
// handed to the window's thread; a box blocks the worker until the user has answered,
// unless the window is going away (then it is answered as if cancelled).
class SessionClient::Bridge : public Frontend {
 public:
  explicit Bridge(SessionClient& client) : client_(client) {}

  void Attach(Session& session) {
    session_ = &session;
    Changes().Subscribe([this](const Change& change) {
      client_.publishSnapshotFor(*session_, change);
      client_.deliver([client = &client_, change] { emit client->changed(change); });
    });
  }
  void Closing() { closing_ = true; }

  BoxAnswer MessageBox(std::string_view text, BoxButtons buttons, BoxIcon icon,
                       std::string_view caption) override {
    const QString boxText = qt(text), boxCaption = qt(caption);
    const auto answer = ask<BoxAnswer>(
        [this, boxText, buttons, icon, boxCaption] {
          return client_.boxes_.Message(boxText, buttons, icon, boxCaption);
        },
        buttons == BoxButtons::Ok ? BoxAnswer::Ok
                                  : (buttons == BoxButtons::YesNo ? BoxAnswer::No : BoxAnswer::Cancel));
    return answer;
  }

  std::optional<std::string> InputBox(std::string_view prompt, std::string_view caption,
                                      std::string_view defaultText) override {
    const QString p = qt(prompt), c = qt(caption), d = qt(defaultText);
    const auto answer = ask<std::optional<QString>>(
        [this, p, c, d] { return client_.boxes_.Input(p, c, d); }, std::nullopt);
    if (!answer) return std::nullopt;
    return answer->toStdString();
  }

  void ShowMessageWindow(std::string_view text) override {
    client_.deliver([client = &client_, t = qt(text)] { emit client->messageWindow(t); });
  }

  void SetBusy(bool busy) override {
    client_.deliver([busy] {
      if (busy) QApplication::setOverrideCursor(Qt::WaitCursor);
      else if (QApplication::overrideCursor()) QApplication::restoreOverrideCursor();
    });
  }

  void ShowProgress(const Progress& progress) override {
    client_.deliver([client = &client_, op = qt(progress.operation), done = progress.done,
                     total = progress.total] { emit client->progress(op, done, total); });
  }

  // The session keeps its own clipboard; the window mirrors it to the system's.
  void SetClipboardText(std::string_view text) override {
    client_.deliver([t = qt(text)] { QGuiApplication::clipboard()->setText(t); });
  }
  std::string ClipboardText() override {
    const auto text = ask<QString>([] { return QGuiApplication::clipboard()->text(); }, QString());
    return text.toStdString();
  }

 private:
  // Runs question on the window's thread and waits for its answer.
  template <typename Answer, typename Question>
  Answer ask(Question question, Answer whenClosing) {
    if (closing_) return whenClosing;
    auto promise = std::make_shared<std::promise<Answer>>();
    auto answer = promise->get_future();
    client_.deliver([promise, question] { promise->set_value(question()); });
    while (answer.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
      if (closing_) return whenClosing;
    }
    return answer.get();
  }

  SessionClient& client_;
  Session* session_ = nullptr;
  std::atomic<bool> closing_{false};
};

SessionClient::SessionClient(std::filesystem::path programFolder, PortFactory externalPorts,
                             QWidget* boxParent, QObject* parent)
    : QObject(parent),
      programFolder_(programFolder),
      boxes_(boxParent),
      bridge_(std::make_unique<Bridge>(*this)) {
  qRegisterMetaType<velmora::Change>();
  runner_ = std::make_unique<Runner>([this, folder = std::move(programFolder),
                                      ports = std::move(externalPorts)]() {
    auto session = std::make_unique<Session>(*bridge_, folder, ports);
    image_ = &session->image;
    bridge_->Attach(*session);
    session->log.SetLineObserver([this](const std::string& line) {
      deliver([this, l = QString::fromStdString(line)] { emit lineClosed(l); });
    });
    session->log.SetOpenLineObserver([this](const std::string& line) {
      deliver([this, l = QString::fromStdString(line)] { emit openLineChanged(l); });
    });
    publishSnapshot(*session);
    return session;
  });
  runner_->SetBusyObserver([this](bool running) {
    if (running) return;  // start() has told the window already
    // After every operation: the views' copy is brought up to date, and a _quit ends the
    // program (the quit procedure runs here, on the worker, before the window closes).
    runner_->Post([this](Session& session) {
      publishSnapshot(session);
      const bool quit = session.QuitRequested() && !quitDone_.exchange(true);
      if (quit) Quit(session, savePreferences_);
      deliver([this, quit] {
        emit busyChanged(false);
        if (quit) emit quitRequested();
      });
    });
  });
}

SessionClient::~SessionClient() {
  bridge_->Closing();
  runner_.reset();
}

void SessionClient::shutDown(bool savePreferences) {
  bridge_->Closing();
  runner_->RequestAbort();
  runner_->WaitIdle();
  if (quitDone_.exchange(true)) return;
  runner_->Run([savePreferences](Session& session) { Quit(session, savePreferences); });
}

bool SessionClient::start(std::function<void(Session&)> operation) {
  if (!runner_->Start(std::move(operation))) return false;
  emit busyChanged(true);
  return true;
}

void SessionClient::post(std::function<void(Session&)> housekeeping) {
  runner_->Post(std::move(housekeeping));
}

bool SessionClient::runAndWait(std::function<void(Session&)> operation) {
  auto finished = std::make_shared<std::atomic<bool>>(false);
  if (!start([operation = std::move(operation), finished](Session& session) {
        operation(session);
        *finished = true;
      })) {
    return false;
  }
  QEventLoop loop;
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
    if (*finished && !busy()) loop.quit();
  });
  poll.start(5);
  loop.exec();
  // Let the queued signals of the operation arrive before the caller looks.
  QApplication::processEvents();
  return true;
}

bool SessionClient::busy() const { return runner_->Busy(); }

void SessionClient::abort() { runner_->RequestAbort(); }

SessionSnapshot SessionClient::snapshot() const {
  std::lock_guard lock(snapshotMutex_);
  return snapshot_;
}

void SessionClient::deliver(std::function<void()> onWindowThread) {
  QMetaObject::invokeMethod(this, std::move(onWindowThread), Qt::QueuedConnection);
}

void SessionClient::publishSnapshot(Session& session) {
  SessionSnapshot copy;
  copy.settings = session.settings;
  copy.selections.reserve(static_cast<size_t>(session.selections.Count()));
  for (int i = 0; i < session.selections.Count(); ++i) copy.selections.push_back(session.selections.At(i));
  copy.monitorArea = session.monitorArea;
  copy.state = session.link().state();
  copy.portOpen = session.port().IsOpen();
  copy.controllerName = session.settings.target.mcType;
  copy.quitRequested = session.QuitRequested();
  for (const std::string& name : session.settings.frontend.display) {
    const int index = session.registers.FindRegister(name);
    if (index < 0) continue;
    const RegisterDefinition& reg = session.registers.At(index);
    copy.shownRegisters.push_back({reg.name, index, reg.address});
  }
  copy.debugPosition = session.debugger().currentPosition;
  const bool settled =
      copy.state == TargetState::Ready || copy.state == TargetState::NotConnected;
  if (settled) {
    for (const Breakpoint& breakpoint : session.debugger().Breakpoints())
      copy.breakpoints.push_back(breakpoint.address);
  }
  std::lock_guard lock(snapshotMutex_);
  if (!settled) copy.breakpoints = snapshot_.breakpoints;
  snapshot_ = std::move(copy);
}

void SessionClient::publishSnapshotFor(Session& session, const Change& change) {
  // A transfer reports every block: only what the memory view needs is copied then.
  if (change.target != RefreshTarget::MemoryView) return publishSnapshot(session);
  std::vector<Selection> selections;
  selections.reserve(static_cast<size_t>(session.selections.Count()));
  for (int i = 0; i < session.selections.Count(); ++i) selections.push_back(session.selections.At(i));
  std::lock_guard lock(snapshotMutex_);
  snapshot_.selections = std::move(selections);
  snapshot_.monitorArea = session.monitorArea;
}

}  // namespace velmora::ui
