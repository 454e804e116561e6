#include "app/screenshot_tour.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>
#include <QWidget>
#include <cstdio>
#include <filesystem>

#include "session/session.h"
#include "ui/about_box.h"
#include "ui/main_window.h"
#include "ui/memory_view.h"
#include "ui/print_dialog.h"
#include "ui/session_client.h"
#include "ui/splash.h"
#include "ui/terminal_settings_dialog.h"

namespace velmora::app {

namespace {

// Lets the window settle (layouts, the worker's signals) before a picture is taken.
void settle(int milliseconds) {
  QElapsedTimer timer;
  timer.start();
  while (timer.elapsed() < milliseconds) QApplication::processEvents(QEventLoop::AllEvents, 10);
}

bool save(QWidget& widget, const QString& folder, const char* name) {
  widget.show();
  widget.raise();
  settle(300);
  const QString path = QDir(folder).filePath(name);
  const bool saved = widget.grab().save(path, "PNG");
  std::fprintf(saved ? stdout : stderr, "%s %s\n", saved ? "saved" : "could not save",
               path.toLocal8Bit().constData());
  return saved;
}

}  // namespace

int RunScreenshotTour(ui::MainWindow& window, ui::SessionClient& client, ui::Splash& splash,
                      const std::string& folder) {
  const QString target = QString::fromStdString(folder);
  QDir().mkpath(target);
  bool ok = true;

  // Nobody sits at the virtual board to press its reset button: boxes are answered OK.
  client.boxes().AnswerAutomatically(true);
  window.resize(1180, 820);
  settle(200);
  // What a user does first: connect, load a file (its ranges become the selection),
  // download it and check it.
  for (const char* line : {"_connect", "_load SCRIPTS\\demo_ram.hex", "_download", "_compare"}) {
    client.runAndWait([line, &ok](Session& session) {
      ok = session.interpreter().ExecuteCommand(line) == 0 && ok;
    });
  }
  if (auto* view = window.findChild<ui::MemoryView*>()) view->GotoPage(0xC000 / 16);
  ok = save(window, target, "main_window.png") && ok;

  splash.setProgress(50);
  ok = save(splash, target, "splash.png") && ok;
  splash.close();

  ui::TerminalSettingsDialog terminal(client.snapshot().settings.communication.terminalMode, &window);
  ok = save(terminal, target, "terminal_settings.png") && ok;
  terminal.close();

  ui::PrintDialog print(&window);
  ok = save(print, target, "print_dialog.png") && ok;
  print.close();

  ui::AboutBox about(&window);
  ok = save(about, target, "about.png") && ok;
  about.close();
  return ok ? 0 : 1;
}

}  // namespace velmora::app
