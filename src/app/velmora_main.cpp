// velmora: the desktop application. It comes up in a fixed order behind a splash window,
// runs the scripts named on its command line once the main window is there, and on the
// way out closes the port and writes the default preferences.
#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "app/qt_serial_port.h"
#include "app/screenshot_tour.h"
#include "session/session.h"
#include "session/startup.h"
#include "ui/main_window.h"
#include "ui/session_client.h"
#include "ui/splash.h"
#include "ui/startup_scripts.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kUsage =
    "usage: velmora [--home DIR] [--port NAME] [--baud N] [--no-save] [--] [SCRIPT]...\n"
    "\n"
    "Opens the main window. Each SCRIPT is run once the window is up, in the order given\n"
    "(looked up in the current directory first, then in the program folder).\n"
    "\n"
    "  --home DIR       program folder (default: $VELMORA_HOME, else the program's folder)\n"
    "  --port NAME      COM1..COM4, a device such as /dev/ttyUSB0, or virtual (the built-in\n"
    "                   virtual board); for this run only\n"
    "  --baud N         baud rate, for this run only\n"
    "  --no-save        do not write default.ini when the program ends\n"
    "  --screenshots DIR  drive a short session and save pictures of the windows into DIR\n"
    "                   (for the project's documentation; the program ends afterwards)\n"
    "  --version        print the version and end\n"
    "  -h, --help       print this text and end\n";

struct Options {
  std::string home;
  std::string port;
  int baud = 0;
  bool noSave = false;
  std::string screenshots;
  std::vector<std::string> scripts;
};

// Options first, whatever their place; every other word names a script.
bool parse(int argc, char** argv, Options& options, std::string& error) {
  bool optionsEnded = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const auto value = [&](std::string& out) {
      if (i + 1 >= argc) return false;
      out = argv[++i];
      return true;
    };
    std::string text;
    if (optionsEnded || arg.empty() || arg[0] != '-' || arg == "-") {
      options.scripts.push_back(arg);
    } else if (arg == "--") {
      optionsEnded = true;
    } else if (arg == "--home" || arg == "--port" || arg == "--screenshots") {
      std::string& target =
          arg == "--home" ? options.home : (arg == "--port" ? options.port : options.screenshots);
      if (!value(target)) return error = arg + " needs a value", false;
    } else if (arg == "--baud") {
      if (!value(text)) return error = arg + " needs a value", false;
      options.baud = std::atoi(text.c_str());
      if (options.baud <= 0) return error = "--baud needs a baud rate above 0, not " + text, false;
    } else if (arg == "--no-save") {
      options.noSave = true;
    } else if (arg == "--help" || arg == "-h") {
      std::fputs(kUsage, stdout);
      std::exit(0);
    } else if (arg == "--version") {
      std::printf("velmora %s\n", VELMORA_VERSION);
      std::exit(0);
    } else {
      return error = "unknown option " + arg, false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  std::string error;
  if (!parse(argc, argv, options, error)) {
    std::fprintf(stderr, "velmora: %s\n", error.c_str());
    std::fputs(kUsage, stderr);
    return 2;
  }
  QApplication application(argc, argv);
  QApplication::setApplicationName("Velmora");
  QApplication::setApplicationVersion(VELMORA_VERSION);

  // The splash comes up once the program folder is complete (an empty one is filled
  // first, with its box), and follows the start-up steps.
  velmora::ui::Splash splash;
  QApplication::setOverrideCursor(Qt::WaitCursor);

  const fs::path folder = velmora::ProgramFolder(options.home, argv[0]);
  velmora::ui::SessionClient client(folder, [](const std::string&) -> std::unique_ptr<velmora::SerialPort> {
    return std::make_unique<velmora::QtSerialPort>();
  });
  velmora::ui::MainWindow window(client);
  client.boxes().SetParent(&window);
  client.setSavePreferences(!options.noSave);

  velmora::StartupOptions startup;
  startup.extractor = fs::path(QCoreApplication::applicationDirPath().toStdString()) / "velmora-extract";
  startup.port = options.port;
  startup.baud = options.baud;
  startup.progress = [&client, &splash](int value) {
    client.onWindowThread([&splash, value] {
      if (!splash.isVisible()) splash.show();
      splash.setProgress(value);
    });
  };
  client.runAndWait([startup](velmora::Session& session) {
    velmora::Startup(session, startup);
    // Everything the window shows is drawn afresh from what start-up read.
    auto& frontend = session.frontend();
    frontend.RequestRefresh(velmora::Change::State(static_cast<int32_t>(session.link().state())));
    for (auto target : {velmora::RefreshTarget::FeatureButtons,
                        velmora::RefreshTarget::RecentScripts, velmora::RefreshTarget::MemoryView}) {
      frontend.RequestRefresh(velmora::Change::All(target));
    }
  });
  splash.setProgress(100);
  splash.close();
  QApplication::restoreOverrideCursor();
  window.show();

  if (!options.screenshots.empty()) {
    const int status = velmora::app::RunScreenshotTour(window, client, splash, options.screenshots);
    client.shutDown(false);
    return status;
  }
  // The first activation: the window is visible (and busy) while the scripts run.
  QTimer::singleShot(0, &window, [&] { velmora::ui::RunStartupScripts(client, options.scripts); });
  application.exec();
  client.shutDown(!options.noSave);
  return 0;
}
