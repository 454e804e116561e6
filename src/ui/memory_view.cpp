#include "ui/memory_view.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include "core/hex_text.h"
#include "core/memory_image.h"
#include "ui/box_host.h"
#include "ui/memory_grid.h"
#include "ui/memory_label_strip.h"

namespace velmora::ui {

namespace {

constexpr int kAddressDigits = 6;

std::array<QString, MemoryLabelStrip::kLabels> columnTexts() {
  std::array<QString, MemoryLabelStrip::kLabels> texts;
  for (int i = 0; i < MemoryLabelStrip::kLabels; ++i) {
    texts[static_cast<size_t>(i)] = QString::asprintf("%02X", i);
  }
  return texts;
}

}  // namespace

MemoryView::MemoryView(const MemoryImage& image, BoxHost& boxes, QWidget* parent)
    : QWidget(parent), image_(image), boxes_(boxes) {
  buildControls();
  updatePageBox();
  RefreshMemory();
}

void MemoryView::buildControls() {
  grid_ = new MemoryGrid(page_, this);
  grid_->installEventFilter(this);
  lineLabels_ = new MemoryLabelStrip(Qt::Vertical, kAddressDigits, QStringLiteral("LActPage"));
  asciiLabels_ =
      new MemoryLabelStrip(Qt::Vertical, MemoryPage::kColumns, QStringLiteral("LMemViewAscii"));
  columnLabels_ = new MemoryLabelStrip(Qt::Horizontal, 2, QStringLiteral("LColumn"));
  columnLabels_->setTexts(columnTexts());

  pageBox_ = new QLineEdit;
  pageBox_->setObjectName(QStringLiteral("TActPage"));
  pageBox_->setFont(grid_->font());
  pageBox_->setToolTip(tr("Address of the first line shown (hexadecimal)"));
  pageBox_->setFixedWidth(pageBox_->fontMetrics().horizontalAdvance(QStringLiteral("0000000")) +
                          4 * pageBox_->fontMetrics().horizontalAdvance(QLatin1Char(' ')));
  connect(pageBox_, &QLineEdit::editingFinished, this, &MemoryView::pageBoxEntered);

  segmentDown_ = new QPushButton(tr("Segment -"));
  segmentDown_->setObjectName(QStringLiteral("BSegmentDown"));
  segmentDown_->setToolTip(tr("The 64 KB segment below"));
  connect(segmentDown_, &QPushButton::clicked, this, [this] {
    cursor_.segmentDown();
    pageChanged();
  });
  segmentUp_ = new QPushButton(tr("Segment +"));
  segmentUp_->setObjectName(QStringLiteral("BSegmentUp"));
  segmentUp_->setToolTip(tr("The 64 KB segment above"));
  connect(segmentUp_, &QPushButton::clicked, this, [this] {
    cursor_.segmentUp();
    pageChanged();
  });

  scrollBar_ = new QScrollBar(Qt::Vertical);
  scrollBar_->setObjectName(QStringLiteral("SMemPage"));
  scrollBar_->setRange(0, MemoryCursor::kSegmentLines - 1);
  scrollBar_->setSingleStep(1);
  scrollBar_->setPageStep(MemoryCursor::kLines);
  connect(scrollBar_, &QScrollBar::valueChanged, this, &MemoryView::scrollBarMoved);

  auto* label = new QLabel(tr("&Address:"));
  label->setBuddy(pageBox_);
  auto* top = new QHBoxLayout;
  top->addWidget(label);
  top->addWidget(pageBox_);
  top->addSpacing(12);
  top->addWidget(segmentDown_);
  top->addWidget(segmentUp_);
  top->addStretch(1);

  auto* page = new QGridLayout;
  page->setHorizontalSpacing(6);
  page->setVerticalSpacing(0);
  page->addWidget(columnLabels_, 0, 1);
  page->addWidget(lineLabels_, 1, 0);
  page->addWidget(grid_, 1, 1);
  page->addWidget(asciiLabels_, 1, 2);
  page->addWidget(scrollBar_, 1, 3);
  page->setColumnStretch(4, 1);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addLayout(page);
  layout->addStretch(1);
  setFocusProxy(grid_);
}

void MemoryView::setSnapshot(const SessionSnapshot& snapshot) {
  snapshot_ = snapshot;
  snapshotSelectionsCleared_ = false;
  if (pendingUntilSnapshot_) {
    pendingSelection_.reset();
    pendingUntilSnapshot_ = false;
  }
  RefreshMemory();
}

void MemoryView::RefreshMemory() {
  ReadMemoryPage(image_, cursor_.topLine(), snapshot_, snapshotSelectionsCleared_,
                 pendingSelection_, page_);
  lineLabels_->setTexts(page_.lineLabels);
  asciiLabels_->setTexts(page_.asciiLabels);
  // What is being typed stays in its cell until it is checked and the cursor moves on.
  if (!cellEdit_.typed()) cellEdit_.arrive(page_.text[static_cast<size_t>(cursor_.cell())]);
  showCursor();
}

void MemoryView::GotoPage(int32_t topLine) {
  cursor_.setTopLine(topLine);
  pageChanged();
}

int32_t MemoryView::getcursoraddress() const {
  return cursor_.address();
}

int32_t MemoryView::topLine() const {
  return cursor_.topLine();
}

void MemoryView::setEditingEnabled(bool on) {
  editingEnabled_ = on;
  if (on) return;
  cancelSelection();
  resetCellEdit();
  RefreshMemory();
}

QString MemoryView::cellText(int cell) const {
  return page_.text.at(static_cast<size_t>(cell));
}

QColor MemoryView::cellForeground(int cell) const {
  return page_.foreground.at(static_cast<size_t>(cell));
}

QColor MemoryView::cellBackground(int cell) const {
  return page_.background.at(static_cast<size_t>(cell));
}

QString MemoryView::lineLabel(int line) const {
  return page_.lineLabels.at(static_cast<size_t>(line));
}

QString MemoryView::asciiLabel(int line) const {
  return page_.asciiLabels.at(static_cast<size_t>(line));
}

void MemoryView::resetCellEdit() {
  cellEdit_.arrive(QString());
}

void MemoryView::showCursor() {
  grid_->setCursorCell(cursor_.cell(), cellEdit_.text(), cellEdit_.allSelected());
}

void MemoryView::updateScrollBar() {
  const int value = cursor_.scrollValue();
  if (scrollBar_->value() == value) return;
  ignoreScrollChange_ = true;
  scrollBar_->setValue(value);
}

void MemoryView::updatePageBox() {
  pageBox_->setText(QString::fromStdString(HexN(cursor_.topLine() * 16, kAddressDigits)));
}

void MemoryView::pageChanged() {
  resetCellEdit();
  updateScrollBar();
  updatePageBox();
  RefreshMemory();
}

void MemoryView::scrollBarMoved(int value) {
  if (ignoreScrollChange_) {
    ignoreScrollChange_ = false;
    return;
  }
  cursor_.setScrollValue(value);
  pageChanged();
}

void MemoryView::pageBoxEntered() {
  // The box below takes the focus from the page box, which ends its edit a second time.
  if (checkingPageBox_) return;
  const int32_t address = HexVal(pageBox_->text().toStdString());
  if (address == kNoNumber) {
    checkingPageBox_ = true;
    boxes_.Message(QStringLiteral("No hexadecimal digit !"), BoxButtons::Ok, BoxIcon::Exclamation);
    checkingPageBox_ = false;
    updatePageBox();
    return;
  }
  cursor_.setTopLine(address / 16);
  pageChanged();
}

}  // namespace velmora::ui
