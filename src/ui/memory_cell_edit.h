// The cursor cell of the memory view behaves like a two-character text box: when the
// cursor arrives its text is selected, so the first key typed replaces it, and a full box
// takes no more characters.
#pragma once

#include <QChar>
#include <QString>

namespace velmora::ui {

class MemoryCellEdit {
 public:
  static constexpr int kMaxLength = 2;

  // The cursor arrived on a cell that shows text: all of it selected, nothing typed.
  void arrive(const QString& text);
  // Inserts a typed character in place of the selection, or at the end; false when the
  // box is full and nothing is selected.
  bool type(QChar ch);
  // Removes the selection, or else the last character.
  void backspace();

  const QString& text() const { return text_; }
  bool allSelected() const { return allSelected_ && !text_.isEmpty(); }
  bool full() const { return text_.size() >= kMaxLength; }
  // The user changed the text since the cursor arrived: the cell shows the typing, not
  // the image.
  bool typed() const { return typed_; }
  // A character was typed since the last check of the text.
  bool needsCheck() const { return unchecked_; }
  void markChecked() { unchecked_ = false; }

 private:
  QString text_;
  bool allSelected_ = true;
  bool typed_ = false;
  bool unchecked_ = false;
};

}  // namespace velmora::ui
