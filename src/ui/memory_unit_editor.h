// The memory unit editor ("FMemory", "Memory Units"): one unit's name, type, blank value,
// burst size, sections, activation registers, driver file and driver features. It edits a
// working copy; the caller takes unit() after OK, and Cancel leaves the unit as it was.
#pragma once

#include <cstdint>
#include <string>

#include "config/memory_unit.h"
#include "ui/configuration_context.h"
#include "ui/focus_out.h"

class QComboBox;
class QLineEdit;
class QListWidget;

namespace velmora::ui {

class MemoryUnitEditor : public CheckedFieldsDialog {
  Q_OBJECT
 public:
  // context must outlive the editor.
  MemoryUnitEditor(const ConfigurationContext& context, const MemoryUnit& unit,
                   QWidget* parent = nullptr);

  // Shows a unit as the working copy.
  void GetMemUnit(const MemoryUnit& unit);
  // Each appends to the working copy and redisplays; false, with a box that names the
  // limit, when the list is full.
  bool AddRegion(int32_t start, int32_t length, bool hasMapping, int32_t mapAddress,
                 const std::string& mapRegister, int32_t mapMask);
  bool AddActivate(const std::string& reg, int32_t mask);
  // An entry already in the list is not added twice (and that is no failure).
  bool AddFeature(const std::string& name);

  const MemoryUnit& unit() const { return unit_; }

  // Takes the fields into the working copy; stays open while the driver file is missing.
  void accept() override;

 private:
  void buildControls();
  void wireFields();
  void refreshAll();
  bool refuseWhenFull(size_t count, int limit, const char* what);
  bool checkDriverPath();
  void addSection();
  void addActivate();
  void addFeature();
  void searchDriver();

  const ConfigurationContext& context_;
  MemoryUnit unit_;
  QLineEdit* name_ = nullptr;
  QComboBox* type_ = nullptr;
  QLineEdit* blank_ = nullptr;
  QLineEdit* burstSize_ = nullptr;
  QLineEdit* driverPath_ = nullptr;
  QListWidget* activate_ = nullptr;
  QListWidget* sections_ = nullptr;
  QListWidget* features_ = nullptr;
  QString refusedDriver_;  // the last path refused, so that OK does not say it twice
};

}  // namespace velmora::ui
