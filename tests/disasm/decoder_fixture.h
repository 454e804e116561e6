// The shipped opcode table and the default type's registers, loaded once for the decoder
// suites, and an image with code placed in it.
#pragma once

#include <gtest/gtest.h>

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

inline ShippedTables LoadShipped() {
  ShippedTables loaded;
  MessageLog log{"unused-log.txt"};
  loaded.opcodeResult = LoadOpcodeTable(
      (ShippedDataFolder() / "CMDDEF" / "command.cmd").string(), loaded.opcodes, log);
  LoadRegisterFile((ShippedDataFolder() / "SFRDEF" / "TOLVANE.SFR").string(), loaded.registers,
                   log);
  return loaded;
}

// Loaded once for the whole suite.
inline const ShippedTables& Shipped() {
  static const ShippedTables tables = LoadShipped();
  return tables;
}

// Places bytes at address as loaded code (defined).
inline void PlaceCode(MemoryImage& image, int32_t address, const std::vector<uint8_t>& bytes) {
  image.StoreLoaded(address, bytes);
}

// Decodes instructions one after the other from address on, as a listing does.
inline std::vector<std::string> DecodeRun(InstructionDecoder& decoder, MemoryImage& image,
                                          int32_t address, int count) {
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) {
    texts.push_back(decoder.Disassemble(image, address));
    address += decoder.InstructionLength(image, address);
  }
  return texts;
}

}  // namespace velmora::test
