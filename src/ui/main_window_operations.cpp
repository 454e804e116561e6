// What the main window's buttons and menu entries do. Each one that touches the session
// runs as an operation on the worker; questions the window asks itself (input boxes, file
// dialogs) come first, on the window's thread, so the worker never waits for them.
#include <QPrinter>
#include <memory>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/channel_switch.h"
#include "session/command_input.h"
#include "session/preferences.h"
#include "session/session.h"
#include "ui/about_box.h"
#include "ui/help_window.h"
#include "ui/main_window.h"
#include "ui/print_dialog.h"
#include "ui/print_renderer.h"
#include "ui/session_client.h"
#include "ui/terminal_settings_dialog.h"
#include "ui/user_scripts.h"

namespace velmora::ui {
namespace {

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

void publish(Session& session, RefreshTarget target) {
  session.frontend().RequestRefresh(Change::All(target));
}

}  // namespace

bool MainWindow::startOperation(std::function<void(Session&)> operation) {
  // Refused only when another operation slipped in before the controls were disabled.
  return client_.start(std::move(operation));
}

void MainWindow::runCommand(std::string command) {
  startOperation(
      [command = std::move(command)](Session& s) { s.interpreter().RunCommand(command); });
}

void MainWindow::trigger(const MainAction& action) {
  switch (action.behaviour) {
    case Behaviour::Command:
      return runCommand(std::string(action.command));
    case Behaviour::Load:
      return loadFile();
    case Behaviour::SaveAs:
      return saveAs();
    case Behaviour::LoadPreferences:
      return loadPreferences();
    case Behaviour::SavePreferences:
      return savePreferences();
    case Behaviour::Print:
      return print();
    case Behaviour::Paste:
      return paste();
    case Behaviour::Fill:
      return fill();
    case Behaviour::SelectWindow:
      return selectWindow();
    case Behaviour::ChannelSwitch:
      startOperation([](Session& s) { SwitchToAsc1(s.link()); });
      return;
    case Behaviour::Relocate:
      return relocate();
    case Behaviour::ResetConfig:
      startOperation([](Session& s) { ShowResetConfig(s.link(), s.resetConfig); });
      return;
    case Behaviour::TerminalSettings:
      return terminalSettings();
    case Behaviour::ExecuteScript:
      return executeScript();
    case Behaviour::AssignUserScript:
      return assignUserScript();
    case Behaviour::RemoveUserScript:
      return removeUserScript();
    case Behaviour::HelpContents:
      return showHelp();
    case Behaviour::About:
      return showAbout();
    case Behaviour::Debug:
      return openDisassembly();
    case Behaviour::Configure:
      return configure();
    case Behaviour::SelectRange:
      return selectRange();
    case Behaviour::PortSettings:
      return communicationSettings();
    case Behaviour::NotAvailable:
      return;
  }
}

void MainWindow::enterCommandLine(const QString& text) {
  const std::string line = text.toStdString();
  startOperation([line](Session& s) {
    EnterCommandLine(s, line);
    // A typed command may have run a script.
    if (!line.empty() && line[0] == '_') publish(s, RefreshTarget::RecentScripts);
  });
}

void MainWindow::runFeatureButton(std::string_view feature) {
  if (feature != "PROGRAM") return openFlashDialog(feature);
  startOperation([](Session& s) {
    if (s.link().state() != TargetState::Ready) {
      s.log.WriteLine(std::string(kNotConnectedToMonitorLine));
      return;
    }
    s.interpreter().RunCommand("_iprogram");
  });
}

void MainWindow::runUserScript(int index) {
  startOperation([index](Session& s) {
    RunStoredScript(s, s.settings.files.userScripts[static_cast<size_t>(index)]);
  });
}

void MainWindow::runLastScript(int index) {
  startOperation([index](Session& s) {
    RunStoredScript(s, s.settings.files.lastScripts[static_cast<size_t>(index)]);
  });
}

void MainWindow::print() {
  PrintDialog dialog(this);
  if (dialog.exec() != QDialog::Accepted) return;
  std::shared_ptr<QPrinter> printer = dialog.makePrinter();
  if (!printer) return;
  const PrintStyle style = dialog.style();
  client_.start<std::vector<std::string>>(
      this, [style](Session& s) { return PrintLines(s.selections, s.image, s.decoder, style); },
      [this, printer](std::vector<std::string> lines) {
        if (!RenderLines(*printer, lines))
          client_.boxes().Message(tr("The printout could not be started."));
      });
}

void MainWindow::paste() {
  // Into the selection: at its lowest address, else where the memory view's cursor is.
  const int32_t cursor = memoryCursor();
  startOperation([cursor](Session& s) {
    const int32_t start = s.selections.Count() > 0 ? s.selections.LowestSelectionStart() : cursor;
    s.interpreter().RunCommand("_paste " + HexN(start, 6));
  });
}

void MainWindow::fill() {
  const auto answer = client_.boxes().Input(tr("Fill Value:"), tr("Fill"));
  if (!answer) return;
  const std::string value = answer->trimmed().toStdString();
  if (HexVal(value) == kNoNumber) {
    client_.boxes().Message(tr("No valid hexadecimal number !"));
    return;
  }
  // An empty answer is the value 0, which the command wants written out.
  runCommand("_fillmemory " + (value.empty() ? std::string("00") : value));
}

void MainWindow::selectWindow() {
  const int32_t first = memoryTopLine() * 16;
  startOperation([first](Session& s) {
    s.selections.ClearSelections();
    if (!s.selections.AddSelection(first, first + 0xFF))
      s.log.WriteLine(std::string(kTooManySelectionsLine));
    s.frontend().RequestRefresh(Change::Memory(-1, -1));
  });
}

void MainWindow::relocate() {
  const auto answer = client_.boxes().Input(tr("Relocate Monitor to Address:"), tr("Relocate"));
  if (!answer) return;
  const std::string address = answer->trimmed().toUpper().toStdString();
  if (address.empty() || address.size() > 6 || HexVal(address) == kNoNumber) {
    client_.boxes().Message(tr("No 6-digit hexadecimal number !"));
    return;
  }
  runCommand("_movemonitor " + address);
}

void MainWindow::terminalSettings() {
  TerminalSettingsDialog dialog(client_.snapshot().settings.communication.terminalMode, this);
  if (dialog.exec() != QDialog::Accepted) return;
  const int mode = dialog.mode();
  startOperation([mode](Session& s) { s.settings.communication.terminalMode = mode; });
}

void MainWindow::removeUserScript() {
  std::optional<int> chosen;
  while (!chosen) chosen = RemoveAnswer(client_.boxes().Input(text(kRemoveUserScriptQuestion)));
  if (*chosen == 0) return;
  const auto slot = static_cast<size_t>(*chosen - 1);
  startOperation([slot](Session& s) {
    s.settings.files.userScripts[slot].clear();
    publish(s, RefreshTarget::FeatureButtons);
  });
}

void MainWindow::showHelp() {
  auto* help = new HelpWindow(programFolder_, this);
  help->setAttribute(Qt::WA_DeleteOnClose);
  help->showContents();
  help->show();
}

void MainWindow::showAbout() {
  AboutBox box(this);
  box.exec();
}

}  // namespace velmora::ui
