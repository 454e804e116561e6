#include "ui/memory_cell_edit.h"

namespace velmora::ui {

void MemoryCellEdit::arrive(const QString& text) {
  text_ = text;
  allSelected_ = true;
  typed_ = false;
  unchecked_ = false;
}

bool MemoryCellEdit::type(QChar ch) {
  if (allSelected()) {
    text_.clear();
  } else if (full()) {
    return false;
  }
  text_.append(ch);
  allSelected_ = false;
  typed_ = true;
  unchecked_ = true;
  return true;
}

void MemoryCellEdit::backspace() {
  if (allSelected()) {
    text_.clear();
  } else if (!text_.isEmpty()) {
    text_.chop(1);
  }
  allSelected_ = false;
  typed_ = true;
}

}  // namespace velmora::ui
