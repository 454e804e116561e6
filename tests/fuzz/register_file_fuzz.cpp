// The register definition reader over any file, then the decoder naming registers and
// bits from what it read: every opcode with a spread of operand bytes.
#include "disasm/instruction_decoder.h"
#include "formats/register_file.h"
#include "fuzz_support.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteInput(data, size, "input.sfr");
  RegisterTable registers;
  MessageLog log;
  const RegisterFileResult result = LoadRegisterFile(path, registers, log);
  fuzz::Require(result.found, "the input file is found");
  fuzz::Require(registers.Count() <= RegisterTable::kCapacity, "at most 1025 registers");
  fuzz::Require(registers.FindRegister("ZEROS") >= 0 && registers.FindRegister("ONES") >= 0,
                "ZEROS and ONES are always defined");

  InstructionDecoder decoder(fuzz::ShippedOpcodes(), registers);
  MemoryImage image;
  // Operand bytes that reach the SFR, extended SFR, bit-addressable and GPR areas.
  const uint8_t operands[] = {0x00, 0x12, 0x7F, 0x80, 0x88, 0xF0, 0xFE, 0xFF};
  for (int opcode = 0; opcode < 256; ++opcode) {
    for (uint8_t operand : operands) {
      const uint8_t bytes[] = {static_cast<uint8_t>(opcode), operand, operand, 0xFE};
      image.StoreLoaded(0x100, bytes);
      fuzz::Require(!decoder.Disassemble(image, 0x100).empty(), "every instruction has a text");
    }
  }
  return 0;
}
