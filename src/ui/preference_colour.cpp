#include "ui/preference_colour.h"

namespace velmora::ui {

QColor PreferenceColour(int32_t value) {
  const int red = value & 0xFF;
  const int green = (value >> 8) & 0xFF;
  const int blue = (value >> 16) & 0xFF;
  return QColor(red, green, blue);
}

int32_t PreferenceValue(const QColor& colour) {
  return (colour.blue() << 16) | (colour.green() << 8) | colour.red();
}

}  // namespace velmora::ui
