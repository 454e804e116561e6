// The configuration dialog ("FConfigure", "Configure"): the controller type, its clock,
// the registers written right after the monitor starts, EINIT, and the board's memory
// units as one table of three columns (units with their ranges, activation, mapping).
// It edits a working copy; the caller takes configuration() after OK, and Cancel changes
// nothing.
#pragma once

#include <array>
#include <vector>

#include "config/target_configuration.h"
#include "ui/configuration_context.h"
#include "ui/focus_out.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;

namespace velmora::ui {

class ConfigurationDialog : public CheckedFieldsDialog {
  Q_OBJECT
 public:
  ConfigurationDialog(ConfigurationContext context, const TargetConfiguration& stored,
                      QWidget* parent = nullptr);

  // The record into the dialog; filling the type list this way never asks about units.
  void get_preferences(const TargetConfiguration& stored);
  // The dialog's fields over the working copy.
  TargetConfiguration set_preferences() const;
  // Empties the fields and the memory table (the working copy keeps its units).
  void clear_config();
  void RefreshMemoryList();

  // After OK: what the user made of the configuration.
  const TargetConfiguration& configuration() const { return result_; }

  void accept() override;

 private:
  struct RegisterBox {
    QLineEdit* edit;
    QCheckBox* check;
    InitValue value;
    bool genericAddress;
  };

  void buildControls();
  QWidget* buildRegisters();
  QWidget* buildMemoryTable();
  void wireRegisterBox(const RegisterBox& box);
  void leaveRegisterBox(const RegisterBox& box);
  void typeChosen();
  void addUnit();
  void editUnit();
  void removeUnit();
  void openEditor(int index);
  // The unit, section and region of a line of the table, if it names one.
  std::optional<MemoryLocation> lineKey(int row) const;
  void toggleActivation(int row);
  void toggleMapping(int row);

  // The editors it opens refer to this copy.
  const ConfigurationContext context_;
  TargetConfiguration working_;
  TargetConfiguration result_;
  QComboBox* type_ = nullptr;
  QLineEdit* clock_ = nullptr;
  QCheckBox* einit_ = nullptr;
  std::array<QCheckBox*, kInitRegisterCount> checks_{};
  std::vector<RegisterBox> boxes_;
  QListWidget* unitsList_ = nullptr;
  QListWidget* activatedList_ = nullptr;
  QListWidget* mappedList_ = nullptr;
};

}  // namespace velmora::ui
