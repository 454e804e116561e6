#include "ui/select_range_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/select_range.h"
#include "ui/address_field.h"

namespace velmora::ui {

SelectRangeDialog::SelectRangeDialog(BoxHost& boxes, QWidget* parent) : QDialog(parent) {
  setObjectName(QStringLiteral("FSelectRange"));
  setWindowTitle(tr("Add Selection"));

  start_ = new AddressField(hex_fields::kSelectRangeAddress, boxes);
  start_->setObjectName(QStringLiteral("TStartAddress"));
  end_ = new AddressField(hex_fields::kSelectRangeAddress, boxes);
  end_->setObjectName(QStringLiteral("TEndAddress"));
  blocks_ = new QListWidget;
  blocks_->setObjectName(QStringLiteral("IBlocks"));
  for (size_t i = 0; i < kSelectRangeBlockSizes.size(); ++i)
    blocks_->addItem(QString::fromStdString(BlockSizeText(i)));
  blocks_->setMaximumWidth(start_->maximumWidth() + 40);
  // All fourteen sizes at once, without a scroll bar.
  blocks_->setMinimumHeight(blocks_->sizeHintForRow(0) * blocks_->count() +
                            2 * blocks_->frameWidth() + 4);

  auto* addresses = new QGroupBox(tr("Address range (hexadecimal)"));
  auto* form = new QFormLayout(addresses);
  form->addRow(tr("&Start:"), start_);
  form->addRow(tr("&End:"), end_);
  auto* sizes = new QGroupBox(tr("Block size (bytes)"));
  auto* sizesLayout = new QVBoxLayout(sizes);
  sizesLayout->addWidget(blocks_);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("BOk"));
  buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("BCancel"));

  auto* columns = new QHBoxLayout;
  columns->addWidget(addresses, 0, Qt::AlignTop);
  columns->addWidget(sizes);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(columns);
  layout->addWidget(buttons);

  connect(blocks_, &QListWidget::currentRowChanged, this, &SelectRangeDialog::blockChosen);
  connect(blocks_, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { blockChosen(blocks_->row(item)); });
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  start_->setFocus();
}

int32_t SelectRangeDialog::start() const {
  return start_->value();
}

int32_t SelectRangeDialog::end() const {
  return end_->value();
}

void SelectRangeDialog::blockChosen(int row) {
  if (row < 0 || static_cast<size_t>(row) >= kSelectRangeBlockSizes.size()) return;
  const int32_t size = kSelectRangeBlockSizes[static_cast<size_t>(row)];
  end_->setText(QString::fromStdString(EndFromBlockSize(start_->text().toStdString(), size)));
}

}  // namespace velmora::ui
