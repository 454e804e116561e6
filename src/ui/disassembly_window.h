// The "Disassemble / Debug" window: the listing of the selected code with a breakpoint
// column beside it, Go and Step, the target's state and its general registers. It holds no
// stepping logic: every click becomes an operation of the session's debugger on the
// worker, and the window redraws from what the session reports (a stop arrives as a
// change while the worker serves the line, so the window stays alive while the target
// runs).
//
// The two lists are two views over one model that share their rows' selection and their
// vertical scrolling: IBreakpoints shows only the mark column, IDisassemble the address,
// bytes and instruction columns.
#pragma once

#include <QDialog>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

#include "ui/disassembly_model.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;

namespace velmora {
struct Change;
}  // namespace velmora

namespace velmora::ui {

class GeneralRegisterPanel;
class SessionClient;
struct DebugReading;

class DisassemblyWindow : public QDialog {
  Q_OBJECT
 public:
  explicit DisassemblyWindow(SessionClient& client, QWidget* parent = nullptr);
  ~DisassemblyWindow() override;

  // Lists the selections on the worker and reads the registers. While breakpoints are
  // planted the listing stays as it is: it would show their calls instead of the code.
  void fill();

  DisassemblyModel& model() { return model_; }
  GeneralRegisterPanel& registerPanel() { return *registers_; }
  QTableView& instructionView() { return *instructions_; }
  QTableView& breakpointView() { return *breakpoints_; }
  // The last line the window shows about a refused click or edit (empty when none).
  QString messageText() const;

 signals:
  // The listing arrived from the worker.
  void filled();
  // The registers were read (after opening, a stop or an edit).
  void registersShown();

 public slots:
  // Closing (the window's close button, Esc) removes every breakpoint on the worker.
  void reject() override;

 private:
  QTableView* makeView(const char* name);
  void onChanged(const Change& change);
  void refreshControls();
  void showPosition(int32_t position);
  void showRow(int row);
  void toggleAt(int row);
  void run(bool step);
  void readRegisters();
  void writeRegister(int index, uint16_t value);
  void showRegisters(const DebugReading& reading, bool highlightChanges);
  void showMessage(const QString& line);

  SessionClient& client_;
  DisassemblyModel model_;
  QTableView* breakpoints_ = nullptr;
  QTableView* instructions_ = nullptr;
  GeneralRegisterPanel* registers_ = nullptr;
  QPushButton* go_ = nullptr;
  QPushButton* step_ = nullptr;
  QLineEdit* state_ = nullptr;
  QLabel* message_ = nullptr;
  bool fillPending_ = false;
};

}  // namespace velmora::ui
