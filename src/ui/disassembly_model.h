// The rows of the disassembly window: the listing of the selected code, which of its
// instructions carry a breakpoint, and the row where the target stopped. Column 0 is the
// breakpoint mark ("O" or " "), then the address, the instruction's bytes and its text.
// Texts are made when a row is painted, so a 64 KB listing shows at once.
#pragma once

#include <QAbstractTableModel>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "disasm/disassembly_listing.h"

namespace velmora::ui {

class DisassemblyModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { kMarkColumn, kAddressColumn, kBytesColumn, kTextColumn, kColumnCount };

  explicit DisassemblyModel(QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation,
                      int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

  void setListing(std::shared_ptr<const DisassemblyListing> listing);
  // Marks the rows of these addresses; only the rows whose mark changes are redrawn.
  void setBreakpoints(const std::vector<int32_t>& addresses);
  // The row of the target's current position (-1 when no row lists it).
  int setCurrentPosition(int32_t address);

  // The instruction's address on a row, -1 for a separator or a row that does not exist.
  int32_t addressAt(int row) const;
  int rowOf(int32_t address) const;
  int currentRow() const { return currentRow_; }
  bool hasBreakpoint(int row) const;

 private:
  void markChanged(int row, int firstColumn, int lastColumn);

  std::shared_ptr<const DisassemblyListing> listing_;
  std::unordered_set<int32_t> breakpoints_;
  int currentRow_ = -1;
};

}  // namespace velmora::ui
