// The memory view's keys and mouse: moving the cursor, typing into a cell, and dragging
// out selections. Every change to the session leaves as a signal.
#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>

#include "core/hex_text.h"
#include "core/memory_image.h"
#include "ui/box_host.h"
#include "ui/memory_grid.h"
#include "ui/memory_view.h"

namespace velmora::ui {

namespace {

bool isNavigationKey(int key) {
  switch (key) {
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right:
      return true;
    default:
      return false;
  }
}

bool ctrlIn(const QInputEvent* event) {
  return (event->modifiers() & Qt::ControlModifier) != 0;
}

}  // namespace

bool MemoryView::eventFilter(QObject* watched, QEvent* event) {
  if (watched != grid_) return QWidget::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::ShortcutOverride: {
      // The window's shortcuts must not take the keys that edit and move in the grid.
      auto* key = static_cast<QKeyEvent*>(event);
      if (isEditKey(key) || isNavigationKey(key->key()) || key->key() == Qt::Key_Delete ||
          key->key() == Qt::Key_Escape || key->key() == Qt::Key_Backspace) {
        event->accept();
        return true;
      }
      return false;
    }
    case QEvent::KeyPress:
      return keyPressed(static_cast<QKeyEvent*>(event));
    case QEvent::KeyRelease:
      return keyReleased(static_cast<QKeyEvent*>(event));
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
      mousePressed(static_cast<QMouseEvent*>(event));
      return true;
    case QEvent::MouseMove:
      mouseMoved(static_cast<QMouseEvent*>(event));
      return true;
    case QEvent::MouseButtonRelease:
      mouseReleased(static_cast<QMouseEvent*>(event));
      return true;
    case QEvent::FocusOut:
      // The releases of Shift and Ctrl go elsewhere now: end the selection here.
      if (shiftSelecting_) {
        shiftSelecting_ = false;
        finishSelection(ctrlHeld_);
      }
      ctrlHeld_ = false;
      return false;
    default:
      return false;
  }
}

bool MemoryView::isEditKey(const QKeyEvent* event) const {
  if ((event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0) {
    return false;
  }
  const int key = event->key();
  if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_F) ||
      key == Qt::Key_Period) {
    return true;
  }
  // The blank character may be set to something else; typing it undefines a byte too.
  const QString blank = QString::fromStdString(snapshot_.settings.frontend.blankChar);
  return !event->text().isEmpty() && event->text() == blank;
}

bool MemoryView::keyPressed(QKeyEvent* event) {
  const int key = event->key();
  if (key == Qt::Key_Control) {
    ctrlHeld_ = true;
    return true;
  }
  if (key == Qt::Key_Shift) {
    if (!event->isAutoRepeat() && !shiftSelecting_ && editingEnabled_) {
      const bool adding = ctrlHeld_ || ctrlIn(event);
      if (!adding) clearSelections();
      shiftSelecting_ = true;
      startSelection(cursor_.address(), adding);
      RefreshMemory();
    }
    return true;
  }
  if (key == Qt::Key_Escape) {
    emit abortRequested();
    return true;
  }
  if (key == Qt::Key_Delete) {
    if (editingEnabled_) emit deleteRequested();
    return true;
  }
  if (isNavigationKey(key)) {
    navigate(key, (event->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier)) != 0);
    return true;
  }
  if (key == Qt::Key_Backspace) {
    if (editingEnabled_) {
      cellEdit_.backspace();
      showCursor();
    }
    return true;
  }
  if (isEditKey(event)) {
    typeIntoCell(event);
    return true;
  }
  return false;
}

bool MemoryView::keyReleased(QKeyEvent* event) {
  const int key = event->key();
  if (key == Qt::Key_Control) {
    ctrlHeld_ = false;
    return true;
  }
  if (key == Qt::Key_Shift) {
    if (shiftSelecting_ && !event->isAutoRepeat()) {
      shiftSelecting_ = false;
      finishSelection(ctrlHeld_ || ctrlIn(event));
    }
    return true;
  }
  if (isEditKey(event)) {
    checkCellEdit();
    return true;
  }
  return false;
}

void MemoryView::navigate(int key, bool modifierHeld) {
  if (editingEnabled_ && !(shiftSelecting_ || ctrlHeld_ || modifierHeld)) clearSelections();
  switch (key) {
    case Qt::Key_PageUp:
      cursor_.pageUp();
      break;
    case Qt::Key_PageDown:
      cursor_.pageDown();
      break;
    case Qt::Key_Up:
      cursor_.up();
      break;
    case Qt::Key_Down:
      cursor_.down();
      break;
    case Qt::Key_Left:
      cursor_.left();
      break;
    case Qt::Key_Right:
      cursor_.right();
      break;
    default:
      break;
  }
  if (shiftSelecting_) extendSelection(cursor_.address());
  pageChanged();
}

