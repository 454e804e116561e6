// Runs every registered window test class; the exit status counts the failed ones.
// Arguments: a class name runs only that class; the rest go to Qt Test.
#include <QApplication>
#include <QTest>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ui_test_registry.h"

namespace {

struct Entry {
  const char* name;
  std::function<QObject*()> make;
};

std::vector<Entry>& registry() {
  static std::vector<Entry> entries;
  return entries;
}

}  // namespace

int velmora::test::RegisterUiTest(const char* name, std::function<QObject*()> make) {
  registry().push_back({name, std::move(make)});
  return static_cast<int>(registry().size());
}

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  std::string only;
  std::vector<char*> qtArgs{argv[0]};
  for (int i = 1; i < argc; ++i) {
    bool isClass = false;
    for (const auto& entry : registry()) isClass = isClass || std::strcmp(argv[i], entry.name) == 0;
    if (isClass) only = argv[i];
    else qtArgs.push_back(argv[i]);
  }
  int failedClasses = 0;
  for (const auto& entry : registry()) {
    if (!only.empty() && only != entry.name) continue;
    std::unique_ptr<QObject> test(entry.make());
    if (QTest::qExec(test.get(), static_cast<int>(qtArgs.size()), qtArgs.data()) != 0) ++failedClasses;
  }
  std::printf("%d test class(es) failed\n", failedClasses);
  return failedClasses == 0 ? 0 : 1;
}
