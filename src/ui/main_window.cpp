#include "ui/main_window.h"

#include <QAction>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>

#include "core/frontend.h"
#include "session/session.h"
#include "ui/command_line.h"
#include "ui/message_list_view.h"
#include "ui/session_client.h"
#include "ui/status_bar.h"

namespace velmora::ui {
namespace {

QString text(std::string_view view) {
  return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

const char* const kNotAvailableTip = "Not available yet";

}  // namespace

MainWindow::MainWindow(SessionClient& client, QWidget* parent)
    : QMainWindow(parent), client_(client) {
  setObjectName(QStringLiteral("FMain"));
  setWindowTitle(QStringLiteral("Velmora"));
  buildControls();
  resize(1100, 760);

  connect(&client_, &SessionClient::lineClosed, &messages_, &MessageListModel::appendLine);
  connect(&client_, &SessionClient::openLineChanged, &messages_, &MessageListModel::setOpenLine);
  connect(&client_, &SessionClient::changed, this, &MainWindow::onChanged);
  connect(&client_, &SessionClient::busyChanged, this, &MainWindow::onBusyChanged);
  connect(&client_, &SessionClient::progress, statusBar_, &StatusBar::showProgress);
  connect(&client_, &SessionClient::quitRequested, this, &QWidget::close);

  // Esc reaches the running script from wherever the focus is in the window.
  auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
  escape->setContext(Qt::WindowShortcut);
  connect(escape, &QShortcut::activated, this, [this] { client_.abort(); });

  client_.read<std::filesystem::path>(
      this, [](Session& s) { return s.programFolder(); },
      [this](std::filesystem::path folder) { programFolder_ = std::move(folder); });
  refreshFromSnapshot();
  onBusyChanged(client_.busy());
}

MainWindow::~MainWindow() = default;

void MainWindow::buildControls() {
  std::array<QMenu*, 6> menus{};
  for (size_t m = 0; m < menus.size(); ++m) {
    const auto name = static_cast<MenuName>(m);
    menus[m] = menuBar()->addMenu(text(MenuTitle(name)));
    menus[m]->setObjectName(text(MenuObjectName(name)));
  }
  QWidget* panel = buildButtonPanel();

  // The menu entries, and the buttons the panel made, walk one table.
  for (const MainAction& row : MainActions()) {
    QAction* entry = nullptr;
    if (!row.menuEntry.empty()) {
      QMenu* menu = menus[static_cast<size_t>(row.menu)];
      entry = menu->addAction(text(row.menuCaption));
      entry->setObjectName(text(row.menuEntry));
      connect(entry, &QAction::triggered, this, [this, &row] { trigger(row); });
    }
    QPushButton* button =
        row.button.empty() ? nullptr : panel->findChild<QPushButton*>(text(row.button));
    if (button) connect(button, &QPushButton::clicked, this, [this, &row] { trigger(row); });
    if (row.behaviour == Behaviour::NotAvailable) {
      markNotAvailable(button, entry);
    } else if (StartsOperation(row.behaviour)) {
      if (button) addOperationControl(button);
      if (entry) addOperationControl(entry);
    }
  }
  QMenu* scripts = menus[static_cast<size_t>(MenuName::Script)];
  scripts->addSeparator();
  for (size_t i = 0; i < lastScriptEntries_.size(); ++i) {
    QAction* entry = scripts->addAction(QString());
    entry->setObjectName(QStringLiteral("UScriptLastfile%1").arg(i + 1));
    entry->setVisible(false);
    connect(entry, &QAction::triggered, this, [this, i] { runLastScript(static_cast<int>(i)); });
    addOperationControl(entry);
    lastScriptEntries_[i] = entry;
  }

  auto* controllerRow = new QHBoxLayout;
  controllerRow->addWidget(new QLabel(tr("Controller:")));
  controller_ = new QLineEdit;
  controller_->setObjectName(QStringLiteral("TController"));
  controller_->setReadOnly(true);
  controller_->setMaximumWidth(240);
  controllerRow->addWidget(controller_);
  controllerRow->addStretch(1);

  messageView_ = new MessageListView(messages_);
  commandLine_ = new CommandLine;
  connect(commandLine_, &CommandLine::entered, this, &MainWindow::enterCommandLine);
  auto* commandRow = new QHBoxLayout;
  commandRow->addWidget(new QLabel(tr("Command:")));
  commandRow->addWidget(commandLine_, 1);

  auto* terminal = new QWidget;
  auto* terminalLayout = new QVBoxLayout(terminal);
  terminalLayout->setContentsMargins(0, 0, 0, 0);
  terminalLayout->addWidget(messageView_, 1);
  terminalLayout->addLayout(commandRow);

  auto* splitter = new QSplitter(Qt::Vertical);
  // The register list sits beside the memory page, so both stay in sight above the messages.
  auto* upper = new QWidget;
  auto* upperLayout = new QHBoxLayout(upper);
  upperLayout->setContentsMargins(0, 0, 0, 0);
  upperLayout->addWidget(createMemoryView(), 1);
  upperLayout->addWidget(createRegisterList());
  splitter->addWidget(upper);
  splitter->addWidget(terminal);
  // The memory page has a natural height; room the window gains goes to the messages.
  splitter->setStretchFactor(0, 0);
  splitter->setStretchFactor(1, 1);
  splitter->setChildrenCollapsible(false);

  auto* right = new QVBoxLayout;
  right->addLayout(controllerRow);
  right->addWidget(splitter, 1);

  auto* central = new QWidget;
  auto* layout = new QHBoxLayout(central);
  // On a small screen the button panel scrolls rather than squeezing the buttons.
  auto* panelScroll = new QScrollArea;
  panelScroll->setWidget(panel);
  panelScroll->setWidgetResizable(true);
  panelScroll->setFrameShape(QFrame::NoFrame);
  panelScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  // Wide enough for the widest button, also those hidden until a memory unit offers them.
  int widest = 0;
  for (const QPushButton* button : panel->findChildren<QPushButton*>())
    widest = std::max(widest, button->sizeHint().width());
  panelScroll->setMinimumWidth(widest + 60);
  layout->addWidget(panelScroll);
  layout->addLayout(right, 1);
  setCentralWidget(central);

  statusBar_ = new StatusBar;
  setStatusBar(statusBar_);
  wireMemoryView();
}

QPushButton* MainWindow::makeButton(std::string_view name, std::string_view caption) {
  auto* button = new QPushButton(text(caption));
  button->setObjectName(text(name));
  button->setToolTip(text(caption));
  return button;
}

QWidget* MainWindow::buildButtonPanel() {
  auto* panel = new QWidget;
  panel->setObjectName(QStringLiteral("PButtons"));
  auto* layout = new QVBoxLayout(panel);
  layout->setContentsMargins(0, 0, 0, 0);
  const std::array<std::pair<MenuName, const char*>, 3> groups = {
      {{MenuName::Target, "Target"}, {MenuName::File, "File"}, {MenuName::Edit, "Edit"}}};
  for (const auto& [menu, title] : groups) {
    auto* box = new QGroupBox(tr(title));
    auto* boxLayout = new QVBoxLayout(box);
    for (const MainAction& row : MainActions()) {
      if (row.menu == menu && !row.button.empty())
        boxLayout->addWidget(makeButton(row.button, row.buttonCaption));
    }
    layout->addWidget(box);
  }

  auto* flash = new QGroupBox(tr("Flash"));
  flashGroup_ = flash;
  auto* flashLayout = new QVBoxLayout(flash);
  for (size_t i = 0; i < kFeatureButtons.size(); ++i) {
    const FeatureButton& feature = kFeatureButtons[i];
    QPushButton* button = makeButton(feature.name, feature.caption);
    button->setVisible(false);
    connect(button, &QPushButton::clicked, this,
            [this, &feature] { runFeatureButton(feature.feature); });
    addOperationControl(button);
    flashLayout->addWidget(button);
    featureButtons_[i] = button;
  }
  layout->addWidget(flash);

  auto* user = new QGroupBox(tr("User Scripts"));
  userScriptGroup_ = user;
  auto* userLayout = new QGridLayout(user);
  for (int i = 0; i < kUserScriptButtons; ++i) {
    auto* button = new QPushButton(QStringLiteral("F%1").arg(i + 1));
    button->setObjectName(QStringLiteral("BFunc%1").arg(i));
    button->setVisible(false);
    connect(button, &QPushButton::clicked, this, [this, i] { runUserScript(i); });
    addOperationControl(button);
    userLayout->addWidget(button, i / 2, i % 2);
    userScriptButtons_[static_cast<size_t>(i)] = button;
  }
  layout->addWidget(user);
  layout->addStretch(1);
  return panel;
}

void MainWindow::addOperationControl(QWidget* widget) {
  operationWidgets_.push_back(widget);
}

void MainWindow::addOperationControl(QAction* action) {
  operationActions_.push_back(action);
}

void MainWindow::markNotAvailable(QWidget* widget, QAction* action) {
  if (widget) {
    widget->setEnabled(false);
    widget->setToolTip(tr(kNotAvailableTip));
  }
  if (action) {
    action->setEnabled(false);
    action->setToolTip(tr(kNotAvailableTip));
  }
}

void MainWindow::onBusyChanged(bool busy) {
  // Someone typing commands one after another keeps the focus on the command line, which
  // loses it while it is disabled.
  if (busy) refocusCommandLine_ = commandLine_->hasFocus();
  for (QWidget* widget : operationWidgets_) widget->setEnabled(!busy);
  for (QAction* action : operationActions_) action->setEnabled(!busy);
  commandLine_->setEnabled(!busy);
  setMemoryEditing(!busy);
  if (!busy) {
    statusBar_->hideProgress();
    if (refocusCommandLine_) commandLine_->setFocus();
  }
}

void MainWindow::onChanged(const Change& change) {
  controller_->setText(QString::fromStdString(client_.snapshot().controllerName));
  switch (change.target) {
    case RefreshTarget::MemoryView:
      RefreshMemory();
      showRegisterValues(change);
      break;
    case RefreshTarget::StatusText:
      RefreshStatus(change.first);
      break;
    case RefreshTarget::FeatureButtons:
      RefreshFeatureButtons();
      break;
    case RefreshTarget::RecentScripts:
      RefreshLastScripts();
      break;
    case RefreshTarget::RegisterList:
      RefreshSfr(change.first);
      break;
    case RefreshTarget::Disassembly:
      break;  // there is no disassembly window yet
  }
}

void MainWindow::refreshFromSnapshot() {
  const SessionSnapshot snapshot = client_.snapshot();
  controller_->setText(QString::fromStdString(snapshot.controllerName));
  RefreshStatus(static_cast<int32_t>(snapshot.state));
  RefreshFeatureButtons();
  RefreshLastScripts();
  RefreshMemory();
}

void MainWindow::RefreshStatus(int32_t state) {
  statusBar_->RefreshStatus(state);
}

void MainWindow::RefreshFeatureButtons() {
  const SessionSnapshot snapshot = client_.snapshot();
  const auto features = VisibleFeatureButtons(snapshot.settings.target.units);
  for (size_t i = 0; i < featureButtons_.size(); ++i) featureButtons_[i]->setVisible(features[i]);
  // An empty group would only take room from the panel.
  flashGroup_->setVisible(std::find(features.begin(), features.end(), true) != features.end());
  const auto& scripts = snapshot.settings.files.userScripts;
  const auto assigned = VisibleUserScriptButtons(scripts);
  for (size_t i = 0; i < userScriptButtons_.size(); ++i) {
    userScriptButtons_[i]->setVisible(assigned[i]);
    userScriptButtons_[i]->setToolTip(QString::fromStdString(scripts[i]));
  }
  userScriptGroup_->setVisible(std::find(assigned.begin(), assigned.end(), true) != assigned.end());
}

void MainWindow::RefreshLastScripts() {
  const auto files = client_.snapshot().settings.files.lastScripts;
  for (size_t i = 0; i < lastScriptEntries_.size(); ++i) {
    const QString path = QString::fromStdString(files[i]);
    lastScriptEntries_[i]->setText(path);
    lastScriptEntries_[i]->setVisible(!path.isEmpty());
  }
}

void MainWindow::RefreshMemory() {
  showMemory();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  // A script still running is asked to stop; the client ends the worker when it goes.
  if (client_.busy()) client_.abort();
  QMainWindow::closeEvent(event);
}

}  // namespace velmora::ui
