// Drawing speed of the memory view on the offscreen platform.
//
//   memory_view_bench [benchmark options]
//
// A 16 MB image with every byte defined (values and flags varying, a few selections and
// the monitor area marked) is paged through page by page: GotoPage and a paint of the whole
// view into a QImage, the work the window does for PageDown or a scroll bar step. The aim is
// under 5 ms a page. A second case times the refresh and repaint that follow a change of
// 64 KB around the page shown (the store itself is not timed: it happens on the worker).
//
// Prints the figures and never fails.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <cstdint>
#include <vector>

#include "core/memory_image.h"
#include "ui/box_host.h"
#include "ui/memory_view.h"
#include "ui/session_snapshot.h"

namespace {

using velmora::MemoryImage;
using velmora::ui::MemoryView;

constexpr int32_t kSegment = MemoryImage::kSegmentSize;
constexpr int32_t kLastTopLine = 0xFFFF0;

void fillImage(MemoryImage& image) {
  std::vector<uint8_t> bytes(static_cast<size_t>(kSegment));
  for (int segment = 0; segment < MemoryImage::kSegmentCount; ++segment) {
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7 + segment);
    image.StoreFromTarget(segment * kSegment, bytes);
    // Every other line of the image was loaded from a file and not yet written.
    for (int32_t line = 0; line < kSegment; line += 32) {
      image.ChangeFlags(segment * kSegment + line, 16, velmora::kValid, false);
    }
  }
}

velmora::ui::SessionSnapshot markedSnapshot() {
  velmora::ui::SessionSnapshot snapshot;
  for (int32_t start = 0; start < 0x1000000; start += 0x40000) {
    snapshot.selections.push_back({start + 0x20, start + 0x2FF});
  }
  return snapshot;
}

// GotoPage and the paint that follows, one page further each time.
void scrollPages(benchmark::State& state, MemoryView& view, QImage& canvas) {
  int32_t topLine = 0;
  for (auto _ : state) {
    view.GotoPage(topLine);
    QPainter painter(&canvas);
    view.render(&painter);
    topLine = topLine + 16 > kLastTopLine ? 0 : topLine + 16;
  }
  // The time column is the time a page.
  state.SetLabel("a page; aim: under 5 ms");
}

// A 64 KB change around the page shown, then RefreshMemory and the paint.
void repaintAfterChange(benchmark::State& state, MemoryImage& image, MemoryView& view,
                        QImage& canvas) {
  std::vector<uint8_t> bytes(static_cast<size_t>(kSegment));
  view.GotoPage(0x23000);
  uint8_t round = 0;
  for (auto _ : state) {
    state.PauseTiming();
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i + round);
    image.StoreLoaded(0x230000, bytes);
    ++round;
    state.ResumeTiming();
    view.RefreshMemory();
    QPainter painter(&canvas);
    view.render(&painter);
  }
  state.SetLabel("a refresh and paint");
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  MemoryImage image;
  fillImage(image);
  velmora::ui::BoxHost boxes;
  boxes.AnswerAutomatically(true);
  MemoryView view(image, boxes);
  view.setSnapshot(markedSnapshot());
  view.resize(view.sizeHint());
  view.show();
  QImage canvas(view.size(), QImage::Format_ARGB32_Premultiplied);

  benchmark::RegisterBenchmark("MemoryView/PageByPage/16MB",
                               [&](benchmark::State& s) { scrollPages(s, view, canvas); })
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(
      "MemoryView/RepaintAfter64KBChange",
      [&](benchmark::State& s) { repaintAfterChange(s, image, view, canvas); })
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
