#include "fuzz_support.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <system_error>

#include "formats/register_file.h"

namespace velmora::fuzz {
namespace {

class ScratchFolderOwner {
 public:
  ScratchFolderOwner()
      : path_(std::filesystem::temp_directory_path() / ("velmora-fuzz-" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolderOwner() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  ScratchFolderOwner(const ScratchFolderOwner&) = delete;
  ScratchFolderOwner& operator=(const ScratchFolderOwner&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace

std::filesystem::path ShippedDataFolder() { return VELMORA_SOURCE_DATA_DIR; }

const std::filesystem::path& ScratchFolder() {
  static const ScratchFolderOwner owner;
  return owner.path();
}

void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "Broken property: %s\n", what);
  std::abort();
}

std::string WriteInput(const uint8_t* data, size_t size, std::string_view name) {
  const std::filesystem::path file = ScratchFolder() / name;
  std::ofstream(file, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  return file.string();
}

const RegisterTable& ShippedRegisters() {
  static const RegisterTable table = [] {
    RegisterTable loaded;
    MessageLog log;
    LoadRegisterFile((ShippedDataFolder() / "SFRDEF" / "TOLVANE.SFR").string(), loaded, log);
    return loaded;
  }();
  return table;
}

const OpcodeTable& ShippedOpcodes() {
  static const OpcodeTable table = [] {
    OpcodeTable loaded;
    MessageLog log;
    LoadOpcodeTable((ShippedDataFolder() / "CMDDEF" / "command.cmd").string(), loaded, log);
    return loaded;
  }();
  return table;
}

}  // namespace velmora::fuzz
