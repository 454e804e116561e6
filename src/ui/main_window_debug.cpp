// The disassembly and debug window, opened from the main window on the selected code.
#include "ui/disassembly_window.h"
#include "ui/main_window.h"

namespace velmora::ui {

void MainWindow::openDisassembly() {
  if (!disassembly_) {
    disassembly_ = new DisassemblyWindow(client_, this);
    disassembly_->setAttribute(Qt::WA_DeleteOnClose);
  }
  disassembly_->show();
  disassembly_->raise();
  disassembly_->activateWindow();
  disassembly_->fill();
}

}  // namespace velmora::ui
