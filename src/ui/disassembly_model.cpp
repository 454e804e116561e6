#include "ui/disassembly_model.h"

#include <QBrush>
#include <QColor>

#include "core/hex_text.h"

namespace velmora::ui {
namespace {

QString bytesText(const ListingRow& row) {
  QString text;
  text.reserve(row.length * 3);
  for (uint8_t byte : row.Bytes()) {
    if (!text.isEmpty()) text += QLatin1Char(' ');
    text += QString::fromLatin1(HexN(byte, 2).c_str());
  }
  return text;
}

}  // namespace

DisassemblyModel::DisassemblyModel(QObject* parent)
    : QAbstractTableModel(parent), listing_(std::make_shared<DisassemblyListing>()) {}

int DisassemblyModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(listing_->rows.size());
}

int DisassemblyModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumnCount;
}

QVariant DisassemblyModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const ListingRow& row = listing_->rows[static_cast<size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
      switch (index.column()) {
        case kMarkColumn:
          return hasBreakpoint(index.row()) ? QStringLiteral("O") : QStringLiteral(" ");
        case kAddressColumn:
          return row.IsInstruction() ? QString::fromLatin1(HexN(row.address, 6).c_str())
                                     : QString();
        case kBytesColumn:
          return bytesText(row);
        case kTextColumn:
          return row.IsInstruction()
                     ? QString::fromLatin1(row.text.c_str())
                     : QString::fromLatin1(kListingSeparator.data(),
                                           static_cast<qsizetype>(kListingSeparator.size()));
      }
      return {};
    case Qt::TextAlignmentRole:
      return index.column() == kMarkColumn ? QVariant(Qt::AlignCenter)
                                           : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::ForegroundRole:
      if (index.column() == kMarkColumn && hasBreakpoint(index.row())) return QBrush(Qt::darkRed);
      if (row.IsInstruction() && row.text.starts_with("Illegal")) return QBrush(Qt::darkRed);
      return {};
    case Qt::BackgroundRole:
      // The stop line stays visible when the user selects another one.
      if (index.row() == currentRow_) return QBrush(QColor(0xFF, 0xF0, 0xA0));
      return {};
    default:
      return {};
  }
}

QVariant DisassemblyModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case kMarkColumn:
      return tr("BP");
    case kAddressColumn:
      return tr("Address");
    case kBytesColumn:
      return tr("Bytes");
    case kTextColumn:
      return tr("Instruction");
  }
  return {};
}

Qt::ItemFlags DisassemblyModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

void DisassemblyModel::setListing(std::shared_ptr<const DisassemblyListing> listing) {
  beginResetModel();
  listing_ = listing ? std::move(listing) : std::make_shared<DisassemblyListing>();
  currentRow_ = -1;
  endResetModel();
}

void DisassemblyModel::setBreakpoints(const std::vector<int32_t>& addresses) {
  std::unordered_set<int32_t> next(addresses.begin(), addresses.end());
  if (next == breakpoints_) return;
  // Only rows whose mark differs need a repaint: those of addresses in one set only.
  std::vector<int32_t> differing;
  for (int32_t address : breakpoints_)
    if (!next.contains(address)) differing.push_back(address);
  for (int32_t address : next)
    if (!breakpoints_.contains(address)) differing.push_back(address);
  breakpoints_ = std::move(next);
  for (int32_t address : differing) {
    for (size_t r = 0; r < listing_->rows.size(); ++r) {
      if (listing_->rows[r].IsInstruction() && listing_->rows[r].address == address)
        markChanged(static_cast<int>(r), kMarkColumn, kMarkColumn);
    }
  }
}

int DisassemblyModel::setCurrentPosition(int32_t address) {
  const int row = rowOf(address);
  if (row == currentRow_) return row;
  const int old = currentRow_;
  currentRow_ = row;
  markChanged(old, kMarkColumn, kTextColumn);
  markChanged(row, kMarkColumn, kTextColumn);
  return row;
}

int32_t DisassemblyModel::addressAt(int row) const {
  if (row < 0 || row >= rowCount()) return -1;
  return listing_->rows[static_cast<size_t>(row)].address;
}

int DisassemblyModel::rowOf(int32_t address) const {
  return address < 0 ? -1 : FindListingRow(*listing_, address);
}

bool DisassemblyModel::hasBreakpoint(int row) const {
  const int32_t address = addressAt(row);
  return address >= 0 && breakpoints_.contains(address);
}

void DisassemblyModel::markChanged(int row, int firstColumn, int lastColumn) {
  if (row < 0 || row >= rowCount()) return;
  emit dataChanged(index(row, firstColumn), index(row, lastColumn));
}

}  // namespace velmora::ui
