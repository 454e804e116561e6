// What the benchmark programs share: a frontend that answers every box and draws nothing,
// and the program folder they read the shipped files from.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "core/frontend.h"

namespace velmora::bench {

class QuietFrontend : public Frontend {
 public:
  BoxAnswer MessageBox(std::string_view, BoxButtons buttons, BoxIcon, std::string_view) override {
    return buttons == BoxButtons::YesNo ? BoxAnswer::Yes : BoxAnswer::Ok;
  }
  std::optional<std::string> InputBox(std::string_view, std::string_view,
                                      std::string_view defaultText) override {
    return std::string(defaultText);
  }
  void ShowMessageWindow(std::string_view) override {}
  void SetBusy(bool) override {}
  void SetClipboardText(std::string_view) override {}
  std::string ClipboardText() override { return {}; }
};

// --home, else VELMORA_HOME, else the folder of the program (the build copies the shipped
// files there).
inline std::filesystem::path ProgramFolder(const std::string& option, const char* argv0) {
  if (!option.empty()) return option;
  if (const char* env = std::getenv("VELMORA_HOME"); env && *env) return env;
  std::error_code error;
  const auto self = std::filesystem::canonical("/proc/self/exe", error);
  if (!error) return self.parent_path();
  return std::filesystem::absolute(argv0).parent_path();
}

}  // namespace velmora::bench
