// Where the memory view stands: the top line T (a line is 16 bytes, so the page starts at
// T*16) and the cursor cell on the page. Every paging and arrow rule of the view lives here
// so that the widget only maps keys to these moves.
#pragma once

#include <cstdint>

namespace velmora::ui {

class MemoryCursor {
 public:
  static constexpr int kLines = 16;
  static constexpr int kColumns = 16;
  static constexpr int32_t kHighestTopLine = 0xFFFFF;
  // The segment buttons may put T anywhere up to FFFFF (lines past the address space then
  // show nothing). The keyboard stops where the last line of the address space is the
  // page's bottom line: every address can be reached with the keys, and PageDown or Down
  // never scrolls the page into the empty space beyond FFFFFF.
  static constexpr int32_t kHighestKeyboardTopLine = 0xFFFF0;
  static constexpr int32_t kSegmentLines = 0x1000;  // 64 KB

  int32_t topLine() const { return topLine_; }
  int line() const { return line_; }
  int column() const { return column_; }
  int cell() const { return line_ * kColumns + column_; }
  int32_t address() const { return addressOf(line_, column_); }
  int32_t addressOf(int line, int column) const { return (topLine_ + line) * 16 + column; }
  // The first line of the 64 KB segment the page starts in, and T within it (what the
  // scroll bar holds).
  int32_t segment() const { return topLine_ & ~(kSegmentLines - 1); }
  int scrollValue() const { return topLine_ & (kSegmentLines - 1); }

  // Clamped to 0..FFFFF.
  void setTopLine(int32_t topLine);
  void setScrollValue(int value);
  void segmentUp();
  void segmentDown();
  void pageUp();
  void pageDown();
  void up();
  void down();
  // Left and right wrap between lines of the page but never scroll it.
  void left();
  void right();
  // The next cell after an edit: along the line, then to the next line, scrolling at the
  // bottom. False when there is no next cell.
  bool advance();
  // Line and column are clamped to the page.
  void placeAt(int line, int column);

 private:
  int32_t topLine_ = 0;
  int line_ = 0;
  int column_ = 0;
};

}  // namespace velmora::ui
