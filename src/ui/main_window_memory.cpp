// The memory view inside the main window: its requests become operations on the session,
// and the changes the session publishes redraw it.
#include "core/frontend.h"
#include "session/session.h"
#include "ui/main_window.h"
#include "ui/memory_view.h"
#include "ui/session_client.h"

namespace velmora::ui {

QWidget* MainWindow::createMemoryView() {
  memoryView_ = new MemoryView(client_.image(), client_.boxes());
  return memoryView_;
}

void MainWindow::wireMemoryView() {
  connect(memoryView_, &MemoryView::byteEdited, this, [this](int32_t address, int value) {
    startOperation([address, value](Session& s) {
      if (value < 0) {
        s.image.SetDefined(address, false);
        s.image.SetValid(address, false);
      } else {
        // A byte typed in holds a value the target has not seen yet.
        s.image.SetByte(address, static_cast<uint8_t>(value));
        s.image.SetDefined(address, true);
        s.image.SetValid(address, false);
      }
      s.frontend().RequestRefresh(Change::Memory(address, address));
    });
  });
  connect(memoryView_, &MemoryView::selectionMade, this,
          [this](int32_t start, int32_t end, bool addToExisting) {
            startOperation([start, end, addToExisting](Session& s) {
              if (!addToExisting) s.selections.ClearSelections();
              if (!s.selections.AddSelection(start, end))
                s.log.WriteLine(std::string(kTooManySelectionsLine));
              s.frontend().RequestRefresh(Change::Memory(-1, -1));
            });
          });
  connect(memoryView_, &MemoryView::selectionsCleared, this, [this] {
    startOperation([](Session& s) {
      s.selections.ClearSelections();
      s.frontend().RequestRefresh(Change::Memory(-1, -1));
    });
  });
  connect(memoryView_, &MemoryView::deleteRequested, this, [this] { runCommand("_clearmemory"); });
  connect(memoryView_, &MemoryView::abortRequested, this, [this] { client_.abort(); });
}

void MainWindow::showMemory() {
  // The snapshot carries the selections and the monitor area; setting it redraws the page.
  memoryView_->setSnapshot(client_.snapshot());
}

void MainWindow::setMemoryEditing(bool on) {
  memoryView_->setEditingEnabled(on);
}

int32_t MainWindow::memoryTopLine() const {
  return memoryView_->topLine();
}

int32_t MainWindow::memoryCursor() const {
  return memoryView_->getcursoraddress();
}

}  // namespace velmora::ui
