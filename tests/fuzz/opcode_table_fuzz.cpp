// The opcode table reader over any file, then the decoder and the processor with the table
// it read: every opcode decodes to a text and advances, and the processor runs a step of
// it (or traps), whatever lengths and field widths the file gave.
#include "disasm/instruction_decoder.h"
#include "formats/register_file.h"
#include "fuzz_support.h"
#include "sim/cpu/cpu.h"
#include "sim/cpu/image_bus.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteInput(data, size, "command.cmd");
  OpcodeTable opcodes;
  MessageLog log;
  const OpcodeTableResult result = LoadOpcodeTable(path, opcodes, log);
  fuzz::Require(result.found, "the input file is found");

  InstructionDecoder decoder(opcodes, fuzz::ShippedRegisters());
  MemoryImage image;
  const uint8_t tail[] = {0xF2, 0x1E, 0x81, 0xFF, 0x00, 0x80, 0x7E};
  for (int opcode = 0; opcode < 256; ++opcode) {
    const int length = decoder.LengthOf(static_cast<uint8_t>(opcode));
    fuzz::Require(length > 0 && length <= OpcodeTable::kMaxLength, "an instruction is 1 to 8 bytes long");
    image.SetByte(0x200, static_cast<uint8_t>(opcode));
    image.StoreLoaded(0x201, tail);
    fuzz::Require(!decoder.Disassemble(image, 0x200).empty(), "every instruction has a text");
  }

  ImageBus bus(image);
  Cpu cpu(bus, opcodes);
  for (int opcode = 0; opcode < 256; ++opcode) {
    cpu.Reset();
    image.SetByte(0x200, static_cast<uint8_t>(opcode));
    image.StoreLoaded(0x201, tail);
    cpu.Jump(0x200);
    const StepResult step = cpu.Step();
    fuzz::Require(step.cycles > 0, "every step takes time");
    fuzz::Require(MemoryImage::InRange(cpu.Ip()), "the processor stays in the address space");
  }
  return 0;
}
