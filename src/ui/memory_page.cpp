#include "ui/memory_page.h"

#include <algorithm>

#include "core/hex_text.h"
#include "core/memory_image.h"
#include "ui/preference_colour.h"

namespace velmora::ui {

namespace {

constexpr int32_t kPageBytes = MemoryPage::kCells;

// The 256 two-digit texts, made once: a page refers to them instead of formatting anew.
const QString& hexPair(uint8_t value) {
  static const std::array<QString, 256> pairs = [] {
    std::array<QString, 256> made;
    for (int i = 0; i < 256; ++i) made[static_cast<size_t>(i)] = QString::asprintf("%02X", i);
    return made;
  }();
  return pairs[value];
}

QString sixDigits(int32_t value) {
  return QString::asprintf("%06X", static_cast<unsigned>(value));
}

// C0 controls and, in Latin-1, DEL and the C1 controls paint nothing useful.
QChar asciiOf(uint8_t value) {
  if (value < 0x20 || (value >= 0x7F && value < 0xA0)) return QLatin1Char('.');
  return QChar(value);
}

// Marks the cells of the page that lie in start..end.
void markRange(std::array<bool, kPageBytes>& marked, int32_t first, int32_t start, int32_t end) {
  const int32_t from = std::max(start, first) - first;
  const int32_t to = std::min(end, first + kPageBytes - 1) - first;
  for (int32_t i = from; i <= to; ++i) marked[static_cast<size_t>(i)] = true;
}

}  // namespace

void ReadMemoryPage(const MemoryImage& image, int32_t topLine, const SessionSnapshot& snapshot,
                    bool withoutSnapshotSelections, std::optional<Selection> pending,
                    MemoryPage& page) {
  const int32_t first = topLine * 16;
  // Only the part inside the address space is read: the image counts reads beyond it as
  // a caller's mistake.
  const int32_t shown = std::clamp<int32_t>(kHighestAddress + 1 - first, 0, kPageBytes);
  std::array<uint8_t, kPageBytes> bytes{};
  std::array<uint8_t, kPageBytes> flags{};
  const auto count = static_cast<size_t>(shown);
  image.ReadBytes(first, std::span<uint8_t>(bytes.data(), count));
  image.ReadFlags(first, std::span<uint8_t>(flags.data(), count));

  std::array<bool, kPageBytes> marked{};
  if (!withoutSnapshotSelections) {
    for (const Selection& s : snapshot.selections) markRange(marked, first, s.start, s.end);
  }
  if (pending) markRange(marked, first, pending->start, pending->end);

  const FrontendSettings& colours = snapshot.settings.frontend;
  const QColor bgNormal = PreferenceColour(colours.colorBgNormal);
  const QColor bgMarked = PreferenceColour(colours.colorBgMarked);
  const QColor fgValid = PreferenceColour(colours.colorFgValid);
  const QColor fgInvalid = PreferenceColour(colours.colorFgInvalid);
  const QColor fgMonitor = PreferenceColour(colours.colorFgMonitor);
  const QString blank = QString::fromStdString(colours.blankChar);
  const MonitorArea monitor = snapshot.monitorArea;

  for (int i = 0; i < kPageBytes; ++i) {
    const auto at = static_cast<size_t>(i);
    const int32_t address = first + i;
    page.background[at] = marked[at] ? bgMarked : bgNormal;
    if (i >= shown) {
      page.text[at].clear();
      page.foreground[at] = fgValid;
      continue;
    }
    page.text[at] = (flags[at] & kDefined) != 0 ? hexPair(bytes[at]) : blank;
    if (address >= monitor.start && address <= monitor.end) {
      page.foreground[at] = fgMonitor;
    } else {
      page.foreground[at] = (flags[at] & kValid) != 0 ? fgValid : fgInvalid;
    }
  }

  for (int line = 0; line < MemoryPage::kLines; ++line) {
    const auto at = static_cast<size_t>(line);
    const int start = line * MemoryPage::kColumns;
    if (start >= shown) {
      page.lineLabels[at].clear();
      page.asciiLabels[at].clear();
      continue;
    }
    page.lineLabels[at] = sixDigits(first + start);
    QString& ascii = page.asciiLabels[at];
    ascii.resize(MemoryPage::kColumns);
    for (int column = 0; column < MemoryPage::kColumns; ++column) {
      ascii[column] = asciiOf(bytes[static_cast<size_t>(start + column)]);
    }
  }
}

}  // namespace velmora::ui
