// The window tests are Qt Test classes; each registers itself here and one main() runs
// them all in a single QApplication on the offscreen platform.
#pragma once

#include <QObject>
#include <functional>

namespace velmora::test {

int RegisterUiTest(const char* name, std::function<QObject*()> make);

}  // namespace velmora::test

#define VELMORA_UI_TEST(Class)                                   \
  [[maybe_unused]] static const int registered##Class =          \
      velmora::test::RegisterUiTest(#Class, [] { return static_cast<QObject*>(new Class); });
