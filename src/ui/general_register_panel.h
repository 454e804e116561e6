// The general registers beside the disassembly: R0 .. R15 of the current bank, PSW with
// its flags spelled out as the register definitions name them, SP, CP and DPP0 .. DPP3.
// A value typed as four hexadecimal digits and Enter is offered for writing to the
// target; values that changed since the last stop are highlighted.
#pragma once

#include <QWidget>
#include <array>
#include <cstdint>
#include <vector>

#include "link/general_registers.h"

class QLabel;
class QLineEdit;
class QHBoxLayout;

namespace velmora::ui {

class GeneralRegisterPanel : public QWidget {
  Q_OBJECT
 public:
  explicit GeneralRegisterPanel(QWidget* parent = nullptr);

  // New values; with highlightChanges, every value that differs from the one shown
  // before is marked (after a stop), otherwise the marks are cleared.
  void setRegisters(const GeneralRegisters& registers, const std::vector<RegisterField>& pswFields,
                    bool highlightChanges);
  // Typing is allowed only while the target waits in the monitor.
  void setEditable(bool on);

  QLineEdit* field(int index) const { return fields_[static_cast<size_t>(index)]; }
  bool isHighlighted(int index) const;
  // The PSW's named bits and fields as shown: "N", "C", ..., "ILVL=B".
  QStringList flagTexts() const;
  // Those of them that are set (a field counts as set when it is not zero).
  QStringList setFlags() const;

 signals:
  void valueEntered(int index, uint16_t value);

 private:
  void showFlags(const std::vector<RegisterField>& fields);
  void enter(int index);

  std::array<QLineEdit*, kGeneralRegisterCount> fields_{};
  std::array<int32_t, kGeneralRegisterCount> shown_{};
  std::array<bool, kGeneralRegisterCount> highlighted_{};
  QHBoxLayout* flagRow_ = nullptr;
  std::vector<QLabel*> flags_;
};

}  // namespace velmora::ui
