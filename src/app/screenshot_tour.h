// A short, fixed session in the desktop application that saves pictures of its windows:
// how the project shows people what the program looks like (tools/screenshots.sh).
#pragma once

#include <string>

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

}  // namespace velmora::app
