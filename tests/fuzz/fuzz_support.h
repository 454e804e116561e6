// What the fuzz targets share: a scratch folder for inputs that readers take by path, the
// shipped data folder, and a frontend that answers every question at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "core/frontend.h"
#include "disasm/opcode_table.h"
#include "formats/register_table.h"

namespace velmora::fuzz {

// The data folder of the source tree (definition files, opcode table, images).
std::filesystem::path ShippedDataFolder();

// The shipped tables a target reads its input against, loaded once.
const RegisterTable& ShippedRegisters();  // TOLVANE's
const OpcodeTable& ShippedOpcodes();

// A folder of this process, removed when the process ends normally.
const std::filesystem::path& ScratchFolder();

// Writes the input as a file of the scratch folder and returns its path.
std::string WriteInput(const uint8_t* data, size_t size, std::string_view name);

inline std::string_view AsText(const uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// A property every input must keep; a broken one ends the process like a crash, so that
// the fuzzer keeps the input.
void Require(bool condition, const char* what);

// Answers every box with OK (or Yes) and every input box with nothing.
class QuietFrontend : public Frontend {
 public:
  BoxAnswer MessageBox(std::string_view, BoxButtons buttons, BoxIcon, std::string_view) override {
    return buttons == BoxButtons::YesNo ? BoxAnswer::Yes : BoxAnswer::Ok;
  }
  std::optional<std::string> InputBox(std::string_view, std::string_view, std::string_view) override {
    return std::nullopt;
  }
  void ShowMessageWindow(std::string_view) override {}
  void SetBusy(bool) override {}
  void SetClipboardText(std::string_view text) override { clipboard_ = std::string(text); }
  std::string ClipboardText() override { return clipboard_; }

 private:
  std::string clipboard_;
};

}  // namespace velmora::fuzz
