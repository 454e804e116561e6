// The register list of the main window as a Qt model: one line per shown register, with
// its value from the memory image. A value that differs from the one the refresh before
// the last showed is marked until the next refresh, so that a step or a write stands out.
#pragma once

#include <QAbstractListModel>
#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

#include "ui/session_snapshot.h"

namespace velmora {
class MemoryImage;
}

namespace velmora::ui {

// "NAME       AAAAAA  VVVV": the name padded to 11 characters (a longer name keeps one
// blank after it), the address in six hex digits, two blanks, the value in four.
QString RegisterLine(const QString& name, int32_t address, uint16_t value);

class RegisterListModel : public QAbstractListModel {
  Q_OBJECT
 public:
  enum Role { NameRole = Qt::UserRole + 1, IndexRole, AddressRole, ValueRole, ChangedRole };

  explicit RegisterListModel(const MemoryImage& image, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

  // Follows the session's list. A register that stays keeps its last refreshed value, so a
  // register added or removed does not clear the marks of the others.
  void setRegisters(const std::vector<ShownRegister>& registers);
  // Shows the image's values of the registers whose bytes lie in first..last (all when
  // first < 0). Between refreshes (an edit in the memory view) nothing moves the marks'
  // reference.
  void showValues(int32_t first = -1, int32_t last = -1);
  // A refresh of the list: shows the values and marks those that differ from the previous
  // refresh's. address < 0 refreshes every line, else the line of that register.
  void refresh(int32_t address = -1);

  const ShownRegister& registerAt(int row) const { return rows_[static_cast<size_t>(row)].reg; }
  // The row that shows a register (any case of the name), or -1.
  int rowOf(const QString& name) const;

 private:
  struct Row {
    ShownRegister reg;
    uint16_t value = 0;                // as the line shows it now
    std::optional<uint16_t> last;      // what the last refresh showed
    std::optional<uint16_t> previous;  // what the refresh before it showed
  };
  static bool changed(const Row& row) { return row.previous && *row.previous != row.value; }
  void emitRow(int row);

  const MemoryImage& image_;
  std::vector<Row> rows_;
};

}  // namespace velmora::ui
