#include "fuzz_session.h"

#include <array>
#include <system_error>

#include "core/hex_text.h"
#include "formats/register_file.h"

namespace velmora::fuzz {
namespace {

// "_send" also covers "_sendfile": commands match by the beginning of the line.
constexpr std::array<std::string_view, 11> kUnsafeCommands = {
    "_delay", "_pause",   "_save",      "_compare", "_setlogfile", "_writelogfile",
    "_quit",  "_connect", "_reconnect", "_send",    "_movemonitor"};

std::string_view withoutLeadingBlanks(std::string_view line) {
  const auto first = line.find_first_not_of(" \t");
  return first == std::string_view::npos ? std::string_view{} : line.substr(first);
}

}  // namespace

const std::filesystem::path& FuzzProgramFolder() {
  static const std::filesystem::path folder = [] {
    const auto home = ScratchFolder() / "home";
    std::filesystem::create_directories(home);
    for (const char* name : {"demo_ram.hex", "demo_flash.hex"}) {
      std::filesystem::copy_file(ShippedDataFolder() / "SCRIPTS" / name, home / name,
                                 std::filesystem::copy_options::overwrite_existing);
    }
    return home;
  }();
  return folder;
}

bool SafeToRun(std::string_view line) {
  if (line.find_first_of("/\\:") != std::string_view::npos) return false;
  const std::string_view command = withoutLeadingBlanks(line);
  for (std::string_view unsafe : kUnsafeCommands) {
    if (command.size() >= unsafe.size() && EqualsNoCase(command.substr(0, unsafe.size()), unsafe)) {
      return false;
    }
  }
  return true;
}

std::string SafeLines(std::string_view input) {
  std::string kept;
  while (!input.empty()) {
    const auto end = input.find_first_of("\r\n");
    const std::string_view line = input.substr(0, end);
    if (SafeToRun(line)) {
      kept += line;
      kept += '\n';
    }
    if (end == std::string_view::npos) break;
    input.remove_prefix(end + 1);
  }
  return kept;
}

FuzzSession::FuzzSession() : started_(std::chrono::steady_clock::now()) {
  session_ = std::make_unique<Session>(frontend_, FuzzProgramFolder());
  session_->registers = ShippedRegisters();
  session_->decoder.RegistersChanged();
  session_->log.SetLineObserver([this](const std::string&) {
    if (++eventPasses_ > kMaxEventPasses) session_->interpreter().RequestAbort();
  });
  // A loop of bare DO and LOOP lines writes nothing; the time limit still ends it.
  watchdog_ = std::jthread([this](std::stop_token stop) {
    while (!stop.stop_requested()) {
      if (!TimeLeft()) session_->interpreter().RequestAbort();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
}

}  // namespace velmora::fuzz
