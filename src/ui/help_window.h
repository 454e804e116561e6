// The "Velmora Help" window: the HTML manual of the program folder (help/index.html)
// in a browser with back, forward and contents.
#pragma once

#include <QMainWindow>
#include <filesystem>

class QTextBrowser;

namespace velmora::ui {

class HelpWindow : public QMainWindow {
  Q_OBJECT
 public:
  explicit HelpWindow(const std::filesystem::path& programFolder, QWidget* parent = nullptr);

  // Where the manual's first page is looked for.
  static std::filesystem::path IndexPath(const std::filesystem::path& programFolder);

  bool manualFound() const { return found_; }
  QTextBrowser* browser() const { return browser_; }
  // Back to the first page (or to the note that the manual is missing).
  void showContents();

 private:
  QTextBrowser* browser_;
  std::filesystem::path index_;
  bool found_ = false;
};

}  // namespace velmora::ui
