// The shipped opcode table and the default type's registers, loaded once, and a run of
// instructions decoded one after the other as a listing does.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/memory_image.h"
#include "core/message_log.h"
#include "disasm/instruction_decoder.h"
#include "disasm/opcode_table.h"
#include "formats/register_file.h"
#include "formats/register_table.h"
#include "program_folder.h"

namespace velmora::test {

struct ShippedTables {
  OpcodeTable opcodes;
  OpcodeTableResult opcodeResult;
  RegisterTable registers;
};

inline const ShippedTables& Shipped() {
  static const ShippedTables tables = [] {
    ShippedTables loaded;
    MessageLog log{"unused-log.txt"};
    loaded.opcodeResult = LoadOpcodeTable((ShippedDataFolder() / "CMDDEF" / "command.cmd").string(),
                                          loaded.opcodes, log);
    LoadRegisterFile((ShippedDataFolder() / "SFRDEF" / "TOLVANE.SFR").string(), loaded.registers,
                     log);
    return loaded;
  }();
  return tables;
}

// Places bytes as loaded code at address and decodes count instructions from there with
// a fresh decoder; *end receives the address after the last one.
inline std::vector<std::string> DecodeRun(const std::vector<uint8_t>& bytes, int count,
                                          int32_t address, int32_t* end = nullptr) {
  MemoryImage image;
  image.StoreLoaded(address, bytes);
  InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) {
    texts.push_back(decoder.Disassemble(image, address));
    address += decoder.InstructionLength(image, address);
  }
  if (end != nullptr) *end = address;
  return texts;
}

}  // namespace velmora::test
