// What one page of the memory view shows: 16 lines of 16 bytes from a top line on, with
// each cell's text and colours and each line's address and ASCII labels. Filled from the
// image in two bulk reads; the view paints it and tests and printing read it.
#pragma once

#include <QColor>
#include <QString>
#include <array>
#include <cstdint>
#include <optional>

#include "core/selection_list.h"
#include "ui/session_snapshot.h"

namespace velmora {
class MemoryImage;
}

namespace velmora::ui {

struct MemoryPage {
  static constexpr int kLines = 16;
  static constexpr int kColumns = 16;
  static constexpr int kCells = kLines * kColumns;

  std::array<QString, kCells> text;
  std::array<QColor, kCells> foreground;
  std::array<QColor, kCells> background;
  std::array<QString, kLines> lineLabels;
  std::array<QString, kLines> asciiLabels;
};

// Fills page for the page starting at line topLine. Selections are the snapshot's (unless
// withoutSnapshotSelections) plus pending, the range being dragged out. Lines past the
// address space show empty cells and labels.
void ReadMemoryPage(const MemoryImage& image, int32_t topLine, const SessionSnapshot& snapshot,
                    bool withoutSnapshotSelections, std::optional<Selection> pending,
                    MemoryPage& page);

}  // namespace velmora::ui
