// The memory view: one page of the memory image (16 lines of 16 bytes) with its addresses,
// its ASCII text and the controls that page through the 16 MB address space.
//
// It never touches the session. It reads the image (const reads, safe from this thread)
// and the last snapshot, and asks for every change by a signal; the main window turns the
// signal into an operation on the worker, which publishes the change, and the window then
// calls RefreshMemory or setSnapshot.
#pragma once

#include <QColor>
#include <QString>
#include <QWidget>
#include <cstdint>
#include <optional>

#include "core/selection_list.h"
#include "ui/memory_cell_edit.h"
#include "ui/memory_cursor.h"
#include "ui/memory_page.h"
#include "ui/session_snapshot.h"

class QKeyEvent;
class QLineEdit;
class QMouseEvent;
class QPushButton;
class QScrollBar;

namespace velmora {
class MemoryImage;
}

namespace velmora::ui {

class BoxHost;
class MemoryGrid;
class MemoryLabelStrip;

class MemoryView : public QWidget {
  Q_OBJECT
 public:
  MemoryView(const MemoryImage& image, BoxHost& boxes, QWidget* parent = nullptr);

  // Selections, monitor area, colours and the blank character; redraws.
  void setSnapshot(const SessionSnapshot& snapshot);
  // Redraws from the image.
  void RefreshMemory();
  // T := topLine (0..FFFFF), scroll bar, redraw.
  void GotoPage(int32_t topLine);
  int32_t getcursoraddress() const;
  int32_t topLine() const;
  // Off while an operation runs: no edits, no selections, no Delete; paging still works
  // and Esc still asks for the abort.
  void setEditingEnabled(bool on);

  // What a cell (0..255) shows, for tests, printing and selecting the displayed page.
  QString cellText(int cell) const;
  QColor cellForeground(int cell) const;
  QColor cellBackground(int cell) const;
  // The line's address (6 hex digits) and its ASCII text, line 0..15.
  QString lineLabel(int line) const;
  QString asciiLabel(int line) const;

 signals:
  // value 0..FF, or -1: the byte becomes undefined.
  void byteEdited(int32_t address, int value);
  // start <= end; addToExisting: keep the selections there are (Ctrl was held).
  void selectionMade(int32_t start, int32_t end, bool addToExisting);
  void selectionsCleared();
  // Clear the selected bytes.
  void deleteRequested();
  // Esc.
  void abortRequested();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void buildControls();
  // Moves the cursor cell's edit back to what the page shows there.
  void resetCellEdit();
  void showCursor();
  void updateScrollBar();
  void updatePageBox();
  void pageChanged();

  void scrollBarMoved(int value);
  void pageBoxEntered();

  // Input (memory_view_input.cpp).
  bool keyPressed(QKeyEvent* event);
  bool keyReleased(QKeyEvent* event);
  void navigate(int key, bool modifierHeld);
  void typeIntoCell(QKeyEvent* event);
  void checkCellEdit();
  bool isEditKey(const QKeyEvent* event) const;
  void startSelection(int32_t address, bool adding);
  void extendSelection(int32_t address);
  void finishSelection(bool addToExisting);
  void cancelSelection();
  void clearSelections();
  void mousePressed(QMouseEvent* event);
  void mouseMoved(QMouseEvent* event);
  void mouseReleased(QMouseEvent* event);

  const MemoryImage& image_;
  BoxHost& boxes_;
  SessionSnapshot snapshot_;
  MemoryPage page_;
  MemoryCursor cursor_;
  MemoryCellEdit cellEdit_;

  bool editingEnabled_ = true;
  bool shiftSelecting_ = false;
  bool ctrlHeld_ = false;
  bool mouseSelecting_ = false;
  // Set just before the program moves the scroll bar, so that its own change does nothing.
  bool ignoreScrollChange_ = false;
  // A page box entry is being checked (its box may take the focus and end the edit again).
  bool checkingPageBox_ = false;
  // The selections were cleared by a signal the session has not answered yet: the old
  // snapshot's marks are not shown meanwhile.
  bool snapshotSelectionsCleared_ = false;
  // The range being dragged out, shown until the snapshot that holds it arrives.
  int32_t selectionAnchor_ = 0;
  bool selectionAdds_ = false;
  std::optional<Selection> pendingSelection_;
  bool pendingUntilSnapshot_ = false;

  MemoryGrid* grid_ = nullptr;
  MemoryLabelStrip* lineLabels_ = nullptr;
  MemoryLabelStrip* asciiLabels_ = nullptr;
  MemoryLabelStrip* columnLabels_ = nullptr;
  QLineEdit* pageBox_ = nullptr;
  QScrollBar* scrollBar_ = nullptr;
  QPushButton* segmentUp_ = nullptr;
  QPushButton* segmentDown_ = nullptr;
};

}  // namespace velmora::ui
