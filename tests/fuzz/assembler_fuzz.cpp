// The assembler over arbitrary source text with the shipped opcode table and registers.
// The input is the main file; it may include itself. Every message names a line and a
// column, and a source that assembles leaves bytes only inside the address space.
#include "asm/assembler.h"
#include "fuzz_support.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(fuzz::AsText(data, size));
  const assembler::SourceReader reader =
      [&text](const std::string& path) -> std::optional<std::string> {
    if (path == "main.asm") return text;
    return std::nullopt;
  };
  const assembler::Assembly assembly =
      assembler::Assemble("main.asm", fuzz::ShippedOpcodes(), fuzz::ShippedRegisters(), reader);
  for (const auto& error : assembly.errors) {
    fuzz::Require(error.line >= 1 && error.column >= 1, "every message has a place");
    fuzz::Require(!error.text.empty(), "every message says something");
  }
  fuzz::Require(assembly.Ok() || assembly.chunks.empty(), "nothing is placed on an error");
  for (const auto& chunk : assembly.chunks) {
    fuzz::Require(
        chunk.address >= 0 && chunk.address + static_cast<int64_t>(chunk.bytes.size()) <= 0x1000000,
        "bytes stay in the address space");
  }
  return 0;
}
