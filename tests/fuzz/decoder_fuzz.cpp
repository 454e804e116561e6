// The instruction decoder over random bytes with the shipped opcode table and registers,
// decoded in address order as a listing does: every step has a text and advances.
#include "disasm/instruction_decoder.h"
#include "formats/register_file.h"
#include "fuzz_support.h"

using namespace velmora;

namespace {

struct ShippedTables {
  OpcodeTable opcodes;
  RegisterTable registers;
  ShippedTables() {
    MessageLog log;
    LoadOpcodeTable((fuzz::ShippedDataFolder() / "CMDDEF" / "command.cmd").string(), opcodes, log);
    LoadRegisterFile((fuzz::ShippedDataFolder() / "SFRDEF" / "BRASK.SFR").string(), registers, log);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ShippedTables tables;
  if (size < 3) return 0;
  // The first three bytes place the code, so that instructions also run off the top of
  // the address space.
  const int32_t start = (data[0] << 16) | (data[1] << 8) | data[2];
  const std::span<const uint8_t> code(data + 3, size - 3);
  MemoryImage image;
  image.StoreLoaded(start, code.first(std::min<size_t>(code.size(), 0x1000000 - start)));

  InstructionDecoder decoder(tables.opcodes, tables.registers);
  for (int64_t address = start; address < start + static_cast<int64_t>(code.size()) &&
                                MemoryImage::InRange(static_cast<int32_t>(address));) {
    const int32_t at = static_cast<int32_t>(address);
    const int length = decoder.InstructionLength(image, at);
    fuzz::Require(length > 0, "every step advances");
    fuzz::Require(!decoder.Disassemble(image, at).empty(), "every instruction has a text");
    address += length;
  }
  return 0;
}