void MemoryView::typeIntoCell(QKeyEvent* event) {
  if (!editingEnabled_ || !MemoryImage::InRange(cursor_.address())) return;
  QChar ch = event->text().isEmpty() ? QChar(event->key()) : event->text().front();
  // Hex letters are shown as the page shows them; other characters (the blank) as typed.
  if (ch >= QLatin1Char('a') && ch <= QLatin1Char('f')) ch = ch.toUpper();
  if (cellEdit_.type(ch)) showCursor();
}

void MemoryView::checkCellEdit() {
  if (!editingEnabled_ || !cellEdit_.needsCheck()) return;
  cellEdit_.markChecked();
  const int32_t address = cursor_.address();
  if (image_.IsProtected(address)) {
    boxes_.Message(QStringLiteral("This area is write-protected !"), BoxButtons::Ok,
                   BoxIcon::Exclamation);
    resetCellEdit();
    RefreshMemory();
    return;
  }
  const QString& text = cellEdit_.text();
  if (text == QString::fromStdString(snapshot_.settings.frontend.blankChar)) {
    emit byteEdited(address, -1);
  } else {
    const int32_t value = HexVal(text.toStdString());
    if (value < 0 || value > 0xFF) {
      boxes_.Message(QStringLiteral("No 2-digit hexadecimal number !"), BoxButtons::Ok,
                     BoxIcon::Exclamation);
      resetCellEdit();
      RefreshMemory();
      return;
    }
    emit byteEdited(address, value);
  }
  if (cellEdit_.full()) {
    cursor_.advance();
    pageChanged();
  }
}

void MemoryView::clearSelections() {
  snapshotSelectionsCleared_ = true;
  emit selectionsCleared();
}

void MemoryView::startSelection(int32_t address, bool adding) {
  selectionAnchor_ = address;
  selectionAdds_ = adding;
  pendingSelection_ = Selection{address, address};
  pendingUntilSnapshot_ = false;
}

void MemoryView::extendSelection(int32_t address) {
  pendingSelection_ =
      Selection{std::min(selectionAnchor_, address), std::max(selectionAnchor_, address)};
}

void MemoryView::finishSelection(bool addToExisting) {
  if (!pendingSelection_) return;
  const Selection made = *pendingSelection_;
  if (made.start > kHighestAddress) {
    pendingSelection_.reset();
    RefreshMemory();
    return;
  }
  // Shown until the snapshot that holds it arrives.
  pendingUntilSnapshot_ = true;
  // A selection begun with Ctrl left the others standing, so it adds to them even when Ctrl
  // went up first.
  emit selectionMade(made.start, std::min(made.end, kHighestAddress),
                     addToExisting || selectionAdds_);
  RefreshMemory();
}

void MemoryView::cancelSelection() {
  shiftSelecting_ = false;
  mouseSelecting_ = false;
  pendingSelection_.reset();
  pendingUntilSnapshot_ = false;
}

void MemoryView::mousePressed(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const int cell = grid_->cellAt(event->position().toPoint(), false);
  if (cell < 0) return;
  grid_->setFocus(Qt::MouseFocusReason);
  const bool adding = ctrlHeld_ || ctrlIn(event);
  cursor_.placeAt(cell / MemoryCursor::kColumns, cell % MemoryCursor::kColumns);
  if (editingEnabled_) {
    if (!adding) clearSelections();
    mouseSelecting_ = true;
    startSelection(cursor_.address(), adding);
  }
  pageChanged();
}

void MemoryView::mouseMoved(QMouseEvent* event) {
  if (!mouseSelecting_) return;
  const int cell = grid_->cellAt(event->position().toPoint(), true);
  extendSelection(cursor_.addressOf(cell / MemoryCursor::kColumns, cell % MemoryCursor::kColumns));
  RefreshMemory();
}

void MemoryView::mouseReleased(QMouseEvent* event) {
  if (!mouseSelecting_ || event->button() != Qt::LeftButton) return;
  mouseSelecting_ = false;
  const int cell = grid_->cellAt(event->position().toPoint(), true);
  extendSelection(cursor_.addressOf(cell / MemoryCursor::kColumns, cell % MemoryCursor::kColumns));
  finishSelection(ctrlHeld_ || ctrlIn(event));
}

}  // namespace velmora::ui
