// The main window: every frequent operation as a button and a menu entry, the memory
// view, the message list, the command line and the status bar. It never touches the
// session: each control starts an operation through the SessionClient, and the window
// redraws from the client's snapshot when a change arrives.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ui/feature_buttons.h"
#include "ui/main_actions.h"
#include "ui/message_list_model.h"

class QAction;
class QLineEdit;
class QPushButton;

namespace velmora {
struct Change;
struct RememberedFile;
enum class LoadKind;
class Session;
}  // namespace velmora

namespace velmora::ui {

class CommandLine;
class MessageListView;
class SessionClient;
class StatusBar;
class MemoryView;
class DisassemblyWindow;
class RegisterListModel;
class RegisterListPanel;

inline constexpr std::string_view kNotConnectedToMonitorLine = "*ERROR: Not connected to Monitor";

class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  // What a file dialog is for; tests answer them without a dialog.
  enum class FileQuestion { Load, SaveAs, LoadPreferences, SavePreferences, Script, UserScript };
  // Returns the chosen path, or an empty text when the user cancelled.
  using FileChooser = std::function<QString(FileQuestion question, const QString& startPath)>;

  explicit MainWindow(SessionClient& client, QWidget* parent = nullptr);
  ~MainWindow() override;

  // Status bar text of a TargetState value; a value without a text changes nothing.
  void RefreshStatus(int32_t state);
  // Shows the flash buttons some memory unit offers and the assigned user script buttons.
  void RefreshFeatureButtons();
  // The four last-script entries: each one with a file shows its path.
  void RefreshLastScripts();
  void RefreshMemory();
  // Redraws the register list after a refresh: every line, or the line of the register at
  // address.
  void RefreshSfr(int32_t address = -1);

  MessageListModel& messages() { return messages_; }
  void setFileChooser(FileChooser chooser) { chooseFile_ = std::move(chooser); }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void buildControls();
  QWidget* buildButtonPanel();
  QPushButton* makeButton(std::string_view name, std::string_view caption);
  void addOperationControl(QWidget* widget);
  void addOperationControl(QAction* action);
  void markNotAvailable(QWidget* widget, QAction* action);
  // The memory view's part (main_window_memory.cpp).
  QWidget* createMemoryView();
  void wireMemoryView();
  void showMemory();
  void setMemoryEditing(bool on);
  int32_t memoryTopLine() const;
  int32_t memoryCursor() const;
  // The register list's part (main_window_registers.cpp).
  QWidget* createRegisterList();
  void showRegisterValues(const Change& change);
  void addRegister();
  void removeRegister(const QString& name);
  void editRegister(const QString& name);
  void startWhenIdle(std::function<void(Session&)> operation);

  void onChanged(const Change& change);
  void onBusyChanged(bool busy);
  void refreshFromSnapshot();

  // The behaviours of the table's rows (main_window_operations.cpp).
  void trigger(const MainAction& action);
  bool startOperation(std::function<void(Session&)> operation);
  void runCommand(std::string command);
  void enterCommandLine(const QString& text);
  void runFeatureButton(std::string_view feature);
  void runUserScript(int index);
  void runLastScript(int index);
  void loadFile();
  void saveAs();
  void loadPreferences();
  void savePreferences();
  void print();
  void paste();
  void fill();
  void selectWindow();
  void relocate();
  void terminalSettings();
  void executeScript();
  void assignUserScript();
  void removeUserScript();
  void showHelp();
  void showAbout();
  // The disassembly and debug window (main_window_debug.cpp).
  void openDisassembly();
  // The file dialogs, the select-range and the communication settings dialogs
  // (main_window_dialogs.cpp). A FileChooser set by a test answers instead of the file
  // dialogs.
  std::optional<RememberedFile> chooseLoadFile(LoadKind kind, FileQuestion question);
  void selectRange();
  void communicationSettings();
  // The configuration dialog and the flash dialog (main_window_configuration.cpp).
  void configure();
  void openFlashDialog(std::string_view feature);

  SessionClient& client_;
  std::filesystem::path programFolder_;
  MessageListModel messages_;
  MessageListView* messageView_ = nullptr;
  CommandLine* commandLine_ = nullptr;
  StatusBar* statusBar_ = nullptr;
  QLineEdit* controller_ = nullptr;
  MemoryView* memoryView_ = nullptr;
  // The register list (main_window_registers.cpp).
  RegisterListModel* registerModel_ = nullptr;
  RegisterListPanel* registerPanel_ = nullptr;
  std::vector<QWidget*> operationWidgets_;
  std::vector<QAction*> operationActions_;
  std::array<QPushButton*, kFeatureButtons.size()> featureButtons_{};
  std::array<QPushButton*, kUserScriptButtons> userScriptButtons_{};
  std::array<QAction*, 4> lastScriptEntries_{};
  QWidget* flashGroup_ = nullptr;
  QWidget* userScriptGroup_ = nullptr;
  // The disassembly and debug window while it is open (main_window_debug.cpp).
  QPointer<DisassemblyWindow> disassembly_;
  FileChooser chooseFile_;
  bool refocusCommandLine_ = false;
};

}  // namespace velmora::ui
