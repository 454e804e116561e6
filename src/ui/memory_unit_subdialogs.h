// The memory unit editor's three small dialogs: a new section of one region (with an
// optional mapping), a new activation register, and a new driver feature. Each checks its
// fields as the user leaves or changes them and hands its values over on OK.
#pragma once

#include <QString>
#include <cstdint>
#include <string>

#include "ui/focus_out.h"

class QComboBox;
class QLineEdit;

namespace velmora {
class RegisterTable;
}

namespace velmora::ui {

class BoxHost;

struct RegionInput {
  int32_t start = 0;
  int32_t length = 0;
  bool hasMapping = false;
  int32_t mapAddress = 0;
  std::string mapRegister;
  int32_t mapMask = 0;
};

// "FMemoryRegions", "New Section/Region".
class MemoryRegionDialog : public CheckedFieldsDialog {
  Q_OBJECT
 public:
  MemoryRegionDialog(BoxHost& boxes, const RegisterTable& registers, QWidget* parent = nullptr);
  RegionInput region() const { return region_; }
  // Stays open until start and length are hexadecimal numbers.
  void accept() override;

 private:
  BoxHost& boxes_;
  const RegisterTable& registers_;
  QLineEdit* start_;
  QLineEdit* length_;
  QLineEdit* mapStart_;
  QLineEdit* mapRegister_;
  QLineEdit* mapMask_;
  RegionInput region_;
};

// "FMemoryActivate", "Add Activation Register".
class MemoryActivateDialog : public CheckedFieldsDialog {
  Q_OBJECT
 public:
  MemoryActivateDialog(BoxHost& boxes, const RegisterTable& registers, QWidget* parent = nullptr);
  std::string activateRegister() const;
  int32_t mask() const;
  // Stays open while the register names neither an address nor a known register.
  void accept() override;

 private:
  bool checkRegister();
  BoxHost& boxes_;
  const RegisterTable& registers_;
  QLineEdit* register_;
  QLineEdit* mask_;
};

// "FMemoryFeature", "Add Feature".
class MemoryFeatureDialog : public CheckedFieldsDialog {
  Q_OBJECT
 public:
  explicit MemoryFeatureDialog(QWidget* parent = nullptr);
  std::string feature() const;

 private:
  QComboBox* feature_;
};

}  // namespace velmora::ui
