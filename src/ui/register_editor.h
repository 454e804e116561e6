// The register editor `FSFRChange`: a register's value as four hex digits and as its named
// bit fields, each in a box of its own, kept in step as the user types, leaves a box or
// double clicks one. It edits a value only; the main window writes it on OK.
#pragma once

#include <QDialog>
#include <QString>
#include <cstdint>
#include <vector>

#include "ui/register_bit_fields.h"

class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace velmora::ui {

class BoxHost;
class RegisterBitBox;

inline constexpr char kNoHexValueMessage[] = "No 4-digit hexadezimal number !";

// "No binary number or more than 3 digits !"
QString NoBinaryNumberMessage(int width);

class RegisterEditor : public QDialog {
  Q_OBJECT
 public:
  // Input errors are shown through boxes.
  explicit RegisterEditor(BoxHost& boxes, QWidget* parent = nullptr);

  // Shows a register (index in the current definitions) with a value: its name, the value
  // and one box per bit field.
  void SetSfrIndex(int index, const RegisterDefinition& reg, uint16_t value);
  // Each box shows its field of the value, in exactly as many binary digits as it has bits.
  void RefreshBits();

  int sfrIndex() const { return index_; }
  uint16_t value() const { return value_; }

  // A box still being typed in counts as left before the editor closes.
  void accept() override;

 private:
  void valueEdited(const QString& text);
  void boxEdited(size_t field, const QString& text);
  void boxLeft(size_t field);
  void boxDoubleClicked(size_t field);
  void boxEntered(size_t field);
  // Takes a box's binary number into the value; false when it holds none that fits.
  bool takeBox(size_t field);
  void showValue();
  void buildBoxes();

  BoxHost& boxes_;
  int index_ = -1;
  uint16_t value_ = 0;
  std::vector<BitField> fields_;
  std::vector<RegisterBitBox*> bitBoxes_;  // in the order of fields_
  QLabel* name_ = nullptr;
  QLabel* address_ = nullptr;
  QLabel* fieldName_ = nullptr;
  QLineEdit* valueText_ = nullptr;
  QWidget* bitArea_ = nullptr;
  QGridLayout* bitGrid_ = nullptr;
};

}  // namespace velmora::ui
