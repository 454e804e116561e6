// The dialogs check and reformat a field when the user leaves it, the way the rest of the
// program's fields behave: this calls a function each time a widget loses the focus.
#pragma once

#include <functional>

class QWidget;

namespace velmora::ui {

void OnFocusOut(QWidget* widget, std::function<void()> leave);

}  // namespace velmora::ui
