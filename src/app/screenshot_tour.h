// A short, fixed session in the desktop application that saves pictures of its windows:
// how the project shows people what the program looks like (tools/screenshots.sh).
#pragma once

#include <QString>
#include <string>

class QWidget;

namespace velmora::ui {
class MainWindow;
class SessionClient;
class Splash;
}  // namespace velmora::ui

namespace velmora::app {

// Connects to the board, loads, selects and downloads a file, and saves main_window.png,
// splash.png, terminal_settings.png, print_dialog.png and about.png into folder.
// Returns the program's exit status (1 when a step or a picture failed).
int RunScreenshotTour(ui::MainWindow& window, ui::SessionClient& client, ui::Splash& splash,
                      const std::string& folder);

// What each part of the tour works with; ok turns false when a step or a picture failed.
struct ShotContext {
  ui::MainWindow& window;
  ui::SessionClient& client;
  QString folder;
  bool ok = true;
};

// Lets the windows settle (layouts, the worker's signals) before a picture is taken.
void Settle(int milliseconds);
// Shows the widget, lets it settle and saves it as folder/name (a PNG).
bool SaveShot(ShotContext& shots, QWidget& widget, const char* name);
// Runs a command line on the session and waits for it; false when it failed.
bool RunShotCommand(ShotContext& shots, const char* line);

// The disassembly and debug window (screenshot_tour_debug.cpp).
void ShootDebug(ShotContext& shots);

// The configuration dialog, the memory unit editor and the flash dialog
// (screenshot_tour_configuration.cpp).
void ShootConfiguration(ShotContext& shots);

// The register list, its pick list and its editor (screenshot_tour_registers.cpp).
void ShootRegisters(ShotContext& shots);

// The file dialogs, save-as, communication settings and select-range dialogs
// (screenshot_tour_files.cpp).
void ShootFiles(ShotContext& shots);

}  // namespace velmora::app
