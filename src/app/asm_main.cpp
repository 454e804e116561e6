// velmora-asm: assembles Korda source into an Intel HEX file.
//
//   velmora-asm SOURCE -o OUT.hex [--type NAME] [--listing FILE] [--home DIR]
//
// The instruction set comes from the program folder's opcode table, the register, SFR
// and bit names from the register file of the controller type. Errors are printed as
// "FILE:LINE:COLUMN: message"; on any error nothing is written and the exit status is 1.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "asm/assembler.h"
#include "asm/assembly_output.h"
#include "core/paths.h"
#include "formats/controller_types.h"
#include "formats/register_file.h"

namespace {

constexpr const char* kUsage =
    "usage: velmora-asm SOURCE -o OUT.hex [--type NAME] [--listing FILE] [--home DIR]\n"
    "\n"
    "  -o FILE          the Intel HEX file to write\n"
    "  --type NAME      controller type whose register names the source uses (default TOLVANE)\n"
    "  --listing FILE   also write a listing with the address and bytes of every line\n"
    "  --home DIR       program folder (default: $VELMORA_HOME, else the folder of this\n"
    "                   program)\n"
    "  -h, --help       this text\n";

constexpr const char* kDefaultType = "TOLVANE";

struct Options {
  std::string source, output, listing, home;
  std::string type = kDefaultType;
};

int usageError(const std::string& what) {
  std::fprintf(stderr, "velmora-asm: %s\n\n%s", what.c_str(), kUsage);
  return 2;
}

// Fills options; an exit status when the program ends here.
std::optional<int> parseArguments(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (arg == "-o" || arg == "--type" || arg == "--listing" || arg == "--home") {
      if (i + 1 >= argc || argv[i + 1][0] == '\0')
        return usageError(std::string(arg) + " needs a value");
      const std::string value = argv[++i];
      if (arg == "-o") options.output = value;
      if (arg == "--type") options.type = value;
      if (arg == "--listing") options.listing = value;
      if (arg == "--home") options.home = value;
    } else if (!arg.empty() && arg[0] == '-') {
      return usageError("unknown option " + std::string(arg));
    } else if (options.source.empty()) {
      options.source = std::string(arg);
    } else {
      return usageError("one source file only");
    }
  }
  if (options.source.empty()) return usageError("no source file");
  if (options.output.empty()) return usageError("no output file (-o)");
  return std::nullopt;
}

std::filesystem::path programFolder(const std::string& homeOption, const char* argv0) {
  if (!homeOption.empty()) return std::filesystem::absolute(homeOption);
  if (const char* home = std::getenv("VELMORA_HOME"); home && *home) {
    return std::filesystem::absolute(home);
  }
  std::error_code error;
  auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error && argv0) self = std::filesystem::absolute(argv0);
  return self.parent_path();
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (const auto status = parseArguments(argc, argv, options)) return *status;
  const auto home = programFolder(options.home, argc > 0 ? argv[0] : nullptr);

  velmora::MessageLog log;
  log.SetLineObserver(
      [](const std::string& line) { std::fprintf(stderr, "velmora-asm: %s\n", line.c_str()); });
  velmora::OpcodeTable opcodes;
  const auto opcodeFile = velmora::ResolveStoredPath(home, "CMDDEF\\command.cmd");
  if (!velmora::LoadOpcodeTable(opcodeFile.string(), opcodes, log).found) {
    return 1;
  }
  velmora::ControllerTypeTable types;
  velmora::LoadControllerTypes((home / "mctypes.dat").string(), home, types, log);
  const int type = types.FindControllerType(options.type);
  if (type < 0) {
    std::fprintf(stderr, "velmora-asm: no controller type %s in %s\n", options.type.c_str(),
                 (home / "mctypes.dat").c_str());
    return 1;
  }
  velmora::RegisterTable registers;
  if (!velmora::LoadRegisterFile(types.At(type).registerFile, registers, log).found) {
    return 1;
  }

  const auto assembly = velmora::assembler::Assemble(options.source, opcodes, registers);
  for (const auto& error : assembly.errors) std::fprintf(stderr, "%s\n", error.Format().c_str());
  if (!assembly.Ok()) return 1;
  if (!velmora::assembler::WriteHexFile(assembly, options.output, log)) {
    std::fprintf(stderr, "velmora-asm: cannot write %s\n", options.output.c_str());
    return 1;
  }
  if (!options.listing.empty() &&
      !velmora::assembler::WriteListingFile(assembly, options.listing)) {
    std::fprintf(stderr, "velmora-asm: cannot write %s\n", options.listing.c_str());
    return 1;
  }
  return 0;
}
