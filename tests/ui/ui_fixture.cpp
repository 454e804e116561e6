#include "ui_fixture.h"

#include <QTest>

#include "session/session.h"
#include "session/startup.h"
#include "sim/board.h"

namespace velmora::test {

UiFixture::UiFixture()
    : client_(std::make_unique<ui::SessionClient>(folder_.path(), PortFactory{})) {
  client_->boxes().AnswerAutomatically(true);
  QObject::connect(client_.get(), &ui::SessionClient::lineClosed,
                   [lines = lines_](const QString& line) { lines->append(line); });
  QObject::connect(client_.get(), &ui::SessionClient::busyChanged,
                   [busy = busy_](bool on) { *busy = on; });
  run([](Session& s) {
    StartupOptions options;
    options.port = "virtual";
    Startup(s, options);
  });
}

UiFixture::~UiFixture() {
  waitIdle();
  client_.reset();
}

QStringList UiFixture::linesStartingWith(const QString& prefix) const {
  QStringList found;
  for (const QString& line : *lines_)
    if (line.startsWith(prefix)) found << line;
  return found;
}

void UiFixture::run(std::function<void(Session&)> work) {
  waitIdle();
  client_->runAndWait(std::move(work));
  waitIdle();  // the window hears of the end a little after runAndWait returns
}

bool UiFixture::waitIdle(int timeoutMs) {
  // Lines and changes are delivered through the event loop; let those in flight arrive.
  // The window hears of the end of an operation a little after the worker has finished it.
  const bool idle = QTest::qWaitFor([this] { return !client_->busy() && !*busy_; }, timeoutMs);
  QCoreApplication::processEvents();
  return idle;
}

void UiFixture::openBoardRecording() {
  run([](Session& s) {
    s.link().EnsurePortOpen();
    if (Board* board = s.virtualBoard()) board->RecordReceived(true);
  });
}

std::vector<uint8_t> UiFixture::boardReceived() {
  return query<std::vector<uint8_t>>([](Session& s) {
    Board* board = s.virtualBoard();
    return board ? board->received() : std::vector<uint8_t>{};
  });
}

}  // namespace velmora::test
