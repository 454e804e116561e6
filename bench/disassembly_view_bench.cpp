// How fast the disassembly window shows a 64 KB listing, on the offscreen platform.
//
//   disassembly_view_bench [--home DIR] [--rounds N]
//
// A session on its worker thread holds 64 KB of code at 010000 (a short routine repeated,
// decoding without an illegal line) selected as one range. Each round opens a new window
// and times its first paint: the listing filled on the worker, handed to the model, and the
// window shown and painted into an image. Then the listing is paged through, a scroll bar
// page step and a paint of the instruction list each, and the time a page is printed. The
// aim is a first paint under 100 ms.
//
// Prints the figures and never fails.
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QPainter>
#include <QScrollBar>
#include <QTableView>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "session/session.h"
#include "session/startup.h"
#include "ui/disassembly_window.h"
#include "ui/session_client.h"

namespace {

using velmora::ui::DisassemblyWindow;

constexpr int32_t kStart = 0x010000;
constexpr int32_t kSize = 0x10000;

// A loop with a conditional jump, a call, a bit test, an EXTP sequence and a return.
const std::vector<uint8_t> kRoutine = {
    0xE6, 0xF4, 0x00, 0xC0, 0xE0, 0x85, 0xE6, 0xF6, 0x00, 0x00, 0xD7, 0x40, 0x05, 0x00,
    0xF2, 0xF7, 0x00, 0x40, 0xA8, 0x24, 0x00, 0x62, 0x08, 0x42, 0x28, 0x51, 0x3D, 0xFB,
    0x9A, 0x88, 0x02, 0xB0, 0xCA, 0x00, 0x30, 0x04, 0xF6, 0xF6, 0x00, 0xFA, 0xBF, 0x88,
    0xCB, 0x00, 0x0E, 0x04, 0xDC, 0x46, 0xF7, 0xF8, 0x00, 0x00, 0xCB, 0x00};

std::vector<uint8_t> code() {
  std::vector<uint8_t> bytes;
  while (bytes.size() + kRoutine.size() <= static_cast<size_t>(kSize))
    bytes.insert(bytes.end(), kRoutine.begin(), kRoutine.end());
  while (bytes.size() < static_cast<size_t>(kSize)) {  // NOPs up to the end
    bytes.push_back(0xCC);
    bytes.push_back(0x00);
  }
  return bytes;
}

void paint(QWidget& widget, QImage& canvas) {
  QPainter painter(&canvas);
  widget.render(&painter);
}

// From fill() to the painted window, in milliseconds.
double firstPaint(velmora::ui::SessionClient& client, int& rows) {
  DisassemblyWindow window(client);
  window.resize(1000, 700);
  QImage canvas(window.size(), QImage::Format_ARGB32_Premultiplied);
  QEventLoop wait;
  QObject::connect(&window, &DisassemblyWindow::filled, &wait, &QEventLoop::quit);
  QElapsedTimer timer;
  timer.start();
  window.show();
  window.fill();
  wait.exec();
  paint(window, canvas);
  const double ms = static_cast<double>(timer.nsecsElapsed()) / 1e6;
  rows = window.model().rowCount();
  window.hide();
  return ms;
}

// Page steps through the listing, each painted; milliseconds a page.
double pageThrough(velmora::ui::SessionClient& client, int& pages) {
  DisassemblyWindow window(client);
  window.resize(1000, 700);
  QEventLoop wait;
  QObject::connect(&window, &DisassemblyWindow::filled, &wait, &QEventLoop::quit);
  window.show();
  window.fill();
  wait.exec();
  QTableView& view = window.instructionView();
  QImage canvas(view.size(), QImage::Format_ARGB32_Premultiplied);
  QScrollBar* bar = view.verticalScrollBar();
  bar->setValue(0);
  pages = 0;
  QElapsedTimer timer;
  timer.start();
  while (bar->value() < bar->maximum() && pages < 2000) {
    bar->setValue(bar->value() + bar->pageStep());
    paint(view, canvas);
    ++pages;
  }
  return static_cast<double>(timer.nsecsElapsed()) / 1e6 / std::max(pages, 1);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  std::string homeOption;
  int rounds = 5;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) {
      homeOption = argv[++i];
    } else if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    }
  }
  QApplication application(argc, argv);
  const auto home = velmora::bench::ProgramFolder(homeOption, argv[0]);
  velmora::ui::SessionClient client(home, {});
  client.boxes().AnswerAutomatically(true);
  client.runAndWait([](velmora::Session& s) {
    velmora::StartupOptions options;
    options.port = "virtual";
    velmora::Startup(s, options);
    s.image.StoreLoaded(kStart, code());
    s.selections.ClearSelections();
    (void)s.selections.AddSelection(kStart, kStart + kSize - 1);
  });

  double best = 1e9;
  int rows = 0;
  for (int round = 0; round < rounds; ++round) best = std::min(best, firstPaint(client, rows));
  int pages = 0;
  const double page = pageThrough(client, pages);
  std::printf("disassembly_view_bench: 64 KB at %06X, %d rows, best of %d rounds\n",
              static_cast<unsigned>(kStart), rows, rounds);
  std::printf("  first paint (fill, model, window shown and painted) %8.2f ms  (aim: < 100 ms)\n",
              best);
  std::printf("  scroll a page and paint the list                    %8.3f ms  (%d pages)\n", page,
              pages);
  return 0;
}
