#include "app/screenshot_tour.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>
#include <QWidget>
#include <cstdio>

#include "session/session.h"
#include "ui/about_box.h"
#include "ui/main_window.h"
#include "ui/memory_view.h"
#include "ui/print_dialog.h"
#include "ui/session_client.h"
#include "ui/splash.h"
#include "ui/terminal_settings_dialog.h"

namespace velmora::app {

void Settle(int milliseconds) {
  QElapsedTimer timer;
  timer.start();
  while (timer.elapsed() < milliseconds) QApplication::processEvents(QEventLoop::AllEvents, 10);
}

bool SaveShot(ShotContext& shots, QWidget& widget, const char* name) {
  widget.show();
  widget.raise();
  Settle(300);
  const QString path = QDir(shots.folder).filePath(name);
  const bool saved = widget.grab().save(path, "PNG");
  std::fprintf(saved ? stdout : stderr, "%s %s\n", saved ? "saved" : "could not save",
               path.toLocal8Bit().constData());
  shots.ok = shots.ok && saved;
  return saved;
}

bool RunShotCommand(ShotContext& shots, const char* line) {
  bool done = false;
  shots.client.runAndWait(
      [line, &done](Session& session) { done = session.interpreter().ExecuteCommand(line) == 0; });
  if (!done) std::fprintf(stderr, "failed: %s\n", line);
  shots.ok = shots.ok && done;
  return done;
}

int RunScreenshotTour(ui::MainWindow& window, ui::SessionClient& client, ui::Splash& splash,
                      const std::string& folder) {
  ShotContext shots{window, client, QString::fromStdString(folder)};
  QDir().mkpath(shots.folder);

  // Nobody sits at the virtual board to press its reset button: boxes are answered OK.
  client.boxes().AnswerAutomatically(true);
  window.resize(1180, 820);
  Settle(200);
  // What a user does first: connect, load a file (its ranges become the selection),
  // download it and check it.
  for (const char* line : {"_connect", "_load SCRIPTS\\demo_ram.hex", "_download", "_compare"})
    RunShotCommand(shots, line);
  if (auto* view = window.findChild<ui::MemoryView*>()) view->GotoPage(0xC000 / 16);
  SaveShot(shots, window, "main_window.png");

  splash.setProgress(50);
  SaveShot(shots, splash, "splash.png");
  splash.close();

  ui::TerminalSettingsDialog terminal(client.snapshot().settings.communication.terminalMode, &window);
  SaveShot(shots, terminal, "terminal_settings.png");
  terminal.close();

  ui::PrintDialog print(&window);
  SaveShot(shots, print, "print_dialog.png");
  print.close();

  ui::AboutBox about(&window);
  SaveShot(shots, about, "about.png");
  about.close();

  // Each window of the program adds its pictures here, in its own file.
  ShootDebug(shots);
  ShootConfiguration(shots);
  ShootRegisters(shots);
  ShootFiles(shots);
  return shots.ok ? 0 : 1;
}

}  // namespace velmora::app
