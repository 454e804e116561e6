// A six-digit hexadecimal address field of a dialog: every change is checked by the
// field's rule (a refused text brings the field's message and "000000", all selected),
// the focus selects the whole text, and leaving the field writes it as six digits.
#pragma once

#include <QLineEdit>
#include <cstdint>

#include "core/hex_field.h"

namespace velmora::ui {

class BoxHost;

class AddressField : public QLineEdit {
  Q_OBJECT
 public:
  AddressField(const HexField& rule, BoxHost& boxes, QWidget* parent = nullptr);

  // The address the text stands for (an empty field is 0).
  int32_t value() const;

 protected:
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void check(const QString& text);

  HexField rule_;
  BoxHost& boxes_;
};

}  // namespace velmora::ui
