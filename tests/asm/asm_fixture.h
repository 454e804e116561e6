// Assembling sources held in memory with the shipped opcode table and the default type's
// registers, and decoding what came out.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "asm/assembler.h"
#include "decoder_fixture.h"

namespace velmora::test {

// Files by path; "main.asm" is the one assembled.
inline assembler::Assembly AssembleFiles(const std::map<std::string, std::string>& files,
                                         const std::string& main = "main.asm") {
  const assembler::SourceReader reader =
      [&files](const std::string& path) -> std::optional<std::string> {
    const auto found = files.find(path);
    if (found == files.end()) return std::nullopt;
    return found->second;
  };
  return assembler::Assemble(main, Shipped().opcodes, Shipped().registers, reader);
}

inline assembler::Assembly AssembleText(const std::string& text) {
  return AssembleFiles({{"main.asm", text}});
}

// All placed bytes, in source order, with the address of the first.
inline std::vector<uint8_t> Bytes(const assembler::Assembly& assembly) {
  std::vector<uint8_t> bytes;
  for (const auto& chunk : assembly.chunks)
    bytes.insert(bytes.end(), chunk.bytes.begin(), chunk.bytes.end());
  return bytes;
}

inline std::vector<std::string> Errors(const assembler::Assembly& assembly) {
  std::vector<std::string> lines;
  for (const auto& error : assembly.errors) lines.push_back(error.Format());
  return lines;
}

}  // namespace velmora::test
