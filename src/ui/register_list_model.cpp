#include "ui/register_list_model.h"

#include <QBrush>
#include <QColor>
#include <QFont>
#include <algorithm>

#include "commands/register_list.h"
#include "core/memory_image.h"

namespace velmora::ui {
namespace {

constexpr int kNameColumns = 11;

QString hex(uint32_t value, int digits) {
  return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0')).toUpper();
}

}  // namespace

QString RegisterLine(const QString& name, int32_t address, uint16_t value) {
  QString line = name.leftJustified(kNameColumns);
  if (line.size() == name.size()) line += QLatin1Char(' ');
  return line + hex(static_cast<uint32_t>(address), 6) + QStringLiteral("  ") + hex(value, 4);
}

RegisterListModel::RegisterListModel(const MemoryImage& image, QObject* parent)
    : QAbstractListModel(parent), image_(image) {}

int RegisterListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant RegisterListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
    return {};
  const Row& row = rows_[static_cast<size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
      return RegisterLine(QString::fromStdString(row.reg.name), row.reg.address, row.value);
    case Qt::ToolTipRole:
      return changed(row)
                 ? tr("%1: was %2").arg(QString::fromStdString(row.reg.name), hex(*row.previous, 4))
                 : QVariant();
    case Qt::ForegroundRole:
      return changed(row) ? QBrush(QColor(0xC0, 0x10, 0x10)) : QVariant();
    case Qt::FontRole: {
      if (!changed(row)) return {};
      QFont font;
      font.setBold(true);
      return font;
    }
    case NameRole:
      return QString::fromStdString(row.reg.name);
    case IndexRole:
      return row.reg.index;
    case AddressRole:
      return row.reg.address;
    case ValueRole:
      return row.value;
    case ChangedRole:
      return changed(row);
    default:
      return {};
  }
}

void RegisterListModel::setRegisters(const std::vector<ShownRegister>& registers) {
  std::vector<Row> rows;
  rows.reserve(registers.size());
  for (const ShownRegister& reg : registers) {
    Row row{reg, SfrValue(image_, reg.address), std::nullopt, std::nullopt};
    const int old = rowOf(QString::fromStdString(reg.name));
    // A register at a new address (another type) starts afresh.
    if (old >= 0 && rows_[static_cast<size_t>(old)].reg.address == reg.address) {
      row.last = rows_[static_cast<size_t>(old)].last;
      row.previous = rows_[static_cast<size_t>(old)].previous;
    }
    rows.push_back(std::move(row));
  }
  const bool sameLines = std::equal(rows.begin(), rows.end(), rows_.begin(), rows_.end(),
                                    [](const Row& a, const Row& b) { return a.reg == b.reg; });
  if (!sameLines) beginResetModel();
  rows_ = std::move(rows);
  if (!sameLines) {
    endResetModel();
  } else if (!rows_.empty()) {
    emit dataChanged(index(0), index(rowCount() - 1));
  }
}

void RegisterListModel::showValues(int32_t first, int32_t last) {
  for (size_t i = 0; i < rows_.size(); ++i) {
    Row& row = rows_[i];
    const bool covered = first < 0 || (row.reg.address + 1 >= first && row.reg.address <= last);
    if (!covered) continue;
    const uint16_t value = SfrValue(image_, row.reg.address);
    if (value == row.value) continue;
    row.value = value;
    emitRow(static_cast<int>(i));
  }
}

void RegisterListModel::refresh(int32_t address) {
  for (size_t i = 0; i < rows_.size(); ++i) {
    Row& row = rows_[i];
    if (address >= 0 && row.reg.address != address) continue;
    const bool wasChanged = changed(row);
    row.value = SfrValue(image_, row.reg.address);
    row.previous = row.last;
    row.last = row.value;
    if (wasChanged || changed(row)) emitRow(static_cast<int>(i));
  }
}

int RegisterListModel::rowOf(const QString& name) const {
  for (size_t i = 0; i < rows_.size(); ++i) {
    if (QString::fromStdString(rows_[i].reg.name).compare(name, Qt::CaseInsensitive) == 0)
      return static_cast<int>(i);
  }
  return -1;
}

void RegisterListModel::emitRow(int row) {
  const QModelIndex at = index(row);
  emit dataChanged(at, at);
}

}  // namespace velmora::ui
