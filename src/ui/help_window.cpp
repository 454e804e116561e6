#include "ui/help_window.h"

#include <QAction>
#include <QTextBrowser>
#include <QToolBar>
#include <QUrl>
#include <system_error>

namespace velmora::ui {

namespace {

QString nativePath(const std::filesystem::path& path) {
  return QString::fromStdString(path.string());
}

}  // namespace

std::filesystem::path HelpWindow::IndexPath(const std::filesystem::path& programFolder) {
  return programFolder / "help" / "index.html";
}

HelpWindow::HelpWindow(const std::filesystem::path& programFolder, QWidget* parent)
    : QMainWindow(parent), index_(IndexPath(programFolder)) {
  setWindowTitle(tr("Velmora Help"));
  browser_ = new QTextBrowser(this);
  browser_->setObjectName("THelp");
  // Pages of the manual open here; addresses on the web go to the system's browser.
  browser_->setOpenExternalLinks(true);
  setCentralWidget(browser_);

  QToolBar* tools = addToolBar(tr("Navigation"));
  tools->setObjectName("TBHelp");
  tools->setMovable(false);
  QAction* back = tools->addAction(tr("Back"), browser_, &QTextBrowser::backward);
  QAction* forward = tools->addAction(tr("Forward"), browser_, &QTextBrowser::forward);
  tools->addAction(tr("Contents"), this, &HelpWindow::showContents);
  back->setEnabled(false);
  forward->setEnabled(false);
  connect(browser_, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
  connect(browser_, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);

  std::error_code error;
  found_ = std::filesystem::is_regular_file(index_, error);
  resize(760, 600);
  showContents();
}

void HelpWindow::showContents() {
  if (found_) {
    browser_->setSource(QUrl::fromLocalFile(nativePath(index_)));
    return;
  }
  browser_->setHtml(
      tr("<h2>The manual was not found</h2>"
         "<p>Velmora looked for its first page at</p><p><code>%1</code></p>"
         "<p>The manual is part of the program folder (the folder <code>help</code> beside "
         "<code>mctypes.dat</code>). Copy it there from the program's data, or point "
         "<code>VELMORA_HOME</code> at a complete program folder.</p>")
          .arg(nativePath(index_).toHtmlEscaped()));
}

}  // namespace velmora::ui
