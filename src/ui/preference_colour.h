// Colours in the preferences are numbers written blue-green-red: blue in the high byte and
// red in the low one, so 0000FF is red. The windows convert at the edge, here, and nowhere
// else.
#pragma once

#include <QColor>
#include <cstdint>

namespace velmora::ui {

// The colour of a preference number; bits above the low 24 are ignored.
QColor PreferenceColour(int32_t value);

// The preference number of a colour (its alpha is dropped).
int32_t PreferenceValue(const QColor& colour);

}  // namespace velmora::ui
