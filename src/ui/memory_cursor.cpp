#include "ui/memory_cursor.h"

#include <algorithm>

namespace velmora::ui {

void MemoryCursor::setTopLine(int32_t topLine) {
  topLine_ = std::clamp<int32_t>(topLine, 0, kHighestTopLine);
}

void MemoryCursor::setScrollValue(int value) {
  setTopLine(segment() + std::clamp(value, 0, kSegmentLines - 1));
}

void MemoryCursor::segmentUp() {
  if (topLine_ < kHighestTopLine + 1 - kSegmentLines) topLine_ += kSegmentLines;
}

void MemoryCursor::segmentDown() {
  if (topLine_ >= kSegmentLines) topLine_ -= kSegmentLines;
}

void MemoryCursor::pageUp() {
  if (topLine_ >= kLines) topLine_ -= kLines;
}

void MemoryCursor::pageDown() {
  if (topLine_ + kLines <= kHighestKeyboardTopLine) topLine_ += kLines;
}

void MemoryCursor::up() {
  if (line_ > 0) {
    --line_;
  } else if (topLine_ > 0) {
    --topLine_;
  }
}

void MemoryCursor::down() {
  if (line_ < kLines - 1) {
    ++line_;
  } else if (topLine_ + 1 <= kHighestKeyboardTopLine) {
    ++topLine_;
  }
}

void MemoryCursor::left() {
  if (column_ > 0) {
    --column_;
  } else if (line_ > 0) {
    --line_;
    column_ = kColumns - 1;
  }
}

void MemoryCursor::right() {
  if (column_ < kColumns - 1) {
    ++column_;
  } else if (line_ < kLines - 1) {
    ++line_;
    column_ = 0;
  }
}

bool MemoryCursor::advance() {
  if (column_ < kColumns - 1) {
    ++column_;
    return true;
  }
  if (line_ < kLines - 1) {
    ++line_;
  } else if (topLine_ + 1 <= kHighestKeyboardTopLine) {
    ++topLine_;
  } else {
    return false;
  }
  column_ = 0;
  return true;
}

void MemoryCursor::placeAt(int line, int column) {
  line_ = std::clamp(line, 0, kLines - 1);
  column_ = std::clamp(column, 0, kColumns - 1);
}

}  // namespace velmora::ui
