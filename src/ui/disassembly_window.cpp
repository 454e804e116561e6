#include "ui/disassembly_window.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/general_registers.h"
#include "link/target_state.h"
#include "session/session.h"
#include "ui/general_register_panel.h"
#include "ui/session_client.h"

namespace velmora::ui {

// What the panel shows, read on the worker.
struct DebugReading {
  GeneralRegisters registers;
  std::vector<RegisterField> pswFields;
};

namespace {

struct Filled {
  std::shared_ptr<const DisassemblyListing> listing;  // null: the listing stays
  int32_t position = -1;
  DebugReading reading;
};

struct Toggled {
  std::string refusal;      // the error line the debugger wrote, if it refused
  int32_t overlapped = -1;  // the breakpoint the refused one would overlap
};

DebugReading readDebugRegisters(Session& s) {
  DebugReading reading{ReadGeneralRegisters(s.link()), {}};
  const int32_t psw = reading.registers.values[kPswIndex];
  if (psw >= 0) reading.pswFields = RegisterFields(s.registers, "PSW", static_cast<uint16_t>(psw));
  return reading;
}

std::string lastClosedLine(const Session& s) {
  const auto& list = s.log.List();
  return list.Count() >= 2 ? list.Entry(list.Count() - 2) : std::string();
}

int32_t overlappedBy(const Debugger& debugger, int32_t address) {
  for (const Breakpoint& breakpoint : debugger.Breakpoints()) {
    if (breakpoint.address < address + kBreakCallLength &&
        address < breakpoint.address + kBreakCallLength)
      return breakpoint.address;
  }
  return -1;
}

void publishCode(Session& s, int32_t address) {
  s.frontend().RequestRefresh(Change::Memory(address, address + kBreakCallLength - 1));
}

}  // namespace

DisassemblyWindow::DisassemblyWindow(SessionClient& client, QWidget* parent)
    : QDialog(parent), client_(client), model_(this) {
  setObjectName(QStringLiteral("FDisassemble"));
  setWindowTitle(QStringLiteral("Disassemble / Debug"));
  setModal(false);

  breakpoints_ = makeView("IBreakpoints");
  instructions_ = makeView("IDisassemble");
  breakpoints_->setSelectionModel(instructions_->selectionModel());
  for (int column = DisassemblyModel::kAddressColumn; column < DisassemblyModel::kColumnCount;
       ++column)
    breakpoints_->setColumnHidden(column, true);
  instructions_->setColumnHidden(DisassemblyModel::kMarkColumn, true);
  // The mark column scrolls with the listing; it has no scroll bar of its own.
  breakpoints_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  breakpoints_->setSelectionMode(QAbstractItemView::NoSelection);
  breakpoints_->setFocusPolicy(Qt::NoFocus);
  connect(instructions_->verticalScrollBar(), &QScrollBar::valueChanged,
          breakpoints_->verticalScrollBar(), &QScrollBar::setValue);
  connect(breakpoints_->verticalScrollBar(), &QScrollBar::valueChanged,
          instructions_->verticalScrollBar(), &QScrollBar::setValue);
  connect(breakpoints_, &QTableView::clicked, this,
          [this](const QModelIndex& index) { toggleAt(index.row()); });

  const QFontMetrics fixed(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  const int pad = 16;
  const int markWidth = fixed.horizontalAdvance(QStringLiteral("BP")) + pad;
  breakpoints_->setColumnWidth(DisassemblyModel::kMarkColumn, markWidth);
  breakpoints_->setFixedWidth(markWidth + 2 * breakpoints_->frameWidth());
  instructions_->setColumnWidth(DisassemblyModel::kAddressColumn,
                                fixed.horizontalAdvance(QStringLiteral("000000")) + pad);
  instructions_->setColumnWidth(DisassemblyModel::kBytesColumn,
                                fixed.horizontalAdvance(QStringLiteral("00 00 00 00")) + pad);
  instructions_->setMinimumWidth(fixed.horizontalAdvance(QString(52, QLatin1Char('0'))));

  registers_ = new GeneralRegisterPanel(this);
  connect(registers_, &GeneralRegisterPanel::valueEntered, this, &DisassemblyWindow::writeRegister);

  go_ = new QPushButton(tr("Go"), this);
  go_->setObjectName(QStringLiteral("BGo"));
  step_ = new QPushButton(tr("Step"), this);
  step_->setObjectName(QStringLiteral("BStep"));
  connect(go_, &QPushButton::clicked, this, [this] { run(false); });
  connect(step_, &QPushButton::clicked, this, [this] { run(true); });
  state_ = new QLineEdit(this);
  state_->setObjectName(QStringLiteral("EDebugState"));
  state_->setReadOnly(true);
  state_->setFocusPolicy(Qt::NoFocus);
  state_->setMinimumWidth(fixed.horizontalAdvance(QString(24, QLatin1Char('W'))));
  message_ = new QLabel(this);
  message_->setObjectName(QStringLiteral("LMessage"));
  message_->setStyleSheet(QStringLiteral("QLabel { color: #a00000; }"));

  auto* lists = new QHBoxLayout;
  lists->setSpacing(0);
  lists->addWidget(breakpoints_);
  lists->addWidget(instructions_, 1);
  auto* top = new QHBoxLayout;
  top->addLayout(lists, 1);
  top->addWidget(registers_);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(go_);
  buttons->addWidget(step_);
  buttons->addSpacing(12);
  buttons->addWidget(message_, 1);
  buttons->addWidget(state_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top, 1);
  layout->addLayout(buttons);

  connect(&client_, &SessionClient::changed, this, &DisassemblyWindow::onChanged);
  connect(&client_, &SessionClient::busyChanged, this, [this](bool busy) {
    if (!busy && fillPending_) fill();
    refreshControls();
  });
  resize(1000, 560);
  refreshControls();
}

DisassemblyWindow::~DisassemblyWindow() = default;

QTableView* DisassemblyWindow::makeView(const char* name) {
  auto* view = new QTableView(this);
  view->setObjectName(QString::fromLatin1(name));
  view->setModel(&model_);
  view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  view->setSelectionBehavior(QAbstractItemView::SelectRows);
  view->setSelectionMode(QAbstractItemView::SingleSelection);
  view->setEditTriggers(QAbstractItemView::NoEditTriggers);
  view->setShowGrid(false);
  view->setWordWrap(false);
  view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  view->verticalHeader()->hide();
  // Every row as high as the next: the view never measures 30000 rows.
  view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  view->verticalHeader()->setDefaultSectionSize(QFontMetrics(view->font()).height() + 4);
  view->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  view->horizontalHeader()->setStretchLastSection(true);
  view->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  view->horizontalHeader()->setHighlightSections(false);
  return view;
}

void DisassemblyWindow::fill() {
  fillPending_ = false;
  QPointer<DisassemblyWindow> self(this);
  const bool started = client_.start<Filled>(
      this, [](Session& s) {
        Filled filled;
        if (s.debugger().Breakpoints().empty()) {
          auto listing = std::make_shared<DisassemblyListing>();
          FillDisassembly(s.selections, s.image, s.decoder, *listing, s.debugger().currentPosition);
          filled.listing = std::move(listing);
        }
        filled.position = s.debugger().currentPosition;
        filled.reading = readDebugRegisters(s);
        return filled;
      },
      [self](Filled filled) {
        if (!self) return;
        if (filled.listing) self->model_.setListing(std::move(filled.listing));
        // The snapshot may not have caught up with the operation yet.
        self->showPosition(filled.position);
        self->showRegisters(filled.reading, false);
        self->refreshControls();
        emit self->filled();
      });
  // Another operation holds the session: the listing follows once it has ended.
  if (!started) fillPending_ = true;
}

void DisassemblyWindow::onChanged(const Change& change) {
  if (change.target == RefreshTarget::Disassembly) {
    // A stop: its line is shown and the registers are read again.
    showPosition(client_.snapshot().debugPosition);
    readRegisters();
  }
  if (change.target == RefreshTarget::StatusText || change.target == RefreshTarget::Disassembly)
    refreshControls();
}

void DisassemblyWindow::refreshControls() {
  const SessionSnapshot snapshot = client_.snapshot();
  const bool ready = snapshot.state == TargetState::Ready;
  const bool idle = !client_.busy();
  go_->setEnabled(ready && idle);
  step_->setEnabled(ready && idle);
  registers_->setEditable(ready && idle);
  if (const auto text = TargetStateText(snapshot.state))
    state_->setText(QString::fromLatin1(text->data(), static_cast<qsizetype>(text->size())));
  model_.setBreakpoints(snapshot.breakpoints);
}

void DisassemblyWindow::showPosition(int32_t position) {
  showRow(model_.setCurrentPosition(position));
}

void DisassemblyWindow::showRow(int row) {
  if (row < 0) {
    instructions_->selectionModel()->clearSelection();
    return;
  }
  const QModelIndex index = model_.index(row, DisassemblyModel::kAddressColumn);
  instructions_->selectionModel()->setCurrentIndex(
      index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  instructions_->scrollTo(index, QAbstractItemView::PositionAtCenter);
}

void DisassemblyWindow::toggleAt(int row) {
  const int32_t address = model_.addressAt(row);
  // Breakpoints change only while the target waits in the monitor.
  if (address < 0 || client_.busy() || client_.snapshot().state != TargetState::Ready) return;
  QPointer<DisassemblyWindow> self(this);
  client_.start<Toggled>(
      this, [address](Session& s) {
        Toggled result;
        if (s.debugger().Toggle(address)) {
          publishCode(s, address);
        } else {
          result.refusal = lastClosedLine(s);
          result.overlapped = overlappedBy(s.debugger(), address);
        }
        return result;
      },
      [self](Toggled result) {
        if (!self) return;
        self->showMessage(QString::fromStdString(result.refusal));
        // The breakpoint in the way is shown, so the user sees why.
        if (result.overlapped >= 0) self->showRow(self->model_.rowOf(result.overlapped));
      });
}

void DisassemblyWindow::run(bool step) {
  showMessage({});
  client_.start([step](Session& s) {
    if (step) {
      s.debugger().Step();
    } else {
      s.debugger().Go();
    }
  });
}

void DisassemblyWindow::readRegisters() {
  QPointer<DisassemblyWindow> self(this);
  client_.read<DebugReading>(
      this, [](Session& s) {
        // The stop took the run's temporary calls out of the code.
        s.frontend().RequestRefresh(Change::Memory(-1, -1));
        return readDebugRegisters(s);
      },
      [self](DebugReading reading) {
        if (self) self->showRegisters(reading, true);
      });
}

void DisassemblyWindow::writeRegister(int index, uint16_t value) {
  if (client_.busy() || client_.snapshot().state != TargetState::Ready) return;
  showMessage({});
  QPointer<DisassemblyWindow> self(this);
  client_.start<std::pair<int32_t, DebugReading>>(
      this, [index, value](Session& s) {
        const int32_t readBack = WriteGeneralRegister(s.link(), index, value);
        return std::make_pair(readBack, readDebugRegisters(s));
      },
      [self, index](std::pair<int32_t, DebugReading> result) {
        if (!self) return;
        self->showRegisters(result.second, false);
        if (result.first < 0)
          self->showMessage(tr("%1 could not be written")
                                .arg(QString::fromStdString(GeneralRegisterName(index))));
      });
}

void DisassemblyWindow::showRegisters(const DebugReading& reading, bool highlightChanges) {
  registers_->setRegisters(reading.registers, reading.pswFields, highlightChanges);
  emit registersShown();
}

void DisassemblyWindow::showMessage(const QString& line) {
  message_->setText(line);
}

QString DisassemblyWindow::messageText() const {
  return message_->text();
}

void DisassemblyWindow::reject() {
  // Every breakpoint goes with the window: the target's code is its own again.
  const auto removeAll = [](Session& s) {
    if (s.debugger().Breakpoints().empty()) return 0;
    s.debugger().RemoveAll();
    s.frontend().RequestRefresh(Change::Memory(-1, -1));
    return 0;
  };
  if (!client_.start(std::function<void(Session&)>(removeAll)))
    client_.read<int>(this, removeAll, [](int) {});
  QDialog::reject();
}

}  // namespace velmora::ui
